// Recording of text: it is laid out on the recording thread, so that the replay only uploads.
#include "Gleamwork/RendererCommands.h"

#include <qs/Log.h>
#include <qs/Profile.h>
#include <qs/String.h>

namespace gw {

namespace {

const TexturedFont* FindFont(const Renderer& renderer, const qs::ObjectHandle& handle, const char* function)
{
    const TexturedFont* font = renderer.GetFont(handle);
    if (!font) {
        QS_LOG_ASSERT("Gleamwork/RendererCommandBuffer", function, "Font wasn't found, aborting drawing!");
    }
    return font;
}

} // namespace

TexVertex* RendererCommandBuffer::LayOutText(const char* text, const TexturedFont& font, bool flip,
                                             unsigned& vertexCount)
{
    constexpr std::size_t quadVertices = 6;
    vertexCount = 0;
    const std::size_t room = Renderer::getTextQuads(text) * quadVertices;
    if (room == 0) {
        return nullptr;
    }
    auto* vertices = static_cast<TexVertex*>(TakePool(room * sizeof(TexVertex)));
    if (vertices) {
        vertexCount = unsigned(Renderer::fillTextBuffer(vertices, text, 0, 0, 1.0f, &font, flip)) * quadVertices;
    }
    return vertexCount != 0 ? vertices : nullptr;
}

bool RendererCommandBuffer::DrawText(const char* text, float x, float y, const Vector4f& color, const Vector4f& shadow,
                                     qs::ObjectHandle font, qs::ObjectHandle sampler, qs::ObjectHandle blend,
                                     qs::ObjectHandle depth)
{
    qs::HProfileSample sample("Draw text");
    if (!m_recording) {
        return m_renderer->drawText(text, x, y, color, shadow, font, sampler, blend, depth);
    }
    const TexturedFont* found = FindFont(*m_renderer, font, "gw::RendererCommandBuffer::DrawText");
    if (!found) {
        return false;
    }
    unsigned count;
    if (TexVertex* vertices = LayOutText(text, *found, false, count)) {
        if (!(color == shadow)) {
            DrawTextured(ePrimitiveTopology_TriangleList, Vector2f(x - 1, y - 1), vertices, count, false,
                         found->texture, sampler, blend, depth, shadow);
        }
        DrawTextured(ePrimitiveTopology_TriangleList, Vector2f(x, y), vertices, count, false, found->texture, sampler,
                     blend, depth, color);
    }
    return true;
}

bool RendererCommandBuffer::DrawText(const wchar_t* text, float x, float y, const Vector4f& color,
                                     const Vector4f& shadow, qs::ObjectHandle font, qs::ObjectHandle sampler,
                                     qs::ObjectHandle blend, qs::ObjectHandle depth)
{
    const qs::Localization::ConvertWideToMultiByte converted(text, -1);
    return DrawText(converted.Get(), x, y, color, shadow, font, sampler, blend, depth);
}

bool RendererCommandBuffer::DrawText3D(const char* text, const Matrix4x4f& world, const Vector4f& color,
                                       qs::ObjectHandle font, qs::ObjectHandle depth)
{
    qs::HProfileSample sample("Draw text 3D");
    if (!m_recording) {
        return m_renderer->drawText3D(text, world, color, font, depth);
    }
    const TexturedFont* found = text ? FindFont(*m_renderer, font, "gw::RendererCommandBuffer::DrawText3D") : nullptr;
    if (!found) {
        return false;
    }
    unsigned count;
    if (TexVertex* vertices = LayOutText(text, *found, true, count)) {
        Write<RCB_DrawTextured3DCommand>(ePrimitiveTopology_TriangleList, world, vertices, count, found->texture,
                                         Renderer::SS(SS_POINT_WRAP), Renderer::BS(BS_ALPHA), depth, color);
    }
    return true;
}

bool RendererCommandBuffer::DrawText3D(const wchar_t* text, const Matrix4x4f& world, const Vector4f& color,
                                       qs::ObjectHandle font, qs::ObjectHandle depth)
{
    if (!text) {
        return false;
    }
    const qs::Localization::ConvertWideToMultiByte converted(text, -1);
    return DrawText3D(converted.Get(), world, color, font, depth);
}

} // namespace gw
