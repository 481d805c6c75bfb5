// Writes computed offsets and strides into the decorations of generated code.
#include "shader/BufferLayout.h"

#include <map>
#include <tuple>

namespace gleam {
namespace {

/// Values that decorations are to get, gathered first and written in one pass over the annotations.
class LayoutDecorations
{
public:
    LayoutDecorations(SpirvModule& module, std::set<StructureMember>& rows) : m_module(module), m_rows(rows) {}

    /// The value of `type`, whose shape `info` tells; `elements` counts how many elements of `info` one value spans
    /// while arrays of arrays are taken apart.
    bool Walk(std::uint32_t type, const TypeInfo& info, EBufferRule rule)
    {
        const SpirvInstruction* found = m_module.Find(type);
        if (!found)
            return false;
        if (found->op == spv::Op::OpTypeArray || found->op == spv::Op::OpTypeRuntimeArray) {
            const std::uint32_t inner = found->operands[1];
            m_strides[type] = static_cast<std::uint32_t>(InnerCount(inner) * ElementStride(info, rule));
            return Walk(inner, info, rule);
        }
        if (found->op == spv::Op::OpTypeStruct)
            return WalkStructure(type, info, rule);
        return info.variableClass != D3D_SVC_STRUCT;
    }

    void Member(std::uint32_t type, std::uint32_t index, const TypeInfo& member, std::uint32_t offset, EBufferRule rule)
    {
        m_members[{type, index, spv::Decoration::Offset}] = offset;
        const bool isMatrix =
            member.variableClass == D3D_SVC_MATRIX_ROWS || member.variableClass == D3D_SVC_MATRIX_COLUMNS;
        if (!isMatrix)
            return;
        const std::uint32_t stride = MatrixStride(member, rule);
        m_members[{type, index, spv::Decoration::MatrixStride}] = stride;
        // SPIR-V trims the last vector of the other packing itself.
        const bool fills = member.columns * (member.type == D3D_SVT_DOUBLE ? 8u : 4u) == stride;
        if (member.variableClass == D3D_SVC_MATRIX_ROWS && !fills)
            m_rows.insert({type, index});
    }

    void Write()
    {
        for (SpirvInstruction& instruction : m_module.Instructions()) {
            auto& operands = instruction.operands;
            if (instruction.op == spv::Op::OpFunction)
                break;
            if (instruction.op == spv::Op::OpDecorate && operands.size() == 3 &&
                operands[1] == static_cast<std::uint32_t>(spv::Decoration::ArrayStride)) {
                if (const auto stride = m_strides.find(operands[0]); stride != m_strides.end())
                    operands[2] = stride->second;
            } else if (instruction.op == spv::Op::OpMemberDecorate && operands.size() == 4) {
                const auto value =
                    m_members.find({operands[0], operands[1], static_cast<spv::Decoration>(operands[2])});
                if (value != m_members.end())
                    operands[3] = value->second;
            }
        }
    }

private:
    bool WalkStructure(std::uint32_t type, const TypeInfo& info, EBufferRule rule)
    {
        const std::vector<std::uint32_t> operands = m_module.Find(type)->operands;
        if (operands.size() != info.members.size() + 1)
            return false;
        for (std::uint32_t i = 0; i < info.members.size(); ++i) {
            const TypeInfo& member = info.members[i].type;
            Member(type, i, member, member.offset, rule);
            if (!Walk(operands[i + 1], member, rule))
                return false;
        }
        return true;
    }

    /// Innermost elements that one value of the type holds.
    std::uint64_t InnerCount(std::uint32_t type)
    {
        const SpirvInstruction* found = m_module.Find(type);
        if (!found || found->op != spv::Op::OpTypeArray)
            return 1;
        const SpirvInstruction* length = m_module.Find(found->operands[2]);
        const std::uint64_t count = length && length->op == spv::Op::OpConstant ? length->operands[2] : 1;
        return count * InnerCount(found->operands[1]);
    }

    SpirvModule& m_module;
    std::set<StructureMember>& m_rows;
    std::map<std::uint32_t, std::uint32_t> m_strides;
    std::map<std::tuple<std::uint32_t, std::uint32_t, spv::Decoration>, std::uint32_t> m_members;
};

/// The structure that a variable points to, or 0.
std::uint32_t BlockType(SpirvModule& module, std::uint32_t variable)
{
    const SpirvInstruction* found = module.Find(variable);
    const SpirvInstruction* pointer = found ? module.Find(found->operands[0]) : nullptr;
    if (!pointer || pointer->op != spv::Op::OpTypePointer)
        return 0;
    const SpirvInstruction* block = module.Find(pointer->operands[2]);
    return block && block->op == spv::Op::OpTypeStruct ? pointer->operands[2] : 0;
}

} // namespace

bool ApplyLayout(SpirvModule& module, std::uint32_t variable, const BufferInfo& buffer, std::set<StructureMember>& rows)
{
    const std::uint32_t block = BlockType(module, variable);
    if (block == 0)
        return false;
    const std::vector<std::uint32_t> members(module.Find(block)->operands.begin() + 1,
                                             module.Find(block)->operands.end());
    LayoutDecorations decorations(module, rows);
    if (members.size() != buffer.variables.size())
        return false;
    const bool isElement = buffer.type == D3D_CT_RESOURCE_BIND_INFO;
    const EBufferRule rule = isElement ? EBufferRule::Tight : EBufferRule::Rows;
    for (std::uint32_t i = 0; i < members.size(); ++i) {
        const VariableInfo& wanted = buffer.variables[i];
        decorations.Member(block, i, wanted.type, wanted.offset, rule);
        if (!decorations.Walk(members[i], wanted.type, rule))
            return false;
    }
    decorations.Write();
    return true;
}

} // namespace gleam
