// Packing of constant buffers and structured buffers: what reflection reports, and that the code reads there.
#include "ShaderKit.h"

namespace {

struct LayoutCase
{
    const char* name;
    const char* declarations; ///< variables of the buffer, in front of which structures may stand behind a "|"
    const char* use;          ///< an expression of type float4 that keeps the buffer
    const char* layout;
    UINT size;
};

std::string BufferText(const LayoutCase& test, const std::string& open, const std::string& close)
{
    const std::string declarations = test.declarations;
    const std::size_t bar = declarations.find('|');
    const std::string structures = bar == std::string::npos ? "" : declarations.substr(0, bar);
    const std::string variables = bar == std::string::npos ? declarations : declarations.substr(bar + 1);
    return structures + open + variables + close + "\nfloat4 main() : SV_Target { return " + test.use + "; }";
}

class ConstantLayout : public testing::TestWithParam<LayoutCase>
{
};

/// Offsets of the members of the structure that carries a Block decoration.
std::map<UINT, UINT> BlockOffsets(const std::vector<std::uint32_t>& spirv)
{
    std::uint32_t block = 0;
    for (const auto& decoration : All(spirv, spv::Op::OpDecorate))
        if (decoration.operands[1] == static_cast<std::uint32_t>(spv::Decoration::Block))
            block = decoration.operands[0];
    std::map<UINT, UINT> offsets;
    for (const auto& decoration : All(spirv, spv::Op::OpMemberDecorate))
        if (decoration.operands[0] == block &&
            decoration.operands[2] == static_cast<std::uint32_t>(spv::Decoration::Offset))
            offsets[decoration.operands[1]] = decoration.operands[3];
    return offsets;
}

} // namespace

TEST_P(ConstantLayout, IsReportedAndGenerated)
{
    const LayoutCase& test = GetParam();
    const std::string text = BufferText(test, "cbuffer B {", "}");
    const Reflected reflected(text, "ps_5_0");
    EXPECT_EQ(reflected.Layout("B"), test.layout);
    EXPECT_EQ(reflected.Buffer("B").Size, test.size);

    const gleam::ShaderModule module = Module(text, "ps_5_0");
    const std::map<UINT, UINT> generated = BlockOffsets(module.spirv);
    ASSERT_EQ(generated.size(), reflected.Buffer("B").Variables);
    for (const auto& [index, offset] : generated) {
        D3D11_SHADER_VARIABLE_DESC variable{};
        reflected->GetConstantBufferByName("B")->GetVariableByIndex(index)->GetDesc(&variable);
        EXPECT_EQ(variable.StartOffset, offset) << variable.Name;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rules, ConstantLayout,
    testing::Values(
        LayoutCase{"Scalars", "float a; float2 b; float c; float3 d; float e;", "a + b.xyxy + c + d.xyzz + e",
                   "a:0:4 b:4:8 c:12:4 d:16:12 e:28:4", 32},
        LayoutCase{"VectorsDoNotCrossRows", "float3 a; float2 b; float2 c; float4 d;", "a.x + b.x + c.x + d",
                   "a:0:12 b:16:8 c:24:8 d:32:16", 48},
        LayoutCase{"ArraysStartRowsAndShareTheLast", "float a; float f[3]; float g; float2 h[2]; float2 i;",
                   "a + f[1] + g + h[1].x + i.x", "a:0:4 f:16:36 g:52:4 h:64:24 i:88:8", 96},
        LayoutCase{"MatricesOfBothPackings",
                   "float3x4 c; float x; row_major float3x4 r; float y; row_major float2x3 s; float z;",
                   "c[0] + x + r[1] + y + s[0].x + z", "c:0:60 x:60:4 r:64:48 y:112:4 s:128:28 z:156:4", 160},
        LayoutCase{"RowsBehindRows",
                   "struct S { row_major float2x3 m; };|S s; float t; row_major float3x2 k[2]; float2 u; S v;",
                   "s.m[1].x + t + k[1][2].x + u.x + v.m[0].x", "s:0:28 .m:0 t:28:4 k:32:88 u:120:8 v:128:28 .m:0",
                   160},
        LayoutCase{"MatrixArrays", "float2x2 m[2]; float a;", "m[1][0].x + a", "m:0:56 a:56:4", 64},
        LayoutCase{"StructuresStartRows", "struct S { float3 p; float q; float r; };|float a; S s; float b;",
                   "a + s.p.x + s.r + b", "a:0:4 s:16:20 .p:0 .q:12 .r:16 b:36:4", 48},
        LayoutCase{"StructureArraysAndNesting",
                   "struct I { float2 u; }; struct S { float a; I i[2]; bool f; };|S s[2]; int b;",
                   "s[1].a + s[0].i[1].u.x + s[1].f + b", "s:0:92 .a:0 .i:16 .f:40 b:92:4", 96},
        LayoutCase{"FixedPlaces", "float4 a : packoffset(c2); float b : packoffset(c1.y); float2 c : packoffset(c0.z);",
                   "a + b + c.x", "a:32:16 b:20:4 c:8:8", 48},
        LayoutCase{"Doubles", "float a; double b; double2 c; float d;", "a + (float)b + (float)c.x + d",
                   "a:0:4 b:8:8 c:16:16 d:32:4", 48},
        LayoutCase{"ArraysOfArrays", "float a[2][3]; float b;", "a[1][2] + b", "a:0:84 b:84:4", 96}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ShaderLayout, StructuredElementsAreTight)
{
    const std::string text = R"(
        struct P { float3 p; float w[3]; float2x3 m; row_major float2x3 r; bool b; uint2 i; };
        StructuredBuffer<P> ps; StructuredBuffer<float3> vs; RWStructuredBuffer<P> rw : register(u3);
        float4 main(uint i : I) : SV_Target { P p = ps[i]; rw[i] = p;
            return p.p.x + p.w[1] + p.m[1].z + p.r[1].z + p.b + p.i.y + vs[i].z; })";
    const Reflected reflected(text, "ps_5_0");
    EXPECT_EQ(reflected.Layout("ps"), "$Element:0:84 .p:0 .w:12 .m:24 .r:48 .b:72 .i:76");
    EXPECT_EQ(reflected.Buffer("vs").Size, 12u);
    EXPECT_EQ(reflected.Buffer("ps").Type, D3D_CT_RESOURCE_BIND_INFO);
    EXPECT_EQ(reflected.Binding("rw").NumSamples, 84u);

    std::map<UINT, int> strides;
    for (const auto& decoration : All(Module(text, "ps_5_0").spirv, spv::Op::OpDecorate))
        if (decoration.operands[1] == static_cast<std::uint32_t>(spv::Decoration::ArrayStride))
            ++strides[decoration.operands[2]];
    EXPECT_GE(strides[84], 1);
    EXPECT_EQ(strides[12], 1);
    EXPECT_EQ(strides.count(16), 0u);
}

TEST(ShaderLayout, GlobalsAndPackingOfMatrices)
{
    const std::string text = R"(
        float4 tint; static float hidden = 2; float4x3 world; row_major float4x3 rows;
        float4 main(float4 p : P) : SV_Target { return tint * hidden + float4(mul(p, world), mul(p, rows).x); })";
    const Reflected columns(text, "ps_4_0");
    EXPECT_EQ(columns.Layout("$Globals"), "tint:0:16 world:16:48 rows:64:60");
    EXPECT_EQ(columns.Type("$Globals", "world").Class, D3D_SVC_MATRIX_COLUMNS);
    EXPECT_EQ(columns.Type("$Globals", "world").Rows, 4u);
    EXPECT_EQ(columns.Type("$Globals", "world").Columns, 3u);
    EXPECT_EQ(columns.Type("$Globals", "rows").Class, D3D_SVC_MATRIX_ROWS);

    CompileOptions options;
    options.flags |= D3DCOMPILE_PACK_MATRIX_ROW_MAJOR;
    const Reflected rows(text, "ps_4_0", options);
    EXPECT_EQ(rows.Layout("$Globals"), "tint:0:16 world:16:60 rows:80:60");
    EXPECT_EQ(rows.Type("$Globals", "world").Class, D3D_SVC_MATRIX_ROWS);
}

TEST(ShaderLayout, RefusesOverlapAndOversize)
{
    EXPECT_NE(Compile("cbuffer B { float4 a : packoffset(c0); float b : packoffset(c0.y); }"
                      "float4 main() : SV_Target { return a + b; }",
                      "ps_5_0")
                  .messages.find("'a' and 'b' in 'B' overlap"),
              std::string::npos);
    EXPECT_NE(Compile("cbuffer B { float4 a[4097]; } float4 main() : SV_Target { return a[1]; }", "ps_5_0")
                  .messages.find("'B' exceeds the limit of 65536 bytes"),
              std::string::npos);
    EXPECT_EQ(Compile("cbuffer B { float4 a[4096]; } float4 main() : SV_Target { return a[1]; }", "ps_5_0").result,
              S_OK);
}
