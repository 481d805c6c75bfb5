// 03: a picture from a file on a quad: texture, sampler, index buffer, and a matrix as constant.
#include "Sample.h"

#include <Gleamwork/GWDataLoader.h>

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace {

struct Vertex
{
    float x, y, u, v;
};

// Texture coordinates run from the upper left corner, (0, 0), to the lower right one, (1, 1).
constexpr Vertex s_quad[] = {{-1, 1, 0, 0}, {1, 1, 1, 0}, {1, -1, 1, 1}, {-1, -1, 0, 1}};
constexpr std::uint16_t s_indices[] = {0, 1, 2, 0, 2, 3};

constexpr gw::FormatDesc s_format[] = {
    {0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 2},
    {0, gw::eAttributeUsage_Texcoord, 0, 0, gw::eAttributeFormat_Float32, 2},
};

/// Turns by `angle` radians and keeps the picture's proportions in a target of another shape.
Matrix4x4f MakeTransform(float angle, float pictureRatio, float targetRatio)
{
    const float c = 0.8f * std::cos(angle);
    const float s = 0.8f * std::sin(angle);
    Matrix4x4f matrix;
    matrix(0, 0) = c * pictureRatio / targetRatio;
    matrix(0, 1) = s * pictureRatio;
    matrix(1, 0) = -s / targetRatio;
    matrix(1, 1) = c;
    return matrix;
}

} // namespace

int main(int argc, char** argv)
{
    samples::Sample sample(argc, argv, "03_texture");
    if (!sample.Start()) {
        return 1;
    }
    gw::Renderer& renderer = sample.GetRenderer();
    const qs::ObjectHandle target = sample.GetTarget();
    const qs::ObjectHandle shader = sample.LoadShader("shaders/03_texture.shader");
    int width = 0;
    int height = 0;
    const qs::Path path(qs::PATH_ROOT_DATA, "pictures/tiles.png");
    const qs::ObjectHandle texture = gw::DataLoader::InvokeAdd2DTexture(path, false, false, 0, width, height);
    if (!shader.IsValid() || !texture.IsValid()) {
        std::fprintf(stderr, "The shader or the picture is missing; does GLEAM_DATA name another folder?\n");
        return 1;
    }
    const qs::ObjectHandle format = gw::DataLoader::InvokeAddVertexFormat(s_format, 2, shader);
    const VertexBufferID vertices =
        gw::DataLoader::InvokeAddVertexBuffer(sizeof s_quad, gw::eResourceUsage_Immutable, s_quad);
    const IndexBufferID indices =
        gw::DataLoader::InvokeAddIndexBuffer(6, sizeof s_indices[0], gw::eResourceUsage_Immutable, s_indices);

    renderer.ClearRenderTarget(target, -1, Vector4f(0.16f, 0.16f, 0.18f, 1.0f));
    renderer.SetRenderTargets(1, &target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    gw::PrepareDrawData draw;
    draw.shader = shader;
    draw.vertexFormat = format;
    draw.vertexBuffers[0] = vertices;
    draw.indexBuffer = indices;
    draw.topology = gw::ePrimitiveTopology_TriangleList;
    draw.blendState = renderer.BS(gw::BS_OPAQUE);
    draw.depthState = renderer.DS(gw::DS_NONE);
    draw.rasterizerState = renderer.RS(gw::RS_SOLID);
    renderer.PrepareDraw(draw);
    renderer.SetTexture(sample.Name("Picture"), texture, -1);
    renderer.SetSamplerState(sample.Name("PictureSampler"), renderer.SS(gw::SS_TRILINEAR_CLAMP));
    renderer.SetShaderConstant4x4f(
        sample.Name("transform"),
        MakeTransform(0.25f, float(width) / float(height), float(sample.GetWidth()) / float(sample.GetHeight())));
    renderer.DrawElements(0, 6, 0, 4);

    const int status = sample.Finish();
    gw::DataLoader::InvokeRemoveVertexBuffer(vertices);
    gw::DataLoader::InvokeRemoveIndexBuffer(indices);
    gw::DataLoader::InvokeRemoveTexture(texture, true);
    renderer.RemoveVertexFormat(format);
    gw::DataLoader::InvokeRemoveShader(shader);
    return status;
}
