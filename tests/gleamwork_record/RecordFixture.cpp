// The shader, the square and the target of the tests of command buffers.
#include "RecordFixture.h"

extern "C" unsigned GleamPlatformTakeValidationMessages(char* text, unsigned capacity);

namespace {

const char VERTEX[] = R"(
float4 place;
float4x4 world;
struct Out { float4 position : SV_Position; float2 uv : TEXCOORD0; };
Out main(float2 position : POSITION)
{
    Out o;
    o.position = mul(float4(position * place.xy + place.zw, 0.5, 1), world);
    o.uv = position;
    return o;
}
)";

const char FRAGMENT[] = R"(
float4 tint;
Texture2D Base;
SamplerState BaseSampler;
float4 main(float4 position : SV_Position, float2 uv : TEXCOORD0) : SV_Target0
{
    return Base.Sample(BaseSampler, uv) * tint;
}
)";

constexpr gw::FormatDesc FORMAT[] = {{0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 2}};
constexpr Vector2f SQUARE[] = {{-1, 1}, {1, 1}, {-1, -1}, {1, -1}};
constexpr unsigned short INDICES[] = {0, 1, 2, 2, 1, 3};
constexpr Pixel WHITE = {255, 255, 255, 255};

} // namespace

void RecordTest::SetUp()
{
    StartDevice(m_device);
    m_shader = MakeShader(VERTEX, FRAGMENT);
    m_target = MakeTarget(8, 8);
    m_texture = MakeTexture(1, 1, &WHITE);
    m_format = gw::DataLoader::InvokeAddVertexFormat(FORMAT, 1, m_shader);
    m_vertices = gw::DataLoader::InvokeAddVertexBuffer(sizeof(SQUARE), gw::eResourceUsage_Immutable, SQUARE);
    m_indices = gw::DataLoader::InvokeAddIndexBuffer(6, 2, gw::eResourceUsage_Immutable, INDICES);
    ASSERT_TRUE(m_format.IsValid() && m_vertices.IsValid() && m_indices.IsValid());
}

void RecordTest::TearDown()
{
    m_renderer->SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
    m_renderer->RemoveVertexBuffer(m_vertices);
    m_renderer->RemoveIndexBuffer(m_indices);
    m_renderer->RemoveTexture(m_texture, true, true);
    m_renderer->RemoveTexture(m_target, true, true);
    DrawTest::TearDown();
}

gw::PrepareDrawData RecordTest::DrawData() const
{
    gw::PrepareDrawData data;
    data.shader = m_shader;
    data.depthState = gw::Renderer::DS(gw::DS_NONE);
    data.rasterizerState = gw::Renderer::RS(gw::RS_SOLID);
    data.blendState = gw::Renderer::BS(gw::BS_OPAQUE);
    data.vertexFormat = m_format;
    data.vertexBuffers[0] = m_vertices;
    data.indexBuffer = m_indices;
    data.topology = gw::ePrimitiveTopology_TriangleList;
    return data;
}

void RecordTest::RecordDraw(gw::RendererCommandBuffer& buffer, qs::ObjectHandle texture, const Vector4f& tint) const
{
    buffer.PrepareDraw(DrawData());
    buffer.SetTexture(m_base, texture, -1);
    buffer.SetSamplerState(m_sampler, gw::Renderer::SS(gw::SS_POINT_WRAP));
    buffer.SetShaderConstant4f(m_place, Vector4f(1, 1, 0, 0));
    buffer.SetShaderConstant4f(m_tint, tint);
    buffer.SetShaderConstant4x4f(m_world, Matrix4x4f());
    buffer.DrawElements(0, 6, 0, 4);
}

void RecordTest::ForgetMessages()
{
    m_log.Clear();
    char messages[4096];
    GleamPlatformTakeValidationMessages(messages, sizeof(messages));
}
