// Texts that the compiler takes although its parser knows them not, macros, targets, arguments and threads.
#include <atomic>
#include <cstring>
#include <thread>

#include "ShaderKit.h"

TEST(ShaderTexts, WordsThatAreNamesOnlyHere)
{
    for (const char* word :
         {"texture", "point", "line",          "linear",  "string",   "shared", "uniform", "auto",
          "char",    "class", "template",      "precise", "triangle", "sample", "signed",  "centroid",
          "union",   "new",   "noperspective", "unorm",   "half4_",   "layout", "buffer"}) {
        const std::string w = word;
        const Reflected r("struct S { float4 " + w + "; }; cbuffer B { float4 " + w + "0; S s; } Texture2D " + w +
                              "; SamplerState smp; float4 f(float4 " + w + ") { return " + w + " * 2; }" +
                              "float4 main(float2 uv : T) : SV_Target { S t; t." + w + " = f(" + w +
                              ".Sample(smp, uv)); return t." + w + ".xyzw + s." + w + " + " + w + "0; }",
                          "ps_5_0");
        EXPECT_EQ(r.Binding(word).Type, D3D_SIT_TEXTURE) << word;
        EXPECT_EQ(r.Layout("B"), w + "0:0:16 s:16:16 ." + w + ":0");
    }
    // The same words as what they are to the parser.
    EXPECT_EQ(Compile("struct line { float4 point; }; uniform float4 u; line g() { line l; l.point = u; return l; }"
                      "float4 main(linear noperspective float2 a : A, centroid float2 b : B, precise float c : C) "
                      ": SV_Target { precise float4 d = a.xyxy * b.x; return d + c + g().point; }",
                      "ps_5_0")
                  .result,
              S_OK);
}

TEST(ShaderTexts, FormsThatNeedTranslation)
{
    EXPECT_EQ(Compile("Texture2DMS<float4, 4> m; Texture2DMSArray<float4> a; float4 main(float4 p : SV_Position, "
                      "uint s : SV_SampleIndex) : SV_Target { int k[2] = {0, 1}; "
                      "return m.sample[s][int2(p.xy)] + a.sample[k[1]][int3(k[0], 0, k[1])]; }",
                      "ps_5_0")
                  .result,
              S_OK);
    const gleam::ShaderModule scaled =
        Module("float4 v; float e; float4 main() : SV_Target { return ldexp(v, e) + ldexp(v.x, 2); }", "ps_5_0");
    EXPECT_EQ(All(scaled.spirv, spv::Op::OpFunctionCall).size(), 0u);
    const gleam::ShaderModule gathered = Module(
        "Texture2D<float> t; TextureCube c; SamplerComparisonState s; SamplerState p; float4 main(float2 u : T) : "
        "SV_Target { return t.GatherCmp(s, u, 0.5) + t.GatherCmpRed(s, u, 0.5, int2(1, 0)) + "
        "c.GatherCmp(s, u.xyx, 0.5) + c.Gather(p, u.xyx); }",
        "ps_5_0");
    EXPECT_EQ(All(gathered.spirv, spv::Op::OpImageDrefGather).size(), 3u);
    EXPECT_TRUE(All(gathered.spirv, spv::Op::OpExtension).empty());
    const gleam::ShaderModule perSample =
        Module("float4 main(float4 a : A) : SV_Target { return EvaluateAttributeAtSample(a, 1); }", "ps_5_0");
    EXPECT_EQ(perSample.inputs.at(0).readWriteMask, 15u);
    // States in the text belong to effects and are passed over.
    EXPECT_EQ(Compile("SamplerState s { Filter = MIN_MAG_MIP_LINEAR; AddressU = Wrap; }; Texture2D t;"
                      "float4 main(float2 uv : T) : SV_Target { return t.Sample(s, uv); }",
                      "ps_4_0")
                  .result,
              S_OK);
    // A value that only parses as an initial value elsewhere does not spoil the rest.
    EXPECT_EQ(Compile("float4 a = 1, b = {1, 2, 3, 4}; float4 main() : SV_Target { return a + b; }", "ps_4_0").result,
              S_OK);
}

TEST(ShaderTexts, MacrosAndPreprocessing)
{
    CompileOptions options;
    options.macros = {{"COUNT", "3"}, {"EMPTY", nullptr}, {"SCALE(x)", "(x * 2)"}, {"LINES", "1\n+1"}};
    EXPECT_EQ(Compile("#if COUNT == 3 && defined(EMPTY)\nfloat4 main() : SV_Target { return SCALE(LINES) EMPTY; }\n"
                      "#else\n#error wrong\n#endif",
                      "ps_5_0", options)
                  .result,
              S_OK);

    const char text[] = "#define TWICE(x) x x\nTWICE(a)\n#if 0\nb\n#endif\nc // gone";
    ID3DBlob* blob = nullptr;
    ASSERT_EQ(D3DPreprocess(text, sizeof(text), "p.hlsl", nullptr, nullptr, &blob, nullptr), S_OK);
    const Owned<ID3DBlob> owned(blob);
    const std::string out = static_cast<const char*>(blob->GetBufferPointer());
    EXPECT_EQ(out.size() + 1, blob->GetBufferSize());
    EXPECT_NE(out.find("a a"), std::string::npos);
    EXPECT_EQ(out.find('b'), std::string::npos);
    EXPECT_EQ(out.find("gone"), std::string::npos);
}

TEST(ShaderTexts, TargetsAndEntries)
{
    const std::string pixel = "float4 other() : SV_Target { return 1; }";
    CompileOptions options;
    options.entry = "other";
    for (const char* target : {"ps_4_0", "ps_4_1", "ps_5_0"})
        EXPECT_EQ(Compile(pixel, target, options).result, S_OK) << target;
    for (const char* target : {"ps_3_0", "ps_6_0", "xs_5_0", "hs_4_0", "", "ps_5_0 "})
        EXPECT_NE(Compile(pixel, target, options).messages.find("error X3506: unrecognized compiler target"),
                  std::string::npos)
            << target;
    EXPECT_NE(Compile(pixel, "ps_5_0").messages.find("error X3501: 'main': entrypoint not found"), std::string::npos);
    EXPECT_EQ(Module("[numthreads(8, 1, 1)] void main() {}", "cs_4_0").threadGroup[0], 8u);
}

TEST(ShaderTexts, TessellationStages)
{
    const std::string shared = "struct C { float3 p : POS; }; struct F { float e[3] : SV_TessFactor; "
                               "float i : SV_InsideTessFactor; };\n";
    const Reflected hull(shared +
                             "F pf(InputPatch<C, 3> p, uint id : SV_PrimitiveID) { F f; f.e[0] = f.e[1] = f.e[2] "
                             "= f.i = p[0].p.x; return f; }"
                             "[domain(\"tri\")] [partitioning(\"fractional_odd\")] [outputtopology(\"triangle_cw\")]"
                             "[outputcontrolpoints(3)] [patchconstantfunc(\"pf\")]"
                             "C main(InputPatch<C, 3> p, uint i : SV_OutputControlPointID) { return p[i]; }",
                         "hs_5_0");
    EXPECT_EQ(hull.Desc().cControlPoints, 3u);
    EXPECT_EQ(hull.Desc().TessellatorDomain, D3D_TESSELLATOR_DOMAIN_TRI);
    EXPECT_EQ(hull.Desc().HSPartitioning, D3D_TESSELLATOR_PARTITIONING_FRACTIONAL_ODD);
    EXPECT_EQ(hull.Desc().HSOutputPrimitive, D3D_TESSELLATOR_OUTPUT_TRIANGLE_CW);
    const Reflected domain(shared + "[domain(\"tri\")] float4 main(F f, float3 w : SV_DomainLocation, const "
                                    "OutputPatch<C, 3> p) : SV_Position { return float4(p[0].p * w.x + p[1].p, 1); }",
                           "ds_5_0");
    EXPECT_EQ(domain.Signature(false), std::vector<std::string>{"SV_Position0 r0 s1 c3 m15/0"});
}

TEST(ShaderTexts, ArgumentsAreChecked)
{
    const char text[] = "float4 main() : SV_Target { return 1; }";
    ID3DBlob* code = nullptr;
    const auto compile = [&](const void* source, SIZE_T size, const char* entry, const char* target) {
        return D3DCompile(source, size, nullptr, nullptr, nullptr, entry, target, 0, 0, &code, nullptr);
    };
    EXPECT_EQ(compile(nullptr, 1, "main", "ps_5_0"), E_INVALIDARG);
    EXPECT_EQ(compile(text, SIZE_T{1} << 40, "main", "ps_5_0"), E_INVALIDARG);
    EXPECT_EQ(compile(text, sizeof(text), nullptr, "ps_5_0"), E_INVALIDARG);
    EXPECT_EQ(compile(text, sizeof(text), "main", nullptr), E_INVALIDARG);
    EXPECT_EQ(code, nullptr);
    EXPECT_EQ(compile(text, 0, "main", "ps_5_0"), E_FAIL);
    // The closing zero byte may be counted, and no result need be taken.
    EXPECT_EQ(D3DCompile(text, sizeof(text), nullptr, nullptr, nullptr, "main", "ps_5_0", 0, 0, nullptr, nullptr),
              S_OK);
    EXPECT_EQ(D3DPreprocess(text, sizeof(text), nullptr, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);

    ID3DBlob* blob = nullptr;
    EXPECT_EQ(D3DCreateBlob(16, nullptr), E_INVALIDARG);
    EXPECT_EQ(D3DCreateBlob(~SIZE_T{0}, &blob), E_OUTOFMEMORY);
    ASSERT_EQ(D3DCreateBlob(16, &blob), S_OK);
    const Owned<ID3DBlob> owned(blob);
    EXPECT_EQ(blob->GetBufferSize(), 16u);
    EXPECT_EQ(static_cast<char*>(blob->GetBufferPointer())[15], 0);
    void* reflector = nullptr;
    EXPECT_EQ(D3DReflect(nullptr, 0, IID_ID3D11ShaderReflection, &reflector), E_INVALIDARG);
    EXPECT_EQ(D3DReflect(text, sizeof(text), IID_ID3DBlob, &reflector), E_NOINTERFACE);
    EXPECT_EQ(D3DReflect(text, sizeof(text), IID_ID3D11ShaderReflection, &reflector), E_FAIL);
}

TEST(ShaderTexts, HostileTextsEndWithAMessage)
{
    const auto repeat = [](const std::string& text, int times) {
        std::string all;
        for (int i = 0; i < times; ++i)
            all += text;
        return all;
    };
    const std::string open = "float4 main() : SV_Target { float a = 1; ";
    EXPECT_NE(Compile(open + "return " + repeat("(", 100000), "ps_5_0").messages.find("nested deeper"),
              std::string::npos);
    for (const std::string& text :
         {"return " + repeat("- ", 50000) + "a; }", "return " + repeat("a + ", 50000) + "a; }",
          "return " + repeat("a ? a : ", 50000) + "a; }", repeat("if (a) ", 50000) + "; }",
          repeat("if (a) a = 2; else ", 50000) + "; return a; }"})
        EXPECT_NE(Compile(open + text, "ps_5_0").messages.find("operators and branches"), std::string::npos);
    EXPECT_EQ(Compile(open + "return " + repeat("a + ", 1500) + "a; }", "ps_5_0").result, S_OK);
    EXPECT_EQ(Compile(open + repeat("if (a > 2) a = 3; else ", 300) + "a = 4; return a; }", "ps_5_0").result, S_OK);
    for (const char* text : {"}", "{", "struct", "cbuffer B {", "float4 a[", "=", "a :", "\"", "#line 5", "#if", "\xff",
                             "float a = {1,", "Texture2DMS<", "t.sample[", "t.sample[1][", "register(", "<,>", ":::"})
        EXPECT_EQ(Compile(text, "ps_5_0").result, E_FAIL) << text;
}

TEST(ShaderTexts, ThreadsCompileAtOnceWithTheSameResult)
{
    const auto text = [](int i) {
        return "float4 a" + std::to_string(i) +
               "; Texture2D t; SamplerState s; float4 main(float2 u : T) : SV_Target "
               "{ return t.Sample(s, u) * a" +
               std::to_string(i) + "; }";
    };
    constexpr int count = 6;
    std::vector<std::string> alone;
    for (int i = 0; i < count; ++i) {
        const Compiled c = Compile(text(i), "ps_5_0");
        ASSERT_EQ(c.result, S_OK) << c.messages;
        alone.emplace_back(static_cast<const char*>(c.code->GetBufferPointer()), c.code->GetBufferSize());
    }
    std::atomic<int> same{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < count; ++i) {
                const Compiled c = Compile(text(i), "ps_5_0");
                same += c.code && c.code->GetBufferSize() == alone[i].size() &&
                        std::memcmp(c.code->GetBufferPointer(), alone[i].data(), alone[i].size()) == 0;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(same, 3 * count);
}
