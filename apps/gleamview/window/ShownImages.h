// Images alone in the window: flat, as they are or through the user's shader.
#pragma once

#include "ImageScene.h"
#include "Options.h"
#include "common/Library.h"
#include "draw/OverlayFont.h"
#include "draw/StageTimer.h"
#include "window/Shown.h"

#include <Gleamwork/FullScreen.h>
#include <Gleamwork/RenderFrame.h>
#include <Gleamwork/RendererCommandBuffer.h>

#include <memory>
#include <vector>

namespace gleamview {

class ShownImages final : public Shown
{
public:
    ShownImages(apps::Library& library, gw::RenderFrame& frame, const Options& options);
    ~ShownImages() override;

    /// False, with a sentence that names the file in `error`, when a file cannot be shown.
    bool Load(std::string& error);

    bool Attach(std::string& error) override;
    bool Draw(double time, bool present) override;
    /// A flat picture does not turn: it is shifted as if it did.
    void Orbit(float yaw, float pitch) override { Pan(yaw / s_turn, pitch / s_turn); }
    void Pan(float right, float up) override;
    void Zoom(float factor) override;
    void ResetCamera() override;
    std::string NextCamera() override { return "of the picture"; }
    DrawSwitches& GetSwitches() override { return m_switches; }
    Overlay& GetOverlay() override { return m_overlay; }
    const std::string& GetName() const override { return m_name; }
    const std::string& GetFile() const override { return m_options.files.front(); }

private:
    static constexpr float s_turn = 220.0f; ///< degrees that count as the height of the view

    void DrawPicture();
    void RecordOverlay();

    apps::Library& m_library;
    gw::RenderFrame& m_frame;
    Options m_options;
    std::string m_name;
    std::vector<std::unique_ptr<ImageFile>> m_images; ///< until they are on the device
    std::unique_ptr<ImageScene> m_scene;
    Size m_size; ///< of the scene's target
    qs::ObjectHandle m_show;
    gw::FullScreenTriangle m_triangle;
    gw::RendererCommandBuffer m_overlayCommands;
    std::unique_ptr<OverlayFont> m_font;
    StageTimer m_timer;
    Overlay m_overlay;
    DrawSwitches m_switches; ///< of no effect
    qs::FixedString m_picture, m_present, m_draw;
    float m_zoom = 1.0f;
    float m_right = 0.0f; ///< shares of the height
    float m_down = 0.0f;
    bool m_isMoving = false; ///< the user's shader knows the time
};

} // namespace gleamview
