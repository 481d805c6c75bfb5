// The renderer's cost: 10,000 draws with one changed constant each against the same recorded straight in Vulkan, and
// sets that change nothing against an empty call through a pointer.
#include "bench/common/BenchRenderer.h"
#include "bench/common/Ratio.h"
#include "bench/common/RawVulkanDraws.h"

#include "Gleamwork/GleamworkSDM.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

using bench::DrawScene;
using gw::details::RendererBase;

GleamworkSDM s_gleamwork;

class RendererDraws
{
public:
    bool Open()
    {
        gw::DataLoader::InitImmediateCommandManager(&m_immediate);
        gw::DataLoader::InitRelaxedCommandManager(&m_relaxed);
        m_api.reset(api::CreateAPI(&m_app));
        if (!m_api->InitCaps() || !m_api->Init())
            return false;
        m_renderer = RendererBase::GetInstance();
        const gw::ShaderData none;
        m_shader = m_renderer->AddShader({DrawScene::VertexText(), std::strlen(DrawScene::VertexText())}, none,
                                         {DrawScene::PixelText(), std::strlen(DrawScene::PixelText())}, none,
                                         qs::FixedString::Empty, qs::FixedString::Empty, true, nullptr, nullptr, 0);
        m_renderer->CreateShader(m_shader);
        m_target = MakeTexture(gw::eTextureUsageFlag_RenderTarget, 12);
        m_staging = MakeTexture(0, 1);
        m_vertices = gw::DataLoader::InvokeAddVertexBuffer(64, gw::eResourceUsage_Default, nullptr);
        m_indices = gw::DataLoader::InvokeAddIndexBuffer(6, 2, gw::eResourceUsage_Default, nullptr);
        return m_renderer->GetTextureSize(m_target) != 0 && m_renderer->GetTextureSize(m_staging) != 0;
    }

    ~RendererDraws()
    {
        if (m_renderer) {
            m_renderer->RemoveTexture(m_target, true, true);
            m_renderer->RemoveTexture(m_staging, true, true);
            m_renderer->RemoveVertexBuffer(m_vertices);
            m_renderer->RemoveIndexBuffer(m_indices);
            m_renderer->RemoveShader(m_shader);
        }
        if (m_api)
            m_api->Exit();
        gw::DataLoader::DestroyCommandManager();
    }

    void Frame()
    {
        BindScene();
        m_renderer->ClearRenderTarget(m_target, -1, Vector4f(0, 0, 0, 0));
        float constants[DrawScene::ConstantBytes / 4];
        DrawScene::FillConstants(constants, 0);
        m_renderer->SetShaderConstantRaw(m_tints, constants + 4, sizeof constants - 16);
        for (unsigned i = 0; i < DrawScene::Draws; ++i) {
            // An upload reaches as far as what was set since the last one, so a draw sets all that its shader reads.
            constants[0] = static_cast<float>(i % 64) / 64.0f;
            m_renderer->SetShaderConstantRaw(m_place, constants, 16);
            m_renderer->SetShaderConstantRaw(m_tints, constants + 4, sizeof constants - 16);
            m_renderer->DrawArrays(0, 3);
        }
        m_renderer->CopyTexture(m_target, m_staging);
    }

    /// Locking the copy waits for the device.
    unsigned Wait()
    {
        void* data = nullptr;
        int pitch = 0;
        unsigned pixel = 0;
        if (m_renderer->LockTexture(m_staging, 0, &data, &pitch, gw::eResourceAccess_Read)) {
            std::memcpy(&pixel,
                        static_cast<const char*>(data) + DrawScene::Target / 2 * unsigned(pitch) +
                            DrawScene::Target / 2 * 4,
                        sizeof pixel);
            m_renderer->UnlockTexture(m_staging, 0);
        }
        return pixel;
    }

    /// Ten sets of different kinds that all repeat what is bound.
    void RepeatSets()
    {
        m_renderer->SetShader(m_shader);
        m_renderer->SetBlendState(m_blend, 0xffffffff);
        m_renderer->SetDepthState(m_depth, 0);
        m_renderer->SetRasterizerState(m_raster);
        m_renderer->SetVertexFormat(SHADER_NONE);
        m_renderer->SetVertexBuffer(0, m_vertices, 0);
        m_renderer->SetIndexBuffer(m_indices, 0);
        m_renderer->SetPrimitiveTopology(gw::ePrimitiveTopology_TriangleList);
        static_cast<api::D3D11Renderer*>(m_renderer)->SetViewport(DrawScene::Target, DrawScene::Target, 0, 0);
        m_renderer->SetScissorRect(0, 0, 1, 1);
    }
    static constexpr int SetsPerRepeat = 10;

    void BindScene()
    {
        m_blend = RendererBase::BS(gw::BS_OPAQUE);
        m_depth = RendererBase::DS(gw::DS_NONE);
        m_raster = RendererBase::RS(gw::RS_SOLID);
        m_renderer->SetRenderTargets(1, &m_target, nullptr, nullptr, TEXTURE_NONE, false, -1);
        RepeatSets();
    }

private:
    qs::ObjectHandle MakeTexture(unsigned usage, unsigned access)
    {
        return gw::DataLoader::InvokeAddTextureFromMemory(nullptr, gw::FORMAT_RGBA8, DrawScene::Target,
                                                          DrawScene::Target, 0, 1, nullptr, 1, 1,
                                                          gw::ETextureUsageFlag(usage), gw::ETextureAccessFlag(access));
    }

    bench::BenchApp m_app;
    qs::CommandBuffer m_immediate, m_relaxed;
    std::unique_ptr<api::IAPI> m_api;
    gw::Renderer* m_renderer = nullptr;
    qs::ObjectHandle m_shader, m_target, m_staging, m_blend, m_depth, m_raster;
    VertexBufferID m_vertices;
    IndexBufferID m_indices;
    const qs::FixedString m_place = qs::FixedString::Create("place", -1);
    const qs::FixedString m_tints = qs::FixedString::Create("tints", -1);
};

void Nothing(int) {}
void (*volatile s_empty)(int) = Nothing;

} // namespace

int main(int argc, char** argv)
{
    RendererDraws ours;
    bench::RawVulkanDraws raw;
    if (!ours.Open() || raw.Problem()) {
        std::fprintf(stderr, "bench_gleamwork: %s\n", raw.Problem() ? raw.Problem() : "the renderer does not start");
        return 1;
    }
    ours.Frame();
    raw.Frame();
    if (ours.Wait() != raw.MiddlePixel()) {
        std::fprintf(stderr, "bench_gleamwork: the sides draw different pictures\n");
        return 1;
    }
    const auto drawOurs = [&](benchmark::State& state) {
        for (auto _ : state) {
            ours.Frame();
            ours.Wait();
        }
    };
    const auto drawRaw = [&](benchmark::State& state) {
        for (auto _ : state) {
            raw.Frame();
            raw.Wait();
        }
    };
    bench::AddRow("draw_cpu", drawOurs, drawRaw, bench::ETime::Processor);
    bench::AddRow("draw_total", drawOurs, drawRaw, bench::ETime::Wall);

    constexpr int sets = 1000000;
    bench::AddRow(
        "redundant_set",
        [&](benchmark::State& state) {
            ours.BindScene();
            for (auto _ : state)
                for (int i = 0; i < sets; i += RendererDraws::SetsPerRepeat)
                    ours.RepeatSets();
        },
        [](benchmark::State& state) {
            for (auto _ : state)
                for (int i = 0; i < sets; ++i)
                    s_empty(i);
        });
    return bench::Run(argc, argv);
}
