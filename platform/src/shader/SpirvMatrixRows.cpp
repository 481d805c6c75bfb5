// Turns members that are matrices into arrays of vectors and puts the matrices together again where code loads them.
#include "shader/SpirvMatrixRows.h"

#include <algorithm>
#include <map>

namespace gleam {
namespace {

constexpr std::uint32_t RowBytes = 16;

class RowDeclaration
{
public:
    RowDeclaration(SpirvModule& module, const std::set<StructureMember>& members) : m_module(module), m_members(members)
    {
    }

    void Run()
    {
        HoistIndexType();
        for (const StructureMember& member : m_members)
            Redeclare(member);
        std::erase_if(m_module.Instructions(), [this](const SpirvInstruction& i) { return IsMatrixDecoration(i); });
        m_module.Invalidate();
        RewriteCode();
    }

private:
    /// Lengths of arrays are constants of this type, which has to stand in front of the structures.
    void HoistIndexType()
    {
        auto& code = m_module.Instructions();
        const auto isIndexType = [](const SpirvInstruction& i) {
            return i.op == spv::Op::OpTypeInt && i.operands[1] == 32 && i.operands[2] == 0;
        };
        const auto found = std::find_if(code.begin(), code.end(), isIndexType);
        SpirvInstruction type =
            found != code.end() ? *found : SpirvInstruction{spv::Op::OpTypeInt, {m_module.NewId(), 32, 0}};
        m_indexType = type.operands[0];
        if (found != code.end())
            code.erase(found);
        code.insert(code.begin() + static_cast<std::ptrdiff_t>(m_module.AnnotationsEnd()), std::move(type));
        m_module.Invalidate();
    }

    void Redeclare(const StructureMember& member)
    {
        const auto [structure, index] = member;
        std::vector<SpirvInstruction> declarations;
        std::vector<SpirvInstruction> decorations;
        const std::uint32_t before = m_module.Find(structure)->operands[index + 1];
        const std::uint32_t after = RowsType(before, declarations, decorations);
        m_module.FindMutable(structure)->operands[index + 1] = after;

        auto& code = m_module.Instructions();
        const auto place = std::find_if(code.begin(), code.end(), [structure = structure](const SpirvInstruction& i) {
            return i.op == spv::Op::OpTypeStruct && i.operands[0] == structure;
        });
        code.insert(place, declarations.begin(), declarations.end());
        code.insert(code.begin() + static_cast<std::ptrdiff_t>(m_module.AnnotationsEnd()), decorations.begin(),
                    decorations.end());
        m_module.Invalidate();
    }

    /// The array that stands for a matrix, or for an array of matrices.
    std::uint32_t RowsType(std::uint32_t type, std::vector<SpirvInstruction>& declarations,
                           std::vector<SpirvInstruction>& decorations)
    {
        const SpirvInstruction before = *m_module.Find(type);
        const bool isMatrix = before.op == spv::Op::OpTypeMatrix;
        std::uint32_t element = before.operands[1];
        std::uint32_t length = before.operands[2];
        std::uint32_t stride = RowBytes;
        if (isMatrix) {
            const std::uint32_t count = length;
            length = m_module.NewId();
            declarations.push_back({spv::Op::OpConstant, {m_indexType, length, count}});
        } else {
            element = RowsType(element, declarations, decorations);
            stride = m_module.Decoration(type, spv::Decoration::ArrayStride).value_or(RowBytes);
        }
        const std::uint32_t rows = m_module.NewId();
        declarations.push_back({spv::Op::OpTypeArray, {rows, element, length}});
        decorations.push_back({spv::Op::OpDecorate, {rows, Word(spv::Decoration::ArrayStride), stride}});
        m_before.emplace(rows, type);
        return rows;
    }

    bool IsMatrixDecoration(const SpirvInstruction& i) const
    {
        if (i.op != spv::Op::OpMemberDecorate || !m_members.contains({i.operands[0], i.operands[1]}))
            return false;
        return i.operands[2] == Word(spv::Decoration::ColMajor) || i.operands[2] == Word(spv::Decoration::RowMajor) ||
               i.operands[2] == Word(spv::Decoration::MatrixStride);
    }

    /// Type inside `type` at an index, which is the id of a constant (`isId`) or a literal.
    std::uint32_t Inside(std::uint32_t type, std::uint32_t index, bool isId)
    {
        const SpirvInstruction& found = *m_module.Find(type);
        if (found.op != spv::Op::OpTypeStruct)
            return found.operands[1];
        return found.operands[1 + (isId ? m_module.Find(index)->operands[2] : index)];
    }

    std::uint32_t TypeOf(std::uint32_t value)
    {
        const auto changed = m_types.find(value);
        return changed != m_types.end() ? changed->second : m_module.Find(value)->operands[0];
    }

    void RewriteCode()
    {
        // New pointer types go behind the other globals, in front of all code.
        std::vector<SpirvInstruction> code = m_module.Instructions();
        std::vector<SpirvInstruction> functions;
        for (std::size_t i = m_module.FirstFunction(); i < code.size(); ++i)
            Rewrite(code[i], functions);
        auto& all = m_module.Instructions();
        all.erase(all.begin() + static_cast<std::ptrdiff_t>(m_module.FirstFunction()), all.end());
        all.insert(all.end(), functions.begin(), functions.end());
        m_module.Invalidate();
    }

    void Rewrite(SpirvInstruction& instruction, std::vector<SpirvInstruction>& out)
    {
        auto& operands = instruction.operands;
        if (instruction.op == spv::Op::OpAccessChain) {
            const SpirvInstruction pointer = *m_module.Find(TypeOf(operands[2]));
            std::uint32_t pointee = pointer.operands[2];
            for (std::size_t i = 3; i < operands.size(); ++i)
                pointee = Inside(pointee, operands[i], true);
            if (m_before.contains(pointee))
                m_types[operands[1]] = operands[0] =
                    m_module.Declare(spv::Op::OpTypePointer, {pointer.operands[1], pointee});
        } else if (instruction.op == spv::Op::OpLoad) {
            const std::uint32_t pointee = m_module.Find(TypeOf(operands[2]))->operands[2];
            return Restore(instruction, pointee, out);
        } else if (instruction.op == spv::Op::OpCompositeExtract) {
            std::uint32_t type = TypeOf(operands[2]);
            for (std::size_t i = 3; i < operands.size(); ++i)
                type = Inside(type, operands[i], false);
            return Restore(instruction, type, out);
        }
        out.push_back(std::move(instruction));
    }

    /// Lets the instruction give rows, and makes from them what it gave before, under its id.
    void Restore(SpirvInstruction& instruction, std::uint32_t rows, std::vector<SpirvInstruction>& out)
    {
        const std::uint32_t result = instruction.operands[1];
        const bool isChanged = m_before.contains(rows);
        if (isChanged) {
            instruction.operands[0] = rows;
            instruction.operands[1] = m_module.NewId();
        }
        const std::uint32_t loaded = instruction.operands[1];
        out.push_back(std::move(instruction));
        if (isChanged)
            Build(m_before[rows], rows, loaded, result, out);
    }

    /// `result` of the old type from `value` of the new one.
    void Build(std::uint32_t before, std::uint32_t rows, std::uint32_t value, std::uint32_t result,
               std::vector<SpirvInstruction>& out)
    {
        const SpirvInstruction array = *m_module.Find(rows);
        const std::uint32_t element = array.operands[1];
        const std::uint32_t count = m_module.Find(array.operands[2])->operands[2];
        std::vector<std::uint32_t> parts = {before, result};
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t part = m_module.NewId();
            out.push_back({spv::Op::OpCompositeExtract, {element, part, value, i}});
            parts.push_back(part);
            if (const auto inner = m_before.find(element); inner != m_before.end()) {
                parts.back() = m_module.NewId();
                Build(inner->second, element, part, parts.back(), out);
            }
        }
        out.push_back({spv::Op::OpCompositeConstruct, std::move(parts)});
    }

    SpirvModule& m_module;
    const std::set<StructureMember>& m_members;
    std::map<std::uint32_t, std::uint32_t> m_before; ///< type of rows to the type it stands for
    std::map<std::uint32_t, std::uint32_t> m_types;  ///< ids whose type has changed
    std::uint32_t m_indexType = 0;
};

} // namespace

void DeclareMatricesAsRows(SpirvModule& module, const std::set<StructureMember>& members)
{
    if (!members.empty())
        RowDeclaration(module, members).Run();
}

} // namespace gleam
