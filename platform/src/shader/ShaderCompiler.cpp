// The steps of a compilation.
//
// Offsets are patched before optimisation, while each block still has the shape of its declaration. Registers, image
// formats and counts come after it, because what the published compiler reports is what its optimised code uses.
// Signatures come from the syntax tree: optimised code no longer declares an input that it does not read.
#include "shader/ShaderCompiler.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <map>
#include <set>

#include "d3dcompiler.h"
#include "shader/BufferLayout.h"
#include "shader/HlslFacts.h"
#include "shader/InstructionCount.h"
#include "shader/ResourceSlots.h"
#include "shader/ShaderContainer.h"
#include "shader/ShaderMessages.h"
#include "shader/SpirvPatches.h"
#include "shader/SpirvTools.h"

namespace gleam {
namespace {

std::atomic<std::uint64_t> s_compilations{0};

/// One failed step; `text` starts with an error number where the published compiler has one.
struct Failure
{
    std::string text;
};

/// Ids of the module's resource variables by their provisional binding.
std::map<std::uint32_t, std::uint32_t> VariablesByNumber(const SpirvModule& module)
{
    std::map<std::uint32_t, std::uint32_t> variables;
    for (const SpirvInstruction& instruction : module.Instructions())
        if (instruction.op == spv::Op::OpDecorate && instruction.operands.size() == 3 &&
            instruction.operands[1] == static_cast<std::uint32_t>(spv::Decoration::Binding))
            variables.emplace(instruction.operands[2], instruction.operands[0]);
    return variables;
}

void LayOutBuffers(SpirvModule& module, HlslProgram& program)
{
    const auto variables = VariablesByNumber(module);
    std::set<StructureMember> rows;
    for (HlslResource& resource : program.resources) {
        if (!resource.buffer)
            continue;
        std::string error;
        if (!LayOut(*resource.buffer, error))
            throw Failure{"X4586: " + error};
        const auto variable = variables.find(resource.provisional);
        if (variable != variables.end() && !ApplyLayout(module, variable->second, *resource.buffer, rows))
            throw Failure{"X9001: internal error: generated code does not match the layout of '" +
                          resource.buffer->name + "'"};
    }
    DeclareMatricesAsRows(module, rows);
}

void Parse(SpirvModule& module, const std::vector<std::uint32_t>& words)
{
    if (!module.Parse(words))
        throw Failure{"X9001: internal error: generated code cannot be read"};
}

void Optimize(std::vector<std::uint32_t>& words, std::uint32_t flags)
{
    const EOptimization level = flags & D3DCOMPILE_SKIP_OPTIMIZATION ? EOptimization::Legalize : EOptimization::Perform;
    std::string message;
    if (!OptimizeSpirv(words, level, message))
        throw Failure{"X9001: internal error: generated code cannot be optimised: " + message};
}

void FormatImages(SpirvModule& module, const std::vector<VariableUse>& uses, const HlslProgram& program)
{
    const auto resourceOf = [&](std::uint32_t variable) -> const HlslResource* {
        const auto number = module.Decoration(variable, spv::Decoration::Binding);
        return number && *number < program.resources.size() ? &program.resources[*number] : nullptr;
    };
    const auto components = [&](std::uint32_t variable) {
        const HlslResource* resource = resourceOf(variable);
        return resource ? (resource->info.flags & D3D_SIF_TEXTURE_COMPONENTS) / D3D_SIF_TEXTURE_COMPONENT_0 + 1 : 0;
    };
    std::uint32_t refused = 0;
    if (!FormatStorageImages(module, uses, components, refused)) {
        const HlslResource* resource = resourceOf(refused);
        throw Failure{"X3676: typed UAV loads are only allowed for single-component 32-bit element types: '" +
                      (resource ? resource->info.binding.name : "") + "'"};
    }
}

std::optional<spv::BuiltIn> BuiltInOf(D3D_NAME value, EShaderStage stage, bool isInput)
{
    switch (value) {
    case D3D_NAME_POSITION:
        return stage == EShaderStage::Pixel && isInput ? spv::BuiltIn::FragCoord : spv::BuiltIn::Position;
    case D3D_NAME_CLIP_DISTANCE:
        return spv::BuiltIn::ClipDistance;
    case D3D_NAME_CULL_DISTANCE:
        return spv::BuiltIn::CullDistance;
    case D3D_NAME_RENDER_TARGET_ARRAY_INDEX:
        return spv::BuiltIn::Layer;
    case D3D_NAME_VIEWPORT_ARRAY_INDEX:
        return spv::BuiltIn::ViewportIndex;
    case D3D_NAME_VERTEX_ID:
        return spv::BuiltIn::VertexIndex;
    case D3D_NAME_PRIMITIVE_ID:
        return spv::BuiltIn::PrimitiveId;
    case D3D_NAME_INSTANCE_ID:
        return spv::BuiltIn::InstanceIndex;
    case D3D_NAME_IS_FRONT_FACE:
        return spv::BuiltIn::FrontFacing;
    case D3D_NAME_SAMPLE_INDEX:
        return spv::BuiltIn::SampleId;
    case D3D_NAME_COVERAGE:
        return spv::BuiltIn::SampleMask;
    case D3D_NAME_DEPTH:
    case D3D_NAME_DEPTH_GREATER_EQUAL:
    case D3D_NAME_DEPTH_LESS_EQUAL:
        return spv::BuiltIn::FragDepth;
    default:
        return std::nullopt;
    }
}

/// Locations that a variable takes: the vectors of a matrix, or the elements of an array.
std::uint32_t LocationCount(SpirvModule& module, std::uint32_t variable)
{
    const SpirvInstruction* pointer = module.Find(module.Find(variable)->operands[0]);
    const SpirvInstruction* type = pointer ? module.Find(pointer->operands[2]) : nullptr;
    if (type && type->op == spv::Op::OpTypeMatrix)
        return type->operands[2];
    if (type && type->op == spv::Op::OpTypeArray)
        return ConstantValue(module, type->operands[2]).value_or(1);
    return 1;
}

/// The components that are read, moved to where the row has them in its register.
std::uint8_t RegisterMask(std::uint8_t mask, std::uint8_t components)
{
    return static_cast<std::uint8_t>(components << std::countr_zero(mask)) & mask;
}

bool IsRowOf(SpirvModule& module, const VariableUse& use, const SignatureElement& row, EShaderStage stage)
{
    if (const auto location = module.Decoration(use.id, spv::Decoration::Location))
        return row.location >= *location && row.location - *location < LocationCount(module, use.id);
    const auto builtIn = module.Decoration(use.id, spv::Decoration::BuiltIn);
    const auto wanted = BuiltInOf(row.systemValue, stage, use.storage == spv::StorageClass::Input);
    return builtIn && wanted && *builtIn == static_cast<std::uint32_t>(*wanted);
}

/// Marks the rows of the signatures that the module still declares, and the components that it reads.
void MarkUsed(SpirvModule& module, const std::vector<VariableUse>& uses, ShaderInfo& info)
{
    for (SignatureElement& output : info.outputs)
        output.readWriteMask = output.mask;
    for (const VariableUse& use : uses) {
        const bool isInput = use.storage == spv::StorageClass::Input;
        if (!isInput && use.storage != spv::StorageClass::Output)
            continue;
        const bool isVector = LocationCount(module, use.id) == 1;
        for (SignatureElement& row : isInput ? info.inputs : info.outputs) {
            if (!IsRowOf(module, use, row, info.stage))
                continue;
            row.isUsed = true;
            row.readWriteMask = isInput ? RegisterMask(row.mask, isVector ? use.components : 15) : 0;
        }
    }
}

/// Reading the sample's number or position, or an input that is interpolated for each sample.
bool RunsPerSample(const SpirvModule& module)
{
    return std::any_of(module.Instructions().begin(), module.Instructions().end(), [](const SpirvInstruction& i) {
        return i.op == spv::Op::OpCapability &&
               i.operands[0] == static_cast<std::uint32_t>(spv::Capability::SampleRateShading);
    });
}

void Validate(const std::vector<std::uint32_t>& words)
{
    std::string message;
    if (ValidateSpirv(words, message))
        return;
    if (message.find("Matrix types can only be parameterized") != std::string::npos)
        throw Failure{"X3000: matrices of integers or booleans are not supported"};
    throw Failure{"X8000: validation error: " + message};
}

/// Names in messages as the text has them.
void RestoreWords(std::string& log, const HlslFacts& facts)
{
    for (const auto& [renamed, original] : facts.renamed) {
        const std::string word = "'" + renamed + "'";
        for (std::size_t at = log.find(word); at != std::string::npos; at = log.find(word, at + 1))
            log.replace(at + 1, renamed.size(), original);
    }
}

/// Rewrites the text and runs glslang. Initial values that glslang would ignore may be beyond it: a text that fails
/// with the helpers that read them gets a second try without.
bool Translate(const CompileRequest& request, HlslProgram& program, HlslFacts& facts, std::string& log)
{
    if (const std::string reason = TooDeep(request.hlsl.text); !reason.empty())
        throw Failure{"X3000: syntax error: " + reason};
    for (const bool withDefaults : {true, false}) {
        program = {};
        facts = {};
        HlslRequest rewritten = request.hlsl;
        rewritten.text = RewriteHlsl(std::move(rewritten.text), withDefaults, facts);
        const bool compiled = CompileHlsl(rewritten, program, log);
        if (compiled || facts.defaults.empty()) {
            RestoreWords(log, facts);
            return compiled;
        }
    }
    RestoreWords(log, facts);
    return false;
}

CompileResult Compile(const CompileRequest& request)
{
    CompileResult result;
    HlslProgram program;
    HlslFacts facts;
    std::string log;
    const bool compiled = Translate(request, program, facts, log);
    result.messages = PublishedMessages(log, request.sources, request.hlsl.text, request.hlsl.sourceName);
    if (!compiled)
        return result;
    ApplyFacts(facts, program);

    SpirvModule module;
    Parse(module, program.spirv);
    LayOutBuffers(module, program);
    ApplyDefaults(facts, program);
    ConnectCoverageInput(module);
    RemoveGatherBias(module);
    std::vector<std::uint32_t> words = module.Words();
    Optimize(words, request.flags);

    Parse(module, words);
    MakeVertexNumbersRelative(module);
    const std::vector<VariableUse> uses = FindVariableUses(module);
    FormatImages(module, uses, program);
    std::string error;
    if (!AssignResources(module, uses, program, error))
        throw Failure{error};
    MarkUsed(module, uses, program.info);
    program.info.runsPerSample = RunsPerSample(module);
    program.info.counts = CountInstructions(module);
    program.info.version =
        static_cast<std::uint32_t>(request.target.stage) << 16 | request.target.major << 4 | request.target.minor;
    program.info.flags = request.flags;
    words = module.Words();
    if (!(request.flags & D3DCOMPILE_SKIP_VALIDATION))
        Validate(words);
    result.container = WriteContainer(words, program.info);
    return result;
}

} // namespace

std::optional<ShaderTarget> ParseTarget(std::string_view text)
{
    struct Known
    {
        std::string_view prefix;
        EShaderStage stage;
    };
    constexpr Known stages[] = {{"vs", EShaderStage::Vertex},   {"ps", EShaderStage::Pixel},
                                {"gs", EShaderStage::Geometry}, {"hs", EShaderStage::Hull},
                                {"ds", EShaderStage::Domain},   {"cs", EShaderStage::Compute}};
    for (const Known& known : stages) {
        if (!text.starts_with(known.prefix))
            continue;
        const std::string_view model = text.substr(2);
        const bool isTessellation = known.stage == EShaderStage::Hull || known.stage == EShaderStage::Domain;
        if (model == "_5_0")
            return ShaderTarget{known.stage, 5, 0};
        if (!isTessellation && (model == "_4_0" || model == "_4_1"))
            return ShaderTarget{known.stage, 4, model == "_4_1" ? 1u : 0u};
    }
    return std::nullopt;
}

CompileResult CompileShader(const CompileRequest& request)
{
    s_compilations.fetch_add(1, std::memory_order_relaxed);
    try {
        return Compile(request);
    } catch (const Failure& failure) {
        return {{}, OneMessage(request.hlsl.sourceName, 1, 1, "error", failure.text)};
    }
}

std::uint64_t CompilationCount()
{
    return s_compilations.load(std::memory_order_relaxed);
}

} // namespace gleam
