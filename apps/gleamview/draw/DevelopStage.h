// The scene's light as a picture in the frame buffer.
#pragma once

#include "draw/SceneStage.h"

namespace gleamview {

/// A full-screen pass from the scene's target into the view's part of the frame buffer.
class DevelopStage final : public ViewerStage
{
public:
    /// `shader` develops as many samples a pixel as the scene has.
    DevelopStage(const SceneContext& context, const SceneStage& scene, qs::ObjectHandle shader);

    void AddWork(const ViewerView& view, qs::WorkerThreadBatch* batch) override;

private:
    void Record(const ViewerView& view);

    const SceneStage& m_scene;
    qs::ObjectHandle m_shader;
};

} // namespace gleamview
