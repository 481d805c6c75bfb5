// Reflection to tables.
#include "Gleamwork/dx11/ShaderTables.h"

#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

#include <qs/Log.h>
#include <qs/ScratchMemory.h>

#include <cstring>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/ShaderTables";
constexpr char FUNCTION[] = "api::D3D11Renderer::CreateShader";
constexpr char SAMPLER_REPEATED[] = "Sampler %s already exists. This will overwrite the first definition!";
constexpr char TEXTURE_REPEATED[] = "Texture %s already exists. This will overwrite the first definition!";
constexpr std::uint32_t CONSTANT_BUCKETS = 53, SAMPLER_BUCKETS = 19, TEXTURE_BUCKETS = 47;

D3D11_SHADER_DESC Describe(ID3D11ShaderReflection* reflection)
{
    D3D11_SHADER_DESC desc = {};
    if (reflection) {
        reflection->GetDesc(&desc);
    }
    return desc;
}

/// The device buffer and its copy on the processor. A failure leaves both null, and the constants go nowhere.
void CreateStageBuffer(ConstantBuffer& record, std::uint32_t size, ID3D11Device* device)
{
    record.size = size;
    D3D11_BUFFER_DESC desc = {};
    desc.ByteWidth = size;
    desc.Usage = D3D11_USAGE_DYNAMIC;
    desc.BindFlags = D3D11_BIND_CONSTANT_BUFFER;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    const HRESULT hr = device->CreateBuffer(&desc, nullptr, &record.buffer);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, FUNCTION, "ID3D11Device::CreateBuffer failed!\nError: %s\nDescription: %s", hr);
        record.size = 0;
        return;
    }
    qs::MemoryTrackerSample sample("ConstantMem");
    record.memory = static_cast<std::uint8_t*>(
        qs::MemoryManager::Allocate(size, qs::AllocType::Raw, qs::DefaultMemoryTag, 16, true));
    if (record.memory) {
        std::memset(record.memory, 0, size);
    } else {
        record.Release();
        record.size = 0;
    }
}

void StoreBuffers(Shader& shader, int stage, ConstantBuffer* buffers, std::uint32_t count)
{
    if (stage == eShaderStage_Vertex) {
        shader.vertexConstantBuffers = buffers;
        shader.vertexConstantBufferCount = count;
    } else if (stage == eShaderStage_Pixel) {
        shader.pixelConstantBuffers = buffers;
        shader.pixelConstantBufferCount = count;
    } else {
        shader.computeConstantBuffers = buffers;
        shader.computeConstantBufferCount = count;
    }
}

void AddConstant(Shader& shader, int stage, const qs::FixedString& name, std::uint32_t offset, std::uint32_t buffer)
{
    auto* node = shader.constantMap->Lookup(name);
    if (stage == eShaderStage_Vertex) {
        ++shader.constantCount;
        if (node) {
            QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Constant %s already exists. This will overwrite the first definition!",
                          name.ToChar());
        }
    } else if (!node) {
        ++shader.constantCount;
    }
    ShaderConstant constant = node ? node->value : ShaderConstant();
    constant.offsets[stage] = offset;
    constant.buffers[stage] = buffer;
    shader.constantMap->SetAt(name, constant);
}

void AddStageConstants(Shader& shader, int stage, ID3D11ShaderReflection* reflection, ID3D11Device* device)
{
    const std::uint32_t count = Describe(reflection).ConstantBuffers;
    if (count == 0) {
        return;
    }
    auto* buffers = new (qs::DefaultMemoryTag) ConstantBuffer[count];
    StoreBuffers(shader, stage, buffers, count);
    for (std::uint32_t i = 0; i < count; ++i) {
        ID3D11ShaderReflectionConstantBuffer* reflected = reflection->GetConstantBufferByIndex(i);
        D3D11_SHADER_BUFFER_DESC bufferDesc = {};
        D3D11_SHADER_INPUT_BIND_DESC bindDesc = {};
        if (FAILED(reflected->GetDesc(&bufferDesc)) ||
            FAILED(reflection->GetResourceBindingDescByName(bufferDesc.Name, &bindDesc))) {
            continue;
        }
        buffers[i].bindPoint = static_cast<std::uint8_t>(bindDesc.BindPoint);
        if (buffers[i].bindPoint >= D3D11Renderer::FIRST_GLOBAL_BIND_POINT) {
            continue;
        }
        if (stage == eShaderStage_Vertex || bufferDesc.Type != D3D_CT_RESOURCE_BIND_INFO) {
            CreateStageBuffer(buffers[i], bufferDesc.Size, device);
        }
        for (std::uint32_t variable = 0; variable < bufferDesc.Variables; ++variable) {
            D3D11_SHADER_VARIABLE_DESC variableDesc = {};
            if (FAILED(reflected->GetVariableByIndex(variable)->GetDesc(&variableDesc))) {
                continue;
            }
            const bool isElement = stage != eShaderStage_Vertex && std::strcmp(variableDesc.Name, "$Element") == 0;
            const char* name = isElement ? bufferDesc.Name : variableDesc.Name;
            AddConstant(shader, stage, qs::FixedString::Create(name, -1), variableDesc.StartOffset, i);
        }
    }
}

bool IsTexture(int stage, D3D_SHADER_INPUT_TYPE type)
{
    switch (type) {
    case D3D_SIT_TEXTURE:
    case D3D_SIT_STRUCTURED:
        return true;
    case D3D_SIT_UAV_RWTYPED:
    case D3D_SIT_UAV_RWSTRUCTURED:
    case D3D_SIT_BYTEADDRESS:
        return stage != eShaderStage_Vertex;
    case D3D_SIT_UAV_RWBYTEADDRESS:
        return stage == eShaderStage_Compute;
    default:
        return false;
    }
}

/// Files a slot; the counts are raised once per name, in the vertex stage once per resource. `repeated` is the message
/// about a name that the vertex stage has twice.
void AddSlot(Shader::SlotMap& map, int stage, const D3D11_SHADER_INPUT_BIND_DESC& desc, const char* repeated,
             std::uint32_t& count, std::uint8_t* stageCount)
{
    const qs::FixedString name = qs::FixedString::Create(desc.Name, -1);
    auto* node = map.Lookup(name);
    if (node && stage == eShaderStage_Vertex) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, repeated, name.ToChar());
    }
    if (!node || stage == eShaderStage_Vertex) {
        ++count;
        if (stageCount) {
            ++*stageCount;
        }
    }
    ShaderSlots slots = node ? node->value : ShaderSlots();
    slots.slots[stage] = static_cast<std::int8_t>(desc.BindPoint);
    map.SetAt(name, slots);
}

} // namespace

std::uint64_t HashInputSignature(ID3D11ShaderReflection* reflection)
{
    qs::ScratchString text(128, 0xffffffffu, true);
    const UINT parameters = Describe(reflection).InputParameters;
    for (UINT i = 0; i < parameters; ++i) {
        D3D11_SIGNATURE_PARAMETER_DESC desc = {};
        if (SUCCEEDED(reflection->GetInputParameterDesc(i, &desc))) {
            text << desc.SemanticName << desc.SemanticIndex << desc.Register << static_cast<int>(desc.SystemValueType)
                 << static_cast<int>(desc.ComponentType) << static_cast<unsigned char>(desc.Mask) << desc.Stream
                 << static_cast<int>(desc.MinPrecision);
        }
    }
    std::uint64_t hash = 0xcbf29ce484222325ull;
    for (const char* byte = text.ToChar(); *byte; ++byte) {
        hash ^= static_cast<unsigned char>(*byte);
        hash *= 0x100000001b3ull;
    }
    return hash;
}

void BuildConstantTables(Shader& shader, const StageReflections& stages, ID3D11Device* device)
{
    shader.constantCount = 0;
    shader.constantMap = new (qs::DefaultMemoryTag) Shader::ConstantMap(CONSTANT_BUCKETS);
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        if (stages[stage]) {
            AddStageConstants(shader, stage, stages[stage], device);
        }
    }
    if (shader.constantCount == 0) {
        delete shader.constantMap;
        shader.constantMap = nullptr;
    }
}

void BuildResourceTables(Shader& shader, const StageReflections& stages)
{
    std::uint32_t total = 0;
    for (ID3D11ShaderReflection* reflection : stages) {
        total += Describe(reflection).BoundResources;
    }
    if (total == 0) {
        return;
    }
    shader.samplerMap = new (qs::DefaultMemoryTag) Shader::SlotMap(SAMPLER_BUCKETS);
    shader.textureMap = new (qs::DefaultMemoryTag) Shader::SlotMap(TEXTURE_BUCKETS);
    shader.textureCount = shader.samplerCount = 0;
    shader.vertexSamplerCount = shader.pixelSamplerCount = shader.computeSamplerCount = 0;
    std::uint8_t* samplerCounts[] = {&shader.vertexSamplerCount, &shader.pixelSamplerCount,
                                     &shader.computeSamplerCount};
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        const std::uint32_t resources = Describe(stages[stage]).BoundResources;
        for (std::uint32_t i = 0; i < resources; ++i) {
            D3D11_SHADER_INPUT_BIND_DESC desc = {};
            if (FAILED(stages[stage]->GetResourceBindingDesc(i, &desc))) {
                continue;
            }
            if (desc.Type == D3D_SIT_SAMPLER) {
                AddSlot(*shader.samplerMap, stage, desc, SAMPLER_REPEATED, shader.samplerCount, samplerCounts[stage]);
            } else if (IsTexture(stage, desc.Type)) {
                AddSlot(*shader.textureMap, stage, desc, TEXTURE_REPEATED, shader.textureCount, nullptr);
            }
        }
    }
}

} // namespace api
