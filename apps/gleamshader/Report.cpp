// Reflection as text.
#include "Report.h"

#include "common/ShaderStages.h"

#include <d3dcompiler.h>

#include <memory>
#include <sstream>

namespace gleamshader {
namespace {

struct Release
{
    void operator()(IUnknown* object) const { object->Release(); }
};

const char* KindOf(D3D_SHADER_INPUT_TYPE type)
{
    switch (type) {
    case D3D_SIT_TEXTURE:
        return "texture";
    case D3D_SIT_SAMPLER:
        return "sampler";
    case D3D_SIT_TBUFFER:
    case D3D_SIT_STRUCTURED:
    case D3D_SIT_BYTEADDRESS:
        return "buffer";
    case D3D_SIT_CBUFFER:
        return nullptr;
    default:
        return "writable";
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

/// "float4x4", "int", "float3[8]", as a shader's author would write it.
std::string TypeName(const D3D11_SHADER_TYPE_DESC& type)
{
    std::string name;
    if (type.Class == D3D_SVC_STRUCT) {
        name = type.Name ? type.Name : "struct";
    } else {
        name = ScalarName(type.Type);
        if (type.Class == D3D_SVC_MATRIX_ROWS || type.Class == D3D_SVC_MATRIX_COLUMNS)
            name += std::to_string(type.Rows) + "x" + std::to_string(type.Columns);
        else if (type.Columns > 1)
            name += std::to_string(type.Columns);
    }
    return type.Elements ? name + "[" + std::to_string(type.Elements) + "]" : name;
}

void DescribeConstants(ID3D11ShaderReflection& stage, UINT buffers, std::ostream& out)
{
    for (UINT i = 0; i < buffers; ++i) {
        ID3D11ShaderReflectionConstantBuffer* buffer = stage.GetConstantBufferByIndex(i);
        D3D11_SHADER_BUFFER_DESC desc{};
        if (FAILED(buffer->GetDesc(&desc)) || desc.Type != D3D_CT_CBUFFER)
            continue;
        out << "    constants " << desc.Name << ", " << desc.Size << " bytes\n";
        for (UINT v = 0; v < desc.Variables; ++v) {
            D3D11_SHADER_VARIABLE_DESC variable{};
            D3D11_SHADER_TYPE_DESC type{};
            ID3D11ShaderReflectionVariable* reflected = buffer->GetVariableByIndex(v);
            if (FAILED(reflected->GetDesc(&variable)) || FAILED(reflected->GetType()->GetDesc(&type)))
                continue;
            out << "      " << TypeName(type) << " " << variable.Name << ", " << variable.Size << " bytes at "
                << variable.StartOffset << (variable.uFlags & D3D_SVF_USED ? "" : ", unused") << "\n";
        }
    }
}

} // namespace

std::string DescribeStage(gw::EShaderType type, const std::vector<char>& code)
{
    std::ostringstream out;
    out << "  " << apps::StageName(type) << ": " << apps::StageProfile(type) << ", " << code.size() << " bytes";
    ID3D11ShaderReflection* reflection = nullptr;
    D3D11_SHADER_DESC desc{};
    if (FAILED(D3DReflect(code.data(), code.size(), IID_ID3D11ShaderReflection, reinterpret_cast<void**>(&reflection))))
        return out.str() + ", without reflection\n";
    const std::unique_ptr<ID3D11ShaderReflection, Release> owned(reflection);
    if (FAILED(reflection->GetDesc(&desc)))
        return out.str() + ", without reflection\n";
    out << ", " << desc.InstructionCount << " instructions\n";
    DescribeConstants(*reflection, desc.ConstantBuffers, out);
    for (UINT i = 0; i < desc.BoundResources; ++i) {
        D3D11_SHADER_INPUT_BIND_DESC bound{};
        if (FAILED(reflection->GetResourceBindingDesc(i, &bound)) || !KindOf(bound.Type))
            continue;
        out << "    " << KindOf(bound.Type) << " " << bound.Name << ", slot " << bound.BindPoint;
        if (bound.BindCount > 1)
            out << " to " << bound.BindPoint + bound.BindCount - 1;
        out << "\n";
    }
    return out.str();
}

} // namespace gleamshader
