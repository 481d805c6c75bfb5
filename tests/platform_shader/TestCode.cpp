// Properties of generated modules that drivers and the device depend on.
#include <algorithm>
#include <set>

#include "ShaderKit.h"
#include "shader/SpirvTools.h"

namespace {

bool Declares(const std::vector<std::uint32_t>& spirv, spv::Capability capability)
{
    const auto all = All(spirv, spv::Op::OpCapability);
    return std::any_of(all.begin(), all.end(), [&](const auto& instruction) {
        return instruction.operands[0] == static_cast<std::uint32_t>(capability);
    });
}

/// Set and binding of every decorated variable, as set * 1000 + binding.
std::multiset<std::uint32_t> Bindings(const std::vector<std::uint32_t>& spirv)
{
    std::map<std::uint32_t, std::uint32_t> places;
    for (const auto& decoration : All(spirv, spv::Op::OpDecorate)) {
        if (decoration.operands[1] == static_cast<std::uint32_t>(spv::Decoration::DescriptorSet))
            places[decoration.operands[0]] += decoration.operands[2] * 1000;
        if (decoration.operands[1] == static_cast<std::uint32_t>(spv::Decoration::Binding))
            places[decoration.operands[0]] += decoration.operands[2];
    }
    std::multiset<std::uint32_t> bindings;
    for (const auto& [variable, place] : places)
        bindings.insert(place);
    return bindings;
}

} // namespace

TEST(ShaderCode, BindingsFollowTheConvention)
{
    const gleam::ShaderModule pixel = Module(R"(
        cbuffer A : register(b3) { float4 a; } Texture2D t : register(t5); SamplerState s : register(s2);
        RWTexture2D<float> u : register(u4); float4 loose; Texture2D dead;
        float4 unused() { return dead.Load(0); }
        float4 main(float2 uv : T) : SV_Target { u[uint2(0, 0)] = 1; return a + loose + t.Sample(s, uv); })",
                                             "ps_5_0");
    EXPECT_EQ(Bindings(pixel.spirv), (std::multiset<std::uint32_t>{1000, 1003, 1021, 1146, 1164}));
    const gleam::ShaderModule compute = Module(
        "AppendStructuredBuffer<float> a : register(u2); [numthreads(1,1,1)] void main() { a.Append(1); }", "cs_5_0");
    EXPECT_EQ(Bindings(compute.spirv), (std::multiset<std::uint32_t>{162, gleam::CounterBase + 2}));
    EXPECT_TRUE(compute.bindings.at(0).hasCounter);
    EXPECT_TRUE(compute.bindings.at(0).isWritten);
}

TEST(ShaderCode, OneTextureWithAndWithoutComparisonIsOneBinding)
{
    const gleam::ShaderModule module = Module(R"(
        Texture2D<float> first; Texture2D<float> both; SamplerState s; SamplerComparisonState c;
        float4 main(float2 uv : T) : SV_Target {
            return first.Sample(s, uv) + both.Sample(s, uv) + both.SampleCmp(c, uv, 0.5); })",
                                              "ps_5_0");
    EXPECT_EQ(module.bindings.size(), 4u);
    EXPECT_EQ(Bindings(module.spirv).count(1017), 2u);
}

TEST(ShaderCode, VertexNumbersCountFromZero)
{
    const gleam::ShaderModule both = Module(
        "float4 main(uint v : SV_VertexID, uint i : SV_InstanceID) : SV_Position { return v + i * 2; }", "vs_4_0");
    EXPECT_TRUE(Declares(both.spirv, spv::Capability::DrawParameters));
    EXPECT_EQ(All(both.spirv, spv::Op::OpISub).size(), 2u);
    const gleam::ShaderModule none = Module("float4 main(float4 p : P) : SV_Position { return p; }", "vs_4_0");
    EXPECT_FALSE(Declares(none.spirv, spv::Capability::DrawParameters));
    const gleam::ShaderModule unread =
        Module("float4 main(float4 p : P, uint v : SV_VertexID) : SV_Position { return p; }", "vs_4_0");
    EXPECT_FALSE(Declares(unread.spirv, spv::Capability::DrawParameters));
    ASSERT_EQ(unread.inputs.size(), 2u);
    EXPECT_FALSE(unread.inputs[1].isUsed);
}

TEST(ShaderCode, StorageImagesHaveAFormatOnlyWhenRead)
{
    const gleam::ShaderModule module = Module(R"(
        RWTexture2D<float4> written; RWTexture2D<float> readToo; RWTexture3D<uint> counted; RWBuffer<int> signedRead;
        RWTexture2D<float> arrays[2]; RWTexture2D<float> onlyWritten;
        [numthreads(1,1,1)] void main(uint3 i : SV_DispatchThreadID) {
            written[i.xy] = readToo[i.yx]; readToo[i.xy] = signedRead[i.x]; signedRead[i.y] = 2;
            uint old; InterlockedMax(counted[i], 3, old); arrays[1][i.xy] = arrays[0][i.xy] + old;
            onlyWritten[i.xy] = 1; })",
                                              "cs_5_0");
    EXPECT_FALSE(Declares(module.spirv, spv::Capability::StorageImageReadWithoutFormat));
    EXPECT_TRUE(Declares(module.spirv, spv::Capability::StorageImageWriteWithoutFormat));
    std::multiset<spv::ImageFormat> formats;
    for (const auto& type : All(module.spirv, spv::Op::OpTypeImage))
        formats.insert(static_cast<spv::ImageFormat>(type.operands[7]));
    EXPECT_EQ(formats.count(spv::ImageFormat::R32f), 1u);
    EXPECT_EQ(formats.count(spv::ImageFormat::R32ui), 1u);
    EXPECT_EQ(formats.count(spv::ImageFormat::R32i), 1u);
    EXPECT_EQ(formats.count(spv::ImageFormat::Rgba32f), 0u);
}

TEST(ShaderCode, NeedsNoExtensionAndPassesTheValidatorUnderEveryFlag)
{
    const char* text = R"(
        cbuffer B { row_major float2x3 m; float tail; float3x4 n; } Texture2D t; SamplerState s; StructuredBuffer<float3> b;
        float4 helper(Texture2D x, SamplerState y, float2 uv) { return x.Sample(y, uv); }
        float4 main(float2 uv : T, uint i : I) : SV_Target {
            float4 v = helper(t, s, uv);
            if (v.x > tail) discard;
            [unroll] for (int k = 0; k < 3; ++k) v += n[k] * b[i + k].z;
            return v + float4(m[1], 1); })";
    for (const UINT flags :
         {0u, UINT(D3DCOMPILE_SKIP_OPTIMIZATION), UINT(D3DCOMPILE_DEBUG), UINT(D3DCOMPILE_OPTIMIZATION_LEVEL3),
          UINT(D3DCOMPILE_ENABLE_STRICTNESS | D3DCOMPILE_PACK_MATRIX_ROW_MAJOR)}) {
        CompileOptions options;
        options.flags = flags;
        const gleam::ShaderModule module = Module(text, "ps_5_0", options);
        std::string message;
        EXPECT_TRUE(gleam::ValidateSpirv(module.spirv, message)) << message;
        EXPECT_TRUE(All(module.spirv, spv::Op::OpExtension).empty());
        EXPECT_TRUE(All(module.spirv, spv::Op::OpFunctionCall).empty());
    }
}
