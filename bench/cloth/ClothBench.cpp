// The data of a cloth from meshes of 60,000 vertices, against sorting the same positions with the standard library.
#include "bench/common/Ratio.h"

#include "Gleamwork/ClothData.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <tuple>
#include <vector>

namespace {

constexpr std::array<gw::FormatDesc, 3> FORMAT = {{
    {0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 3},
    {0, gw::eAttributeUsage_Color, 0, 0, gw::eAttributeFormat_UNorm8, 4},
    {0, gw::eAttributeUsage_BlendWeight, 0, 0, gw::eAttributeFormat_UNorm8, 4},
}};

struct Vertex
{
    Vector3f position;
    std::uint8_t color[4];
    std::uint8_t blendWeights[4];
};

struct Mesh
{
    std::vector<Vertex> vertices;
    std::vector<std::uint16_t> indices;
};

constexpr int COLUMNS = 300;
constexpr int ROWS = 200;

// Hanging from its first row. In the plain case the vertices lie row by row; exporters leave them in any order.
Mesh MakeGrid(bool shuffled)
{
    std::vector<std::uint16_t> places(COLUMNS * ROWS);
    for (std::size_t i = 0; i < places.size(); ++i) {
        places[i] = std::uint16_t(i);
    }
    if (shuffled) {
        std::shuffle(places.begin(), places.end(), std::mt19937(7));
    }
    Mesh mesh;
    mesh.vertices.resize(places.size());
    for (int row = 0; row < ROWS; ++row) {
        for (int column = 0; column < COLUMNS; ++column) {
            const auto weight = std::uint8_t(row == 0 ? 0 : 255);
            mesh.vertices[places[std::size_t(row * COLUMNS + column)]] = {
                Vector3f(float(column) * 0.01f, float(-row) * 0.01f, 0), {weight}, {255}};
        }
    }
    for (int row = 0; row + 1 < ROWS; ++row) {
        for (int column = 0; column + 1 < COLUMNS; ++column) {
            for (const int corner : {0, COLUMNS, 1, 1, COLUMNS, COLUMNS + 1}) {
                mesh.indices.push_back(places[std::size_t(row * COLUMNS + column + corner)]);
            }
        }
    }
    return mesh;
}

// Triangles around one vertex on a plane on which all positions have the same sum: the worst for searches in lists.
Mesh MakeFan()
{
    Mesh mesh;
    for (int i = 0; i < COLUMNS * ROWS; ++i) {
        const auto x = float(i % COLUMNS);
        const auto y = float(i / COLUMNS);
        mesh.vertices.push_back({Vector3f(x, y, -x - y), {255}, {255}});
    }
    for (int i = 2; i < COLUMNS * ROWS; ++i) {
        mesh.indices.insert(mesh.indices.end(), {0, std::uint16_t(i - 1), std::uint16_t(i)});
    }
    return mesh;
}

// Fresh blocks for each repetition, as the builder rearranges them.
void Build(benchmark::State& state, const Mesh& mesh)
{
    Mesh staging = mesh;
    for (auto _ : state) {
        state.PauseTiming();
        std::copy(mesh.vertices.begin(), mesh.vertices.end(), staging.vertices.begin());
        std::copy(mesh.indices.begin(), mesh.indices.end(), staging.indices.begin());
        state.ResumeTiming();
        gw::ClothData data;
        gw::BuildClothData(gw::StagingModelData(staging.indices.data(), std::int32_t(staging.indices.size()), 2,
                                                staging.vertices.data(), std::int32_t(staging.vertices.size()),
                                                sizeof(Vertex), FORMAT.data(), FORMAT.size()),
                           data);
        if (data.links.IsEmpty() || data.simulatedPoints.vertices.IsEmpty()) {
            state.SkipWithError("nothing was built");
        }
    }
}

void Sort(benchmark::State& state, const Mesh& mesh)
{
    std::vector<Vector3f> positions(mesh.vertices.size());
    for (auto _ : state) {
        state.PauseTiming();
        std::transform(mesh.vertices.begin(), mesh.vertices.end(), positions.begin(),
                       [](const Vertex& vertex) { return vertex.position; });
        state.ResumeTiming();
        std::sort(positions.begin(), positions.end(), [](const Vector3f& a, const Vector3f& b) {
            return std::tie(a.x, a.y, a.z) < std::tie(b.x, b.y, b.z);
        });
        benchmark::DoNotOptimize(positions.data());
    }
}

} // namespace

int main(int argc, char** argv)
{
    const Mesh rows = MakeGrid(false);
    const Mesh shuffled = MakeGrid(true);
    const Mesh fan = MakeFan();
    for (const auto& [name, mesh] : {std::pair("cloth_build:rows", &rows), std::pair("cloth_build:shuffled", &shuffled),
                                     std::pair("cloth_build:fan", &fan)}) {
        bench::AddRow(
            name, [mesh = mesh](benchmark::State& state) { Build(state, *mesh); },
            [mesh = mesh](benchmark::State& state) { Sort(state, *mesh); }, bench::ETime::Processor);
    }
    return bench::Run(argc, argv);
}
