// Traces pointers and loaded values of a module back to its global variables. Optimised modules have no calls left,
// so one pass over the code in its order sees everything.
#include "shader/SpirvUses.h"

namespace gleam {
namespace {

class UseTracer
{
public:
    explicit UseTracer(SpirvModule& module) : m_module(module) {}

    std::vector<VariableUse> Run()
    {
        const std::size_t functions = m_module.FirstFunction();
        for (std::size_t i = 0; i < functions; ++i)
            AddVariable(m_module.Instructions()[i]);
        for (std::size_t i = functions; i < m_module.Instructions().size(); ++i)
            Visit(m_module.Instructions()[i]);
        return std::move(m_uses);
    }

private:
    void AddVariable(const SpirvInstruction& instruction)
    {
        if (instruction.op != spv::Op::OpVariable)
            return;
        m_roots.emplace(instruction.operands[1], m_uses.size());
        VariableUse& use = m_uses.emplace_back();
        use.id = instruction.operands[1];
        use.storage = static_cast<spv::StorageClass>(instruction.operands[2]);
    }

    VariableUse* Root(std::uint32_t id)
    {
        const auto found = m_roots.find(id);
        return found == m_roots.end() ? nullptr : &m_uses[found->second];
    }

    /// `to` is derived from `from`.
    void Derive(std::uint32_t to, std::uint32_t from)
    {
        if (const auto found = m_roots.find(from); found != m_roots.end())
            m_roots.emplace(to, found->second);
    }

    void Chain(const SpirvInstruction& instruction)
    {
        const auto& operands = instruction.operands;
        VariableUse* use = Root(operands[2]);
        Derive(operands[1], operands[2]);
        if (!use || use->id != operands[2])
            return;
        const auto index = operands.size() > 3 ? ConstantValue(m_module, operands[3]) : std::nullopt;
        if (index)
            use->members.insert(*index);
        else
            use->isWholeUsed = true;
        // Only a vector's first index is a component; in an array of them it is a vertex or an element.
        const bool isComponent = index && *index < 4 && IsVector(operands[2]);
        use->components |= static_cast<std::uint8_t>(isComponent ? 1u << *index : 15u);
    }

    void Load(const SpirvInstruction& instruction)
    {
        const std::uint32_t pointer = instruction.operands[2];
        VariableUse* use = Root(pointer);
        if (!use)
            return;
        Derive(instruction.operands[1], pointer);
        if (use->storage == spv::StorageClass::UniformConstant)
            return; // the handle alone; what is done with it tells
        use->isRead = true;
        if (use->id == pointer) {
            use->isWholeUsed = true;
            m_wholeLoads.insert(instruction.operands[1]);
        }
    }

    /// Parts of a loaded vector: notes the components, and that this use of the load is accounted for.
    bool Part(const SpirvInstruction& instruction)
    {
        const auto& operands = instruction.operands;
        if (instruction.op == spv::Op::OpCompositeExtract && m_wholeLoads.contains(operands[2])) {
            Root(operands[2])->components |= static_cast<std::uint8_t>(1u << (operands[3] & 3));
            return true;
        }
        if (instruction.op != spv::Op::OpVectorShuffle)
            return false;
        bool handled = false;
        std::uint32_t base = 0;
        for (std::size_t source = 2; source < 4; ++source) {
            const std::uint32_t width = VectorWidth(operands[source]);
            if (m_wholeLoads.contains(operands[source])) {
                for (std::size_t i = 4; i < operands.size(); ++i)
                    if (operands[i] >= base && operands[i] < base + width)
                        Root(operands[source])->components |=
                            static_cast<std::uint8_t>(1u << ((operands[i] - base) & 3));
                handled = true;
            }
            base += width;
        }
        return handled;
    }

    bool IsVector(std::uint32_t variable)
    {
        const SpirvInstruction* pointer = m_module.Find(m_module.Find(variable)->operands[0]);
        const SpirvInstruction* type = pointer ? m_module.Find(pointer->operands[2]) : nullptr;
        return type && type->op == spv::Op::OpTypeVector;
    }

    std::uint32_t VectorWidth(std::uint32_t value)
    {
        const SpirvInstruction* made = m_module.Find(value);
        const SpirvInstruction* type = made ? m_module.Find(made->operands[0]) : nullptr;
        return type && type->op == spv::Op::OpTypeVector ? type->operands[2] : 1;
    }

    void Visit(const SpirvInstruction& instruction)
    {
        const auto& operands = instruction.operands;
        switch (instruction.op) {
        case spv::Op::OpAccessChain:
        case spv::Op::OpInBoundsAccessChain:
            return Chain(instruction);
        case spv::Op::OpLoad:
            return Load(instruction);
        case spv::Op::OpCopyObject:
        case spv::Op::OpImage:
            return Derive(operands[1], operands[2]);
        case spv::Op::OpSampledImage:
            MarkRead(operands[2]);
            MarkRead(operands[3]);
            return Derive(operands[1], operands[2]);
        case spv::Op::OpImageTexelPointer:
            Derive(operands[1], operands[2]);
            if (VariableUse* use = Root(operands[2]))
                use->needsFormat = true;
            return;
        case spv::Op::OpStore:
            if (VariableUse* use = Root(operands[0]))
                use->isWritten = true;
            return MarkRead(operands[1]);
        case spv::Op::OpImageWrite:
            if (VariableUse* use = Root(operands[0]))
                use->isWritten = true;
            return;
        case spv::Op::OpImageRead:
            if (VariableUse* use = Root(operands[2]))
                use->isRead = use->needsFormat = true;
            return;
        case spv::Op::OpAtomicStore:
            if (VariableUse* use = Root(operands[0]))
                use->isWritten = true;
            return;
        default:
            return VisitOther(instruction);
        }
    }

    void VisitOther(const SpirvInstruction& instruction)
    {
        const bool isAtomic = instruction.op >= spv::Op::OpAtomicLoad && instruction.op <= spv::Op::OpAtomicXor;
        if (isAtomic && instruction.operands.size() > 2) {
            if (VariableUse* use = Root(instruction.operands[2])) {
                use->isRead = true;
                use->isWritten |= instruction.op != spv::Op::OpAtomicLoad;
            }
            return;
        }
        if (Part(instruction))
            return;
        // Any other operand that comes from a variable reads all of it. Literals may match an id by chance, which
        // only makes a mask too wide.
        const std::size_t first = instruction.ResultIndex() ? *instruction.ResultIndex() + 1 : 0;
        for (std::size_t i = first; i < instruction.operands.size(); ++i)
            MarkRead(instruction.operands[i]);
    }

    void MarkRead(std::uint32_t value)
    {
        VariableUse* use = Root(value);
        // Interpolation functions take the input itself.
        if (use && use->id == value && use->storage == spv::StorageClass::Input) {
            use->isRead = use->isWholeUsed = true;
            use->components = 15;
        }
        if (!use || use->id == value)
            return;
        if (use->storage == spv::StorageClass::UniformConstant)
            use->isRead = true;
        if (m_wholeLoads.contains(value))
            use->components = 15;
    }

    SpirvModule& m_module;
    std::vector<VariableUse> m_uses;
    std::unordered_map<std::uint32_t, std::size_t> m_roots;
    std::unordered_set<std::uint32_t> m_wholeLoads;
};

} // namespace

std::vector<VariableUse> FindVariableUses(SpirvModule& module)
{
    return UseTracer(module).Run();
}

std::optional<std::uint32_t> ConstantValue(SpirvModule& module, std::uint32_t id)
{
    const SpirvInstruction* constant = module.Find(id);
    if (!constant || constant->op != spv::Op::OpConstant)
        return std::nullopt;
    return constant->operands[2];
}

} // namespace gleam
