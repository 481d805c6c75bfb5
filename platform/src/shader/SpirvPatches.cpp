// Vertex numbers and storage image formats.
#include "shader/SpirvPatches.h"

#include <algorithm>
#include <map>

namespace gleam {
namespace {

SpirvInstruction Make(spv::Op op, std::vector<std::uint32_t> operands)
{
    return {op, std::move(operands)};
}

std::uint32_t Word(auto enumerator)
{
    return static_cast<std::uint32_t>(enumerator);
}

/// Input variable with the given built-in, or 0.
std::uint32_t FindBuiltIn(const SpirvModule& module, spv::BuiltIn builtIn)
{
    for (const SpirvInstruction& instruction : module.Instructions())
        if (instruction.op == spv::Op::OpDecorate && instruction.operands.size() == 3 &&
            instruction.operands[1] == Word(spv::Decoration::BuiltIn) && instruction.operands[2] == Word(builtIn))
            return instruction.operands[0];
    return 0;
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

bool IsLoaded(const SpirvModule& module, std::uint32_t variable)
{
    return std::any_of(module.Instructions().begin(), module.Instructions().end(),
                       [variable](const auto& i) { return i.op == spv::Op::OpLoad && i.operands[2] == variable; });
}

void MakeRelative(SpirvModule& module, spv::BuiltIn index, spv::BuiltIn base)
{
    const std::uint32_t variable = FindBuiltIn(module, index);
    if (variable == 0 || !IsLoaded(module, variable))
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
        m_pointers[variable] = CloneTypes(pointer, format);
    }

    /// Puts the new types in front of the variables and follows them through loads and access chains.
    void Apply()
    {
        if (m_pointers.empty())
            return;
        std::map<std::uint32_t, std::uint32_t> pointerTypes = m_pointers;
        std::vector<SpirvInstruction> changed;
        bool typesPlaced = false;
        for (SpirvInstruction& instruction : m_module.Instructions()) {
            auto& operands = instruction.operands;
            if (instruction.op == spv::Op::OpVariable && m_pointers.contains(operands[1])) {
                if (!typesPlaced)
                    std::move(m_newTypes.begin(), m_newTypes.end(), std::back_inserter(changed));
                typesPlaced = true;
                operands[0] = m_pointers[operands[1]];
            } else if (instruction.op == spv::Op::OpAccessChain && pointerTypes.contains(operands[2])) {
                operands[0] = m_elementPointer[pointerTypes[operands[2]]];
                pointerTypes[operands[1]] = operands[0];
            } else if (instruction.op == spv::Op::OpLoad && pointerTypes.contains(operands[2])) {
                operands[0] = m_pointee[pointerTypes[operands[2]]];
            }
            changed.push_back(std::move(instruction));
        }
        m_module.Instructions() = std::move(changed);
        m_module.Invalidate();
    }

private:
    /// A pointer type like `pointer` whose image, or array of images, has the format. Arrays get a second pointer
    /// type for their elements.
    std::uint32_t CloneTypes(std::uint32_t pointer, spv::ImageFormat format)
    {
        const auto key = std::pair{pointer, format};
        if (const auto known = m_clones.find(key); known != m_clones.end())
            return known->second;
        const SpirvInstruction pointerType = *m_module.Find(pointer);
        const SpirvInstruction pointee = *m_module.Find(pointerType.operands[2]);
        const bool isArray = pointee.op == spv::Op::OpTypeArray;
        SpirvInstruction image = isArray ? *m_module.Find(pointee.operands[1]) : pointee;
        image.operands[7] = Word(format);
        std::uint32_t value = CloneImage(std::move(image));
        const std::uint32_t element = isArray ? AddPointer(value) : 0;
        if (isArray)
            value = Add(pointee.op, {0, value, pointee.operands[2]});
        const std::uint32_t clone = AddPointer(value);
        m_elementPointer[clone] = element;
        return m_clones[key] = clone;
    }

    /// Image types may not be declared twice.
    std::uint32_t CloneImage(SpirvInstruction image)
    {
        const std::vector<std::uint32_t> shape(image.operands.begin() + 1, image.operands.end());
        const auto known = m_images.find(shape);
        return known != m_images.end() ? known->second : m_images[shape] = Add(image.op, image.operands);
    }

    std::uint32_t AddPointer(std::uint32_t pointee)
    {
        const auto known = m_pointerTo.find(pointee);
        if (known != m_pointerTo.end())
            return known->second;
        const std::uint32_t id = Add(spv::Op::OpTypePointer, {0, Word(spv::StorageClass::UniformConstant), pointee});
        m_pointee[id] = pointee;
        return m_pointerTo[pointee] = id;
    }

    /// `operands[0]` is replaced by the new id.
    std::uint32_t Add(spv::Op op, std::vector<std::uint32_t> operands)
    {
        operands[0] = m_module.NewId();
        const std::uint32_t id = operands[0];
        m_newTypes.push_back(Make(op, std::move(operands)));
        return id;
    }

    SpirvModule& m_module;
    std::map<std::uint32_t, std::uint32_t> m_pointers; ///< variable to its new pointer type
    std::map<std::pair<std::uint32_t, spv::ImageFormat>, std::uint32_t> m_clones;
    std::map<std::vector<std::uint32_t>, std::uint32_t> m_images;
    std::map<std::uint32_t, std::uint32_t> m_pointerTo;
    std::map<std::uint32_t, std::uint32_t> m_pointee;
    std::map<std::uint32_t, std::uint32_t> m_elementPointer;
    std::vector<SpirvInstruction> m_newTypes;
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

void RemoveCapability(SpirvModule& module, spv::Capability capability)
{
    std::erase_if(module.Instructions(), [capability](const SpirvInstruction& i) {
        return i.op == spv::Op::OpCapability && i.operands[0] == Word(capability);
    });
    module.Invalidate();
}

} // namespace

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
