// Meeting of a pixel stage with the stage before it, by semantic.
//
// Each stage numbers its locations by its own declarations. A pixel input that the stage before writes moves to the
// location where it writes. One that nobody writes, or whose row has fewer components, becomes a private variable:
// zero, or filled at the start of the code from an input of the width that is there.
#include <algorithm>
#include <bit>
#include <cctype>
#include <iterator>
#include <map>
#include <set>

#include "shader/ShaderModule.h"
#include "shader/SpirvModule.h"

namespace gleam {
namespace {

bool SameSemantic(const SignatureElement& a, const SignatureElement& b)
{
    return a.semanticIndex == b.semanticIndex &&
           std::equal(a.semantic.begin(), a.semantic.end(), b.semantic.begin(), b.semantic.end(), [](char x, char y) {
               return std::toupper(static_cast<unsigned char>(x)) == std::toupper(static_cast<unsigned char>(y));
           });
}

/// What becomes of an input that is not simply moved.
struct Replacement
{
    std::uint32_t valueType = 0;
    std::uint32_t scalarType = 0;
    std::uint32_t width = 1;        ///< components that the pixel stage reads
    std::uint32_t writtenWidth = 0; ///< components that the stage before writes; 0 when it writes none
    std::uint32_t location = 0;     ///< where it writes them
    std::uint32_t source = 0;       ///< the input of that width
    std::uint32_t sourceType = 0;
};

class PixelLinker
{
public:
    PixelLinker(SpirvModule& module, const ShaderModule& previous, const ShaderModule& pixel)
        : m_module(module), m_previous(previous), m_pixel(pixel)
    {
    }

    void Run()
    {
        for (const auto& [variable, location] : LocatedInputs())
            Link(variable, location);
        for (auto& [variable, replacement] : m_replaced)
            Declare(variable, replacement);
        RetypeChains();
        FillAtStart();
        RewriteGlobals();
    }

private:
    std::map<std::uint32_t, std::uint32_t> LocatedInputs() const
    {
        std::map<std::uint32_t, std::uint32_t> inputs;
        for (const SpirvInstruction& instruction : m_module.Instructions()) {
            if (instruction.op != spv::Op::OpVariable || instruction.operands[2] != Word(spv::StorageClass::Input))
                continue;
            const std::uint32_t variable = instruction.operands[1];
            if (const auto location = m_module.Decoration(variable, spv::Decoration::Location))
                inputs.emplace(variable, *location);
        }
        return inputs;
    }

    const SignatureElement* WriterOf(std::uint32_t location) const
    {
        const auto row = std::find_if(m_pixel.inputs.begin(), m_pixel.inputs.end(),
                                      [location](const auto& input) { return input.location == location; });
        if (row == m_pixel.inputs.end())
            return nullptr;
        const auto writer =
            std::find_if(m_previous.outputs.begin(), m_previous.outputs.end(), [&](const SignatureElement& output) {
                return output.isUsed && output.location != SignatureElement::NoLocation && SameSemantic(output, *row);
            });
        return writer == m_previous.outputs.end() ? nullptr : &*writer;
    }

    void Link(std::uint32_t variable, std::uint32_t location)
    {
        Replacement replacement;
        replacement.valueType = m_module.Find(m_module.Find(variable)->operands[0])->operands[2];
        const SpirvInstruction& type = *m_module.Find(replacement.valueType);
        const bool isVector = type.op == spv::Op::OpTypeVector;
        if (isVector)
            replacement.width = type.operands[2];
        replacement.scalarType = isVector ? type.operands[1] : replacement.valueType;

        const SignatureElement* writer = WriterOf(location);
        if (writer) {
            replacement.location = writer->location;
            replacement.writtenWidth = static_cast<std::uint32_t>(std::popcount(writer->mask));
        }
        if (writer && (!isVector || replacement.writtenWidth >= replacement.width))
            m_moved[variable] = writer->location;
        else
            m_replaced.emplace(variable, replacement);
    }

    /// A type with these operands behind its id, which may not be declared twice.
    std::uint32_t Type(spv::Op op, std::vector<std::uint32_t> operands)
    {
        const auto isSame = [&](const SpirvInstruction& known) {
            return known.op == op &&
                   std::equal(operands.begin(), operands.end(), known.operands.begin() + 1, known.operands.end());
        };
        for (const auto* list : {&m_module.Instructions(), &m_added})
            if (const auto known = std::find_if(list->begin(), list->end(), isSame); known != list->end())
                return known->operands[0];
        operands.insert(operands.begin(), m_module.NewId());
        const std::uint32_t id = operands[0];
        m_added.push_back({op, std::move(operands)});
        return id;
    }

    std::uint32_t Pointer(spv::StorageClass storage, std::uint32_t type)
    {
        return Type(spv::Op::OpTypePointer, {Word(storage), type});
    }

    std::uint32_t Null(std::uint32_t type)
    {
        const std::uint32_t id = m_module.NewId();
        m_added.push_back({spv::Op::OpConstantNull, {type, id}});
        return id;
    }

    /// The private variable under the old id, and the narrower input. All of it goes behind the other globals.
    void Declare(std::uint32_t variable, Replacement& replacement)
    {
        const std::uint32_t pointer = Pointer(spv::StorageClass::Private, replacement.valueType);
        const std::uint32_t zero = Null(replacement.valueType);
        m_added.push_back({spv::Op::OpVariable, {pointer, variable, Word(spv::StorageClass::Private), zero}});
        if (replacement.writtenWidth == 0)
            return;
        replacement.source = m_module.NewId();
        replacement.sourceType = replacement.writtenWidth == 1
                                     ? replacement.scalarType
                                     : Type(spv::Op::OpTypeVector, {replacement.scalarType, replacement.writtenWidth});
        m_added.push_back({spv::Op::OpVariable,
                           {Pointer(spv::StorageClass::Input, replacement.sourceType), replacement.source,
                            Word(spv::StorageClass::Input)}});
    }

    /// Pointers into a replaced variable point to private memory now.
    void RetypeChains()
    {
        std::set<std::uint32_t> pointers;
        for (const auto& [variable, replacement] : m_replaced)
            pointers.insert(variable);
        for (SpirvInstruction& instruction : m_module.Instructions()) {
            const bool isChain =
                instruction.op == spv::Op::OpAccessChain || instruction.op == spv::Op::OpInBoundsAccessChain;
            if (!isChain || !pointers.contains(instruction.operands[2]))
                continue;
            const std::uint32_t pointee = m_module.Find(instruction.operands[0])->operands[2];
            instruction.operands[0] = Pointer(spv::StorageClass::Private, pointee);
            pointers.insert(instruction.operands[1]);
        }
    }

    /// Behind the variables of the entry point's first block: input and zeros, together as wide as what is read.
    void FillAtStart()
    {
        std::vector<SpirvInstruction> fill;
        for (const auto& [variable, replacement] : m_replaced) {
            if (!replacement.source)
                continue;
            const std::uint32_t loaded = m_module.NewId();
            const std::uint32_t whole = m_module.NewId();
            fill.push_back({spv::Op::OpLoad, {replacement.sourceType, loaded, replacement.source}});
            std::vector<std::uint32_t> parts = {replacement.valueType, whole, loaded};
            parts.insert(parts.end(), replacement.width - replacement.writtenWidth, Null(replacement.scalarType));
            fill.push_back({spv::Op::OpCompositeConstruct, std::move(parts)});
            fill.push_back({spv::Op::OpStore, {variable, whole}});
        }
        auto& code = m_module.Instructions();
        code.insert(EntryBlock(), std::make_move_iterator(fill.begin()), std::make_move_iterator(fill.end()));
    }

    std::vector<SpirvInstruction>::iterator EntryBlock()
    {
        auto& code = m_module.Instructions();
        const auto entry = std::find_if(code.begin(), code.end(),
                                        [](const SpirvInstruction& i) { return i.op == spv::Op::OpEntryPoint; });
        const std::uint32_t function = entry == code.end() ? 0 : entry->operands[1];
        auto at = std::find_if(code.begin(), code.end(), [function](const SpirvInstruction& i) {
            return i.op == spv::Op::OpFunction && i.operands[1] == function;
        });
        at = std::find_if(at, code.end(), [](const SpirvInstruction& i) { return i.op == spv::Op::OpLabel; });
        return std::find_if(at == code.end() ? at : at + 1, code.end(),
                            [](const SpirvInstruction& i) { return i.op != spv::Op::OpVariable; });
    }

    void RewriteGlobals()
    {
        auto& code = m_module.Instructions();
        std::erase_if(code, [this](SpirvInstruction& instruction) { return !RewriteGlobal(instruction); });
        code.insert(code.begin() + static_cast<std::ptrdiff_t>(m_module.FirstFunction()), m_added.begin(),
                    m_added.end());
        m_module.Invalidate();
    }

    /// False when the instruction goes.
    bool RewriteGlobal(SpirvInstruction& instruction)
    {
        auto& operands = instruction.operands;
        switch (instruction.op) {
        case spv::Op::OpEntryPoint:
            RewriteInterface(operands);
            return true;
        case spv::Op::OpVariable:
            return !m_replaced.contains(operands[1]);
        case spv::Op::OpDecorate:
            return RewriteDecoration(operands);
        default:
            return true;
        }
    }

    void RewriteInterface(std::vector<std::uint32_t>& operands)
    {
        // The name ends with the first word that has a zero byte; ids follow it.
        std::size_t begin = 2;
        while (begin < operands.size() && (operands[begin] & 0xff000000) != 0)
            ++begin;
        operands.erase(std::remove_if(operands.begin() + static_cast<std::ptrdiff_t>(begin) + 1, operands.end(),
                                      [this](std::uint32_t id) { return m_replaced.contains(id); }),
                       operands.end());
        for (const auto& [variable, replacement] : m_replaced)
            if (replacement.source)
                operands.push_back(replacement.source);
    }

    bool RewriteDecoration(std::vector<std::uint32_t>& operands)
    {
        const bool isLocation = operands[1] == Word(spv::Decoration::Location);
        if (const auto replaced = m_replaced.find(operands[0]); replaced != m_replaced.end()) {
            operands[0] = replaced->second.source;
            if (isLocation)
                operands[2] = replaced->second.location;
            return operands[0] != 0;
        }
        if (const auto moved = m_moved.find(operands[0]); isLocation && moved != m_moved.end())
            operands[2] = moved->second;
        return true;
    }

    SpirvModule& m_module;
    const ShaderModule& m_previous;
    const ShaderModule& m_pixel;
    std::map<std::uint32_t, std::uint32_t> m_moved; ///< variable to its new location
    std::map<std::uint32_t, Replacement> m_replaced;
    std::vector<SpirvInstruction> m_added;
};

} // namespace

bool LinkPixelStage(const ShaderModule& previous, const ShaderModule& pixel, std::vector<std::uint32_t>& patched)
{
    const bool rasterizes = previous.stage == EShaderStage::Vertex || previous.stage == EShaderStage::Geometry ||
                            previous.stage == EShaderStage::Domain;
    SpirvModule module;
    if (!rasterizes || pixel.stage != EShaderStage::Pixel || !module.Parse(pixel.spirv))
        return false;
    PixelLinker(module, previous, pixel).Run();
    patched = module.Words();
    return true;
}

} // namespace gleam
