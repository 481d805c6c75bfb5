// A pixel stage behind the stages before it.
#include <algorithm>

#include "ShaderKit.h"
#include "shader/SpirvTools.h"

namespace {

const char Vertex[] = R"(
    struct O { float4 p : SV_Position; float2 uv : TEXCOORD0; float3 n : NORMAL; float4 c : COLOR2; uint k : KIND; };
    O main(float4 p : POSITION) { O o; o.p = p; o.uv = p.xy; o.n = p.xyz; o.c = p; o.k = 7; return o; })";

struct Linked
{
    std::vector<std::uint32_t> spirv;
    /// Location of each input that the module declares, with the components of its type.
    std::map<std::uint32_t, std::uint32_t> inputs;
    std::size_t privates = 0;
};

Linked Link(const char* pixelText)
{
    const gleam::ShaderModule vertex = Module(Vertex, "vs_4_0");
    const gleam::ShaderModule pixel = Module(pixelText, "ps_5_0");
    Linked linked;
    EXPECT_TRUE(gleam::LinkPixelStage(vertex, pixel, linked.spirv));
    std::string message;
    EXPECT_TRUE(gleam::ValidateSpirv(linked.spirv, message)) << message;

    gleam::SpirvModule module;
    EXPECT_TRUE(module.Parse(linked.spirv));
    for (const auto& variable : All(linked.spirv, spv::Op::OpVariable)) {
        const auto storage = static_cast<spv::StorageClass>(variable.operands[2]);
        linked.privates += storage == spv::StorageClass::Private;
        const auto location = module.Decoration(variable.operands[1], spv::Decoration::Location);
        if (storage != spv::StorageClass::Input || !location)
            continue;
        const auto* type = module.Find(module.Find(variable.operands[0])->operands[2]);
        linked.inputs[*location] = type->op == spv::Op::OpTypeVector ? type->operands[2] : 1;
    }
    return linked;
}

} // namespace

TEST(ShaderLink, MovesInputsToTheirWriters)
{
    // Reordered, a subset, and spelled in other cases.
    const Linked linked = Link("float4 main(float4 c : Color2, float3 n : normal, nointerpolation uint k : Kind, "
                               "float4 p : SV_Position) : SV_Target { return c + n.x + k + p; }");
    EXPECT_EQ(linked.inputs, (std::map<std::uint32_t, std::uint32_t>{{1, 3}, {2, 4}, {3, 1}}));
    EXPECT_EQ(linked.privates, 0u);
}

TEST(ShaderLink, UnwrittenInputsReadZero)
{
    const Linked linked = Link("float4 main(float4 a : COLOR1, float2 uv : TEXCOORD, float4x4 m : MATRIX, uint i : "
                               "INDEX) : SV_Target { return a.wzyx + uv.x + m[i & 3]; }");
    EXPECT_EQ(linked.inputs, (std::map<std::uint32_t, std::uint32_t>{{0, 2}}));
    EXPECT_EQ(linked.privates, 3u);
    EXPECT_GE(All(linked.spirv, spv::Op::OpConstantNull).size(), 3u);
}

TEST(ShaderLink, MissingComponentsReadZero)
{
    const Linked linked = Link("float4 main(float4 uv : TEXCOORD, float4 n : NORMAL, nointerpolation uint2 k : KIND) "
                               ": SV_Target { return uv.wzyx + n[k.y] + k.x; }");
    EXPECT_EQ(linked.inputs, (std::map<std::uint32_t, std::uint32_t>{{0, 2}, {1, 3}, {3, 1}}));
    EXPECT_EQ(linked.privates, 3u);
}

TEST(ShaderLink, StagesMustFit)
{
    const gleam::ShaderModule vertex = Module(Vertex, "vs_4_0");
    const gleam::ShaderModule pixel = Module("float4 main() : SV_Target { return 1; }", "ps_4_0");
    const gleam::ShaderModule compute = Module("[numthreads(1,1,1)] void main() {}", "cs_5_0");
    std::vector<std::uint32_t> patched = {1, 2, 3};
    EXPECT_FALSE(gleam::LinkPixelStage(pixel, pixel, patched));
    EXPECT_FALSE(gleam::LinkPixelStage(vertex, vertex, patched));
    EXPECT_FALSE(gleam::LinkPixelStage(compute, pixel, patched));
    EXPECT_EQ(patched, (std::vector<std::uint32_t>{1, 2, 3}));
    EXPECT_TRUE(gleam::LinkPixelStage(vertex, pixel, patched));
}
