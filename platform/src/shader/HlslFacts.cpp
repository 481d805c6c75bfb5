// Puts what the text told beside glslang's syntax tree into the program's records.
#include "shader/HlslFacts.h"

#include <algorithm>
#include <cstring>

#include "shader/BufferLayout.h"

namespace gleam {
namespace {

void RestoreNames(TypeInfo& type, const HlslFacts& facts)
{
    type.name = facts.Restore(type.name);
    for (MemberInfo& member : type.members) {
        member.name = facts.Restore(member.name);
        RestoreNames(member.type, facts);
    }
}

void RestoreNames(BufferInfo& buffer, const HlslFacts& facts)
{
    buffer.name = facts.Restore(buffer.name);
    for (VariableInfo& variable : buffer.variables) {
        variable.name = facts.Restore(variable.name);
        RestoreNames(variable.type, facts);
    }
}

void SpellSemantics(std::vector<SignatureElement>& signature, const HlslFacts& facts)
{
    for (SignatureElement& element : signature)
        if (const auto spelled = facts.semantics.find(element.semantic); spelled != facts.semantics.end())
            element.semantic = facts.Restore(spelled->second);
}

/// Writes folded components one after the other to where the layout has them.
class ValueWriter
{
public:
    ValueWriter(const std::vector<double>& components, std::vector<std::uint8_t>& bytes)
        : m_components(components), m_bytes(bytes)
    {
    }

    void Write(const TypeInfo& type, std::uint64_t offset)
    {
        const std::uint32_t count = std::max(type.elements, 1u);
        for (std::uint32_t i = 0; i < count; ++i)
            WriteOne(type, offset + i * ElementStride(type, EBufferRule::Rows));
    }

    bool IsWhole() const { return m_next == m_components.size() && !m_overrun; }

private:
    void WriteOne(const TypeInfo& type, std::uint64_t offset)
    {
        if (type.variableClass == D3D_SVC_STRUCT) {
            for (const MemberInfo& member : type.members)
                Write(member.type, offset + member.type.offset);
            return;
        }
        const std::uint32_t size = type.type == D3D_SVT_DOUBLE ? 8 : 4;
        for (std::uint32_t row = 0; row < type.rows; ++row)
            for (std::uint32_t column = 0; column < type.columns; ++column)
                WriteComponent(type.type, offset + ComponentOffset(type, row, column, size));
    }

    static std::uint64_t ComponentOffset(const TypeInfo& type, std::uint32_t row, std::uint32_t column,
                                         std::uint32_t size)
    {
        if (type.variableClass == D3D_SVC_MATRIX_COLUMNS)
            return std::uint64_t{column} * MatrixStride(type, EBufferRule::Rows) + row * size;
        if (type.variableClass == D3D_SVC_MATRIX_ROWS)
            return std::uint64_t{row} * MatrixStride(type, EBufferRule::Rows) + column * size;
        return std::uint64_t{column} * size;
    }

    void WriteComponent(D3D_SHADER_VARIABLE_TYPE type, std::uint64_t offset)
    {
        if (m_next >= m_components.size()) {
            m_overrun = true;
            return;
        }
        const double number = m_components[m_next++];
        if (type == D3D_SVT_DOUBLE)
            Put(offset, number);
        else if (type == D3D_SVT_FLOAT)
            Put(offset, static_cast<float>(number));
        else
            // Through 64 bits, so that -1 and 0xffffffff both keep their bits.
            Put(offset, static_cast<std::uint32_t>(static_cast<std::int64_t>(number)));
    }

    template <class T>
    void Put(std::uint64_t offset, T value)
    {
        if (offset + sizeof(T) <= m_bytes.size())
            std::memcpy(m_bytes.data() + offset, &value, sizeof(T));
        else
            m_overrun = true;
    }

    const std::vector<double>& m_components;
    std::vector<std::uint8_t>& m_bytes;
    std::size_t m_next = 0;
    bool m_overrun = false;
};

void ApplyResourceFacts(HlslResource& resource, const HlslFacts& facts)
{
    ResourceInfo& info = resource.info;
    if (const auto count = facts.sampleCounts.find(info.binding.name); count != facts.sampleCounts.end())
        info.sampleCount = count->second;
    if (const auto kind = facts.normalized.find(info.binding.name); kind != facts.normalized.end())
        info.binding.returnType = kind->second == 'u' ? D3D_RETURN_TYPE_UNORM : D3D_RETURN_TYPE_SNORM;
    if (facts.consumed.contains(info.binding.name))
        info.type = D3D_SIT_UAV_CONSUME_STRUCTURED;
    info.binding.name = facts.Restore(info.binding.name);
    resource.counterOf = facts.Restore(resource.counterOf);
    if (resource.buffer)
        RestoreNames(*resource.buffer, facts);
}

} // namespace

void ApplyFacts(const HlslFacts& facts, HlslProgram& program)
{
    for (HlslResource& resource : program.resources)
        ApplyResourceFacts(resource, facts);
    for (auto* signature : {&program.info.inputs, &program.info.outputs, &program.info.patchConstants})
        SpellSemantics(*signature, facts);
}

void ApplyDefaults(const HlslFacts& facts, HlslProgram& program)
{
    for (std::size_t i = 0; i < facts.defaults.size(); ++i) {
        const auto components = program.constants.find(DefaultHelper(i));
        if (components == program.constants.end())
            continue;
        const std::string& name = facts.Restore(facts.defaults[i]);
        for (HlslResource& resource : program.resources) {
            if (!resource.buffer || resource.buffer->type == D3D_CT_RESOURCE_BIND_INFO)
                continue;
            for (VariableInfo& variable : resource.buffer->variables) {
                if (variable.name != name)
                    continue;
                std::vector<std::uint8_t> bytes(variable.size);
                ValueWriter writer(components->second, bytes);
                writer.Write(variable.type, 0);
                if (writer.IsWhole())
                    variable.defaultValue = std::move(bytes);
            }
        }
    }
}

} // namespace gleam
