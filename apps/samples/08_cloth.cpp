// 08: cloth: a mesh split for a simulation, and the positions that it writes in every frame.
#include "SampleFrame.h"

#include <Gleamwork/ClothModel.h>
#include <Gleamwork/GWDataLoader.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace {

struct Vertex
{
    Vector3f position;
    float uv[2];
    std::uint8_t color[4]; // red is the weight: 0 holds still, 255 moves freely
};

constexpr gw::FormatDesc s_format[] = {
    {0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 3},
    {0, gw::eAttributeUsage_Texcoord, 0, 0, gw::eAttributeFormat_Float32, 2},
    {0, gw::eAttributeUsage_Color, 0, 0, gw::eAttributeFormat_UNorm8, 4},
};
constexpr int s_columns = 24, s_rows = 14;

/// A curtain that hangs on every eighth vertex of its upper edge.
void MakeCurtain(std::vector<Vertex>& vertices, std::vector<std::uint16_t>& indices)
{
    for (int row = 0; row <= s_rows; ++row) {
        for (int column = 0; column <= s_columns; ++column) {
            const float u = float(column) / s_columns;
            const float v = float(row) / s_rows;
            const auto weight = std::uint8_t(row == 0 && column % 8 == 0 ? 0 : 255);
            vertices.push_back({Vector3f(u * 2.8f - 1.4f, 2.0f - v * 1.8f, 0.0f), {u, v}, {weight, 0, 0, 255}});
        }
    }
    for (int row = 0; row < s_rows; ++row) {
        for (int column = 0; column < s_columns; ++column) {
            const int corner = row * (s_columns + 1) + column;
            for (const int step : {0, 1, s_columns + 1, 1, s_columns + 2, s_columns + 1}) {
                indices.push_back(std::uint16_t(corner + step));
            }
        }
    }
}

/// The three buffers of a base model. The mesh comes out in the order of the simulation.
void CreateBase(gw::ClothModel& base)
{
    std::vector<Vertex> vertices;
    std::vector<std::uint16_t> indices;
    MakeCurtain(vertices, indices);
    const auto count = std::uint32_t(vertices.size());
    const gw::StagingModelData staging(indices.data(), int(indices.size()), 2, vertices.data(), int(count),
                                       sizeof(Vertex), s_format, std::size(s_format));
    base.BuildClothData(staging, samples::Sample::Name("curtain"));
    gw::FormatDesc format[] = {s_format[0], s_format[1], s_format[2]};
    std::vector<Vector3f> positions(count);
    std::vector<char> skin(count * 4u), others(count * 8u); // texture coordinates are all that is left
    base.PrepareCloth(staging, positions.data(), skin.data(), others.data(), format);

    constexpr auto usage = gw::eResourceUsage_Immutable;
    base.SetIndices(std::uint32_t(indices.size()), 2, indices.data(), usage);
    base.SetVertices(count, others.data(), format, std::size(format), usage);
    base.SetClothPositionsVertexBuffer(count, 12,
                                       gw::DataLoader::InvokeAddVertexBuffer(count * 12, usage, positions.data()));
    base.SetClothSkinningVertexBuffer(count, 4, gw::DataLoader::InvokeAddVertexBuffer(count * 4, usage, skin.data()));
}

/// The simulation is the application's: here every edge is pulled back to its length a few times in each step.
void Step(const gw::ClothData& data, std::vector<Vector3f>& now, std::vector<Vector3f>& before, float time)
{
    for (std::uint32_t i = 0; i < now.size(); ++i) {
        const float breeze = 9.0f * std::sin(time * 3.0f + now[i].x * 3.0f) * (2.0f - now[i].y);
        const Vector3f moved = (now[i] - before[i]) * 0.99f + Vector3f(0.0f, -9.81f, breeze) * (1.0f / 14400.0f);
        before[i] = now[i];
        now[i] += moved * data.weights[i];
    }
    for (int pass = 0; pass < 12; ++pass) {
        for (const gw::ClothLink& link : data.links) {
            const auto a = std::uint32_t(link.first);
            const auto b = std::uint32_t(link.second);
            const Vector4f rest = data.positions[a] - data.positions[b];
            const Vector3f between = now[b] - now[a];
            const float error = 1.0f - std::sqrt(rest.Dot(rest)) / between.Length();
            const Vector3f pull = between * (error / (data.weights[a] + data.weights[b]));
            now[a] += pull * data.weights[a];
            now[b] -= pull * data.weights[b];
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    samples::Sample sample(argc, argv, "08_cloth");
    if (!sample.Start()) {
        return 1;
    }
    gw::ClothModel base(sample.Name("curtain"));
    gw::ClothModel curtain(sample.Name("curtain"));
    CreateBase(base);
    curtain.CreateClothInstance(&base); // shares everything but its positions
    const gw::ClothData& data = *curtain.GetClothData();
    std::vector<Vector3f> now;
    for (std::uint32_t i = 0; i < data.positions.GetSize(); ++i) {
        now.emplace_back(data.positions[i].x, data.positions[i].y, data.positions[i].z);
    }
    std::vector<Vector3f> before = now;
    const qs::ObjectHandle shader = sample.LoadShader("shaders/08_cloth.shader");
    const qs::ObjectHandle format = gw::DataLoader::InvokeAddVertexFormat(base.GetFormatDesc(), 3, shader);
    const auto record = [&](gw::RendererCommandBuffer& commands, const gw::RenderView&) {
        void* positions = nullptr;
        const auto size = std::uint32_t(now.size() * sizeof now[0]);
        if (curtain.LockClothPositionBuffer(commands, 0, size, &positions, gw::eResourceAccess_WriteDiscard)) {
            std::memcpy(positions, now.data(), size);
            curtain.UnlockClothPositionBuffer(commands);
        }
        commands.UpdateGlobalConstants(); // the camera's, which the shader reads
        gw::PrepareDrawData draw;
        draw.shader = shader;
        draw.vertexFormat = format;
        draw.vertexBuffers[0] = curtain.GetVertexBuffer();
        draw.vertexBuffers[1] = curtain.GetClothPositionsVertexBuffer();
        draw.vertexBuffers[2] = curtain.GetClothSkinningVertexBuffer();
        draw.indexBuffer = curtain.GetIndexBuffer();
        draw.topology = curtain.GetTopology();
        draw.blendState = gw::Renderer::BS(gw::BS_OPAQUE);
        draw.depthState = gw::Renderer::DS(gw::DS_READ_WRITE);
        draw.rasterizerState = gw::Renderer::RS(gw::RS_SOLID);
        commands.PrepareDraw(std::move(draw));
        curtain.Draw(&commands);
    };
    samples::SampleFrame frame(sample, Vector3f(-0.9f, 1.2f, -2.5f), Vector3f(0.0f, 1.0f, 0.0f), record);
    for (int i = 0; i < 200; ++i) {
        Step(data, now, before, float(i) / 120.0f);
        if (i % 20 == 19) {
            frame.Draw(i / 2);
        }
    }
    const int status = sample.Finish(frame.GetBackBuffer());
    curtain.RemoveClothRenderData();
    base.RemoveRenderData();
    sample.GetRenderer().RemoveVertexFormat(format);
    gw::DataLoader::InvokeRemoveShader(shader);
    return status;
}
