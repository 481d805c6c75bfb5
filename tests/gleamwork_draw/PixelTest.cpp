// Draws on a real device under the validation layer: constants, textures, targets and states come out as pixels.
#include "DrawFixture.h"

using gw::details::RendererBase;

namespace {

const char VERTEX[] = R"(
float4 scaleBias;
struct Out { float4 position : SV_Position; float2 uv : TEXCOORD0; };
Out main(float2 position : POSITION, float2 uv : TEXCOORD0, float corner : NORMAL)
{
    Out o;
    o.position = float4(position * scaleBias.xy + scaleBias.zw, 0.5, 1);
    o.uv = uv;
    return o;
}
)";

const char FRAGMENT[] = R"(
float4 color;
Texture2D Base;
SamplerState BaseSampler;
float4 main(float4 position : SV_Position, float2 uv : TEXCOORD0) : SV_Target0
{
    return Base.Sample(BaseSampler, uv) * color;
}
)";

class Pixels : public DrawTest
{
protected:
    void SetUp() override { StartDevice("software"); }
};

TEST_F(Pixels, ConstantsTexturesAndViewportsReachTheTarget)
{
    const Pixel quadrants[4] = {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {255, 255, 255, 255}};
    const qs::ObjectHandle shader = MakeShader(VERTEX, FRAGMENT), target = MakeTarget(8, 8);
    const qs::ObjectHandle texture = MakeTexture(2, 2, quadrants);
    gw::FullScreenTriangle triangle;
    ASSERT_TRUE(triangle.Init(shader, false, nullptr));
    m_renderer->SetRenderTargets(1, &target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    m_renderer->ClearRenderTarget(target, -1, Vector4f(0, 0, 0, 0));
    const auto draw = [&](const Vector4f& color) {
        triangle.BeginRenderFullScreen(*m_renderer, shader, RendererBase::DS(gw::DS_NONE), 0,
                                       RendererBase::BS(gw::BS_OPAQUE));
        m_renderer->SetShaderConstant4f(Name("scaleBias"), Vector4f(1, 1, 0, 0));
        m_renderer->SetShaderConstant4f(Name("color"), color);
        m_renderer->SetTexture(Name("Base"), texture, -1);
        m_renderer->SetSamplerState(Name("BaseSampler"), RendererBase::SS(gw::SS_POINT_CLAMP));
        triangle.EndRenderFullScreen(*m_renderer);
    };
    draw(Vector4f(1, 1, 1, 1));
    m_renderer->SetViewport(2, 2, 6, 0); // the upper right corner again, darker
    draw(Vector4f(0.2f, 0.2f, 0.2f, 1));
    const std::vector<Pixel> pixels = ReadPixels(target);
    EXPECT_EQ(pixels[0], quadrants[0]);
    EXPECT_EQ(pixels[4], quadrants[1]);
    EXPECT_EQ(pixels[8 * 7], quadrants[2]);
    EXPECT_EQ(pixels[63], quadrants[3]);
    EXPECT_EQ(pixels[6], (Pixel{51, 0, 0, 255}));
    EXPECT_EQ(pixels[7], (Pixel{0, 51, 0, 255}));
    EXPECT_EQ(pixels[8 + 7], (Pixel{51, 51, 51, 255}));
    triangle.Destroy(nullptr);
    m_immediate.ExecuteAll();
    m_renderer->RemoveTexture(texture, true, true);
    m_renderer->RemoveTexture(target, true, true);
}

TEST_F(Pixels, AComputeShaderFillsABufferThatIsReadBack)
{
    const char COMPUTE[] = "cbuffer Job { uint factor; }; RWStructuredBuffer<uint> Output : register(u0);\n"
                           "[numthreads(4, 1, 1)] void main(uint3 id : SV_DispatchThreadID) { Output[id.x] = id.x * "
                           "factor; }";
    const qs::ObjectHandle shader = MakeComputeShader(COMPUTE);
    const StructuredBufferID buffer =
        gw::DataLoader::InvokeAddStructuredBuffer(8, 4, gw::eResourceUsage_Default, false, nullptr);
    const StructuredBufferID copy =
        gw::DataLoader::InvokeAddStructuredBuffer(8, 4, gw::eResourceUsage_Staging, false, nullptr);
    m_renderer->SetShader(shader);
    m_renderer->SetShaderConstant1i(Name("factor"), 3);
    m_renderer->SetUAV(Name("Output"), buffer);
    m_renderer->Dispatch(2, 1, 1);
    m_renderer->CopyStructuredBuffer(buffer, copy);
    void* data = nullptr;
    ASSERT_TRUE(m_renderer->LockStructuredBuffer(copy, &data, gw::eResourceAccess_Read, 0));
    for (unsigned i = 0; i < 8; ++i) {
        EXPECT_EQ(static_cast<const unsigned*>(data)[i], i * 3);
    }
    m_renderer->UnlockStructuredBuffer(copy);
    m_renderer->GPUWait(gw::eSyncType_ClearState, {}, "", 0, 0);
    m_renderer->RemoveStructuredBuffer(buffer, true);
    m_renderer->RemoveStructuredBuffer(copy, true);
}

} // namespace
