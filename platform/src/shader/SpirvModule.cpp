// Taking SPIR-V apart and putting it together again.
#include "shader/SpirvModule.h"

#include <algorithm>

namespace gleam {
namespace {

constexpr std::size_t HeaderWords = 5;
/// Ids are dense in sane modules; a bound far above the module's size only serves to make tables huge.
constexpr std::uint32_t MaxBound = 1u << 22;

} // namespace

std::optional<std::size_t> SpirvInstruction::ResultIndex() const
{
    bool hasResult = false;
    bool hasType = false;
    spv::HasResultAndType(op, &hasResult, &hasType);
    if (!hasResult)
        return std::nullopt;
    return hasType ? 1 : 0;
}

std::uint32_t SpirvInstruction::ResultId() const
{
    const auto index = ResultIndex();
    return index && *index < operands.size() ? operands[*index] : 0;
}

bool SpirvModule::Parse(std::span<const std::uint32_t> words)
{
    if (words.size() < HeaderWords || words[0] != spv::MagicNumber || words[3] > MaxBound)
        return false;
    std::vector<SpirvInstruction> instructions;
    for (std::size_t at = HeaderWords; at < words.size();) {
        const std::size_t length = words[at] >> spv::WordCountShift;
        if (length == 0 || length > words.size() - at)
            return false;
        SpirvInstruction instruction;
        instruction.op = static_cast<spv::Op>(words[at] & spv::OpCodeMask);
        instruction.operands.assign(words.begin() + at + 1, words.begin() + at + length);
        if (const auto result = instruction.ResultIndex())
            if (*result >= instruction.operands.size() || instruction.ResultId() >= words[3])
                return false;
        instructions.push_back(std::move(instruction));
        at += length;
    }
    m_header.assign(words.begin(), words.begin() + HeaderWords);
    m_instructions = std::move(instructions);
    m_bound = words[3];
    m_index.clear();
    return true;
}

std::vector<std::uint32_t> SpirvModule::Words() const
{
    std::vector<std::uint32_t> words = m_header;
    words[3] = m_bound;
    for (const SpirvInstruction& instruction : m_instructions) {
        const auto length = static_cast<std::uint32_t>(instruction.operands.size() + 1);
        words.push_back(length << spv::WordCountShift | static_cast<std::uint32_t>(instruction.op));
        words.insert(words.end(), instruction.operands.begin(), instruction.operands.end());
    }
    return words;
}

const SpirvInstruction* SpirvModule::Find(std::uint32_t id)
{
    if (m_index.empty())
        for (std::size_t i = 0; i < m_instructions.size(); ++i)
            if (const std::uint32_t result = m_instructions[i].ResultId())
                m_index.emplace(result, i);
    const auto found = m_index.find(id);
    return found == m_index.end() ? nullptr : &m_instructions[found->second];
}

std::optional<std::uint32_t> SpirvModule::Decoration(std::uint32_t id, spv::Decoration decoration) const
{
    for (const SpirvInstruction& instruction : m_instructions) {
        if (instruction.op == spv::Op::OpFunction)
            break;
        const auto& operands = instruction.operands;
        if (instruction.op == spv::Op::OpDecorate && operands.size() >= 3 && operands[0] == id &&
            operands[1] == static_cast<std::uint32_t>(decoration))
            return operands[2];
    }
    return std::nullopt;
}

std::size_t SpirvModule::FirstFunction() const
{
    const auto found = std::find_if(m_instructions.begin(), m_instructions.end(),
                                    [](const SpirvInstruction& i) { return i.op == spv::Op::OpFunction; });
    return static_cast<std::size_t>(found - m_instructions.begin());
}

std::size_t SpirvModule::AnnotationsEnd() const
{
    // Annotations are followed by types: the first instruction of that section that is not a debug text.
    const auto found = std::find_if(m_instructions.begin(), m_instructions.end(), [](const SpirvInstruction& i) {
        return i.op == spv::Op::OpTypeVoid || i.op == spv::Op::OpTypeBool || i.op == spv::Op::OpTypeInt ||
               i.op == spv::Op::OpTypeFloat || i.op == spv::Op::OpTypeSampler || i.op == spv::Op::OpTypeImage ||
               i.op == spv::Op::OpFunction;
    });
    return static_cast<std::size_t>(found - m_instructions.begin());
}

std::uint32_t SpirvModule::Declare(spv::Op op, std::vector<std::uint32_t> operands, std::size_t resultIndex)
{
    const auto result = static_cast<std::ptrdiff_t>(resultIndex);
    for (const SpirvInstruction& known : m_instructions) {
        if (known.op == spv::Op::OpFunction)
            break;
        if (known.op != op || known.operands.size() != operands.size() + 1)
            continue;
        if (std::equal(operands.begin(), operands.begin() + result, known.operands.begin()) &&
            std::equal(operands.begin() + result, operands.end(), known.operands.begin() + result + 1))
            return known.operands[resultIndex];
    }
    const std::uint32_t id = NewId();
    operands.insert(operands.begin() + result, id);
    AddGlobal({op, std::move(operands)});
    return id;
}

void SpirvModule::AddGlobal(SpirvInstruction instruction)
{
    m_instructions.insert(m_instructions.begin() + static_cast<std::ptrdiff_t>(FirstFunction()),
                          std::move(instruction));
    Invalidate();
}

} // namespace gleam
