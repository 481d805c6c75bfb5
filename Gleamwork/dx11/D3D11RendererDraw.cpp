// Draws and dispatches, the full synchronisation, and named scopes for device debuggers.
#include "Gleamwork/dx11/D3D11PerformanceTracker.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

#include <qs/FixedString.h>
#include <qs/String.h>

#include <d3d11.h>
#include <d3d11_1.h>

namespace api {

void D3D11Renderer::DrawArrays(int firstVertex, int vertexCount)
{
    Apply();
    m_deviceData.context->Draw(static_cast<UINT>(vertexCount), static_cast<UINT>(firstVertex));
    AddDrawCall(static_cast<unsigned>(GetPrimitiveCount(m_state.primitiveTopology, vertexCount)));
}

void D3D11Renderer::DrawElements(int firstIndex, int indexCount, int baseVertex, int)
{
    Apply();
    m_deviceData.context->DrawIndexed(static_cast<UINT>(indexCount), static_cast<UINT>(firstIndex), baseVertex);
    AddDrawCall(static_cast<unsigned>(GetPrimitiveCount(m_state.primitiveTopology, indexCount)));
}

void D3D11Renderer::DrawElementsInstanced(int firstInstance, int instanceCount, int firstIndex, int indexCount,
                                          int baseVertex, int)
{
    Apply();
    m_deviceData.context->DrawIndexedInstanced(static_cast<UINT>(indexCount), static_cast<UINT>(instanceCount),
                                               static_cast<UINT>(firstIndex), baseVertex,
                                               static_cast<UINT>(firstInstance));
    AddDrawCall(static_cast<unsigned>(GetPrimitiveCount(m_state.primitiveTopology, indexCount)) *
                static_cast<unsigned>(instanceCount));
}

void D3D11Renderer::Dispatch(int x, int y, int z)
{
    Apply();
    m_deviceData.context->Dispatch(static_cast<UINT>(x), static_cast<UINT>(y), static_cast<UINT>(z));
    AddDrawCall(0);
}

void D3D11Renderer::GPUWait(gw::ESyncType type, qs::ObjectHandle, const char*, int, int)
{
    if (type == gw::eSyncType_ClearState) {
        ClearState();
    }
}

void D3D11Renderer::ClearState()
{
    SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
    ID3D11DeviceContext* context = m_deviceData.context;
    context->ClearState();
    context->Flush();

    D3D11_QUERY_DESC desc = {};
    desc.Query = D3D11_QUERY_EVENT;
    ID3D11Query* query = nullptr;
    if (SUCCEEDED(m_deviceData.device->CreateQuery(&desc, &query))) {
        context->End(query);
        while (context->GetData(query, nullptr, 0, 0) == S_FALSE) {
            Sleep(100);
        }
        query->Release();
    }
    ResetToDefaults();
}

void D3D11Renderer::EndFrame(bool)
{
    ClearTextures(false);
}

void D3D11Renderer::GetEventResults(qs::ObjectSet<gw::MeasurementNode>& results)
{
    if (m_tracker) {
        m_tracker->GetResults(results);
    }
}

void D3D11Renderer::BeginLabel(const qs::FixedString& name)
{
    if (m_annotation) {
        m_annotation->BeginEvent(qs::StringConverter::ConvertToWide(name.ToChar()).Get());
    }
}

void D3D11Renderer::EndLabel()
{
    if (m_annotation) {
        m_annotation->EndEvent();
    }
}

void D3D11Renderer::BeginEventFrame(const qs::FixedString& name)
{
    BeginLabel(name);
    if (m_tracker) {
        m_tracker->BeginFrame(m_deviceData.device, m_deviceData.context, name);
    }
}

void D3D11Renderer::EndEventFrame(const qs::FixedString& name)
{
    if (m_tracker) {
        m_tracker->EndFrame(m_deviceData.context, name);
    }
    EndLabel();
}

void D3D11Renderer::BeginRenderEvent(const qs::FixedString& name)
{
    BeginLabel(name);
    if (m_tracker) {
        m_tracker->BeginEvent(m_deviceData.device, m_deviceData.context, name);
    }
}

void D3D11Renderer::EndRenderEvent(const qs::FixedString& name)
{
    if (m_tracker) {
        m_tracker->EndEvent(m_deviceData.context, name);
    }
    EndLabel();
}

} // namespace api
