// Recording of shader constants and of the values behind the global ones.
#include "Gleamwork/RendererCommands.h"

#include <cstring>

namespace gw {

void RendererCommandBuffer::SetShaderConstantRaw(const qs::FixedString& name, const void* data, unsigned size)
{
    if (!m_recording) {
        m_renderer->SetShaderConstantRaw(name, data, size);
        return;
    }
    const SetShaderConstantRawDesc desc = m_renderer->PrepareSetShaderConstantRaw(m_currentShader, name);
    if (char* room = WriteWithRoom<RCB_SetShaderConstantRawCommand>(size, desc, size)) {
        std::memcpy(room + sizeof(RCB_SetShaderConstantRawCommand), data, size);
    }
}

void RendererCommandBuffer::SetShaderConstant1i(const qs::FixedString& name, int value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void RendererCommandBuffer::SetShaderConstant2i(const qs::FixedString& name, const Vector2i& value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void RendererCommandBuffer::SetShaderConstant3i(const qs::FixedString& name, const Vector3i& value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void RendererCommandBuffer::SetShaderConstant4i(const qs::FixedString& name, const Vector4i& value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void RendererCommandBuffer::SetShaderConstant1f(const qs::FixedString& name, float value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void RendererCommandBuffer::SetShaderConstant2f(const qs::FixedString& name, const Vector2f& value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void RendererCommandBuffer::SetShaderConstant3f(const qs::FixedString& name, const Vector3f& value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void RendererCommandBuffer::SetShaderConstant4f(const qs::FixedString& name, const Vector4f& value)
{
    SetShaderConstantRaw(name, &value, sizeof(value));
}

void RendererCommandBuffer::SetShaderConstant4x4f(const qs::FixedString& name, const Matrix4x4f& value)
{
    // The shaders multiply row vectors, and constants are laid out column by column.
    const Matrix4x4f transposed = value.Transposed();
    SetShaderConstantRaw(name, &transposed, sizeof(transposed));
}

void RendererCommandBuffer::SetShaderConstantArray1f(const qs::FixedString& name, const float* values,
                                                     unsigned short count)
{
    SetShaderConstantRaw(name, values, count * sizeof(*values));
}

void RendererCommandBuffer::SetShaderConstantArray2f(const qs::FixedString& name, const Vector2f* values,
                                                     unsigned short count)
{
    SetShaderConstantRaw(name, values, count * sizeof(*values));
}

void RendererCommandBuffer::SetShaderConstantArray3f(const qs::FixedString& name, const Vector3f* values,
                                                     unsigned short count)
{
    SetShaderConstantRaw(name, values, count * sizeof(*values));
}

void RendererCommandBuffer::SetShaderConstantArray4f(const qs::FixedString& name, const Vector4f* values,
                                                     unsigned short count)
{
    SetShaderConstantRaw(name, values, count * sizeof(*values));
}

void RendererCommandBuffer::SetFrustumShaderParam(const qs::FixedString& name)
{
    if (m_recording) {
        Write<RCB_SetFrustumShaderParamCommand>(name.ToChar());
    } else {
        m_renderer->SetFrustumShaderParam(name);
    }
}

void RendererCommandBuffer::SetFrustumShaderParamViewSpace(const qs::FixedString& name)
{
    if (m_recording) {
        Write<RCB_SetFrustumShaderParamViewSpaceCommand>(name.ToChar());
    } else {
        const auto& corners = m_renderer->GetRenderProperties()->frustumCornersView;
        m_renderer->SetShaderConstantRaw(name, corners, sizeof(corners));
    }
}

void RendererCommandBuffer::SetRenderProperties(const Matrix4x4f& view, const Matrix4x4f& projection,
                                                const Vector3f& position, float viewInfo0, float viewInfo1)
{
    if (m_recording) {
        Write<RCB_SetRenderPropertiesCommand>(position, viewInfo0, view, projection, viewInfo1);
    } else {
        m_renderer->SetRenderProperties(view, projection, position, viewInfo0, viewInfo1);
    }
}

void RendererCommandBuffer::SetRenderFrustrumCorners(const Vector3f& a, const Vector3f& b, const Vector3f& c,
                                                     const Vector3f& d, const Vector3f& e, const Vector3f& f)
{
    if (m_recording) {
        Write<RCB_SetRenderFrustrumCornersCommand>(a, b, c, d, e, f);
    } else {
        m_renderer->SetRenderFrustrumCorners(a, b, c, d, e, f);
    }
}

void RendererCommandBuffer::SetClusteredLightingProperties(float x, float y, float z, float w)
{
    if (m_recording) {
        Write<RCB_SetClusteredLightingPropertiesCommand>(x, y, z, w);
    } else {
        m_renderer->SetClusteredLightingProperties(x, y, z, w);
    }
}

void RendererCommandBuffer::UpdateGlobalConstants()
{
    if (m_recording) {
        Write<RCB_UpdateGlobalConstantsCommand>();
    } else {
        m_renderer->UpdateGlobalConstants();
    }
}

} // namespace gw
