// Binding tables from reflection, and constants on their way to the device.
#include "DrawFixture.h"

#include "Gleamwork/dx11/D3D11Structs.h"

namespace {

const char VERTEX[] = R"(
cbuffer PerObject : register(b0) { float4x4 mvp; float4 tint; };
cbuffer Global : register(b12) { float4x4 view; };
struct Out { float4 position : SV_Position; float4 color : COLOR0; };
Out main(float3 position : POSITION, float2 uv : TEXCOORD0)
{
    Out o;
    o.position = mul(mul(float4(position, 1), mvp), view);
    o.color = tint + uv.xyxy;
    return o;
}
)";

const char FRAGMENT[] = R"(
cbuffer Material : register(b3) { float roughness; float4 tint; };
Texture2D Base : register(t1);
StructuredBuffer<float4> Lights : register(t4);
SamplerState BaseSampler : register(s2);
float4 main(float4 position : SV_Position, float4 color : COLOR0) : SV_Target0
{
    return Base.Sample(BaseSampler, color.xy) * roughness * tint * color + Lights[1];
}
)";

class ShaderTables : public DrawTest
{
};

TEST_F(ShaderTables, NamesLeadToStagesBuffersAndSlots)
{
    const qs::ObjectHandle handle = MakeShader(VERTEX, FRAGMENT);
    const Shader& shader = Record(handle);
    ASSERT_NE(shader.constantMap, nullptr);

    const ShaderConstant& tint = shader.constantMap->Lookup(Name("tint"))->value;
    EXPECT_EQ(tint.offsets[0], 64u);
    EXPECT_EQ(tint.offsets[1], 16u);
    EXPECT_EQ(tint.offsets[2], 0xffffffffu);
    EXPECT_EQ(shader.vertexConstantBuffers[tint.buffers[0]].bindPoint, 0);
    EXPECT_EQ(shader.pixelConstantBuffers[tint.buffers[1]].bindPoint, 3);
    EXPECT_EQ(shader.constantMap->Lookup(Name("roughness"))->value.offsets[0], 0xffffffffu);
    // Slots from 10 on are the global buffers': their variables are not the shader's.
    EXPECT_EQ(shader.constantMap->Lookup(Name("view")), nullptr);
    // A structured buffer's element goes by the buffer's name, without a device buffer behind it.
    const auto* lights = shader.constantMap->Lookup(Name("Lights"));
    ASSERT_NE(lights, nullptr);
    EXPECT_EQ(shader.pixelConstantBuffers[lights->value.buffers[1]].buffer, nullptr);
    EXPECT_EQ(shader.constantCount, 4u); // mvp, tint, roughness, Lights

    EXPECT_EQ(shader.textureMap->Lookup(Name("Base"))->value.slots[1], 1);
    EXPECT_EQ(shader.textureMap->Lookup(Name("Lights"))->value.slots[1], 4);
    EXPECT_EQ(shader.textureMap->Lookup(Name("Base"))->value.slots[0], -1);
    EXPECT_EQ(shader.samplerMap->Lookup(Name("BaseSampler"))->value.slots[1], 2);
    EXPECT_EQ(shader.textureCount, 2u);
    EXPECT_EQ(shader.pixelSamplerCount, 1);

    int counts[8];
    m_renderer->GetShaderDesc(handle, counts[0], counts[1], counts[2], counts[3], counts[4], counts[5], counts[6],
                              counts[7]);
    EXPECT_GT(counts[0], 0);
    EXPECT_GT(counts[1], 0);
    EXPECT_EQ(counts[3], 4);
    EXPECT_TRUE(m_renderer->ValidateShaderConstant(Name("mvp"), handle));
    EXPECT_FALSE(m_renderer->ValidateShaderConstant(Name("view"), handle));
    EXPECT_TRUE(m_renderer->ValidateShaderTexture(Name("Base"), handle));
}

TEST_F(ShaderTables, ShadersWithoutConstantsOrResourcesHaveNoMaps)
{
    const qs::ObjectHandle handle = MakeShader(PLAIN_VERTEX, PLAIN_FRAGMENT);
    EXPECT_EQ(Record(handle).constantMap, nullptr);
    EXPECT_EQ(Record(handle).textureMap, nullptr);
    EXPECT_FALSE(m_renderer->ValidateShaderTexture(Name("Base"), handle));
    EXPECT_NE(Record(handle).signatureHash, 0xcbf29ce484222325ull);
    EXPECT_EQ(Record(MakeShader("float4 main() : SV_Position { return 0; }", PLAIN_FRAGMENT)).signatureHash,
              0xcbf29ce484222325ull);
}

TEST_F(ShaderTables, AStageThatDoesNotCompileIsLeftOut)
{
    const qs::ObjectHandle handle = MakeShader(PLAIN_VERTEX, "float4 main() : SV_Target0 { return missing; }");
    EXPECT_TRUE(handle.IsValid());
    EXPECT_NE(Record(handle).vertexShader, nullptr);
    EXPECT_EQ(Record(handle).pixelShader, nullptr);
    m_renderer->CreateShader(qs::ObjectHandle::Unassigned);
    ExpectAssert("Creating SHADER_NONE!");
}

TEST_F(ShaderTables, SwappedShadersExchangeTheirContent)
{
    const qs::ObjectHandle a = MakeShader(VERTEX, FRAGMENT), b = MakeShader(PLAIN_VERTEX, PLAIN_FRAGMENT);
    m_renderer->SwapShaders(a, b);
    EXPECT_EQ(Record(a).constantMap, nullptr);
    EXPECT_NE(Record(b).constantMap, nullptr);
    m_renderer->SwapShaders(a, a);
    EXPECT_EQ(Record(a).constantMap, nullptr);
    m_renderer->SwapShaders(a, b); // so that each handle removes its own record again
    m_renderer->SwapShaders(qs::ObjectHandle::Unassigned, b);
    ExpectAssert("SwapShaders failed! shader1 is SHADER_NONE!");
    m_renderer->SwapShaders(a, qs::ObjectHandle::Unassigned);
    ExpectAssert("SwapShaders failed! shader2 is SHADER_NONE!");
}

TEST_F(ShaderTables, ConstantsUploadOnceAndOnlyWhenTheyDiffer)
{
    const qs::ObjectHandle handle = MakeShader(VERTEX, FRAGMENT);
    m_renderer->SetShader(handle);
    const auto apply = [&] { m_renderer->ApplyConstants(); };
    m_renderer->SetShaderConstant4f(Name("tint"), Vector4f(1, 2, 3, 4));
    EXPECT_EQ(CountCalls("Map", apply), 2u); // one buffer per stage
    m_renderer->SetShaderConstant4f(Name("tint"), Vector4f(1, 2, 3, 4));
    EXPECT_EQ(CountCalls("Map", apply), 0u);
    m_renderer->SetShaderConstant1f(Name("roughness"), 0.5f);
    EXPECT_EQ(CountCalls("Map", apply), 1u);
    // A value that does not fit what is left of its buffer is cut, and names that nobody knows are nobody's.
    const float many[64] = {7};
    m_renderer->SetShaderConstantRaw(Name("tint"), many, sizeof many);
    m_renderer->SetShaderConstantRaw(Name("Lights"), many, 16);
    m_renderer->SetShaderConstantRaw(Name("nothing"), many, 16);
    EXPECT_EQ(CountCalls("Map", apply), 2u);

    const ShaderConstant& tint = Record(handle).constantMap->Lookup(Name("tint"))->value;
    const ConstantBuffer& buffer = Record(handle).pixelConstantBuffers[tint.buffers[1]];
    EXPECT_EQ(buffer.uploadedEnd, 32u);
    EXPECT_EQ(buffer.dirtyEnd, 0u);
    EXPECT_EQ(*reinterpret_cast<const float*>(buffer.memory + 16), 7.0f);
}

TEST_F(ShaderTables, GlobalBuffersTakeTheirSlotsFromTheTop)
{
    const qs::ObjectHandle first = m_renderer->AddGlobalConstantBuffer(Name("a"), 30);
    const qs::ObjectHandle second = m_renderer->AddGlobalConstantBuffer(Name("b"), 16);
    EXPECT_TRUE(first.IsValid() && second.IsValid());
    EXPECT_FALSE(m_renderer->AddGlobalConstantBuffer(Name("c"), 16).IsValid());
    ExpectAssert("No available bind index found for global constant buffer (Maximum 4 global constant buffers");
    const unsigned char bytes[32] = {1};
    m_renderer->UpdateGlobalConstantBufferData(first, bytes, 31);
    ExpectAssert("Trying to update a user global ConstantBuffer with size (31) > constant buffer size (30)!");
    m_renderer->ApplyGlobalConstants();
    m_renderer->UpdateGlobalConstantBufferData(first, bytes, 30);
    const auto apply = [&] { m_renderer->ApplyGlobalConstants(); };
    EXPECT_EQ(CountCalls("Map", apply), 1u);
    m_renderer->UpdateGlobalConstantBufferData(first, bytes, 30);
    EXPECT_EQ(CountCalls("Map", apply), 0u);
    m_renderer->RemoveGlobalConstantBuffer(first);
    const qs::ObjectHandle again = m_renderer->AddGlobalConstantBuffer(Name("c"), 16);
    EXPECT_TRUE(again.IsValid());
    m_renderer->RemoveGlobalConstantBuffer(again);
    m_renderer->RemoveGlobalConstantBuffer(second);
}

} // namespace
