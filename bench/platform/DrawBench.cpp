// 10,000 draws with one changed constant each, through the platform layer and straight in Vulkan. Constants change by
// a map with discard (case `map`) or by an update of a default buffer (case `update`).
#include "bench/common/Ratio.h"
#include "bench/common/RawVulkanDraws.h"

#include <d3d11.h>
#include <d3dcompiler.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using bench::DrawScene;

class PlatformDraws
{
public:
    explicit PlatformDraws(bool usesMap) : m_usesMap(usesMap) {}
    PlatformDraws(const PlatformDraws&) = delete;
    PlatformDraws& operator=(const PlatformDraws&) = delete;

    bool Open()
    {
        const D3D_FEATURE_LEVEL level = D3D_FEATURE_LEVEL_11_0;
        if (FAILED(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, &level, 1, D3D11_SDK_VERSION,
                                     &m_device, nullptr, &m_context)))
            return false;
        D3D11_TEXTURE2D_DESC target{};
        target.Width = target.Height = DrawScene::Target;
        target.MipLevels = target.ArraySize = target.SampleDesc.Count = 1;
        target.Format = DXGI_FORMAT_R8G8B8A8_UNORM;
        target.BindFlags = D3D11_BIND_RENDER_TARGET;
        D3D11_TEXTURE2D_DESC staging = target;
        staging.Usage = D3D11_USAGE_STAGING;
        staging.BindFlags = 0;
        staging.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
        D3D11_BUFFER_DESC constants{
            DrawScene::ConstantBytes, D3D11_USAGE_DYNAMIC, D3D11_BIND_CONSTANT_BUFFER, D3D11_CPU_ACCESS_WRITE, 0, 0};
        if (!m_usesMap) {
            constants.Usage = D3D11_USAGE_DEFAULT;
            constants.CPUAccessFlags = 0;
        }
        const D3D11_RASTERIZER_DESC raster{
            D3D11_FILL_SOLID, D3D11_CULL_NONE, FALSE, 0, 0, 0, TRUE, FALSE, FALSE, FALSE};
        if (FAILED(m_device->CreateTexture2D(&target, nullptr, &m_texture)) ||
            FAILED(m_device->CreateTexture2D(&staging, nullptr, &m_staging)) ||
            FAILED(m_device->CreateRenderTargetView(m_texture, nullptr, &m_target)) ||
            FAILED(m_device->CreateBuffer(&constants, nullptr, &m_constants)) ||
            FAILED(m_device->CreateRasterizerState(&raster, &m_raster)))
            return false;
        ID3DBlob* vertex = Compile(DrawScene::VertexText(), "vs_5_0");
        ID3DBlob* pixel = Compile(DrawScene::PixelText(), "ps_5_0");
        const bool made = vertex && pixel &&
                          SUCCEEDED(m_device->CreateVertexShader(vertex->GetBufferPointer(), vertex->GetBufferSize(),
                                                                 nullptr, &m_vertex)) &&
                          SUCCEEDED(m_device->CreatePixelShader(pixel->GetBufferPointer(), pixel->GetBufferSize(),
                                                                nullptr, &m_pixel));
        if (vertex)
            vertex->Release();
        if (pixel)
            pixel->Release();
        return made;
    }

    void Frame()
    {
        const float clear[4] = {};
        const D3D11_VIEWPORT viewport{0, 0, DrawScene::Target, DrawScene::Target, 0, 1};
        m_context->OMSetRenderTargets(1, &m_target, nullptr);
        m_context->ClearRenderTargetView(m_target, clear);
        m_context->RSSetViewports(1, &viewport);
        m_context->RSSetState(m_raster);
        m_context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
        m_context->VSSetShader(m_vertex, nullptr, 0);
        m_context->PSSetShader(m_pixel, nullptr, 0);
        m_context->VSSetConstantBuffers(0, 1, &m_constants);
        float constants[DrawScene::ConstantBytes / 4];
        DrawScene::FillConstants(constants, 0);
        for (unsigned i = 0; i < DrawScene::Draws; ++i) {
            constants[0] = static_cast<float>(i % 64) / 64.0f;
            if (m_usesMap) {
                D3D11_MAPPED_SUBRESOURCE mapped;
                m_context->Map(m_constants, 0, D3D11_MAP_WRITE_DISCARD, 0, &mapped);
                std::memcpy(mapped.pData, constants, sizeof constants);
                m_context->Unmap(m_constants, 0);
            } else {
                m_context->UpdateSubresource(m_constants, 0, nullptr, constants, 0, 0);
            }
            m_context->Draw(3, 0);
        }
        m_context->CopyResource(m_staging, m_texture);
        m_context->Flush();
    }

    /// Mapping the copy waits for the device without polling.
    unsigned Wait()
    {
        D3D11_MAPPED_SUBRESOURCE mapped{};
        unsigned pixel = 0;
        if (SUCCEEDED(m_context->Map(m_staging, 0, D3D11_MAP_READ, 0, &mapped))) {
            std::memcpy(&pixel,
                        static_cast<const char*>(mapped.pData) + DrawScene::Target / 2 * mapped.RowPitch +
                            DrawScene::Target / 2 * 4,
                        sizeof pixel);
            m_context->Unmap(m_staging, 0);
        }
        return pixel;
    }

    ~PlatformDraws()
    {
        IUnknown* const objects[] = {m_target, m_texture, m_staging, m_constants, m_vertex,
                                     m_pixel,  m_raster,  m_context, m_device};
        for (IUnknown* object : objects)
            if (object)
                object->Release();
    }

private:
    static ID3DBlob* Compile(const char* text, const char* profile)
    {
        ID3DBlob* code = nullptr;
        D3DCompile(text, std::strlen(text), "", nullptr, nullptr, "main", profile, D3DCOMPILE_OPTIMIZATION_LEVEL3, 0,
                   &code, nullptr);
        return code;
    }

    const bool m_usesMap;
    ID3D11Device* m_device = nullptr;
    ID3D11DeviceContext* m_context = nullptr;
    ID3D11Texture2D* m_texture = nullptr;
    ID3D11Texture2D* m_staging = nullptr;
    ID3D11RenderTargetView* m_target = nullptr;
    ID3D11Buffer* m_constants = nullptr;
    ID3D11VertexShader* m_vertex = nullptr;
    ID3D11PixelShader* m_pixel = nullptr;
    ID3D11RasterizerState* m_raster = nullptr;
};

} // namespace

int main(int argc, char** argv)
{
    PlatformDraws map(true), update(false);
    bench::RawVulkanDraws raw;
    if (!map.Open() || !update.Open() || raw.Problem()) {
        std::fprintf(stderr, "bench_platform: %s\n", raw.Problem() ? raw.Problem() : "the platform has no device");
        return 1;
    }
    map.Frame();
    update.Frame();
    raw.Frame();
    const unsigned expected = raw.MiddlePixel();
    if (map.Wait() != expected || update.Wait() != expected) {
        std::fprintf(stderr, "bench_platform: the sides draw different pictures\n");
        return 1;
    }
    const auto runRaw = [&](benchmark::State& state) {
        for (auto _ : state) {
            raw.Frame();
            raw.Wait();
        }
    };
    for (PlatformDraws* ours : {&map, &update}) {
        const std::string name = ours == &map ? ":map" : ":update";
        const auto runOurs = [ours](benchmark::State& state) {
            for (auto _ : state) {
                ours->Frame();
                ours->Wait();
            }
        };
        bench::AddRow("platform_draw_cpu" + name, runOurs, runRaw, bench::ETime::Processor);
        bench::AddRow("platform_draw_total" + name, runOurs, runRaw, bench::ETime::Wall);
    }
    return bench::Run(argc, argv);
}
