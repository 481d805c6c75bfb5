// A frame with one view and a camera, for samples whose topic is what stands in it; 05_frame shows how it works inside.
#pragma once

#include "Sample.h"

#include <Gleamwork/CameraController.h>
#include <Gleamwork/OffscreenRenderFrame.h>
#include <Gleamwork/RenderView.h>
#include <Gleamwork/RendererCommandBuffer.h>

#include <functional>
#include <memory>

namespace samples {

/// Records what a view shows, behind the cleared targets and the camera's matrices.
using Recorder = std::function<void(gw::RendererCommandBuffer& commands, const gw::RenderView& view)>;

class SampleFrame
{
public:
    SampleFrame(Sample& sample, const Vector3f& eye, const Vector3f& target, Recorder recorder);
    ~SampleFrame();
    SampleFrame(const SampleFrame&) = delete;
    SampleFrame& operator=(const SampleFrame&) = delete;

    /// Frame `number` of a sixtieth of a second each.
    void Draw(int number);
    qs::ObjectHandle GetBackBuffer() { return m_frame.GetBackBuffer(); }

private:
    Sample& m_sample;
    gw::OffscreenRenderFrame m_frame;
    gw::CameraController m_camera;
    std::unique_ptr<gw::RenderView> m_view;
};

} // namespace samples
