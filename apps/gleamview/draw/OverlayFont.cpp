// Making of the font, and text with it.
#include "draw/OverlayFont.h"

#include "draw/TextureUpload.h"
#include "fonts/OverlayFontData.h"

#include <Gleamwork/Renderer.h>
#include <Gleamwork/RendererCommandBuffer.h>
#include <Gleamwork/image/Image.h>

#include <algorithm>
#include <cmath>
#include <qs/FileSystem.h>
#include <sys/mman.h>
#include <unistd.h>

namespace gleamview {

namespace {

std::string ToAscii(std::string text)
{
    for (char& letter : text) {
        letter = letter >= ' ' && letter <= '~' ? letter : '?';
    }
    return text;
}

} // namespace

OverlayFont::OverlayFont(gw::Renderer& renderer) : m_renderer(renderer)
{
    gw::Image glyphs;
    if (!glyphs.Load(gw::IMAGE_FILE_PNG, {g_overlayTexture, g_overlayTextureSize}, {})) {
        return;
    }
    m_glyphs = renderer.AddTexture();
    renderer.CreateTexture(m_glyphs, glyphs, false);
    glyphs.FreePixelData();
    // Descriptions are read from files; this one lies in memory.
    const int file = memfd_create("overlay font", MFD_CLOEXEC);
    if (file >= 0 &&
        write(file, g_overlayDescription, g_overlayDescriptionSize) == static_cast<ssize_t>(g_overlayDescriptionSize)) {
        const std::string path = "/proc/self/fd/" + std::to_string(file);
        qs::FileReader reader(qs::Path(qs::PATH_ROOT_NONE, path.c_str()));
        m_font.Parse(&reader, m_glyphs);
        m_handle = m_renderer.AddFont(m_font);
    }
    if (file >= 0) {
        close(file);
    }
}

OverlayFont::~OverlayFont()
{
    if (m_handle.IsValid()) {
        m_renderer.RemoveFont(m_handle);
    }
    RemoveTextureNow(m_renderer, m_glyphs);
}

float OverlayFont::GetWidth(const std::string& text) const
{
    return m_handle.IsValid() ? gw::Renderer::getTextWidth(&m_font, ToAscii(text).c_str(), 0) : 0.0f;
}

void OverlayFont::Draw(gw::RendererCommandBuffer& commands, const std::string& text, float x, float y,
                       const Vector4f& color) const
{
    using gw::details::RendererBase;
    if (m_handle.IsValid() && !text.empty()) {
        // On whole pixels every texel is one.
        commands.DrawText(ToAscii(text).c_str(), std::round(x), std::round(y), color, color, m_handle,
                          RendererBase::SS(gw::SS_POINT_CLAMP), RendererBase::BS(gw::BS_ALPHA),
                          RendererBase::DS(gw::DS_NONE));
    }
}

} // namespace gleamview
