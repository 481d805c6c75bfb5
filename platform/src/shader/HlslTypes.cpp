// Types of glslang's syntax tree as reflection describes them.
//
// glslang holds a matrix of R rows and C columns as R vectors of C components, since the text indexes matrices by row
// and SPIR-V by column. What it calls columns are therefore rows of the text, and its row-major packing is the text's
// column_major.
#include "shader/HlslTree.h"

namespace gleam {
namespace {

constexpr std::uint32_t RegisterBytes = 16;

D3D_SHADER_VARIABLE_TYPE VariableType(glslang::TBasicType type)
{
    switch (type) {
    case glslang::EbtBool:
        return D3D_SVT_BOOL;
    case glslang::EbtInt:
        return D3D_SVT_INT;
    case glslang::EbtUint:
        return D3D_SVT_UINT;
    case glslang::EbtDouble:
        return D3D_SVT_DOUBLE;
    case glslang::EbtFloat:
        return D3D_SVT_FLOAT;
    default:
        return D3D_SVT_VOID;
    }
}

const char* ScalarName(D3D_SHADER_VARIABLE_TYPE type)
{
    switch (type) {
    case D3D_SVT_BOOL:
        return "bool";
    case D3D_SVT_INT:
        return "int";
    case D3D_SVT_UINT:
        return "uint";
    case D3D_SVT_DOUBLE:
        return "double";
    default:
        return "float";
    }
}

std::string NumericName(const TypeInfo& info)
{
    std::string name = ScalarName(info.type);
    if (info.variableClass == D3D_SVC_VECTOR)
        name += std::to_string(info.columns);
    else if (info.variableClass != D3D_SVC_SCALAR)
        name += std::to_string(info.rows) + "x" + std::to_string(info.columns);
    return name;
}

void DescribeNumeric(const glslang::TType& type, glslang::TLayoutMatrix packing, TypeInfo& info)
{
    info.type = VariableType(type.getBasicType());
    if (type.isMatrix()) {
        info.variableClass = packing == glslang::ElmColumnMajor ? D3D_SVC_MATRIX_ROWS : D3D_SVC_MATRIX_COLUMNS;
        info.rows = static_cast<std::uint32_t>(type.getMatrixCols());
        info.columns = static_cast<std::uint32_t>(type.getMatrixRows());
    } else {
        info.columns = static_cast<std::uint32_t>(type.getVectorSize());
        info.variableClass = info.columns > 1 ? D3D_SVC_VECTOR : D3D_SVC_SCALAR;
    }
    info.name = NumericName(info);
}

void DescribeStructure(const glslang::TType& type, glslang::TLayoutMatrix packing, TypeInfo& info)
{
    info.variableClass = D3D_SVC_STRUCT;
    info.type = D3D_SVT_VOID;
    info.name = type.getTypeName().c_str();
    info.columns = 0;
    for (const glslang::TTypeLoc& member : *type.getStruct()) {
        info.members.push_back({member.type->getFieldName().c_str(), DescribeType(*member.type, packing)});
        const TypeInfo& added = info.members.back().type;
        // As published: one row, and as many columns as the structure has components.
        info.columns += added.rows * added.columns * std::max(added.elements, 1u);
    }
}

/// Offset that the text fixes, or nothing.
std::optional<std::uint32_t> FixedOffset(const glslang::TQualifier& qualifier)
{
    if (qualifier.hasOffset())
        return static_cast<std::uint32_t>(qualifier.layoutOffset);
    if (qualifier.hasBinding())
        return qualifier.layoutBinding * RegisterBytes;
    return std::nullopt;
}

} // namespace

TypeInfo DescribeType(const glslang::TType& type, glslang::TLayoutMatrix inherited)
{
    const glslang::TLayoutMatrix own = type.getQualifier().layoutMatrix;
    const glslang::TLayoutMatrix packing = own == glslang::ElmNone ? inherited : own;
    TypeInfo info;
    if (type.isArray() && !type.isUnsizedArray())
        info.elements = static_cast<std::uint32_t>(type.getCumulativeArraySize());
    if (type.isStruct())
        DescribeStructure(type, packing, info);
    else
        DescribeNumeric(type, packing, info);
    return info;
}

BufferInfo DescribeBlock(const glslang::TType& block, std::string name)
{
    BufferInfo info;
    info.name = std::move(name);
    const glslang::TLayoutMatrix packing = block.getQualifier().layoutMatrix;
    for (const glslang::TTypeLoc& member : *block.getStruct()) {
        VariableInfo variable;
        variable.name = member.type->getFieldName().c_str();
        variable.type = DescribeType(*member.type, packing);
        if (const auto offset = FixedOffset(member.type->getQualifier())) {
            variable.offset = *offset;
            variable.flags |= D3D_SVF_USERPACKED;
            info.flags |= D3D_CBF_USERPACKED;
        }
        info.variables.push_back(std::move(variable));
    }
    return info;
}

} // namespace gleam
