// Text shaders of the viewer: splitting, compiling, and errors with the line in the user's file.
#include "TextShader.h"

#include "common/ShaderStages.h"

#include <Gleamwork/Renderer.h>

namespace gleamview {

namespace {

constexpr char s_vertexSection[] = R"(
struct Vertex
{
    float2 position : POSITION;
    float2 uv : TEXCOORD0;
    float corner : NORMAL;
};

struct Pixel
{
    float4 position : SV_Position;
    float2 uv : TEXCOORD0;
};

Pixel main(Vertex vertex)
{
    Pixel pixel;
    pixel.position = float4(vertex.position, 0.0, 1.0);
    pixel.uv = vertex.uv;
    return pixel;
}
)";

constexpr char s_fragmentSection[] = R"(
Texture2D Image0;
SamplerState ImageSampler;

float4 main(float4 position : SV_Position, float2 uv : TEXCOORD0) : SV_Target0
{
    return Image0.Sample(ImageSampler, uv);
}
)";

constexpr char s_showEncoded[] = R"(
Texture2D Picture;

float4 main(float4 position : SV_Position, float2 uv : TEXCOORD0) : SV_Target0
{
    float4 color = Picture.Load(int3(position.xy, 0));
    return float4(lerp(0.13, color.rgb, saturate(color.a)), 1.0);
}
)";

constexpr char s_showLinear[] = R"(
Texture2D Picture;

float4 main(float4 position : SV_Position, float2 uv : TEXCOORD0) : SV_Target0
{
    float4 color = Picture.Load(int3(position.xy, 0));
    float3 light = lerp(0.015, saturate(color.rgb), saturate(color.a));
    float3 curve = 1.055 * pow(light, 1.0 / 2.4) - 0.055;
    return float4(light <= 0.0031308 ? light * 12.92 : curve, 1.0);
}
)";

template <std::size_t Size>
gw::ShaderData Section(const char (&text)[Size])
{
    return gw::ShaderData(text, Size - 1);
}

qs::ObjectHandle AddShader(gw::Renderer& renderer, const gw::ShaderData& vertex, const gw::ShaderData& fragment)
{
    const gw::ShaderData none;
    const qs::ObjectHandle shader = renderer.AddShader(vertex, none, fragment, none, qs::FixedString::Empty,
                                                       qs::FixedString::Empty, true, nullptr, nullptr, 0);
    renderer.CreateShader(shader);
    return shader;
}

} // namespace

qs::ObjectHandle AddBuiltInShader(gw::Renderer& renderer, std::string& error)
{
    const qs::ObjectHandle shader = AddShader(renderer, Section(s_vertexSection), Section(s_fragmentSection));
    if (!shader.IsValid())
        error = "the viewer's own shader could not be made";
    return shader;
}

qs::ObjectHandle AddShowShader(gw::Renderer& renderer, bool encodes)
{
    return AddShader(renderer, Section(s_vertexSection), encodes ? Section(s_showLinear) : Section(s_showEncoded));
}

qs::ObjectHandle LoadTextShader(gw::Renderer& renderer, const std::string& path, std::string& error)
{
    apps::ShaderSource source;
    if (!apps::ReadShaderSource(path, source, error))
        return qs::ObjectHandle::Unassigned;
    const auto& [vertex, geometry, fragment, compute] = source.sections;
    if (!fragment.data) {
        error = path + ": no \"[Fragment shader]\" section";
        return qs::ObjectHandle::Unassigned;
    }
    for (const gw::EShaderType type : {gw::eShaderType_Vertex, gw::eShaderType_Fragment}) {
        if (!source.sections[type - gw::eShaderType_Vertex].data)
            continue;
        const apps::StageResult result = apps::CompileStage(source, type, {});
        if (!result.isCompiled) {
            error = path + ": the " + apps::StageName(type) + " section does not compile\n" + result.messages;
            return qs::ObjectHandle::Unassigned;
        }
    }
    const qs::ObjectHandle shader = AddShader(renderer, vertex.data ? vertex : Section(s_vertexSection), fragment);
    if (!shader.IsValid())
        error = path + ": the device does not take the shader";
    return shader;
}

} // namespace gleamview
