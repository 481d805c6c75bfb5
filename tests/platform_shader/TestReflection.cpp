// Resources, types, default values and counts that reflection reports.
#include <cstring>

#include "ShaderKit.h"

TEST(ShaderReflection, ReportsEveryKindOfResource)
{
    const Reflected r(R"(
        cbuffer Fixed : register(b2) { float4 f; } cbuffer Free { float4 g; float4 unused; } cbuffer Gone { float4 n; }
        tbuffer Tb : register(t9) { float4 t; }
        Texture1D<float> t1; Texture2D<float4> t2; Texture2DArray<uint2> t2a; Texture3D<int> t3;
        TextureCube<float3> tc : register(t6); TextureCubeArray tca; Texture2DMS<float4, 4> ms; Texture2D notUsed;
        Texture2D many[3] : register(t12);
        Buffer<unorm float4> typed; StructuredBuffer<float2> structured; ByteAddressBuffer bytes;
        SamplerState s; SamplerComparisonState cmp : register(s3);
        RWTexture2D<float4> rw2; RWBuffer<uint> rwb; RWStructuredBuffer<uint> counted; RWByteAddressBuffer rwBytes;
        AppendStructuredBuffer<float> app; ConsumeStructuredBuffer<float> con; RWStructuredBuffer<uint> rws;
        [numthreads(4, 2, 1)] void main(uint3 id : SV_DispatchThreadID) {
            float4 v = f + g + t + t1.SampleLevel(s, 0, 0) + t2.SampleLevel(s, 0, 0) + t2a.Load(0).x + t3.Load(0) +
                tc.SampleLevel(s, 1, 0).x + tca.SampleLevel(s, 1, 0) + ms.Load(0, 1) + many[1].Load(0) +
                typed[1] + structured[2].x + bytes.Load(4) + t2.SampleCmpLevelZero(cmp, 0, 0.5) + con.Consume();
            rw2[id.xy] = v; rwb[1] = 3; rws[2] = 4; rwBytes.Store(0, 5); app.Append(v.x); counted[counted.IncrementCounter()] = 1;
        })",
                      "cs_5_0");
    struct Row
    {
        const char* name;
        D3D_SHADER_INPUT_TYPE type;
        UINT bind, count, flags;
        int returnType;
        D3D_SRV_DIMENSION dimension;
        UINT samples;
    };
    constexpr UINT none = 0xffffffff;
    const Row rows[] = {
        {"s", D3D_SIT_SAMPLER, 0, 1, 0, 0, D3D_SRV_DIMENSION_UNKNOWN, 0},
        {"cmp", D3D_SIT_SAMPLER, 3, 1, 3, 0, D3D_SRV_DIMENSION_UNKNOWN, 0},
        {"t1", D3D_SIT_TEXTURE, 0, 1, 0, 5, D3D_SRV_DIMENSION_TEXTURE1D, none},
        {"t2", D3D_SIT_TEXTURE, 1, 1, 12, 5, D3D_SRV_DIMENSION_TEXTURE2D, none},
        {"t2a", D3D_SIT_TEXTURE, 2, 1, 4, 4, D3D_SRV_DIMENSION_TEXTURE2DARRAY, none},
        {"t3", D3D_SIT_TEXTURE, 3, 1, 0, 3, D3D_SRV_DIMENSION_TEXTURE3D, none},
        {"tca", D3D_SIT_TEXTURE, 4, 1, 12, 5, D3D_SRV_DIMENSION_TEXTURECUBEARRAY, none},
        {"ms", D3D_SIT_TEXTURE, 5, 1, 12, 5, D3D_SRV_DIMENSION_TEXTURE2DMS, 4},
        {"tc", D3D_SIT_TEXTURE, 6, 1, 9, 5, D3D_SRV_DIMENSION_TEXTURECUBE, none},
        {"typed", D3D_SIT_TEXTURE, 7, 1, 12, 1, D3D_SRV_DIMENSION_BUFFER, none},
        {"structured", D3D_SIT_STRUCTURED, 8, 1, 0, 6, D3D_SRV_DIMENSION_BUFFER, 8},
        {"Tb", D3D_SIT_TBUFFER, 9, 1, 1, 6, D3D_SRV_DIMENSION_BUFFER, 0},
        {"bytes", D3D_SIT_BYTEADDRESS, 10, 1, 0, 6, D3D_SRV_DIMENSION_BUFFER, 0},
        {"many", D3D_SIT_TEXTURE, 12, 3, 13, 5, D3D_SRV_DIMENSION_TEXTURE2D, none},
        {"rw2", D3D_SIT_UAV_RWTYPED, 0, 1, 12, 5, D3D_SRV_DIMENSION_TEXTURE2D, none},
        {"rwb", D3D_SIT_UAV_RWTYPED, 1, 1, 0, 4, D3D_SRV_DIMENSION_BUFFER, none},
        {"counted", D3D_SIT_UAV_RWSTRUCTURED_WITH_COUNTER, 2, 1, 0, 6, D3D_SRV_DIMENSION_BUFFER, 4},
        {"rwBytes", D3D_SIT_UAV_RWBYTEADDRESS, 3, 1, 0, 6, D3D_SRV_DIMENSION_BUFFER, 0},
        {"app", D3D_SIT_UAV_APPEND_STRUCTURED, 4, 1, 0, 6, D3D_SRV_DIMENSION_BUFFER, 4},
        {"con", D3D_SIT_UAV_CONSUME_STRUCTURED, 5, 1, 0, 6, D3D_SRV_DIMENSION_BUFFER, 4},
        {"rws", D3D_SIT_UAV_RWSTRUCTURED, 6, 1, 0, 6, D3D_SRV_DIMENSION_BUFFER, 4},
        {"Free", D3D_SIT_CBUFFER, 0, 1, 0, 0, D3D_SRV_DIMENSION_UNKNOWN, 0},
        {"Fixed", D3D_SIT_CBUFFER, 2, 1, 1, 0, D3D_SRV_DIMENSION_UNKNOWN, 0},
    };
    ASSERT_EQ(r.Desc().BoundResources, std::size(rows));
    for (UINT i = 0; i < std::size(rows); ++i) {
        D3D11_SHADER_INPUT_BIND_DESC desc{};
        ASSERT_EQ(r->GetResourceBindingDesc(i, &desc), S_OK);
        const Row& row = rows[i];
        SCOPED_TRACE(row.name);
        EXPECT_STREQ(desc.Name, row.name);
        EXPECT_EQ(desc.Type, row.type);
        EXPECT_EQ(desc.BindPoint, row.bind);
        EXPECT_EQ(desc.BindCount, row.count);
        EXPECT_EQ(desc.uFlags, row.flags);
        EXPECT_EQ(desc.ReturnType, row.returnType);
        EXPECT_EQ(desc.Dimension, row.dimension);
        EXPECT_EQ(desc.NumSamples, row.samples);
    }
    EXPECT_EQ(r.Variable("Free", "g").uFlags, D3D_SVF_USED);
    EXPECT_EQ(r.Variable("Free", "unused").uFlags, 0u);
    UINT x = 0, y = 0, z = 0;
    EXPECT_EQ(r->GetThreadGroupSize(&x, &y, &z), 8u);
    EXPECT_EQ(x * 100 + y * 10 + z, 421u);
}

TEST(ShaderReflection, DescribesTypesAndTheirMembers)
{
    const Reflected r(R"(
        struct Light { float3 direction; uint kind; float2x4 m[2]; };
        cbuffer B { bool flag; int3 i; uint u[4]; Light lights[3]; float3x2 m; Light one; }
        float4 main() : SV_Target { return flag + i.x + u[1] + lights[1].kind + m[0].x + one.kind; })",
                      "ps_5_0");
    const auto check = [&](const char* name, D3D_SHADER_VARIABLE_CLASS kind, D3D_SHADER_VARIABLE_TYPE type, UINT rows,
                           UINT columns, UINT elements, UINT members, const char* typeName) {
        const D3D11_SHADER_TYPE_DESC desc = r.Type("B", name);
        EXPECT_EQ(desc.Class, kind) << name;
        EXPECT_EQ(desc.Type, type) << name;
        EXPECT_EQ(desc.Rows, rows) << name;
        EXPECT_EQ(desc.Columns, columns) << name;
        EXPECT_EQ(desc.Elements, elements) << name;
        EXPECT_EQ(desc.Members, members) << name;
        EXPECT_STREQ(desc.Name, typeName);
    };
    check("flag", D3D_SVC_SCALAR, D3D_SVT_BOOL, 1, 1, 0, 0, "bool");
    check("i", D3D_SVC_VECTOR, D3D_SVT_INT, 1, 3, 0, 0, "int3");
    check("u", D3D_SVC_SCALAR, D3D_SVT_UINT, 1, 1, 4, 0, "uint");
    check("m", D3D_SVC_MATRIX_COLUMNS, D3D_SVT_FLOAT, 3, 2, 0, 0, "float3x2");
    check("lights", D3D_SVC_STRUCT, D3D_SVT_VOID, 1, 20, 3, 3, "Light");

    ID3D11ShaderReflectionConstantBuffer* buffer = r->GetConstantBufferByName("B");
    ID3D11ShaderReflectionType* light = buffer->GetVariableByName("one")->GetType();
    EXPECT_STREQ(light->GetMemberTypeName(2), "m");
    EXPECT_EQ(light->GetMemberTypeName(3), nullptr);
    EXPECT_EQ(light->GetMemberTypeByName("kind"), light->GetMemberTypeByIndex(1));
    EXPECT_EQ(light->IsEqual(buffer->GetVariableByName("lights")->GetType()), S_FALSE);
    EXPECT_EQ(light->IsEqual(light), S_OK);
    EXPECT_EQ(buffer->GetVariableByName("one")->GetBuffer(), buffer);
    EXPECT_EQ(r->GetVariableByName("one"), buffer->GetVariableByName("one"));
}

TEST(ShaderReflection, WhatIsNotThereIsEmptyAndSafe)
{
    const Reflected r("float4 main() : SV_Target { return 1; }", "ps_5_0");
    EXPECT_EQ(r.Desc().ConstantBuffers + r.Desc().BoundResources + r.Desc().InputParameters, 0u);
    D3D11_SHADER_BUFFER_DESC buffer{};
    D3D11_SHADER_VARIABLE_DESC variable{};
    D3D11_SHADER_TYPE_DESC type{};
    D3D11_SHADER_INPUT_BIND_DESC binding{};
    D3D11_SIGNATURE_PARAMETER_DESC parameter{};
    ID3D11ShaderReflectionConstantBuffer* none = r->GetConstantBufferByIndex(0);
    EXPECT_EQ(none->GetDesc(&buffer), E_FAIL);
    EXPECT_EQ(none->GetVariableByIndex(0)->GetDesc(&variable), E_FAIL);
    EXPECT_EQ(r->GetVariableByName("x")->GetType()->GetMemberTypeByName("y")->GetDesc(&type), E_FAIL);
    EXPECT_EQ(r->GetVariableByName(nullptr)->GetBuffer()->GetDesc(&buffer), E_FAIL);
    EXPECT_EQ(r->GetResourceBindingDesc(0, &binding), E_INVALIDARG);
    EXPECT_EQ(r->GetResourceBindingDescByName(nullptr, &binding), E_INVALIDARG);
    EXPECT_EQ(r->GetOutputParameterDesc(1, &parameter), E_INVALIDARG);
    EXPECT_EQ(r->GetOutputParameterDesc(0, nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetDesc(nullptr), E_INVALIDARG);
    void* object = nullptr;
    EXPECT_EQ(r->QueryInterface(IID_ID3DBlob, &object), E_NOINTERFACE);
}

TEST(ShaderReflection, KeepsDefaultValues)
{
    const Reflected r(R"(
        static const float two = 2;
        float4 tint = float4(1, two, sqrt(9.0), 0.5) ; float plain;
        cbuffer B { row_major float2x3 rm = {1, 2, 3, 4, 5, 6}; float2x3 cm = {1, 2, 3, 4, 5, 6}; float a[3] = {7, 8, 9};
                    int n = -1, m = 5; bool f = true; uint big = 4294967295u; float derived = tint.x; }
        float4 main() : SV_Target { return tint + plain + rm[0].x + cm[0].x + a[1] + n + m + f + big + derived; })",
                      "ps_5_0");
    const auto values = [&](const char* buffer, const char* name) {
        const D3D11_SHADER_VARIABLE_DESC desc = r.Variable(buffer, name);
        std::vector<float> floats(desc.Size / 4);
        if (!desc.DefaultValue)
            return std::vector<float>();
        std::memcpy(floats.data(), desc.DefaultValue, desc.Size);
        return floats;
    };
    const auto bits = [&](const char* name) {
        std::uint32_t value = 0;
        std::memcpy(&value, r.Variable("B", name).DefaultValue, 4);
        return value;
    };
    EXPECT_EQ(values("$Globals", "tint"), (std::vector<float>{1, 2, 3, 0.5f}));
    EXPECT_TRUE(values("$Globals", "plain").empty());
    EXPECT_EQ(values("B", "rm"), (std::vector<float>{1, 2, 3, 0, 4, 5, 6}));
    EXPECT_EQ(values("B", "cm"), (std::vector<float>{1, 4, 0, 0, 2, 5, 0, 0, 3, 6}));
    EXPECT_EQ(values("B", "a"), (std::vector<float>{7, 0, 0, 0, 8, 0, 0, 0, 9}));
    EXPECT_EQ(bits("n"), 0xffffffffu);
    EXPECT_EQ(bits("m"), 5u);
    EXPECT_EQ(bits("f"), 1u);
    EXPECT_EQ(bits("big"), 0xffffffffu);
    EXPECT_TRUE(values("B", "derived").empty());
}

TEST(ShaderReflection, CountsByKind)
{
    const Reflected r(R"(
        Texture2D t; SamplerState s; SamplerComparisonState c; RWTexture2D<float4> o : register(u1); uint n;
        float4 main(float2 uv : T, float4 p : SV_Position) : SV_Target {
            float4 v = t.Sample(s, uv) + t.SampleBias(s, uv, 1) + t.SampleGrad(s, uv, 1, 1) + t.Load(int3(p.xy, 0)) +
                t.SampleCmp(c, uv, 0.5);
            [loop] for (uint i = 0; i < n; ++i) v = v * v.yzwx;
            o[uint2(p.xy)] = v;
            return v; })",
                      "ps_5_0");
    const D3D11_SHADER_DESC d = r.Desc();
    EXPECT_EQ(d.TextureNormalInstructions, 1u);
    EXPECT_EQ(d.TextureBiasInstructions, 1u);
    EXPECT_EQ(d.TextureGradientInstructions, 1u);
    EXPECT_EQ(d.TextureLoadInstructions, 1u);
    EXPECT_EQ(d.TextureCompInstructions, 1u);
    EXPECT_EQ(d.cTextureStoreInstructions, 1u);
    EXPECT_GE(d.DynamicFlowControlCount, 1u);
    EXPECT_GE(d.FloatInstructionCount, 5u);
    EXPECT_GT(r->GetConversionInstructionCount(), 0u);
    EXPECT_GT(d.InstructionCount, 12u);
    EXPECT_EQ(D3D11_SHVER_GET_TYPE(d.Version), static_cast<UINT>(D3D11_SHVER_PIXEL_SHADER));
    EXPECT_EQ(D3D11_SHVER_GET_MAJOR(d.Version) * 10 + D3D11_SHVER_GET_MINOR(d.Version), 50u);
    EXPECT_EQ(d.Flags, static_cast<UINT>(D3DCOMPILE_OPTIMIZATION_LEVEL3));

    const Reflected indexed("uint n; float4 main(float4 v : V) : SV_Target { float a[4] = {v.x * 2, v.w, sin(v.z), 1}; "
                            "return a[n & 3]; }",
                            "ps_5_0");
    EXPECT_EQ(indexed.Desc().TempArrayCount, 1u);
    EXPECT_GE(indexed.Desc().ArrayInstructionCount, 2u);

    // More work counts more, and work that the optimiser removes does not count.
    const auto count = [](const char* body) {
        return Reflected("float4 v; float4 main() : SV_Target {" + std::string(body) + "}", "ps_5_0")
            .Desc()
            .InstructionCount;
    };
    EXPECT_LT(count("return v;"), count("return v * v.yzwx + 1;"));
    EXPECT_EQ(count("return v;"), count("float4 w = sin(v); return v;"));
}
