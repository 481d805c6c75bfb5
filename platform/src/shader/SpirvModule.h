// A SPIR-V module taken apart into instructions, for the small edits that follow code generation.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#define SPV_ENABLE_UTILITY_CODE
#include <spirv/unified1/spirv.hpp11>

namespace gleam {

/// One instruction. `operands` are the words behind the first: result type and result id included.
struct SpirvInstruction
{
    spv::Op op = spv::Op::OpNop;
    std::vector<std::uint32_t> operands;

    /// Index of the result id among the operands, or nothing.
    std::optional<std::size_t> ResultIndex() const;
    std::uint32_t ResultId() const; ///< 0 without a result
};

constexpr std::uint32_t Word(auto enumerator)
{
    return static_cast<std::uint32_t>(enumerator);
}

/// Instructions in order of the module. Edits may insert and erase at any place; ids come from NewId.
class SpirvModule
{
public:
    /// False when the words are no module: wrong magic number, an instruction of length 0 or past the end, fewer
    /// operands than a result needs, an id outside the bound.
    bool Parse(std::span<const std::uint32_t> words);
    std::vector<std::uint32_t> Words() const;

    std::vector<SpirvInstruction>& Instructions() { return m_instructions; }
    const std::vector<SpirvInstruction>& Instructions() const { return m_instructions; }

    std::uint32_t NewId() { return m_bound++; }
    std::uint32_t Bound() const { return m_bound; }

    /// Index of the instruction whose result is `id`. A linear table made on demand; edits that insert or erase
    /// call Invalidate.
    const SpirvInstruction* Find(std::uint32_t id);
    SpirvInstruction* FindMutable(std::uint32_t id) { return const_cast<SpirvInstruction*>(Find(id)); }
    void Invalidate() { m_index.clear(); }

    /// First literal of the decoration `decoration` on `id`.
    std::optional<std::uint32_t> Decoration(std::uint32_t id, spv::Decoration decoration) const;

    /// Where types, constants and global variables end.
    std::size_t FirstFunction() const;
    /// Position behind the last instruction of the annotations.
    std::size_t AnnotationsEnd() const;

    /// Id of the type or constant with these operands but for its result id, which stands at `resultIndex`; made
    /// behind the other globals when there is none. Inserts instructions.
    std::uint32_t Declare(spv::Op op, std::vector<std::uint32_t> operands, std::size_t resultIndex = 0);
    /// Puts instructions behind the other globals.
    void AddGlobal(SpirvInstruction instruction);

private:
    std::vector<std::uint32_t> m_header;
    std::vector<SpirvInstruction> m_instructions;
    std::unordered_map<std::uint32_t, std::size_t> m_index;
    std::uint32_t m_bound = 1;
};

} // namespace gleam
