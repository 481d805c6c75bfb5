// Textures, samplers, buffers and unordered access: the shadow's ranges, and every way a binding can go wrong.
#include "DrawFixture.h"

#include "Gleamwork/GWDataLoader.h"

#include <d3d11.h>

using gw::details::RendererBase;

namespace {

const char FRAGMENT[] = R"(
Texture2D First : register(t3);
Texture2D Second : register(t7);
SamplerState FirstSampler : register(s0);
SamplerState SecondSampler : register(s5);
float4 main(float4 p : SV_Position) : SV_Target0
{
    return First.Sample(FirstSampler, p.xy) + Second.Sample(SecondSampler, p.xy);
}
)";

const char COMPUTE[] = R"(
ByteAddressBuffer Input : register(t0);
RWStructuredBuffer<uint> Output : register(u2);
[numthreads(1, 1, 1)] void main(uint3 id : SV_DispatchThreadID) { Output[id.x] = Input.Load(id.x * 4); }
)";

class Binding : public DrawTest
{
protected:
    void SetUp() override
    {
        DrawTest::SetUp();
        m_shader = MakeShader(PLAIN_VERTEX, FRAGMENT);
        m_texture = MakeTexture(2, 2, PIXELS);
    }
    void TearDown() override
    {
        m_renderer->RemoveTexture(m_texture, true, true);
        DrawTest::TearDown();
    }

    static constexpr unsigned PIXELS[4] = {1, 2, 3, 4};
    qs::ObjectHandle m_shader, m_texture;
};

TEST_F(Binding, TheFirstApplySendsAllSlotsAndLaterOnesTheRangeBetweenChanges)
{
    m_renderer->ResetToDefaults();
    EXPECT_EQ(CountCalls("PSSetShaderResources", [&] { m_renderer->ApplyTextures(); }), 1u);
    EXPECT_EQ(CountCalls("PSSetShaderResources", [&] { m_renderer->ApplyTextures(); }), 0u);
    m_renderer->SetShader(m_shader);
    m_renderer->SetTexture(Name("First"), m_texture, -1);
    m_renderer->SetTexture(Name("Second"), m_texture, -1);
    EXPECT_EQ(State().shaderResources[eShaderStage_Pixel].GetFirst(), 3);
    EXPECT_EQ(State().shaderResources[eShaderStage_Pixel].GetLast(), 7);
    EXPECT_EQ(CountCalls("PSSetShaderResources", [&] { m_renderer->ApplyTextures(); }), 1u);
    EXPECT_EQ(CountCalls("VSSetShaderResources", [&] { m_renderer->ApplyTextures(); }), 0u);
    // Binding what is bound changes nothing, and binding nothing leaves the slot as it is.
    m_renderer->SetTexture(Name("First"), m_texture, -1);
    m_renderer->SetTexture(Name("First"), TEXTURE_NONE, -1);
    EXPECT_TRUE(State().shaderResources[eShaderStage_Pixel].IsClean());
    EXPECT_NE(State().shaderResources[eShaderStage_Pixel].GetValues()[3], nullptr);
}

TEST_F(Binding, ABoundTextureIsKeptForFourFrames)
{
    m_renderer->SetShader(m_shader);
    m_renderer->SetTexture(Name("First"), m_texture, -1);
    EXPECT_EQ(m_renderer->GetTextureById(m_texture)->keepUntilFrame, (m_renderer->*(&DrawPeek::m_frameCounter)) + 4);
}

TEST_F(Binding, MissingShadersMapsAndViewsAreTold)
{
    m_renderer->ResetToDefaults();
    m_renderer->SetTexture(Name("First"), m_texture, -1);
    ExpectAssert("SetTexture failed! Selected shader is nullptr!");
    m_renderer->SetSamplerState(Name("FirstSampler"), RendererBase::SS(gw::SS_POINT_CLAMP));
    ExpectAssert("SetSamplerState failed! Selected shader is NONE!");
    m_renderer->SetUAV(Name("Output"), StructuredBufferID());
    ExpectAssert("SetUAV failed! Selected shader is NONE!");
    m_renderer->SetBuffer(Name("Input"), VertexBufferID());
    ExpectAssert("SetBuffer failed! Selected shader is NONE!");
    m_renderer->SetShaderConstant1f(Name("x"), 1);
    ExpectAssert("SetShaderConstantRaw failed! Selected shader is NONE!");

    m_renderer->SetShader(MakeShader(PLAIN_VERTEX, PLAIN_FRAGMENT));
    m_renderer->SetTexture(Name("First"), m_texture, -1);
    ExpectError("SetTexture failed! Selected shader has no textureMap!");
    m_renderer->SetSamplerState(Name("FirstSampler"), RendererBase::SS(gw::SS_POINT_CLAMP));
    ExpectError("SetSamplerState failed! Selected shader has no samplerStateMap!");
    m_renderer->SetUAV(Name("Output"), StructuredBufferID());
    ExpectError("SetUAV failed! Selected shader has no textureMap!");

    m_renderer->SetShader(m_shader);
    m_renderer->SetTexture(Name("First"), m_texture, 5);
    ExpectAssert("Setting texture First with slice 5, but texture doesn't have any shader resource slices!");
    m_renderer->SetTexture(Name("Unknown"), m_texture, -1);
    ExpectQuiet();
}

TEST_F(Binding, SamplersAreShadowedByHandle)
{
    m_renderer->SetShader(m_shader);
    m_renderer->ApplySamplerStates();
    const qs::ObjectHandle point = RendererBase::SS(gw::SS_POINT_CLAMP);
    m_renderer->SetSamplerState(Name("SecondSampler"), point);
    EXPECT_EQ(State().samplers[eShaderStage_Pixel].GetFirst(), 5);
    EXPECT_EQ(CountCalls("PSSetSamplers", [&] { m_renderer->ApplySamplerStates(); }), 1u);
    m_renderer->SetSamplerState(Name("SecondSampler"), point);
    EXPECT_EQ(CountCalls("PSSetSamplers", [&] { m_renderer->ApplySamplerStates(); }), 0u);
    m_renderer->SetSamplerState(Name("SecondSampler"), qs::ObjectHandle::Unassigned);
    ExpectAssert("SetSamplerState should never be called using SS_INVALID!");
    EXPECT_TRUE(State().samplers[eShaderStage_Pixel].IsClean());
}

TEST_F(Binding, ComputeTakesBuffersAndUnorderedAccess)
{
    const qs::ObjectHandle compute = MakeComputeShader(COMPUTE);
    m_renderer->SetShader(compute);
    const StructuredBufferID buffer =
        gw::DataLoader::InvokeAddStructuredBuffer(4, 4, gw::eResourceUsage_Default, false, nullptr);
    m_renderer->SetUAV(Name("Output"), buffer);
    EXPECT_EQ(State().unorderedAccessViews.GetValues()[2] != nullptr, true);
    EXPECT_EQ(CountCalls("CSSetUnorderedAccessViews", [&] { m_renderer->Dispatch(1, 1, 1); }), 1u);
    EXPECT_EQ(CountCalls("Dispatch", [&] { m_renderer->Dispatch(1, 1, 1); }), 1u);

    m_renderer->SetUAV(Name("Output"), StructuredBufferID(m_texture));
    ExpectAssert("[RENDERING] ID3D11UnorderedAccessView (UAV) is nullptr! UAV will not be bound!");
    m_renderer->SetUAV(Name("Output"), StructuredBufferID(compute));
    ExpectAssert("D3D11Renderer::SetUAV(). Unknown ObjectHandle type!");
    // Changing targets unbinds all of it, so that nothing is read and written at once.
    m_renderer->SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
    EXPECT_EQ(State().unorderedAccessViews.GetValues()[2], nullptr);
    m_renderer->RemoveStructuredBuffer(buffer, true);
}

} // namespace
