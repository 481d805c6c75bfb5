// Shader records: adding bytecode, making the device objects and tables, and taking them down.
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"
#include "Gleamwork/dx11/ShaderStages.h"
#include "Gleamwork/dx11/ShaderTables.h"

#include <qs/Log.h>
#include <qs/Profile.h>

#include <d3dcompiler.h>

#include <cstring>
#include <utility>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RendererShaders";

/// Reflection of a stage's bytecode; null after an assertion.
ID3D11ShaderReflection* Reflect(const gw::CompiledShader& code, const char* function)
{
    qs::HProfileSample sample("D3DReflect");
    void* reflection = nullptr;
    const HRESULT hr = D3DReflect(code.data, code.size, IID_ID3D11ShaderReflection, &reflection);
    if (FAILED(hr)) {
        GW_ASSERT_DEVICE_ERROR(FILE_NAME, function, "D3DReflect failed!\nError: %s\nDescription: %s", hr);
        return nullptr;
    }
    return static_cast<ID3D11ShaderReflection*>(reflection);
}

void CopyBytecode(const gw::ShaderData& source, gw::CompiledShader& compiled)
{
    qs::MemoryTrackerSample sample("\"CompiledShader\"");
    void* block = qs::MemoryManager::Allocate(source.size, qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true);
    if (block) {
        std::memcpy(block, source.data, source.size);
        compiled.SetData(block, source.size);
    }
}

/// What a stage's device call is named and how it is made.
struct StageCall
{
    const char* profileName;
    const char* failure;
    HRESULT (*create)(ID3D11Device*, const gw::CompiledShader&, Shader&);
};

constexpr StageCall STAGE_CALLS[eShaderStage_Count] = {
    {"ID3D11Device::CreateVertexShader", "ID3D11Device::CreateVertexShader failed!\nError: %s\nDescription: %s",
     [](ID3D11Device* device, const gw::CompiledShader& code, Shader& shader) {
         return device->CreateVertexShader(code.data, code.size, nullptr, &shader.vertexShader);
     }},
    {"ID3D11Device::CreatePixelShader", "ID3D11Device::CreatePixelShader failed!\nError: %s\nDescription: %s",
     [](ID3D11Device* device, const gw::CompiledShader& code, Shader& shader) {
         return device->CreatePixelShader(code.data, code.size, nullptr, &shader.pixelShader);
     }},
    {"ID3D11Device::CreateComputeShader", "ID3D11Device::CreateComputeShader failed!\nError: %s\nDescription: %s",
     [](ID3D11Device* device, const gw::CompiledShader& code, Shader& shader) {
         return device->CreateComputeShader(code.data, code.size, nullptr, &shader.computeShader);
     }}};

/// Reflects a stage and makes its device object. False when either fails.
bool CreateStage(int stage, const gw::CompiledShader& code, ID3D11Device* device, Shader& shader,
                 ID3D11ShaderReflection*& reflection)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::CreateShader";
    reflection = Reflect(code, FUNCTION);
    if (!reflection) {
        return false;
    }
    const StageCall& call = STAGE_CALLS[stage];
    qs::HProfileSample sample(call.profileName);
    const HRESULT hr = call.create(device, code, shader);
    if (FAILED(hr)) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, call.failure, GetErrorName(hr), GetErrorDescription(hr));
    }
    return SUCCEEDED(hr);
}

void ReleaseReflections(StageReflections& stages)
{
    for (ID3D11ShaderReflection*& reflection : stages) {
        if (reflection) {
            reflection->Release();
            reflection = nullptr;
        }
    }
}

void StoreInstructionCounts(Shader& shader, const StageReflections& stages)
{
    std::uint16_t* counts[] = {&shader.vertexInstructionCount, &shader.pixelInstructionCount,
                               &shader.computeInstructionCount};
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        D3D11_SHADER_DESC desc = {};
        if (stages[stage]) {
            stages[stage]->GetDesc(&desc);
        }
        *counts[stage] = static_cast<std::uint16_t>(desc.InstructionCount);
    }
}

template <class Interface>
void ReleaseAndForget(Interface*& object)
{
    if (object) {
        object->Release();
        object = nullptr;
    }
}

template <class Map>
void DeleteMap(Map*& map)
{
    delete map;
    map = nullptr;
}

} // namespace

qs::ObjectHandle D3D11Renderer::AddShader(const gw::ShaderData& vertex, const gw::ShaderData&,
                                          const gw::ShaderData& fragment, const gw::ShaderData& compute,
                                          const qs::FixedString&, const qs::FixedString&, bool compile,
                                          gw::ShaderDefine* defines, qs::Path const* const, unsigned)
{
    qs::ObjectHandle handle;
    Shader* shader = m_shaders.Add(Shader(), handle);
    if (!shader) {
        return handle;
    }
    shader->compiledVertex = AddStage(vertex, gw::eShaderType_Vertex, compile, defines);
    if (const gw::CompiledShader* code = m_compiledShaders.Get(shader->compiledVertex)) {
        if (ID3D11ShaderReflection* reflection = Reflect(*code, "api::D3D11Renderer::AddShader")) {
            shader->signatureHash = HashInputSignature(reflection);
            reflection->Release();
        }
    }
    shader->compiledFragment = AddStage(fragment, gw::eShaderType_Fragment, compile, defines);
    shader->compiledCompute = AddStage(compute, gw::eShaderType_Compute, compile, defines);
    return handle;
}

/// Compiles or copies one stage. Unassigned when it is absent or does not compile.
qs::ObjectHandle D3D11Renderer::AddStage(const gw::ShaderData& source, gw::EShaderType type, bool compile,
                                         gw::ShaderDefine* defines)
{
    qs::ObjectHandle handle;
    if (!source.data) {
        return handle;
    }
    gw::CompiledShader compiled;
    if (compile) {
        CompileShader(source, type, compiled, defines);
    } else {
        CopyBytecode(source, compiled);
    }
    if (compiled.data && !m_compiledShaders.Add(compiled, handle)) {
        compiled.Destroy();
    }
    return handle;
}

void D3D11Renderer::CreateShader(qs::ObjectHandle handle)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::CreateShader";
    if (!handle.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Creating SHADER_NONE!");
        return;
    }
    Shader* shader = m_shaders.IsAlive(handle) ? m_shaders.Get(handle) : nullptr;
    if (!shader) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "ShaderID invalid!");
        m_shaders.Destroy(handle);
        return;
    }
    StageReflections stages = {};
    const bool isCreated = CreateStages(*shader, stages);
    RemoveCompiledShader(shader->compiledFragment);
    RemoveCompiledShader(shader->compiledCompute);
    shader->compiledFragment = shader->compiledCompute = qs::ObjectHandle::Unassigned;
    if (isCreated) {
        StoreInstructionCounts(*shader, stages);
        BuildConstantTables(*shader, stages, m_deviceData.device);
        BuildResourceTables(*shader, stages);
    } else {
        RemoveCompiledShader(shader->compiledVertex);
        shader->compiledVertex = qs::ObjectHandle::Unassigned;
    }
    ReleaseReflections(stages);
}

bool D3D11Renderer::CreateStages(Shader& shader, ID3D11ShaderReflection* (&stages)[3])
{
    const auto create = [&](int stage, const qs::ObjectHandle& handle) {
        const gw::CompiledShader* code = handle.IsValid() ? m_compiledShaders.Get(handle) : nullptr;
        return !code || CreateStage(stage, *code, m_deviceData.device, shader, stages[stage]);
    };
    if (!create(eShaderStage_Vertex, shader.compiledVertex)) {
        return false;
    }
    return create(eShaderStage_Pixel, shader.compiledFragment) && create(eShaderStage_Compute, shader.compiledCompute);
}

void D3D11Renderer::RemoveShaderInternal(qs::ObjectHandle handle)
{
    Shader* shader = handle.IsValid() ? m_shaders.Get(handle) : nullptr;
    if (!shader) {
        return;
    }
    ReleaseShaderData(*shader);
    m_shaders.Destroy(handle);
}

void D3D11Renderer::ReleaseShaderData(Shader& shader)
{
    RemoveCompiledShader(shader.compiledVertex);
    RemoveCompiledShader(shader.compiledFragment);
    RemoveCompiledShader(shader.compiledCompute);
    shader.compiledVertex = shader.compiledFragment = shader.compiledCompute = qs::ObjectHandle::Unassigned;
    ReleaseAndForget(shader.vertexShader);
    ReleaseAndForget(shader.pixelShader);
    ReleaseAndForget(shader.computeShader);
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        const StageConstants constants = GetStageConstants(shader, stage);
        for (std::uint32_t i = 0; i < constants.count; ++i) {
            constants.buffers[i].Release();
        }
        delete[] constants.buffers;
    }
    shader.vertexConstantBuffers = shader.pixelConstantBuffers = shader.computeConstantBuffers = nullptr;
    shader.vertexConstantBufferCount = shader.pixelConstantBufferCount = shader.computeConstantBufferCount = 0;
    DeleteMap(shader.samplerMap);
    DeleteMap(shader.textureMap);
    DeleteMap(shader.constantMap);
}

void D3D11Renderer::RemoveCompiledShader(qs::ObjectHandle handle)
{
    gw::CompiledShader* code = handle.IsValid() ? m_compiledShaders.Get(handle) : nullptr;
    if (code) {
        code->Destroy();
        m_compiledShaders.Destroy(handle);
    }
}

void D3D11Renderer::GetShaderDesc(qs::ObjectHandle handle, int& vertexInstructions, int& fragmentInstructions,
                                  int& computeInstructions, int& constants, int& unused, int& samplers,
                                  int& vertexSamplers, int& pixelSamplers)
{
    const Shader* shader = m_shaders.IsAlive(handle) ? m_shaders.Get(handle) : nullptr;
    if (!shader) {
        return;
    }
    vertexInstructions = shader->vertexInstructionCount;
    fragmentInstructions = shader->pixelInstructionCount;
    computeInstructions = shader->computeInstructionCount;
    constants = static_cast<int>(shader->constantCount);
    unused = 0;
    samplers = static_cast<int>(shader->samplerCount);
    vertexSamplers = shader->vertexSamplerCount;
    pixelSamplers = shader->pixelSamplerCount;
}

void D3D11Renderer::GetInstructionCount(qs::ObjectHandle handle, int& vertex, int& fragment)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::GetInstructionCount";
    if (!handle.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "GetInstuctionCount failed! id == SHADER_NONE!");
        return;
    }
    const Shader* shader = m_shaders.IsAlive(handle) ? m_shaders.Get(handle) : nullptr;
    if (!shader) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "GetInstuctionCount failed! Shader == nullptr!");
        return;
    }
    vertex = shader->vertexInstructionCount;
    fragment = shader->pixelInstructionCount;
}

void D3D11Renderer::SwapShaders(qs::ObjectHandle a, qs::ObjectHandle b)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::SwapShaders";
    if (!a.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "SwapShaders failed! shader1 is SHADER_NONE!");
        return;
    }
    if (!b.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "SwapShaders failed! shader2 is SHADER_NONE!");
        return;
    }
    Shader* first = m_shaders.Get(a);
    Shader* second = m_shaders.Get(b);
    if (first && second && first != second) {
        std::swap(*first, *second);
    }
}

} // namespace api
