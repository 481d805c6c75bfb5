// Vertex numbers and storage image formats.
#include "shader/SpirvPatches.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>

namespace gleam {
namespace {

SpirvInstruction Make(spv::Op op, std::vector<std::uint32_t> operands)
{
    return {op, std::move(operands)};
}

void RemoveCapability(SpirvModule& module, spv::Capability capability)
{
    std::erase_if(module.Instructions(), [capability](const SpirvInstruction& i) {
        return i.op == spv::Op::OpCapability && i.operands[0] == Word(capability);
    });
    module.Invalidate();
}

/// Input variable with the given built-in, or 0.
std::uint32_t FindInput(SpirvModule& module, spv::BuiltIn builtIn)
{
    for (const SpirvInstruction& instruction : module.Instructions())
        if (instruction.op == spv::Op::OpVariable && instruction.operands[2] == Word(spv::StorageClass::Input) &&
            module.Decoration(instruction.operands[1], spv::Decoration::BuiltIn) == Word(builtIn))
            return instruction.operands[1];
    return 0;
}

/// Whether an access chain or a load starts at the variable.
bool IsUsedByCode(const SpirvModule& module, std::uint32_t variable)
{
    return std::any_of(module.Instructions().begin(), module.Instructions().end(), [variable](const auto& i) {
        return (i.op == spv::Op::OpAccessChain || i.op == spv::Op::OpLoad) && i.operands[2] == variable;
    });
}

void AddCapability(SpirvModule& module, spv::Capability capability)
{
    auto& code = module.Instructions();
    for (const SpirvInstruction& instruction : code)
        if (instruction.op == spv::Op::OpCapability && instruction.operands[0] == Word(capability))
            return;
    code.insert(code.begin(), Make(spv::Op::OpCapability, {Word(capability)}));
}

void AddToInterface(SpirvModule& module, std::uint32_t variable)
{
    for (SpirvInstruction& instruction : module.Instructions())
        if (instruction.op == spv::Op::OpEntryPoint)
            instruction.operands.push_back(variable);
}

std::string NameOf(const SpirvModule& module, std::uint32_t id)
{
    for (const SpirvInstruction& instruction : module.Instructions()) {
        const bool isName = instruction.op == spv::Op::OpName && instruction.operands[0] == id;
        if (isName && instruction.operands.size() > 1)
            return reinterpret_cast<const char*>(&instruction.operands[1]);
    }
    return {};
}

/// A new input variable of the same type as `like`, decorated with a built-in.
std::uint32_t AddBuiltIn(SpirvModule& module, std::uint32_t like, spv::BuiltIn builtIn)
{
    auto& code = module.Instructions();
    const std::uint32_t variable = module.NewId();
    const auto existing = std::find_if(code.begin(), code.end(), [like](const SpirvInstruction& i) {
        return i.op == spv::Op::OpVariable && i.operands[1] == like;
    });
    code.insert(existing + 1,
                Make(spv::Op::OpVariable, {existing->operands[0], variable, Word(spv::StorageClass::Input)}));
    code.insert(code.begin() + static_cast<std::ptrdiff_t>(module.AnnotationsEnd()),
                Make(spv::Op::OpDecorate, {variable, Word(spv::Decoration::BuiltIn), Word(builtIn)}));
    AddToInterface(module, variable);
    return variable;
}

/// Turns each load of `variable` into the difference to a load of `base`.
void SubtractAtLoads(SpirvModule& module, std::uint32_t variable, std::uint32_t base)
{
    std::vector<SpirvInstruction> changed;
    for (SpirvInstruction& instruction : module.Instructions()) {
        if (instruction.op != spv::Op::OpLoad || instruction.operands[2] != variable) {
            changed.push_back(std::move(instruction));
            continue;
        }
        const std::uint32_t type = instruction.operands[0];
        const std::uint32_t result = instruction.operands[1];
        const std::uint32_t absolute = module.NewId();
        const std::uint32_t first = module.NewId();
        changed.push_back(Make(spv::Op::OpLoad, {type, absolute, variable}));
        changed.push_back(Make(spv::Op::OpLoad, {type, first, base}));
        changed.push_back(Make(spv::Op::OpISub, {type, result, absolute, first}));
    }
    module.Instructions() = std::move(changed);
}

void MakeRelative(SpirvModule& module, spv::BuiltIn index, spv::BuiltIn base)
{
    const std::uint32_t variable = FindInput(module, index);
    if (variable == 0 || !IsUsedByCode(module, variable))
        return;
    const std::uint32_t baseVariable = AddBuiltIn(module, variable, base);
    SubtractAtLoads(module, variable, baseVariable);
    AddCapability(module, spv::Capability::DrawParameters);
    module.Invalidate();
}

/// Gives variables image types of their own.
class ImageRetyping
{
public:
    explicit ImageRetyping(SpirvModule& module) : m_module(module) {}

    void Retype(std::uint32_t variable, spv::ImageFormat format)
    {
        const std::uint32_t pointer = m_module.Find(variable)->operands[0];
        const std::uint32_t pointee = m_module.Find(pointer)->operands[2];
        const SpirvInstruction type = *m_module.Find(pointee);
        const bool isArray = type.op == spv::Op::OpTypeArray;
        std::uint32_t value = CloneImage(isArray ? type.operands[1] : pointee, format);
        if (isArray) {
            m_elementPointers[variable] = Pointer(value);
            value = m_module.Declare(type.op, {value, type.operands[2]});
        }
        m_pointers[variable] = Pointer(value);
    }

    /// Moves the variables behind their new types and follows them through access chains and loads.
    void Apply()
    {
        if (m_pointers.empty())
            return;
        std::erase_if(m_module.Instructions(), [this](const SpirvInstruction& i) {
            return i.op == spv::Op::OpVariable && m_pointers.contains(i.operands[1]);
        });
        for (const auto& [variable, pointer] : m_pointers)
            m_module.AddGlobal(
                Make(spv::Op::OpVariable, {pointer, variable, Word(spv::StorageClass::UniformConstant)}));

        std::map<std::uint32_t, std::uint32_t> pointerTypes = m_pointers;
        for (SpirvInstruction& instruction : m_module.Instructions()) {
            auto& operands = instruction.operands;
            if (instruction.op == spv::Op::OpAccessChain && m_elementPointers.contains(operands[2]))
                pointerTypes[operands[1]] = operands[0] = m_elementPointers[operands[2]];
            else if (instruction.op == spv::Op::OpLoad && pointerTypes.contains(operands[2]))
                operands[0] = m_module.Find(pointerTypes[operands[2]])->operands[2];
        }
    }

private:
    std::uint32_t CloneImage(std::uint32_t image, spv::ImageFormat format)
    {
        std::vector<std::uint32_t> shape = m_module.Find(image)->operands;
        shape.erase(shape.begin());
        shape[6] = Word(format);
        return m_module.Declare(spv::Op::OpTypeImage, std::move(shape));
    }

    std::uint32_t Pointer(std::uint32_t pointee)
    {
        return m_module.Declare(spv::Op::OpTypePointer, {Word(spv::StorageClass::UniformConstant), pointee});
    }

    SpirvModule& m_module;
    std::map<std::uint32_t, std::uint32_t> m_pointers;        ///< variable to its new type
    std::map<std::uint32_t, std::uint32_t> m_elementPointers; ///< variable of an array to its elements' pointer type
};

/// The image type behind a variable of one image or an array of them, or null.
const SpirvInstruction* ImageType(SpirvModule& module, std::uint32_t variable)
{
    const SpirvInstruction* pointer = module.Find(module.Find(variable)->operands[0]);
    const SpirvInstruction* type = pointer ? module.Find(pointer->operands[2]) : nullptr;
    if (type && type->op == spv::Op::OpTypeArray)
        type = module.Find(type->operands[1]);
    return type && type->op == spv::Op::OpTypeImage ? type : nullptr;
}

spv::ImageFormat ComponentFormat(SpirvModule& module, const SpirvInstruction& image)
{
    const SpirvInstruction* sampled = module.Find(image.operands[1]);
    if (sampled->op == spv::Op::OpTypeFloat)
        return spv::ImageFormat::R32f;
    return sampled->operands[2] ? spv::ImageFormat::R32i : spv::ImageFormat::R32ui;
}

} // namespace

void ConnectCoverageInput(SpirvModule& module)
{
    const std::uint32_t input = FindInput(module, spv::BuiltIn::SampleMask);
    if (input == 0 || IsUsedByCode(module, input))
        return;
    auto& code = module.Instructions();
    const std::string name = NameOf(module, input);
    const auto local = std::find_if(code.begin() + static_cast<std::ptrdiff_t>(module.FirstFunction()), code.end(),
                                    [&](const SpirvInstruction& i) {
                                        return i.op == spv::Op::OpVariable && NameOf(module, i.operands[1]) == name;
                                    });
    if (local == code.end())
        return;
    const std::uint32_t variable = local->operands[1];
    const std::uint32_t value = module.Find(local->operands[0])->operands[2];
    const std::uint32_t index = module.Declare(spv::Op::OpConstant, {value, 0}, 1);
    const std::uint32_t pointer = module.Declare(spv::Op::OpTypePointer, {Word(spv::StorageClass::Input), value});
    const std::uint32_t element = module.NewId();
    const std::uint32_t loaded = module.NewId();

    auto at = std::find_if(code.begin(), code.end(), [variable](const SpirvInstruction& i) {
        return i.op == spv::Op::OpVariable && i.operands[1] == variable;
    });
    at = std::find_if(at, code.end(), [](const SpirvInstruction& i) { return i.op != spv::Op::OpVariable; });
    code.insert(at, {Make(spv::Op::OpAccessChain, {pointer, element, input, index}),
                     Make(spv::Op::OpLoad, {value, loaded, element}), Make(spv::Op::OpStore, {variable, loaded})});
    module.Invalidate();
}

void RemoveGatherBias(SpirvModule& module)
{
    constexpr std::size_t mask = 5;
    for (SpirvInstruction& instruction : module.Instructions()) {
        const bool hasMask = instruction.op == spv::Op::OpImageDrefGather && instruction.operands.size() > mask + 1;
        if (!hasMask || !(instruction.operands[mask] & Word(spv::ImageOperandsMask::Bias)))
            continue;
        // The bias is the first of the mask's operands.
        instruction.operands.erase(instruction.operands.begin() + mask + 1);
        instruction.operands[mask] &= ~Word(spv::ImageOperandsMask::Bias);
        if (instruction.operands[mask] == 0)
            instruction.operands.pop_back();
    }
    RemoveCapability(module, spv::Capability::ImageGatherBiasLodAMD);
    std::erase_if(module.Instructions(), [](const SpirvInstruction& i) {
        return i.op == spv::Op::OpExtension &&
               std::strcmp(reinterpret_cast<const char*>(i.operands.data()), "SPV_AMD_texture_gather_bias_lod") == 0;
    });
}

void MakeVertexNumbersRelative(SpirvModule& module)
{
    MakeRelative(module, spv::BuiltIn::VertexIndex, spv::BuiltIn::BaseVertex);
    MakeRelative(module, spv::BuiltIn::InstanceIndex, spv::BuiltIn::BaseInstance);
}

bool FormatStorageImages(SpirvModule& module, const std::vector<VariableUse>& uses,
                         const std::function<std::uint32_t(std::uint32_t)>& components, std::uint32_t& refused)
{
    ImageRetyping retyping(module);
    for (const VariableUse& use : uses) {
        if (use.storage != spv::StorageClass::UniformConstant || !use.needsFormat)
            continue;
        const SpirvInstruction* image = ImageType(module, use.id);
        if (!image)
            continue;
        if (components(use.id) != 1) {
            refused = use.id;
            return false;
        }
        retyping.Retype(use.id, ComponentFormat(module, *image));
    }
    retyping.Apply();
    RemoveCapability(module, spv::Capability::StorageImageReadWithoutFormat);
    return true;
}

} // namespace gleam
