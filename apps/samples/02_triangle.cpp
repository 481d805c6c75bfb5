// 02: a triangle through a text shader: vertex format, vertex buffer, a constant, one draw.
#include "Sample.h"

#include <Gleamwork/GWDataLoader.h>

namespace {

struct Vertex
{
    float x, y;
    float red, green, blue;
};

// Clip space: x to the right and y up, both from -1 to 1.
constexpr Vertex s_triangle[] = {
    {0.0f, 0.8f, 1.0f, 0.2f, 0.2f},
    {0.7f, -0.7f, 0.2f, 1.0f, 0.2f},
    {-0.7f, -0.7f, 0.2f, 0.3f, 1.0f},
};

// Attributes meet the shader's inputs by semantic: POSITION and COLOR0, both from stream 0.
constexpr gw::FormatDesc s_format[] = {
    {0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 2},
    {0, gw::eAttributeUsage_Color, 0, 0, gw::eAttributeFormat_Float32, 3},
};

} // namespace

int main(int argc, char** argv)
{
    samples::Sample sample(argc, argv, "02_triangle");
    if (!sample.Start()) {
        return 1;
    }
    gw::Renderer& renderer = sample.GetRenderer();
    const qs::ObjectHandle target = sample.GetTarget();
    const qs::ObjectHandle shader = sample.LoadShader("shaders/02_triangle.shader");
    if (!shader.IsValid()) {
        return 1;
    }
    const qs::ObjectHandle format = gw::DataLoader::InvokeAddVertexFormat(s_format, 2, shader);
    const VertexBufferID vertices =
        gw::DataLoader::InvokeAddVertexBuffer(sizeof s_triangle, gw::eResourceUsage_Immutable, s_triangle);

    renderer.ClearRenderTarget(target, -1, Vector4f(0.08f, 0.09f, 0.11f, 1.0f));
    renderer.SetRenderTargets(1, &target, nullptr, nullptr, TEXTURE_NONE, false, -1);

    // One record names everything that a draw needs.
    gw::PrepareDrawData draw;
    draw.shader = shader;
    draw.vertexFormat = format;
    draw.vertexBuffers[0] = vertices;
    draw.topology = gw::ePrimitiveTopology_TriangleList;
    draw.blendState = renderer.BS(gw::BS_OPAQUE);
    draw.depthState = renderer.DS(gw::DS_NONE);
    draw.rasterizerState = renderer.RS(gw::RS_SOLID);
    renderer.PrepareDraw(draw);
    renderer.SetShaderConstant1f(sample.Name("brightness"), 0.9f);
    renderer.DrawArrays(0, 3);

    const int status = sample.Finish();
    gw::DataLoader::InvokeRemoveVertexBuffer(vertices);
    renderer.RemoveVertexFormat(format);
    gw::DataLoader::InvokeRemoveShader(shader);
    return status;
}
