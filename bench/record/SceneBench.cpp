// scene: 10,000 separate draws of small meshes, recorded on two threads and replayed, against the same scene straight
// in Vulkan. The time is a whole frame's, from the first recorded command to the end of the device's work.
#include "bench/common/BenchRenderer.h"
#include "bench/common/Ratio.h"
#include "bench/common/RawVulkanMeshes.h"

#include "Gleamwork/GleamworkSDM.h"
#include "Gleamwork/RendererCommandBuffer.h"

#include <algorithm>
#include <cstdio>
#include <semaphore>
#include <thread>
#include <vector>

namespace {

using bench::BenchRenderer;
using bench::MeshScene;
using gw::Renderer;
using gw::RendererCommandBuffer;

GleamworkSDM s_gleamwork;

/// The scene's resources, and what one thread records of it.
class Scene
{
public:
    Scene();
    ~Scene();
    void RecordStart(RendererCommandBuffer& buffer) const;
    void RecordDraws(RendererCommandBuffer& buffer, unsigned first, unsigned count) const;
    void RecordEnd(RendererCommandBuffer& buffer) const { buffer.CopyTexture(m_target, m_staging); }
    /// Locking the copy waits for the device.
    std::vector<unsigned> Wait(bool read) const;

private:
    static qs::FixedString Name(const char* text) { return qs::FixedString::Create(text, -1); }

    gw::PrepareDrawData m_data;
    VertexBufferID m_vertices[MeshScene::Meshes];
    IndexBufferID m_indices[MeshScene::Meshes];
    qs::ObjectHandle m_textures[MeshScene::Textures];
    qs::ObjectHandle m_target, m_staging;
    const qs::FixedString m_world = Name("world"), m_base = Name("Base"), m_sampler = Name("BaseSampler");
};

Scene::Scene()
{
    constexpr gw::FormatDesc format[] = {{0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 3},
                                         {0, gw::eAttributeUsage_Texcoord, 0, 0, gw::eAttributeFormat_Float32, 2}};
    m_data.shader = BenchRenderer::MakeShader(MeshScene::VertexText(), MeshScene::PixelText());
    m_data.depthState = Renderer::DS(gw::DS_NONE);
    m_data.rasterizerState = Renderer::RS(gw::RS_SOLID_CULL_BACK);
    m_data.blendState = Renderer::BS(gw::BS_OPAQUE);
    m_data.vertexFormat = gw::DataLoader::InvokeAddVertexFormat(format, 2, m_data.shader);
    m_data.topology = gw::ePrimitiveTopology_TriangleList;
    for (unsigned i = 0; i < MeshScene::Meshes; ++i) {
        MeshScene::Vertex vertices[MeshScene::Vertices];
        std::uint16_t indices[MeshScene::Indices];
        MeshScene::FillMesh(i, vertices, indices);
        m_vertices[i] = gw::DataLoader::InvokeAddVertexBuffer(sizeof vertices, gw::eResourceUsage_Immutable, vertices);
        m_indices[i] =
            gw::DataLoader::InvokeAddIndexBuffer(MeshScene::Indices, 2, gw::eResourceUsage_Immutable, indices);
    }
    for (unsigned i = 0; i < MeshScene::Textures; ++i) {
        std::uint32_t pixels[MeshScene::TextureSide * MeshScene::TextureSide];
        MeshScene::FillTexture(i, pixels);
        m_textures[i] = BenchRenderer::MakeTexture(MeshScene::TextureSide, pixels, gw::eTextureUsageFlag_ShaderResource,
                                                   gw::eTextureAccessFlag_GPURead);
    }
    m_target = BenchRenderer::MakeTexture(MeshScene::Target, nullptr, gw::eTextureUsageFlag_RenderTarget,
                                          gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_GPUWrite);
    m_staging = BenchRenderer::MakeTexture(MeshScene::Target, nullptr, gw::eTextureUsageFlag_None,
                                           gw::eTextureAccessFlag_CPURead);
}

Scene::~Scene()
{
    Renderer& renderer = BenchRenderer::Get();
    renderer.SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
    for (unsigned i = 0; i < MeshScene::Meshes; ++i) {
        renderer.RemoveVertexBuffer(m_vertices[i]);
        renderer.RemoveIndexBuffer(m_indices[i]);
    }
    for (const qs::ObjectHandle& texture : m_textures)
        renderer.RemoveTexture(texture, true, true);
    renderer.RemoveTexture(m_target, true, true);
    renderer.RemoveTexture(m_staging, true, true);
    renderer.RemoveShader(m_data.shader);
}

void Scene::RecordStart(RendererCommandBuffer& buffer) const
{
    buffer.SetRenderTargets(1, &m_target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    buffer.ClearRenderTarget(m_target, -1, Vector4f(0, 0, 0, 0));
    buffer.SetShader(m_data.shader);
    buffer.SetSamplerState(m_sampler, Renderer::SS(gw::SS_POINT_WRAP));
}

void Scene::RecordDraws(RendererCommandBuffer& buffer, unsigned first, unsigned count) const
{
    for (unsigned i = first; i < first + count; ++i) {
        Matrix4x4f world;
        MeshScene::FillMatrix(i, world.m);
        gw::PrepareDrawData data = m_data;
        data.vertexBuffers[0] = m_vertices[i % MeshScene::Meshes];
        data.indexBuffer = m_indices[i % MeshScene::Meshes];
        buffer.PrepareDraw(std::move(data));
        buffer.SetTexture(m_base, m_textures[i % MeshScene::Textures], -1);
        buffer.SetShaderConstant4x4f(m_world, world);
        buffer.DrawElements(0, MeshScene::Indices, 0, MeshScene::Vertices);
    }
}

std::vector<unsigned> Scene::Wait(bool read) const
{
    std::vector<unsigned> pixels;
    void* data = nullptr;
    int pitch = 0;
    if (!BenchRenderer::Get().LockTexture(m_staging, 0, &data, &pitch, gw::eResourceAccess_Read))
        return pixels;
    for (unsigned y = 0; read && y < MeshScene::Target; ++y) {
        const auto* row = reinterpret_cast<const unsigned*>(static_cast<const char*>(data) + std::size_t(y) * pitch);
        pixels.insert(pixels.end(), row, row + MeshScene::Target);
    }
    BenchRenderer::Get().UnlockTexture(m_staging, 0);
    return pixels;
}

/// Two threads record a half each; the first one then drains the queue.
class Frames
{
public:
    Frames(BenchRenderer& renderer, const Scene& scene) : m_renderer(renderer), m_scene(scene) {}
    ~Frames()
    {
        m_stop = true;
        m_start.release();
        m_second.join();
    }

    void Draw()
    {
        constexpr unsigned half = MeshScene::Draws / 2;
        m_start.release();
        m_scene.RecordStart(m_buffers[0]);
        m_scene.RecordDraws(m_buffers[0], 0, half);
        gw::DataLoader::InvokeExecuteRCB(&m_buffers[0]);
        m_renderer.immediate.ExecuteAll();
        m_done.acquire();
        gw::DataLoader::InvokeExecuteRCB(&m_buffers[1]);
        m_renderer.immediate.ExecuteAll();
        BenchRenderer::Get().EndFrame(false);
    }

private:
    void RecordSecondHalf()
    {
        for (m_start.acquire(); !m_stop; m_start.acquire()) {
            m_scene.RecordDraws(m_buffers[1], MeshScene::Draws / 2, MeshScene::Draws / 2);
            m_scene.RecordEnd(m_buffers[1]);
            m_done.release();
        }
    }

    BenchRenderer& m_renderer;
    const Scene& m_scene;
    RendererCommandBuffer m_buffers[2];
    bool m_stop = false;
    std::binary_semaphore m_start{0}, m_done{0};
    std::thread m_second{[this] { RecordSecondHalf(); }};
};

/// Pixels that differ; edges may fall differently by a rounding.
std::size_t CountDifferences(const std::vector<unsigned>& a, const std::vector<unsigned>& b)
{
    if (a.size() != b.size())
        return a.size() + b.size();
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        count += a[i] != b[i];
    return count;
}

} // namespace

int main(int argc, char** argv)
{
    BenchRenderer renderer;
    bench::RawVulkanMeshes raw;
    if (raw.Problem() || !renderer.Open("software")) {
        std::fprintf(stderr, "bench_scene: %s\n", raw.Problem() ? raw.Problem() : "the renderer does not start");
        return 1;
    }
    Scene scene;
    Frames frames(renderer, scene);
    frames.Draw();
    raw.Frame();
    const std::vector<unsigned> pixels = scene.Wait(true);
    const std::size_t differences = CountDifferences(pixels, raw.Pixels());
    const auto empty = static_cast<std::size_t>(std::count(pixels.begin(), pixels.end(), 0u));
    if (differences > MeshScene::Target * MeshScene::Target / 100 || empty * 10 > pixels.size() * 9) {
        std::fprintf(stderr, "bench_scene: the sides differ in %zu pixels, %zu are empty\n", differences, empty);
        return 1;
    }
    bench::AddRow(
        "scene",
        [&](benchmark::State& state) {
            for (auto _ : state) {
                frames.Draw();
                scene.Wait(false);
            }
        },
        [&](benchmark::State& state) {
            for (auto _ : state) {
                raw.Frame();
                raw.Wait();
            }
        });
    return bench::Run(argc, argv);
}
