// The dummy's sources, written out from the list of attributes, and its definitions.
#include "Gleamwork/dx11/DummyShader.h"

#include <qs/Log.h>

#include <string>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/DummyShader";
constexpr std::size_t VERTEX_SOURCE_SIZE = 6368;

struct Attribute
{
    const char *define, *field, *semantic;
};

constexpr Attribute ATTRIBUTES[] = {{"POSITION_0", "Position0", "POSITION0"},
                                    {"BLENDWEIGHT_0", "BlendWeight0", "BLENDWEIGHT0"},
                                    {"BLENDINDICES_0", "BlendIndices0", "BLENDINDICES0"},
                                    {"TEXCOORD_0", "TexCoord0", "TEXCOORD0"},
                                    {"TEXCOORD_1", "TexCoord1", "TEXCOORD1"},
                                    {"TEXCOORD_2", "TexCoord2", "TEXCOORD2"},
                                    {"TEXCOORD_3", "TexCoord3", "TEXCOORD3"},
                                    {"NORMAL_0", "Normal0", "NORMAL0"},
                                    {"TANGENT_0", "Tangent0", "TANGENT0"},
                                    {"BINORMAL_0", "Binormal0", "BINORMAL0"},
                                    {"COLOR_0", "Color0", "COLOR0"},
                                    {"COLOR_1", "Color1", "COLOR1"},
                                    {"COLOR_2", "Color2", "COLOR2"},
                                    {"COLOR_3", "Color3", "COLOR3"}};

constexpr const char* TYPES[4] = {"float", "float2", "float3", "float4"};
constexpr const char* SWIZZLES[4] = {"r", "rg", "rgb", "rgba"};

/// The line of an attribute for each of its four sizes, under conditionals.
template <class Line>
void AppendConditionals(std::string& source, const Attribute& attribute, const Line& line)
{
    for (int components = 1; components <= 4; ++components) {
        source += components == 1 ? "#if " : "#elif ";
        source += std::string(attribute.define) + " == " + std::to_string(components) + "\n\t";
        source += line(components - 1) + "\n";
    }
    source += "#endif\n";
}

std::string WriteVertexSource()
{
    std::string source = "\nstruct VsIn\n{\n";
    for (const Attribute& attribute : ATTRIBUTES) {
        AppendConditionals(source, attribute, [&](int size) {
            return std::string(TYPES[size]) + " " + attribute.field + " : " + attribute.semantic + ";";
        });
    }
    source += "};\n\nstruct PsIn\n{\n\tfloat4 svPosition : SV_Position;\n};\n\nPsIn main(VsIn In)\n{\n\tPsIn Out;\n\n"
              "\tOut.svPosition = float4(0, 0, 0, 0);\n\n";
    for (const Attribute& attribute : ATTRIBUTES) {
        AppendConditionals(source, attribute, [&](int size) {
            return std::string("Out.svPosition.") + SWIZZLES[size] + " += In." + attribute.field + ";";
        });
    }
    return source + "\treturn Out;\n}\n";
}

/// How the definitions of one usage are named, and what is said when an index has none.
struct UsageNames
{
    gw::EAttributeUsage usage;
    const char* names[4];
    int count;
    const char* excess;
};

constexpr UsageNames USAGES[] = {
    {gw::eAttributeUsage_Position, {"POSITION_0"}, 1, "More than 1 position entry found in vertex format."},
    {gw::eAttributeUsage_Texcoord,
     {"TEXCOORD_0", "TEXCOORD_1", "TEXCOORD_2", "TEXCOORD_3"},
     4,
     "More than 4 texCoord entries found in vertex format."},
    {gw::eAttributeUsage_Normal, {"NORMAL_0"}, 1, "More than 1 normal entry found in vertex format."},
    {gw::eAttributeUsage_Tangent, {"TANGENT_0"}, 1, "More than 1 tangent entry found in vertex format."},
    {gw::eAttributeUsage_Binormal, {"BINORMAL_0"}, 1, "More than 1 binormal entry found in vertex format."},
    {gw::eAttributeUsage_BlendWeight, {"BLENDWEIGHT_0"}, 1, "More than 1 blendweight entry found in vertex format."},
    {gw::eAttributeUsage_BlendIndices, {"BLENDINDICES_0"}, 1, "More than 1 blendIndices entry found in vertex format."},
    {gw::eAttributeUsage_Color,
     {"COLOR_0", "COLOR_1", "COLOR_2", "COLOR_3"},
     4,
     "More than 4 color entries found in vertex format."}};

/// Usages with a single name keep it whatever the index is; those with four have none beyond it.
const char* FindDefineName(const gw::FormatDesc& desc)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::CreateVertexFormat";
    for (const UsageNames& row : USAGES) {
        if (row.usage != desc.usage) {
            continue;
        }
        if (desc.usageIndex < row.count) {
            return row.names[desc.usageIndex];
        }
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "%s", row.excess);
        return row.count == 1 ? row.names[0] : nullptr;
    }
    QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Unknown vertex format usage, please update code.");
    return "";
}

const char* FindDefineValue(const gw::FormatDesc& desc)
{
    constexpr const char* values[4] = {"1", "2", "3", "4"};
    if (desc.count >= 1 && desc.count <= 4) {
        return values[desc.count - 1];
    }
    QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::CreateVertexFormat", "Attribute size not supported by dummy shader!");
    return "";
}

} // namespace

gw::ShaderData GetDummyVertexSource()
{
    static const std::string source = WriteVertexSource();
    if (source.size() != VERTEX_SOURCE_SIZE) {
        qs::AbortNotReached(FILE_NAME, __LINE__, "api::GetDummyVertexSource");
    }
    return gw::ShaderData(source.c_str(), source.size());
}

gw::ShaderData GetDummyPixelSource()
{
    static constexpr char source[] =
        "\nstruct PsIn\n{\n\tfloat4 svPosition : SV_Position;\n};\n\nstruct PsOut\n{\n\tfloat4 color : "
        "SV_Target0;\n};\n\nPsOut main(PsIn In)\n{\n\tPsOut Out;\n\tOut.color = In.svPosition;\n\treturn Out;\n}\n";
    static_assert(sizeof source - 1 == 177);
    return gw::ShaderData(source, sizeof source - 1);
}

void FillDummyDefines(const gw::FormatDesc* descs, unsigned count, gw::ShaderDefine& defines)
{
    for (unsigned i = 0; i < count; ++i) {
        defines.names[i] = FindDefineName(descs[i]);
        defines.definitions[i] = FindDefineValue(descs[i]);
    }
}

} // namespace api
