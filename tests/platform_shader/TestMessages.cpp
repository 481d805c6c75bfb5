// What a failed compilation says, and where.
#include "ShaderKit.h"

struct MessageCase
{
    const char* name;
    const char* text;
    const char* expected; ///< the beginning of the first line
};

class ShaderMessages : public testing::TestWithParam<MessageCase>
{
};

TEST_P(ShaderMessages, NameThePlace)
{
    const Compiled compiled = Compile(GetParam().text, "ps_5_0");
    EXPECT_EQ(compiled.result, E_FAIL);
    EXPECT_EQ(compiled.code, nullptr);
    EXPECT_EQ(compiled.messages.substr(0, std::string(GetParam().expected).size()), GetParam().expected);
    EXPECT_EQ(compiled.messages.back(), '\n');
    EXPECT_EQ(compiled.messages.find("glslang"), std::string::npos);
    EXPECT_EQ(compiled.messages.find("HLSL parsing failed"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ShaderMessages,
    testing::Values(
        MessageCase{"UnknownName", "float4 main() : SV_Target\n{\n  float a = 1;\n  return a * missing;\n}",
                    "test.hlsl(4,14): error X3004: undeclared identifier 'missing'\n"},
        MessageCase{"UnexpectedToken", "float4 main() : SV_Target\n{\n  if (1 > 0 return 2;\n}",
                    "test.hlsl(3,13): error X3000: syntax error: unexpected token 'return'\n"},
        MessageCase{"EndOfFile", "float4 main() : SV_Target\n{\n  return 1;\n", "test.hlsl("},
        MessageCase{"WrongArguments", "Texture2D t; SamplerState s;\nfloat4 main() : SV_Target { return t.Sample(s); }",
                    "test.hlsl(2,38): error X3013: 'Sample': no matching function"},
        MessageCase{"Conversion", "struct A { float a; };\nfloat4 main() : SV_Target { A a; float4 b = a; return b; }",
                    "test.hlsl(2,"},
        MessageCase{"LineDirective", "#line 40 \"other.hlsl\"\nfloat4 main() : SV_Target { return nothing; }",
                    "other.hlsl(40,1): error X3004: undeclared identifier 'nothing'\n"},
        MessageCase{"AfterRenaming", "float4 main(float4 texture : T) : SV_Target { return point.x; }",
                    "test.hlsl(1,54): error X3004: undeclared identifier 'point'\n"},
        MessageCase{"MissingInclude", "\n#include \"missing.h\"\nfloat4 main() : SV_Target { return 1; }",
                    "test.hlsl(2,1): error X1507: failed to open source file: 'missing.h'\n"},
        MessageCase{"ErrorDirective", "#error stop here\n", "test.hlsl(1,1): error X1519: #error: stop here"},
        MessageCase{"TypedLoad",
                    "RWTexture2D<float4> u : register(u1);\nfloat4 main() : SV_Target { return u[int2(0, 0)]; }",
                    "test.hlsl(1,1): error X3676: typed UAV loads are only allowed for single-component 32-bit element "
                    "types: 'u'"},
        MessageCase{"IntegerMatrix", "int2x2 m; float4 main() : SV_Target { return m[0][0]; }",
                    "test.hlsl(1,1): error X3000: matrices of integers or booleans are not supported"},
        MessageCase{"OverlappingRegisters",
                    "Texture2D a : register(t1); Texture2D b[2] : register(t0); SamplerState s;\n"
                    "float4 main() : SV_Target { return a.Sample(s, 0) + b[1].Sample(s, 0); }",
                    "test.hlsl(1,1): error X4500: overlapping register semantics 't"},
        MessageCase{"RegisterTooHigh",
                    "SamplerState s : register(s16); Texture2D t;\n"
                    "float4 main() : SV_Target { return t.Sample(s, 0); }",
                    "test.hlsl(1,1): error X4509: register index of 's' exceeds the 16 registers of class 's'"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ShaderMessageForms, WarningsComeWithSuccessUnlessTheyAreErrors)
{
    const std::string text = "float4 main() : SV_Target { float4 a = float3(1, 2, 3).xyzz; float3 b = a; return b.x; }";
    const Compiled plain = Compile(text, "ps_5_0");
    if (plain.result == S_OK && plain.messages.empty())
        return; // nothing to warn of
    CompileOptions options;
    options.flags |= D3DCOMPILE_WARNINGS_ARE_ERRORS;
    EXPECT_EQ(Compile(text, "ps_5_0", options).result, E_FAIL);
}
