// Input and output signatures from glslang's syntax tree.
//
// Registers are given as the published compiler does: vertex inputs take one each; what passes between stages is
// packed, each row into the first register that has room behind the rows before it and the same interpolation; pixel
// outputs take the number of their target; values that live outside the register files have none.
#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <map>

#include "shader/HlslTree.h"

namespace gleam {
namespace {

constexpr std::uint32_t NoRegister = 0xffffffff;

struct SystemSemantic
{
    const char* name;
    D3D_NAME value;
};

constexpr SystemSemantic SystemSemantics[] = {
    {"SV_POSITION", D3D_NAME_POSITION},
    {"SV_CLIPDISTANCE", D3D_NAME_CLIP_DISTANCE},
    {"SV_CULLDISTANCE", D3D_NAME_CULL_DISTANCE},
    {"SV_RENDERTARGETARRAYINDEX", D3D_NAME_RENDER_TARGET_ARRAY_INDEX},
    {"SV_VIEWPORTARRAYINDEX", D3D_NAME_VIEWPORT_ARRAY_INDEX},
    {"SV_VERTEXID", D3D_NAME_VERTEX_ID},
    {"SV_PRIMITIVEID", D3D_NAME_PRIMITIVE_ID},
    {"SV_INSTANCEID", D3D_NAME_INSTANCE_ID},
    {"SV_ISFRONTFACE", D3D_NAME_IS_FRONT_FACE},
    {"SV_SAMPLEINDEX", D3D_NAME_SAMPLE_INDEX},
    {"SV_TARGET", D3D_NAME_TARGET},
    {"SV_DEPTH", D3D_NAME_DEPTH},
    {"SV_COVERAGE", D3D_NAME_COVERAGE},
    {"SV_DEPTHGREATEREQUAL", D3D_NAME_DEPTH_GREATER_EQUAL},
    {"SV_DEPTHLESSEQUAL", D3D_NAME_DEPTH_LESS_EQUAL},
    {"SV_TESSFACTOR", D3D_NAME_FINAL_TRI_EDGE_TESSFACTOR},
    {"SV_INSIDETESSFACTOR", D3D_NAME_FINAL_TRI_INSIDE_TESSFACTOR},
};

D3D_NAME SystemValue(const std::string& semantic)
{
    for (const SystemSemantic& known : SystemSemantics)
        if (semantic == known.name)
            return known.value;
    return D3D_NAME_UNDEFINED;
}

D3D_REGISTER_COMPONENT_TYPE ComponentType(glslang::TBasicType type)
{
    if (type == glslang::EbtInt)
        return D3D_REGISTER_COMPONENT_SINT32;
    return type == glslang::EbtFloat ? D3D_REGISTER_COMPONENT_FLOAT32 : D3D_REGISTER_COMPONENT_UINT32;
}

/// A run of equal rows that one variable contributes.
struct SignatureRun
{
    SignatureElement first;
    std::uint32_t rows = 1;
    std::uint32_t components = 1;
    std::uint32_t interpolation = 0; ///< rows share a register only when these agree
};

std::uint32_t Interpolation(const glslang::TQualifier& qualifier)
{
    return (qualifier.flat ? 1u : 0) | (qualifier.centroid ? 2u : 0) | (qualifier.nopersp ? 4u : 0) |
           (qualifier.sample ? 8u : 0);
}

/// Splits "TEXCOORD12" into name and index; a name without digits has index 0.
void SplitSemantic(std::string text, SignatureElement& element)
{
    std::size_t digits = text.size();
    while (digits > 1 && std::isdigit(static_cast<unsigned char>(text[digits - 1])))
        --digits;
    std::from_chars(text.data() + digits, text.data() + text.size(), element.semanticIndex);
    text.resize(digits);
    element.semantic = std::move(text);
}

/// glslang splits an array into variables "name[i]" that all keep the semantic of the first; the ordinal is i.
std::uint32_t ArrayOrdinal(const glslang::TString& name)
{
    const auto open = name.rfind('[');
    std::uint32_t ordinal = 0;
    if (open != glslang::TString::npos)
        std::from_chars(name.data() + open + 1, name.data() + name.size(), ordinal);
    return ordinal;
}

/// Whether the outer dimension of an input counts vertices instead of belonging to the value.
bool HasVertexDimension(EShaderStage stage, bool isInput, const glslang::TType& type)
{
    if (!type.isArray() || type.getQualifier().patch)
        return false;
    return isInput ? stage == EShaderStage::Geometry || stage == EShaderStage::Hull || stage == EShaderStage::Domain
                   : stage == EShaderStage::Hull;
}

std::uint32_t ArrayLength(EShaderStage stage, bool isInput, const glslang::TType& type)
{
    if (!type.isArray())
        return 1;
    const auto all = static_cast<std::uint32_t>(std::max(type.getCumulativeArraySize(), 1));
    const auto outer = static_cast<std::uint32_t>(std::max(type.getOuterArraySize(), 1));
    return HasVertexDimension(stage, isInput, type) ? all / outer : all;
}

SignatureRun DescribeRun(const glslang::TIntermSymbol& symbol, EShaderStage stage, bool isInput)
{
    const glslang::TType& type = symbol.getType();
    const glslang::TQualifier& qualifier = type.getQualifier();
    SignatureRun run;
    SplitSemantic(qualifier.semanticName, run.first);
    run.first.semanticIndex += ArrayOrdinal(symbol.getName());
    run.first.componentType = ComponentType(type.getBasicType());
    if (qualifier.hasLocation())
        run.first.location = qualifier.layoutLocation;
    // A vertex stage takes no system value but its two numbers; "SV_Position" there is a name like any other.
    const D3D_NAME value = SystemValue(run.first.semantic);
    const bool isVertexInput = isInput && stage == EShaderStage::Vertex;
    if (!isVertexInput || value == D3D_NAME_VERTEX_ID || value == D3D_NAME_INSTANCE_ID)
        run.first.systemValue = value;

    run.interpolation = Interpolation(qualifier);
    run.rows = ArrayLength(stage, isInput, type);
    run.components = static_cast<std::uint32_t>(type.isMatrix() ? type.getMatrixRows() : type.getVectorSize());
    if (type.isMatrix())
        run.rows *= static_cast<std::uint32_t>(type.getMatrixCols());
    const bool isDistance = value == D3D_NAME_CLIP_DISTANCE || value == D3D_NAME_CULL_DISTANCE;
    if (isDistance) {
        run.components = std::min(run.rows, 4u);
        run.rows = (run.rows + 3) / 4;
    } else if (value == D3D_NAME_COVERAGE) {
        run.rows = 1;
    }
    return run;
}

/// Hands out registers of one signature.
class RegisterPacking
{
public:
    void Place(const SignatureRun& run, SignatureElement& row)
    {
        const bool mayShare = row.systemValue == D3D_NAME_UNDEFINED;
        for (std::size_t i = 0; mayShare && i < m_registers.size(); ++i)
            if (m_registers[i].open && m_registers[i].interpolation == run.interpolation &&
                m_registers[i].used + run.components <= 4)
                return Put(i, run, row);
        m_registers.push_back({run.interpolation, 0, mayShare});
        Put(m_registers.size() - 1, run, row);
    }

private:
    struct Register
    {
        std::uint32_t interpolation;
        std::uint32_t used;
        bool open;
    };

    void Put(std::size_t index, const SignatureRun& run, SignatureElement& row)
    {
        row.registerIndex = static_cast<std::uint32_t>(index);
        row.mask = static_cast<std::uint8_t>(((1u << run.components) - 1) << m_registers[index].used);
        m_registers[index].used += run.components;
    }

    std::vector<Register> m_registers;
};

/// How the rows of one signature get their registers.
enum class ERegisterRule
{
    OneEach,
    Packed,
    Targets
};

ERegisterRule RegisterRule(EShaderStage stage, bool isInput)
{
    if (stage == EShaderStage::Vertex && isInput)
        return ERegisterRule::OneEach;
    return stage == EShaderStage::Pixel && !isInput ? ERegisterRule::Targets : ERegisterRule::Packed;
}

bool HasNoRegister(D3D_NAME value, EShaderStage stage, bool isInput)
{
    if (value == D3D_NAME_COVERAGE)
        return true;
    return stage == EShaderStage::Geometry && isInput && value == D3D_NAME_PRIMITIVE_ID;
}

void AddRows(const std::vector<SignatureRun>& runs, EShaderStage stage, bool isInput,
             std::vector<SignatureElement>& signature)
{
    const ERegisterRule rule = RegisterRule(stage, isInput);
    RegisterPacking packing;
    std::uint32_t next = 0;
    for (const SignatureRun& run : runs) {
        for (std::uint32_t i = 0; i < run.rows; ++i) {
            SignatureElement row = run.first;
            row.semanticIndex += i;
            if (row.location != SignatureElement::NoLocation)
                row.location += i;
            row.mask = static_cast<std::uint8_t>((1u << run.components) - 1);
            if (HasNoRegister(row.systemValue, stage, isInput))
                row.registerIndex = NoRegister;
            else if (rule == ERegisterRule::OneEach)
                row.registerIndex = next++;
            else if (rule == ERegisterRule::Targets)
                row.registerIndex = row.systemValue == D3D_NAME_TARGET ? row.semanticIndex : NoRegister;
            else
                packing.Place(run, row);
            signature.push_back(std::move(row));
        }
    }
}

/// Parameter that a variable "parameter.member" or "parameter[i]" belongs to.
std::string ParameterOf(const glslang::TIntermSymbol& symbol)
{
    const glslang::TString& name = symbol.getName();
    return std::string(name.c_str(), std::min(name.find_first_of(".["), name.size()));
}

/// The list has parameters in their order, but built-in values first within each. Ids ascend with the members of one
/// parameter. Clip and cull distances are gathered into arrays of their own with later ids, and so come last.
std::vector<const glslang::TIntermSymbol*>
InOrderOfDeclaration(const std::vector<const glslang::TIntermSymbol*>& symbols)
{
    std::map<std::string, std::size_t> places;
    for (const glslang::TIntermSymbol* symbol : symbols)
        places.emplace(ParameterOf(*symbol), places.size());
    auto ordered = symbols;
    std::stable_sort(ordered.begin(), ordered.end(), [&](const auto* a, const auto* b) {
        return std::pair{places[ParameterOf(*a)], a->getId()} < std::pair{places[ParameterOf(*b)], b->getId()};
    });
    return ordered;
}

} // namespace

void DescribeSignatures(const std::vector<const glslang::TIntermSymbol*>& symbols, ShaderInfo& info)
{
    if (info.stage == EShaderStage::Compute)
        return;
    const auto ordered = InOrderOfDeclaration(symbols);
    std::vector<SignatureRun> inputs, outputs, patches;
    for (const glslang::TIntermSymbol* symbol : ordered) {
        const glslang::TQualifier& qualifier = symbol->getQualifier();
        if (!qualifier.semanticName)
            continue;
        const bool isInput = qualifier.storage == glslang::EvqVaryingIn;
        auto& list = qualifier.patch ? patches : isInput ? inputs : outputs;
        list.push_back(DescribeRun(*symbol, info.stage, isInput));
    }
    AddRows(inputs, info.stage, true, info.inputs);
    AddRows(outputs, info.stage, false, info.outputs);
    AddRows(patches, info.stage, info.stage == EShaderStage::Domain, info.patchConstants);
}

} // namespace gleam
