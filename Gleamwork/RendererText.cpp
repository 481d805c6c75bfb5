// Immediate drawing of text.
#include "Gleamwork/Renderer.h"

#include <qs/Log.h>
#include <qs/Profile.h>
#include <qs/String.h>

namespace gw {
namespace {

constexpr std::uint32_t QUAD_VERTICES = 6;

} // namespace

const TexturedFont* Renderer::FindTextFont(const qs::ObjectHandle& font) const
{
    const TexturedFont* found = GetFont(font);
    if (!found) {
        QS_LOG_ASSERT("Gleamwork/RendererText", "gw::Renderer::drawText", "Font wasn't found, aborting drawing!");
    }
    return found;
}

bool Renderer::ReserveTextVertices(std::uint32_t count)
{
    if (count <= m_textVertexCapacity) {
        return true;
    }
    qs::MemoryTrackerSample sample("TexVertex*");
    delete[] m_textVertices;
    m_textVertices = new (qs::DefaultMemoryTag) TexVertex[count];
    m_textVertexCapacity = m_textVertices ? count : 0;
    return m_textVertices != nullptr;
}

bool Renderer::drawText(const char* text, float x, float y, const Vector4f& color, const Vector4f& shadow,
                        qs::ObjectHandle font, qs::ObjectHandle sampler, qs::ObjectHandle blend, qs::ObjectHandle depth)
{
    qs::HProfileSample sample("Draw text");
    const TexturedFont* found = FindTextFont(font);
    if (!found) {
        return false;
    }
    const std::uint32_t room = getTextQuads(text) * QUAD_VERTICES;
    if (room == 0 || !ReserveTextVertices(room)) {
        return room == 0;
    }
    const auto count = std::uint32_t(fillTextBuffer(m_textVertices, text, 0, 0, 1.0f, found, false)) * QUAD_VERTICES;
    if (count == 0) {
        return true;
    }
    if (!(color == shadow)) {
        drawTextured(ePrimitiveTopology_TriangleList, Vector2f(x - 1, y - 1), m_textVertices, count, found->texture,
                     sampler, blend, depth, shadow);
    }
    drawTextured(ePrimitiveTopology_TriangleList, Vector2f(x, y), m_textVertices, count, found->texture, sampler, blend,
                 depth, color);
    return true;
}

bool Renderer::drawText3D(const char* text, const Matrix4x4f& world, const Vector4f& color, qs::ObjectHandle font,
                          qs::ObjectHandle depth)
{
    qs::HProfileSample sample("Draw 3D text");
    const TexturedFont* found = text ? FindTextFont(font) : nullptr;
    if (!found) {
        return false;
    }
    const std::uint32_t room = getTextQuads(text) * QUAD_VERTICES;
    if (room == 0 || !ReserveTextVertices(room)) {
        return room == 0;
    }
    const auto count = std::uint32_t(fillTextBuffer(m_textVertices, text, 0, 0, 1.0f, found, true)) * QUAD_VERTICES;
    if (count != 0) {
        drawTextured3D(ePrimitiveTopology_TriangleList, world, m_textVertices, count, found->texture, s_SS[0], s_BS[0],
                       depth, color);
    }
    return true;
}

bool Renderer::drawTextBillboard3D(const char* text, const Matrix4x4f& world, const Vector4f& color,
                                   qs::ObjectHandle font, qs::ObjectHandle depth)
{
    const TexturedFont* found = FindTextFont(font);
    if (!found || !text) {
        return false;
    }
    const Matrix4x4f& view = m_renderProperties->view;
    Matrix4x4f facing;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            facing(row, column) = view(column, row);
        }
    }
    Matrix4x4f centred;
    centred.SetTranslate({-getTextDimension(found, text, 0).x / 2, 0.0f, 0.0f});
    return drawText3D(text, centred * facing * world, color, font, depth);
}

bool Renderer::drawText(const wchar_t* text, float x, float y, const Vector4f& color, const Vector4f& shadow,
                        qs::ObjectHandle font, qs::ObjectHandle sampler, qs::ObjectHandle blend, qs::ObjectHandle depth)
{
    const qs::Localization::ConvertWideToMultiByte converted(text, -1);
    return drawText(converted.Get(), x, y, color, shadow, font, sampler, blend, depth);
}

bool Renderer::drawText3D(const wchar_t* text, const Matrix4x4f& world, const Vector4f& color, qs::ObjectHandle font,
                          qs::ObjectHandle depth)
{
    if (!text) {
        return false;
    }
    const qs::Localization::ConvertWideToMultiByte converted(text, -1);
    return drawText3D(converted.Get(), world, color, font, depth);
}

bool Renderer::drawTextBillboard3D(const wchar_t* text, const Matrix4x4f& world, const Vector4f& color,
                                   qs::ObjectHandle font, qs::ObjectHandle depth)
{
    if (!text) {
        return false;
    }
    const qs::Localization::ConvertWideToMultiByte converted(text, -1);
    return drawTextBillboard3D(converted.Get(), world, color, font, depth);
}

} // namespace gw
