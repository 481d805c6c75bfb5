// Input and output signatures: names, registers, system values and masks.
#include "ShaderKit.h"

using Rows = std::vector<std::string>;

TEST(ShaderSignatures, VertexInputsTakeOneRegisterEach)
{
    const Reflected r(R"(
        struct In { float3 p : Position; float2 uv[2] : TexCoord1; uint id : SV_VertexID; int4 bones : BLENDINDICES;
                    float unused : Unused3; uint inst : SV_InstanceID; float4x4 world : WORLD; };
        float4 main(In i) : SV_Position { return i.p.xzzz + i.uv[1].y + i.id + i.bones.w + i.inst + i.world[2]; })",
                      "vs_5_0");
    EXPECT_EQ(r.Signature(true),
              (Rows{"Position0 r0 s0 c3 m7/5", "TexCoord1 r1 s0 c3 m3/0", "TexCoord2 r2 s0 c3 m3/2",
                    "SV_VertexID0 r3 s6 c1 m1/1", "BLENDINDICES0 r4 s0 c2 m15/8", "Unused3 r5 s0 c3 m1/0",
                    "SV_InstanceID0 r6 s8 c1 m1/1", "WORLD0 r7 s0 c3 m15/15", "WORLD1 r8 s0 c3 m15/15",
                    "WORLD2 r9 s0 c3 m15/15", "WORLD3 r10 s0 c3 m15/15"}));
    EXPECT_EQ(r.Signature(false), (Rows{"SV_Position0 r0 s1 c3 m15/0"}));
}

TEST(ShaderSignatures, OutputsSharePackedRegisters)
{
    const Reflected r(R"(
        struct Out { float4 p : SV_Position; float2 a : A; float3 b : B; float2 c : C; nointerpolation float d : D;
                     float e : E; };
        Out main(float4 p : P) { Out o; o.p = p; o.a = p.xy; o.b = p.xyz; o.c = p.zw; o.d = p.x; o.e = 1; return o; })",
                      "vs_4_0");
    EXPECT_EQ(r.Signature(false), (Rows{"SV_Position0 r0 s1 c3 m15/0", "A0 r1 s0 c3 m3/0", "B0 r2 s0 c3 m7/0",
                                        "C0 r1 s0 c3 m12/0", "D0 r3 s0 c3 m1/0", "E0 r2 s0 c3 m8/0"}));
}

TEST(ShaderSignatures, PixelSystemValues)
{
    const Reflected r(R"(
        struct Out { float4 b : SV_Target2; float4 a : SV_Target; float d : SV_DepthGreaterEqual; uint m : SV_Coverage; };
        Out main(float4 p : SV_Position, bool f : SV_IsFrontFace, uint s : SV_SampleIndex, uint c : SV_Coverage,
                 uint i : SV_PrimitiveID, float2 clip : SV_ClipDistance) {
            Out o; o.a = p + f; o.b = s + clip.x + i; o.d = p.z; o.m = c; return o; })",
                      "ps_5_0");
    EXPECT_EQ(r.Signature(true), (Rows{"SV_Position0 r0 s1 c3 m15/15", "SV_IsFrontFace0 r1 s9 c1 m1/1",
                                       "SV_SampleIndex0 r2 s10 c1 m1/1", "SV_Coverage0 r-1 s66 c1 m1/1",
                                       "SV_PrimitiveID0 r3 s7 c1 m1/1", "SV_ClipDistance0 r4 s2 c3 m3/3"}));
    EXPECT_EQ(r.Signature(false), (Rows{"SV_Target2 r2 s64 c3 m15/0", "SV_Target0 r0 s64 c3 m15/0",
                                        "SV_DepthGreaterEqual0 r-1 s67 c3 m1/0", "SV_Coverage0 r-1 s66 c1 m1/0"}));
    EXPECT_TRUE(r->IsSampleFrequencyShader());
    const Reflected plain("float4 main(float4 p : SV_Position) : SV_Target { return p; }", "ps_4_0");
    EXPECT_FALSE(plain->IsSampleFrequencyShader());
}

TEST(ShaderSignatures, GeometryStages)
{
    struct Case
    {
        const char* in;
        const char* stream;
        int vertices;
        D3D_PRIMITIVE primitive;
        D3D_PRIMITIVE_TOPOLOGY topology;
    };
    for (const Case& test :
         {Case{"point", "TriangleStream", 1, D3D_PRIMITIVE_POINT, D3D_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP},
          Case{"line", "PointStream", 2, D3D_PRIMITIVE_LINE, D3D_PRIMITIVE_TOPOLOGY_POINTLIST},
          Case{"triangle", "LineStream", 3, D3D_PRIMITIVE_TRIANGLE, D3D_PRIMITIVE_TOPOLOGY_LINESTRIP},
          Case{"lineadj", "LineStream", 4, D3D_PRIMITIVE_LINE_ADJ, D3D_PRIMITIVE_TOPOLOGY_LINESTRIP},
          Case{"triangleadj", "TriangleStream", 6, D3D_PRIMITIVE_TRIANGLE_ADJ, D3D_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP}}) {
        SCOPED_TRACE(test.in);
        const std::string count = std::to_string(test.vertices);
        const Reflected r("struct V { float4 p : SV_Position; float2 uv : T; };"
                          "struct O { float4 p : SV_Position; float2 uv : T; uint l : SV_RenderTargetArrayIndex; };"
                          "[maxvertexcount(5)] void main(" +
                              std::string(test.in) + " V v[" + count + "], inout " + test.stream +
                              "<O> s, uint id : SV_PrimitiveID) { O o; o.p = v[0].p; o.uv = v[" + count +
                              " - 1].uv; o.l = id; s.Append(o); s.RestartStrip(); }",
                          "gs_4_0");
        const D3D11_SHADER_DESC desc = r.Desc();
        EXPECT_EQ(desc.InputPrimitive, test.primitive);
        EXPECT_EQ(r->GetGSInputPrimitive(), test.primitive);
        EXPECT_EQ(desc.GSOutputTopology, test.topology);
        EXPECT_EQ(desc.GSMaxOutputVertexCount, 5u);
        EXPECT_EQ(desc.EmitInstructionCount, 1u);
        EXPECT_EQ(desc.CutInstructionCount, 1u);
        EXPECT_EQ(r.Signature(true),
                  (Rows{"SV_Position0 r0 s1 c3 m15/15", "T0 r1 s0 c3 m3/3", "SV_PrimitiveID0 r-1 s7 c1 m1/1"}));
        EXPECT_EQ(r.Signature(false), (Rows{"SV_Position0 r0 s1 c3 m15/0", "T0 r1 s0 c3 m3/0",
                                            "SV_RenderTargetArrayIndex0 r2 s4 c1 m1/0"}));
    }
}
