// Construction and destruction of the device half of the renderer.
#include "Gleamwork/dx11/D3D11Renderer.h"

#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/ViewArray.h"

#include <qs/Log.h>

#include <d3d11.h>
#include <d3d11_1.h>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11Renderer";
constexpr char DESTRUCTOR[] = "api::D3D11Renderer::~D3D11Renderer";

/// Empties a table: every entry that is left is reported under `message` (a format for the handle's value; null for
/// silence), released and destroyed.
template <class Record, class ReleaseRecord>
void EmptyTable(qs::ObjectContainer<Record>& table, const char* message, ReleaseRecord release)
{
    while (Record* record = table.GetLiveAt(0)) {
        const qs::ObjectHandle handle = qs::ObjectHandleMember<Record>::Get(*record);
        if (message) {
            QS_LOG_ASSERT(FILE_NAME, DESTRUCTOR, message, static_cast<unsigned long long>(handle.GetValue()));
        }
        release(*record);
        table.Destroy(handle);
    }
}

} // namespace

D3D11Renderer::D3D11Renderer(D3D11API* api)
    : RendererBase(api), m_deviceData(*api->GetAPIData()), m_compiledShaders(128, 32), m_globalConstantBuffers(4, 1),
      m_delayedRemovals(512, 16)
{
    s_DefaultShaderPath = new (qs::DefaultMemoryTag) qs::STDString("Shaders/DX11");
    s_MaterialExt = new (qs::DefaultMemoryTag) qs::STDString("_DX11.bshd");
    CreatePlainAndTexturedRenderData();
    CreateGlobalConstantBuffers();
    const HRESULT hr =
        m_deviceData.context->QueryInterface(IID_ID3DUserDefinedAnnotation, reinterpret_cast<void**>(&m_annotation));
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, "api::D3D11Renderer::D3D11Renderer",
                            "ID3D11DeviceContext::QueryInterface failed!\nError: %s\nDescription: %s", hr);
        m_annotation = nullptr;
    }
}

D3D11Renderer::~D3D11Renderer()
{
    ReleaseObject(m_annotation);
    DestroyGlobalConstantBuffers();
    RemovePlainAndTexturedRenderData();
    m_deviceData.context->ClearState();
    if (m_delayedRemovals.GetLiveCount() != 0 || !m_removalOverflow.empty()) {
        m_frameCounter += TEXTURE_REMOVE_DELAY;
        ClearTextures(true);
        if (const unsigned left = m_delayedRemovals.GetLiveCount()) {
            QS_LOG_ASSERT(FILE_NAME, DESTRUCTOR, "Textures still not removed after force! %i textures left!",
                          int(left));
        }
    }
    EmptyStateTables();
    EmptyResourceTables();
}

void D3D11Renderer::EmptyStateTables()
{
    const auto releaseState = [](auto& record) { ReleaseObject(record.state); };
    EmptyTable(m_rasterizerStates, "Rasterizer state with handle %llu still alive at shutdown!", releaseState);
    EmptyTable(m_depthStates, "Depth state with handle %llu still alive at shutdown!", releaseState);
    EmptyTable(m_blendStates, "Blend state with handle %llu still alive at shutdown!", releaseState);
    EmptyTable(m_samplerStates, "Sampler state with handle %llu still alive at shutdown!", releaseState);
    while (const VertexFormat* format = m_vertexFormats.GetLiveAt(0)) {
        RemoveVertexFormat(format->handle);
    }
}

void D3D11Renderer::EmptyResourceTables()
{
    EmptyTable(m_indexBuffers, "Index buffer with handle %llu still alive at shutdown!",
               [this](IndexBuffer& record) { ReleaseIndexBuffer(record); });
    EmptyTable(m_vertexBuffers, "Vertex buffer with handle %llu still alive at shutdown!",
               [this](VertexBuffer& record) { ReleaseVertexBuffer(record); });
    while (const Shader* shader = m_shaders.GetLiveAt(0)) {
        const qs::ObjectHandle handle = shader->handle;
        QS_LOG_ASSERT(FILE_NAME, DESTRUCTOR, "Shader with handle %llu still alive at shutdown!",
                      static_cast<unsigned long long>(handle.GetValue()));
        RemoveShaderInternal(handle);
    }
    EmptyTable(m_compiledShaders, "Compiled Shader with handle %llu still alive at shutdown!",
               [](gw::CompiledShader& record) { record.Destroy(); });
    EmptyTable(m_globalConstantBuffers, "Global Constant Buffer with handle %llu still alive at shutdown!",
               [](ConstantBuffer& record) { record.Release(); });
    EmptyTable(m_structuredBuffers, "Strucutred buffer with handle %llu still alive at shutdown!",
               [this](StructuredBuffer& record) {
                   UntrackMemory(&record, "DX11 SB");
                   ReleaseObject(record.buffer);
                   RemoveTexture(record.texture, true, true);
               });
    EmptyTable(m_textures, "Texture with handle %llu still alive at shutdown!",
               [this](Texture& record) { RemoveTexture(record.handle, false, true); });
    m_srvs.Drain([](SRV& srv) {
        QS_LOG_ASSERT(FILE_NAME, DESTRUCTOR, "Structured Resource View still alive at shutdown!");
        DeleteViews(srv.views, srv.stencilFormat ? 2 : 1);
    });
}

} // namespace api
