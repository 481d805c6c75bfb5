// Immediate drawing: one call draws a vertex array of the caller through the rolling buffers and a built-in shader.
#include "Gleamwork/GWFS.h"
#include "Gleamwork/Renderer.h"

namespace gw {

namespace {

constexpr unsigned c_allSamples = 0xffffffff;

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
    const unsigned offset = copyToRollingVB(vertices, count * sizeof(Vector2f));
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
    const unsigned offset = copyToRollingVB(vertices, count * sizeof(Vector3f));
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
    const unsigned vertexOffset = copyToRollingVB(desc.vertices, desc.vertexCount * sizeof(Vector3f));
    const unsigned indexOffset = copyToRollingIB(desc.indices, desc.indexCount * desc.indexStride);
    SetShader(m_plain3DShader);
    SetTransposedMatrix(GWFS::strmvp, desc.world * GetViewProjection());
    SetShaderConstantRaw(GWFS::strcolor, &desc.color, sizeof(desc.color));
    SetBlendState(desc.blendState, c_allSamples);
    SetDepthState(desc.depthState, 0);
    SetRasterizerState(desc.rasterizerState);
    BindRollingVertices(m_plain3DVertexFormat, vertexOffset);
    // One rolling buffer serves both index sizes: the record says how the next binding reads it.
    if (IndexBuffer* rolling = m_indexBuffers.Get(m_rollingIB)) {
        rolling->indexSize = desc.indexStride;
    }
    SetIndexBuffer(m_rollingIB, indexOffset);
    SetPrimitiveTopology(desc.topology);
    DrawElements(0, int(desc.indexCount), 0, int(desc.vertexCount));
}

void Renderer::drawTextured(EPrimitiveTopology topology, const Vector2f& offset, TexVertex* vertices,
                            unsigned int count, qs::ObjectHandle texture, qs::ObjectHandle sampler,
                            qs::ObjectHandle blend, qs::ObjectHandle depth, const Vector4f& color)
{
    const unsigned vertexOffset = copyToRollingVB(vertices, count * sizeof(TexVertex));
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
    const unsigned offset = copyToRollingVB(vertices, count * sizeof(TexVertex));
    SetShader(m_textured3DShader);
    SetTransposedMatrix(GWFS::strmvp, world * m_renderProperties->viewProjection);
    SetShaderConstantRaw(GWFS::strcolor, &color, sizeof(color));
    SetBaseTexture(texture, sampler);
    SetDrawStates(s_RS[RS_SOLID], blend, depth);
    BindRollingVertices(m_textured3DVertexFormat, offset);
    SetPrimitiveTopology(topology);
    DrawArrays(0, int(count));
}

void Renderer::PrepareDraw(PrepareDrawData&& data)
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
