// The font of the overlay, on the device.
#pragma once

#include <Gleamwork/Font.h>

#include <qs/Math.h>
#include <qs/ObjectHandle.h>
#include <string>

namespace gw {
class Renderer;
class RendererCommandBuffer;
} // namespace gw

namespace gleamview {

/// Made and destroyed on the thread that owns the device; in between any thread may record text with it.
class OverlayFont
{
public:
    explicit OverlayFont(gw::Renderer& renderer);
    ~OverlayFont();
    OverlayFont(const OverlayFont&) = delete;
    OverlayFont& operator=(const OverlayFont&) = delete;

    /// Pixels; characters outside ASCII count as a question mark.
    float GetWidth(const std::string& text) const;
    float GetHeight() const { return m_font.lineHeight; }
    /// The text's upper left corner, in pixels of the 2D mode.
    void Draw(gw::RendererCommandBuffer& commands, const std::string& text, float x, float y,
              const Vector4f& color) const;

private:
    gw::Renderer& m_renderer;
    gw::TexturedFont m_font;
    qs::ObjectHandle m_handle;
    qs::ObjectHandle m_glyphs;
};

} // namespace gleamview
