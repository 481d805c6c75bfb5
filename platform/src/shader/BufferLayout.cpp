// Packing rules of buffers.
#include "shader/BufferLayout.h"

#include <algorithm>

namespace gleam {
namespace {

constexpr std::uint64_t RowBytes = 16;
constexpr std::uint64_t MaxConstantBytes = 65536;
constexpr std::uint64_t MaxElementBytes = 2048;

std::uint64_t RoundUp(std::uint64_t value, std::uint64_t multiple)
{
    return (value + multiple - 1) / multiple * multiple;
}

std::uint32_t ComponentBytes(const TypeInfo& type)
{
    return type.type == D3D_SVT_DOUBLE ? 8 : 4;
}

bool IsMatrix(const TypeInfo& type)
{
    return type.variableClass == D3D_SVC_MATRIX_ROWS || type.variableClass == D3D_SVC_MATRIX_COLUMNS;
}

bool IsStructure(const TypeInfo& type)
{
    return type.variableClass == D3D_SVC_STRUCT;
}

/// Vectors that a matrix stores, and components of each.
std::pair<std::uint32_t, std::uint32_t> StoredVectors(const TypeInfo& type)
{
    return type.variableClass == D3D_SVC_MATRIX_ROWS ? std::pair{type.rows, type.columns}
                                                     : std::pair{type.columns, type.rows};
}

/// Largest component of a value: what its start is aligned to in a tight layout.
std::uint64_t Alignment(const TypeInfo& type)
{
    if (!IsStructure(type))
        return ComponentBytes(type);
    std::uint64_t largest = 4;
    for (const MemberInfo& member : type.members)
        largest = std::max(largest, Alignment(member.type));
    return largest;
}

/// First place at or behind `offset` where a value may start.
std::uint64_t Place(const TypeInfo& type, std::uint64_t offset, EBufferRule rule)
{
    if (rule == EBufferRule::Tight)
        return RoundUp(offset, Alignment(type));
    if (type.elements > 0 || IsMatrix(type) || IsStructure(type))
        return RoundUp(offset, RowBytes);
    const std::uint64_t start = RoundUp(offset, ComponentBytes(type));
    const std::uint64_t end = start + SizeOf(type, rule);
    // A vector wider than a row starts one.
    return start / RowBytes == (end - 1) / RowBytes ? start : RoundUp(start, RowBytes);
}

std::uint64_t OneSize(const TypeInfo& type, EBufferRule rule)
{
    if (IsMatrix(type)) {
        const auto [vectors, components] = StoredVectors(type);
        return std::uint64_t{vectors - 1} * MatrixStride(type, rule) + components * ComponentBytes(type);
    }
    if (!IsStructure(type))
        return std::uint64_t{type.columns} * ComponentBytes(type);
    std::uint64_t end = 0;
    for (const MemberInfo& member : type.members)
        end = Place(member.type, end, rule) + SizeOf(member.type, rule);
    return rule == EBufferRule::Tight ? RoundUp(end, Alignment(type)) : end;
}

void PlaceMembers(TypeInfo& type, EBufferRule rule)
{
    std::uint64_t end = 0;
    for (MemberInfo& member : type.members) {
        const std::uint64_t start = Place(member.type, end, rule);
        member.type.offset = static_cast<std::uint32_t>(start);
        end = start + SizeOf(member.type, rule);
        PlaceMembers(member.type, rule);
    }
}

bool Overlap(const BufferInfo& buffer, std::string& error)
{
    std::vector<const VariableInfo*> ordered;
    for (const VariableInfo& variable : buffer.variables)
        ordered.push_back(&variable);
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const auto* a, const auto* b) { return a->offset < b->offset; });
    for (std::size_t i = 1; i < ordered.size(); ++i) {
        if (ordered[i - 1]->offset + ordered[i - 1]->size <= ordered[i]->offset)
            continue;
        error = "packing offsets of '" + ordered[i - 1]->name + "' and '" + ordered[i]->name + "' in '" + buffer.name +
                "' overlap";
        return true;
    }
    return false;
}

EBufferRule RuleOf(const BufferInfo& buffer)
{
    return buffer.type == D3D_CT_RESOURCE_BIND_INFO ? EBufferRule::Tight : EBufferRule::Rows;
}

} // namespace

std::uint32_t MatrixStride(const TypeInfo& type, EBufferRule rule)
{
    const std::uint32_t bytes = StoredVectors(type).second * ComponentBytes(type);
    return rule == EBufferRule::Tight ? bytes : static_cast<std::uint32_t>(RoundUp(bytes, RowBytes));
}

std::uint64_t ElementStride(const TypeInfo& type, EBufferRule rule)
{
    const std::uint64_t size = OneSize(type, rule);
    return rule == EBufferRule::Tight ? size : RoundUp(size, RowBytes);
}

std::uint64_t SizeOf(const TypeInfo& type, EBufferRule rule)
{
    const std::uint64_t one = OneSize(type, rule);
    return type.elements == 0 ? one : ElementStride(type, rule) * (type.elements - 1) + one;
}

bool LayOut(BufferInfo& buffer, std::string& error)
{
    const EBufferRule rule = RuleOf(buffer);
    const std::uint64_t limit = rule == EBufferRule::Rows ? MaxConstantBytes : MaxElementBytes;
    std::uint64_t end = 0;
    std::uint64_t size = 0;
    for (VariableInfo& variable : buffer.variables) {
        const bool isFixed = (variable.flags & D3D_SVF_USERPACKED) != 0;
        const std::uint64_t start = isFixed ? variable.offset : Place(variable.type, end, rule);
        end = start + SizeOf(variable.type, rule);
        size = std::max(size, end);
        if (size > limit) {
            error = "'" + buffer.name + "' exceeds the limit of " + std::to_string(limit) + " bytes at '" +
                    variable.name + "'";
            return false;
        }
        variable.offset = static_cast<std::uint32_t>(start);
        variable.size = static_cast<std::uint32_t>(end - start);
        PlaceMembers(variable.type, rule);
    }
    buffer.size = static_cast<std::uint32_t>(rule == EBufferRule::Rows ? RoundUp(size, RowBytes) : size);
    return !Overlap(buffer, error);
}

} // namespace gleam
