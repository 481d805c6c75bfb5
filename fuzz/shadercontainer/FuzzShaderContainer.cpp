// Feeds bytes to the two readers of compiled shaders, ParseShader and D3DReflect, and then asks the reflection object
// for everything it has. The hash in the header is made right first: otherwise nothing behind it would be reached.
#include <cstring>
#include <vector>

#include <xxhash.h>

#include "d3dcompiler.h"
#include "shader/ShaderModule.h"

namespace {

void WalkType(ID3D11ShaderReflectionType* type)
{
    D3D11_SHADER_TYPE_DESC desc{};
    if (FAILED(type->GetDesc(&desc)))
        return;
    for (UINT i = 0; i < desc.Members; ++i) {
        if (std::strlen(type->GetMemberTypeName(i)) > 1u << 20)
            __builtin_trap();
        WalkType(type->GetMemberTypeByIndex(i));
    }
}

void WalkBuffer(ID3D11ShaderReflectionConstantBuffer* buffer)
{
    D3D11_SHADER_BUFFER_DESC desc{};
    if (FAILED(buffer->GetDesc(&desc)))
        return;
    for (UINT i = 0; i < desc.Variables; ++i) {
        D3D11_SHADER_VARIABLE_DESC variable{};
        buffer->GetVariableByIndex(i)->GetDesc(&variable);
        if (variable.StartOffset + variable.Size > desc.Size)
            __builtin_trap();
        if (variable.DefaultValue) {
            std::vector<std::uint8_t> copy(variable.Size);
            std::memcpy(copy.data(), variable.DefaultValue, copy.size());
        }
        WalkType(buffer->GetVariableByIndex(i)->GetType());
    }
}

void WalkReflection(ID3D11ShaderReflection* reflection)
{
    D3D11_SHADER_DESC desc{};
    reflection->GetDesc(&desc);
    for (UINT i = 0; i < desc.ConstantBuffers; ++i)
        WalkBuffer(reflection->GetConstantBufferByIndex(i));
    for (UINT i = 0; i < desc.BoundResources; ++i) {
        D3D11_SHADER_INPUT_BIND_DESC binding{};
        D3D11_SHADER_INPUT_BIND_DESC byName{};
        reflection->GetResourceBindingDesc(i, &binding);
        reflection->GetResourceBindingDescByName(binding.Name, &byName);
        if (binding.BindPoint + binding.BindCount > 128)
            __builtin_trap();
    }
    D3D11_SIGNATURE_PARAMETER_DESC parameter{};
    for (UINT i = 0; i < desc.InputParameters; ++i)
        reflection->GetInputParameterDesc(i, &parameter);
    for (UINT i = 0; i < desc.OutputParameters; ++i)
        reflection->GetOutputParameterDesc(i, &parameter);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t headerSize = 24, hashOffset = 16;
    std::vector<std::uint8_t> bytes(data, data + size);
    if (size >= headerSize) {
        const auto total = static_cast<std::uint32_t>(size);
        std::memcpy(bytes.data() + 8, &total, sizeof(total));
        const std::uint64_t hash = XXH3_64bits(bytes.data() + headerSize, size - headerSize);
        std::memcpy(bytes.data() + hashOffset, &hash, sizeof(hash));
    }

    gleam::ShaderModule module;
    if (SUCCEEDED(gleam::ParseShader(bytes.data(), bytes.size(), module))) {
        gleam::ShaderModule vertex;
        vertex.stage = gleam::EShaderStage::Vertex;
        vertex.outputs = module.inputs;
        std::vector<std::uint32_t> patched;
        gleam::LinkPixelStage(vertex, module, patched);
    }
    void* reflection = nullptr;
    if (SUCCEEDED(D3DReflect(bytes.data(), bytes.size(), IID_ID3D11ShaderReflection, &reflection))) {
        WalkReflection(static_cast<ID3D11ShaderReflection*>(reflection));
        static_cast<IUnknown*>(reflection)->Release();
    }
    return 0;
}
