// Command buffers on the null device.
//
//   record          recording a typical draw, against the copy of as many bytes and a look-up of each handle
//   record_scaling  one thread's time over that of two threads that share the same work: 2 is perfect, 1 is no gain
//   replay          replaying the draws, against the same calls of the renderer
#include "bench/common/BenchRenderer.h"
#include "bench/common/Ratio.h"

#include "Gleamwork/GleamworkSDM.h"
#include "Gleamwork/RendererCommandBuffer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <thread>
#include <vector>

namespace {

using bench::BenchRenderer;
using gw::Renderer;
using gw::RendererCommandBuffer;

GleamworkSDM s_gleamwork;

constexpr unsigned c_draws = 10000;
constexpr unsigned c_textures = 100;

const char c_vertex[] = "float4 place; float4x4 world;"
                        "float4 main(float3 position : POSITION) : SV_Position"
                        "{ return mul(float4(position * place.w + place.xyz, 1), world); }";
const char c_fragment[] = "float4 tint; Texture2D Base; SamplerState BaseSampler;"
                          "float4 main(float4 position : SV_Position) : SV_Target"
                          "{ return Base.Sample(BaseSampler, position.xy) * tint; }";

/// Reaches the tables, so that a look-up of the limit's side costs no call.
struct Tables : Renderer
{
    using Renderer::m_blendStates;
    using Renderer::m_depthStates;
    using Renderer::m_indexBuffers;
    using Renderer::m_rasterizerStates;
    using Renderer::m_shaders;
    using Renderer::m_textures;
    using Renderer::m_vertexBuffers;
    using Renderer::m_vertexFormats;
};

template <class Container>
void LookUp(Container gw::details::RendererBase::*table, const qs::ObjectHandle& handle)
{
    benchmark::DoNotOptimize((BenchRenderer::Get().*table).Get(handle));
}

class Scene
{
public:
    Scene()
    {
        constexpr gw::FormatDesc format[] = {{0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 3}};
        m_data.shader = BenchRenderer::MakeShader(c_vertex, c_fragment);
        m_data.depthState = Renderer::DS(gw::DS_READ_WRITE);
        m_data.rasterizerState = Renderer::RS(gw::RS_SOLID);
        m_data.blendState = Renderer::BS(gw::BS_OPAQUE);
        m_data.vertexFormat = gw::DataLoader::InvokeAddVertexFormat(format, 1, m_data.shader);
        m_data.vertexBuffers[0] = gw::DataLoader::InvokeAddVertexBuffer(4096, gw::eResourceUsage_Default, nullptr);
        m_data.indexBuffer = gw::DataLoader::InvokeAddIndexBuffer(96, 2, gw::eResourceUsage_Default, nullptr);
        m_data.topology = gw::ePrimitiveTopology_TriangleList;
        for (unsigned i = 0; i < c_draws; ++i)
            m_instances[i].place.x = m_instances[i].tint.w = m_instances[i].world.m[12] = static_cast<float>(i);
        const unsigned pixel = ~0u;
        for (qs::ObjectHandle& texture : m_textures)
            texture = BenchRenderer::MakeTexture(1, &pixel, gw::eTextureUsageFlag_ShaderResource,
                                                 gw::eTextureAccessFlag_GPURead);
        m_target = BenchRenderer::MakeTexture(64, nullptr, gw::eTextureUsageFlag_RenderTarget,
                                              gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_GPUWrite);
    }

    ~Scene()
    {
        Renderer& renderer = BenchRenderer::Get();
        renderer.SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
        for (const qs::ObjectHandle& texture : m_textures)
            renderer.RemoveTexture(texture, true, true);
        renderer.RemoveTexture(m_target, true, true);
        renderer.RemoveVertexBuffer(m_data.vertexBuffers[0]);
        renderer.RemoveIndexBuffer(m_data.indexBuffer);
        renderer.RemoveShader(m_data.shader);
    }

    void Record(RendererCommandBuffer& buffer, unsigned first, unsigned count) const
    {
        for (unsigned i = first; i < first + count; ++i) {
            const Instance& instance = m_instances[i];
            buffer.PrepareDraw(gw::PrepareDrawData(m_data));
            buffer.SetTexture(m_base, m_textures[i % c_textures], -1);
            buffer.SetShaderConstant4f(m_place, instance.place);
            buffer.SetShaderConstant4f(m_tint, instance.tint);
            buffer.SetShaderConstant4x4f(m_world, instance.world);
            buffer.DrawElements(0, 36, 0, 24);
        }
    }

    /// Bytes of the records of one draw, headers and padding included.
    static constexpr std::size_t DrawBytes = 104 + 32 + 2 * 88 + 136 + 24;

    void CopyAndLookUp(unsigned char* target) const
    {
        static constexpr unsigned char source[DrawBytes] = {};
        for (unsigned i = 0; i < c_draws; ++i) {
            std::memcpy(target + i * DrawBytes, source, DrawBytes);
            LookUp(&Tables::m_shaders, m_data.shader);
            LookUp(&Tables::m_depthStates, m_data.depthState);
            LookUp(&Tables::m_rasterizerStates, m_data.rasterizerState);
            LookUp(&Tables::m_blendStates, m_data.blendState);
            LookUp(&Tables::m_vertexFormats, m_data.vertexFormat);
            LookUp(&Tables::m_vertexBuffers, m_data.vertexBuffers[0]);
            LookUp(&Tables::m_indexBuffers, m_data.indexBuffer);
            LookUp(&Tables::m_textures, m_textures[i % c_textures]);
            benchmark::ClobberMemory();
        }
    }

    /// What the replay calls, with what recording settles settled beforehand.
    void Direct() const
    {
        Renderer& renderer = BenchRenderer::Get();
        const Shader* shader = renderer.GetShader(m_data.shader);
        SetTextureDesc views[c_textures];
        for (unsigned i = 0; i < c_textures; ++i)
            renderer.PrepareSetTexture(shader, m_base, m_textures[i], -1, views[i]);
        const SetShaderConstantRawDesc place = renderer.PrepareSetShaderConstantRaw(shader, m_place);
        const SetShaderConstantRawDesc tint = renderer.PrepareSetShaderConstantRaw(shader, m_tint);
        const SetShaderConstantRawDesc matrix = renderer.PrepareSetShaderConstantRaw(shader, m_world);
        for (unsigned i = 0; i < c_draws; ++i) {
            const Instance& instance = m_instances[i];
            renderer.PrepareDraw(gw::PrepareDrawData(m_data));
            renderer.SetTexture(views[i % c_textures]);
            const Matrix4x4f world = instance.world.Transposed();
            renderer.SetShaderConstantRaw(place, &instance.place, sizeof(instance.place));
            renderer.SetShaderConstantRaw(tint, &instance.tint, sizeof(instance.tint));
            renderer.SetShaderConstantRaw(matrix, &world, sizeof(world));
            renderer.DrawElements(0, 36, 0, 24);
        }
    }

    void BindTarget() const
    {
        BenchRenderer::Get().SetRenderTargets(1, &m_target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    }

private:
    static qs::FixedString Name(const char* text) { return qs::FixedString::Create(text, -1); }

    struct Instance
    {
        Vector4f place, tint;
        Matrix4x4f world;
    };

    gw::PrepareDrawData m_data;
    std::vector<Instance> m_instances = std::vector<Instance>(c_draws);
    std::array<qs::ObjectHandle, c_textures> m_textures;
    qs::ObjectHandle m_target;
    const qs::FixedString m_base = Name("Base"), m_place = Name("place"), m_tint = Name("tint"),
                          m_world = Name("world");
};

/// Processor time of the calling thread in seconds.
double ThreadTime()
{
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

/// Records all draws `Rounds` times on `count` threads that share them evenly, each into a buffer of its own, and gives
/// the processor time of the slowest thread. What threads share, they pay for in that time; whether a core was free for
/// each of them all along does not count.
double RecordOn(unsigned count, const Scene& scene, std::array<RendererCommandBuffer, 2>& buffers)
{
    constexpr unsigned Rounds = 20;
    std::atomic<unsigned> ready = 0;
    double times[2] = {};
    const auto work = [&](unsigned index) {
        ++ready;
        while (ready != count)
            std::this_thread::yield();
        const double begin = ThreadTime();
        for (unsigned i = 0; i < Rounds; ++i) {
            buffers[index].Discard();
            scene.Record(buffers[index], c_draws / count * index, c_draws / count);
        }
        times[index] = ThreadTime() - begin;
    };
    std::thread second;
    if (count == 2)
        second = std::thread(work, 1);
    work(0);
    if (second.joinable())
        second.join();
    return std::max(times[0], times[1]);
}

} // namespace

int main(int argc, char** argv)
{
    BenchRenderer renderer;
    if (!renderer.Open("null")) {
        std::fprintf(stderr, "bench_record: the renderer does not start\n");
        return 1;
    }
    Scene scene;
    scene.BindTarget();
    RendererCommandBuffer whole, draws;
    std::array<RendererCommandBuffer, 2> pair;
    scene.Record(whole, 0, c_draws);
    const std::size_t bytes = whole.GetCommandStream().GetUsedBytes();
    if (bytes > c_draws * Scene::DrawBytes || bytes < c_draws * (Scene::DrawBytes - 1)) {
        std::fprintf(stderr, "bench_record: a draw takes %zu bytes\n", bytes / c_draws);
        return 1;
    }
    std::vector<unsigned char> target(c_draws * Scene::DrawBytes);
    const auto record = [&](benchmark::State& state) {
        for (auto _ : state) {
            whole.Discard();
            scene.Record(whole, 0, c_draws);
        }
    };
    bench::AddRow(
        "record", record,
        [&](benchmark::State& state) {
            for (auto _ : state)
                scene.CopyAndLookUp(target.data());
        },
        bench::ETime::Processor);
    const auto scale = [&](unsigned count) {
        return [&scene, &pair, count](benchmark::State& state) {
            for (auto _ : state)
                state.SetIterationTime(RecordOn(count, scene, pair));
        };
    };
    bench::AddRow("record_scaling", scale(1), scale(2), bench::ETime::Manual);
    scene.Record(draws, 0, c_draws);
    bench::AddRow(
        "replay",
        [&](benchmark::State& state) {
            for (auto _ : state)
                qs::ExecuteCommandDispatcher(draws, false);
        },
        [&](benchmark::State& state) {
            for (auto _ : state)
                scene.Direct();
        },
        bench::ETime::Processor);
    return bench::Run(argc, argv);
}
