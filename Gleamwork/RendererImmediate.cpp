// Immediate drawing: one call draws a vertex array of the caller through the rolling buffers and a built-in shader.
#include "Gleamwork/GWFS.h"
#include "Gleamwork/Renderer.h"

#include <qs/Log.h>

namespace gw {

namespace {

constexpr unsigned c_allSamples = 0xffffffff;
// Sizes and offsets of the device's buffers are signed in places.
constexpr unsigned c_largestCopy = 0x7fff0000;

} // namespace

Matrix4x4f Renderer::GetViewProjection() const
{
    return m_renderProperties->view * m_renderProperties->projection;
}

void Renderer::SetTransposedMatrix(const qs::FixedString& name, const Matrix4x4f& value)
{
    // The shaders multiply row vectors, and constants are laid out column by column.
    const Matrix4x4f transposed = value.Transposed();
    SetShaderConstantRaw(name, &transposed, sizeof(transposed));
}

bool Renderer::RollVertices(const void* vertices, std::uint64_t count, std::uint64_t size, unsigned& offset)
{
    const std::uint64_t bytes = count * size;
    if (bytes > c_largestCopy) {
        QS_LOG_ERROR("Gleamwork/Renderer", "gw::Renderer::drawPlain",
                     "%llu vertices of %llu bytes are more than one immediate draw can take (%u bytes).",
                     static_cast<unsigned long long>(count), static_cast<unsigned long long>(size), c_largestCopy);
        return false;
    }
    offset = copyToRollingVB(vertices, unsigned(bytes));
    return true;
}

void Renderer::SetDrawStates(const qs::ObjectHandle& rasterizer, const qs::ObjectHandle& blend,
                             const qs::ObjectHandle& depth)
{
    SetRasterizerState(rasterizer);
    SetBlendState(blend, c_allSamples);
    SetDepthState(depth, 0);
}

void Renderer::BindRollingVertices(const qs::ObjectHandle& format, unsigned offset)
{
    SetVertexFormat(format);
    // The stride is bound with the buffer: where the rolling buffer wrapped to the offset of an earlier draw, the
    // binding of another format must not pass for this one.
    m_state.vertexBuffers[0] = VertexBufferID();
    SetVertexBuffer(0, m_rollingVB, offset);
}

void Renderer::SetBaseTexture(qs::ObjectHandle texture, qs::ObjectHandle sampler)
{
    SetTexture(GWFS::strBase, texture, -1);
    SetSamplerState(GWFS::strBaseSampler, sampler);
}

void Renderer::drawPlain(EPrimitiveTopology topology, const Vector2f* vertices, unsigned int count,
                         qs::ObjectHandle blend, qs::ObjectHandle depth, const Vector4f& color)
{
    unsigned offset;
    if (!RollVertices(vertices, count, sizeof(Vector2f), offset)) {
        return;
    }
    SetShader(m_plainShader);
    SetShaderConstantRaw(GWFS::strscaleBias, &m_scaleBias, sizeof(m_scaleBias));
    SetShaderConstantRaw(GWFS::strcolor, &color, sizeof(color));
    SetDrawStates(s_RS[RS_SOLID], blend, depth);
    BindRollingVertices(m_plainVertexFormat, offset);
    SetPrimitiveTopology(topology);
    DrawArrays(0, int(count));
}

void Renderer::drawPlain3D(EPrimitiveTopology topology, const Vector3f* vertices, unsigned int count,
                           qs::ObjectHandle blend, qs::ObjectHandle depth, const Vector4f& color)
{
    unsigned offset;
    if (!RollVertices(vertices, count, sizeof(Vector3f), offset)) {
        return;
    }
    SetShader(m_plain3DShader);
    SetTransposedMatrix(GWFS::strmvp, GetViewProjection());
    SetShaderConstantRaw(GWFS::strcolor, &color, sizeof(color));
    SetDrawStates(s_RS[RS_SOLID], blend, depth);
    BindRollingVertices(m_plain3DVertexFormat, offset);
    SetPrimitiveTopology(topology);
    DrawArrays(0, int(count));
}

void Renderer::drawPlain3DIndexed(const DrawPlain3DIndexedDesc& desc)
{
    const std::uint64_t indexBytes = std::uint64_t(desc.indexCount) * desc.indexStride;
    if ((desc.indexStride != 2 && desc.indexStride != 4) || indexBytes > c_largestCopy) {
        QS_LOG_ERROR("Gleamwork/Renderer", "gw::Renderer::drawPlain3DIndexed",
                     "%u indices of %u bytes cannot be drawn: 2 or 4 bytes each, %u in all.", desc.indexCount,
                     desc.indexStride, c_largestCopy);
        return;
    }
    unsigned vertexOffset;
    if (!RollVertices(desc.vertices, desc.vertexCount, sizeof(Vector3f), vertexOffset)) {
        return;
    }
    // The device wants an index buffer to start at a whole index; indices of 2 bytes may have left it between two.
    m_rollingIBOffset = (m_rollingIBOffset + desc.indexStride - 1) / desc.indexStride * desc.indexStride;
    const unsigned indexOffset = copyToRollingIB(desc.indices, unsigned(indexBytes));
    SetShader(m_plain3DShader);
    SetTransposedMatrix(GWFS::strmvp, desc.world * GetViewProjection());
    SetShaderConstantRaw(GWFS::strcolor, &desc.color, sizeof(desc.color));
    SetBlendState(desc.blendState, c_allSamples);
    SetDepthState(desc.depthState, 0);
    SetRasterizerState(desc.rasterizerState);
    BindRollingVertices(m_plain3DVertexFormat, vertexOffset);
    // One rolling buffer serves both index sizes: the record says how the next binding reads it. As with vertices, a
    // binding at the same offset must not pass for this one.
    if (IndexBuffer* rolling = m_indexBuffers.Get(m_rollingIB)) {
        rolling->indexSize = desc.indexStride;
    }
    m_state.indexBuffer = IndexBufferID();
    SetIndexBuffer(m_rollingIB, indexOffset);
    SetPrimitiveTopology(desc.topology);
    DrawElements(0, int(desc.indexCount), 0, int(desc.vertexCount));
}

void Renderer::drawTextured(EPrimitiveTopology topology, const Vector2f& offset, TexVertex* vertices,
                            unsigned int count, qs::ObjectHandle texture, qs::ObjectHandle sampler,
                            qs::ObjectHandle blend, qs::ObjectHandle depth, const Vector4f& color)
{
    unsigned vertexOffset;
    if (!RollVertices(vertices, count, sizeof(TexVertex), vertexOffset)) {
        return;
    }
    SetShader(m_texturedShader);
    SetShaderConstantRaw(GWFS::strscaleBias, &m_scaleBias, sizeof(m_scaleBias));
    SetShaderConstantRaw(GWFS::strcolor, &color, sizeof(color));
    SetShaderConstantRaw(GWFS::stroffset, &offset, sizeof(offset));
    SetBaseTexture(texture, sampler);
    SetDrawStates(s_RS[RS_SOLID], blend, depth);
    BindRollingVertices(m_texturedVertexFormat, vertexOffset);
    SetPrimitiveTopology(topology);
    DrawArrays(0, int(count));
}

void Renderer::drawTextured3D(EPrimitiveTopology topology, const Matrix4x4f& world, TexVertex* vertices,
                              unsigned int count, qs::ObjectHandle texture, qs::ObjectHandle sampler,
                              qs::ObjectHandle blend, qs::ObjectHandle depth, const Vector4f& color)
{
    unsigned offset;
    if (!RollVertices(vertices, count, sizeof(TexVertex), offset)) {
        return;
    }
    SetShader(m_textured3DShader);
    SetTransposedMatrix(GWFS::strmvp, world * m_renderProperties->viewProjection);
    SetShaderConstantRaw(GWFS::strcolor, &color, sizeof(color));
    SetBaseTexture(texture, sampler);
    SetDrawStates(s_RS[RS_SOLID], blend, depth);
    BindRollingVertices(m_textured3DVertexFormat, offset);
    SetPrimitiveTopology(topology);
    DrawArrays(0, int(count));
}

void Renderer::PrepareDraw(const PrepareDrawData& data)
{
    SetShader(data.shader);
    SetDepthState(data.depthState, data.stencilRef);
    SetRasterizerState(data.rasterizerState);
    SetBlendState(data.blendState, c_allSamples);
    SetVertexFormat(data.vertexFormat);
    SetVertexBuffer(0, data.vertexBuffers[0], 0);
    for (int stream = 1; stream < 3; ++stream) {
        if (data.vertexBuffers[stream].IsValid()) {
            SetVertexBuffer(stream, data.vertexBuffers[stream], 0);
        }
    }
    if (data.indexBuffer.IsValid()) {
        SetIndexBuffer(data.indexBuffer, 0);
    }
    SetPrimitiveTopology(data.topology);
}

void Renderer::SetViewport(const Vector4i& viewport)
{
    SetViewport(viewport.x, viewport.y, viewport.z, viewport.w);
}

void Renderer::BeginRenderFullScreenTriangle(qs::ObjectHandle shader, qs::ObjectHandle depth, unsigned int stencilRef)
{
    GetDefaultFullScreenTriangle().BeginRenderFullScreen(*this, shader, depth, stencilRef, s_BS[BS_OPAQUE]);
}

void Renderer::EndRenderFullScreenTriangle()
{
    GetDefaultFullScreenTriangle().EndRenderFullScreen(*this);
}

void Renderer::SetShaderConstant1f(const qs::FixedString& name, float value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void Renderer::SetShaderConstant1i(const qs::FixedString& name, int value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void Renderer::SetShaderConstant2f(const qs::FixedString& name, const Vector2f& value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void Renderer::SetShaderConstant3f(const qs::FixedString& name, const Vector3f& value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void Renderer::SetShaderConstant4f(const qs::FixedString& name, const Vector4f& value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void Renderer::SetShaderConstant4x4f(const qs::FixedString& name, const Matrix4x4f& value)
{
    SetTransposedMatrix(name, value);
}

void Renderer::SetShaderConstantArray1f(const qs::FixedString& name, const float* values, unsigned short count)
{
    SetShaderConstantRaw(name, values, count * sizeof(*values));
}

void Renderer::SetShaderConstantArray2f(const qs::FixedString& name, const Vector2f* values, unsigned short count)
{
    SetShaderConstantRaw(name, values, count * sizeof(*values));
}

void Renderer::SetShaderConstantArray3f(const qs::FixedString& name, const Vector3f* values, unsigned short count)
{
    SetShaderConstantRaw(name, values, count * sizeof(*values));
}

void Renderer::SetShaderConstantArray4f(const qs::FixedString& name, const Vector4f* values, unsigned short count)
{
    SetShaderConstantRaw(name, values, count * sizeof(*values));
}

void Renderer::SetFrustumShaderParam(const qs::FixedString& name)
{
    const auto& corners = m_renderProperties->frustumCornersWorld;
    SetShaderConstantRaw(name, corners, sizeof(corners));
}

} // namespace gw
