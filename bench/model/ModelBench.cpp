// A model of 1,000,000 vertices from separate attributes, against an interleaving loop written by hand.
#include "bench/common/BenchRenderer.h"
#include "bench/common/Ratio.h"

#include "Gleamwork/GleamworkSDM.h"
#include "Gleamwork/Model.h"
#include "Gleamwork/RendererCommandBuffer.h"

#include <cstdio>
#include <vector>

namespace {

GleamworkSDM s_gleamwork;

constexpr std::uint32_t VERTICES = 1000000;

struct Attributes
{
    std::vector<float> positions = std::vector<float>(VERTICES * 3, 1.0f);
    std::vector<float> normals = std::vector<float>(VERTICES * 3, 0.5f);
    std::vector<float> texCoords = std::vector<float>(VERTICES * 2, 0.25f);
};

struct Vertex
{
    float position[3];
    float normal[3];
    float texCoord[2];
};

// Packs, makes the buffer, and works out the bound.
void Upload(benchmark::State& state, const Attributes& attributes)
{
    gw::RendererCommandBuffer commands;
    for (auto _ : state) {
        gw::StreamCollection streams(gw::ePrimitiveTopology_PointList, 0, nullptr);
        streams.AddStream(gw::Stream(gw::eAttributeUsage_Position, 3, VERTICES, attributes.positions.data()));
        streams.AddStream(gw::Stream(gw::eAttributeUsage_Normal, 3, VERTICES, attributes.normals.data()));
        streams.AddStream(gw::Stream(gw::eAttributeUsage_Texcoord, 2, VERTICES, attributes.texCoords.data()));
        gw::Model model;
        model.CreateFromStreamCollection(commands, streams, false);
        commands.SetRecording(false);
        model.RemoveRenderData(commands);
    }
}

// The same work by hand, with memory of the same service: interleave, hand the block to a device buffer, bound.
void ByHand(benchmark::State& state, const Attributes& attributes)
{
    for (auto _ : state) {
        auto* vertices = static_cast<Vertex*>(
            qs::MemoryManager::Allocate(VERTICES * sizeof(Vertex), qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true));
        float low[3] = {1e30f, 1e30f, 1e30f};
        float high[3] = {-1e30f, -1e30f, -1e30f};
        for (std::uint32_t i = 0; i < VERTICES; ++i) {
            for (int axis = 0; axis < 3; ++axis) {
                const float value = attributes.positions[i * 3 + axis];
                vertices[i].position[axis] = value;
                vertices[i].normal[axis] = attributes.normals[i * 3 + axis];
                low[axis] = value < low[axis] ? value : low[axis];
                high[axis] = value > high[axis] ? value : high[axis];
            }
            vertices[i].texCoord[0] = attributes.texCoords[i * 2];
            vertices[i].texCoord[1] = attributes.texCoords[i * 2 + 1];
        }
        benchmark::DoNotOptimize(low);
        benchmark::DoNotOptimize(high);
        const VertexBufferID buffer = gw::DataLoader::InvokeAddVertexBuffer(long(VERTICES * sizeof(Vertex)),
                                                                            gw::eResourceUsage_Immutable, vertices);
        bench::BenchRenderer::Get().RemoveVertexBuffer(buffer);
        qs::MemoryManager::Deallocate(vertices, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
    }
}

} // namespace

int main(int argc, char** argv)
{
    bench::BenchRenderer renderer;
    if (!renderer.Open("null")) {
        std::fprintf(stderr, "bench_model: the renderer does not start\n");
        return 1;
    }
    const Attributes attributes;
    bench::AddRow(
        "model_upload", [&](benchmark::State& state) { Upload(state, attributes); },
        [&](benchmark::State& state) { ByHand(state, attributes); }, bench::ETime::Processor);
    return bench::Run(argc, argv);
}
