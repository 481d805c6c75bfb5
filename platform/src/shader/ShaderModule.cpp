// Reading of compiled shaders for the device.
#include "shader/ShaderModule.h"

#include <cstring>
#include <new>

#include <xxhash.h>

#include "shader/ShaderContainer.h"
#include "shader/SpirvModule.h"
#include "shader/SpirvTools.h"

namespace gleam {
namespace {

bool EntryPointFits(const SpirvModule& module, EShaderStage stage)
{
    constexpr spv::ExecutionModel models[] = {spv::ExecutionModel::Fragment,
                                              spv::ExecutionModel::Vertex,
                                              spv::ExecutionModel::Geometry,
                                              spv::ExecutionModel::TessellationControl,
                                              spv::ExecutionModel::TessellationEvaluation,
                                              spv::ExecutionModel::GLCompute};
    std::size_t entries = 0;
    bool fits = false;
    for (const SpirvInstruction& instruction : module.Instructions()) {
        if (instruction.op != spv::Op::OpEntryPoint || instruction.operands.size() < 4)
            continue;
        ++entries;
        const auto* name = reinterpret_cast<const char*>(&instruction.operands[2]);
        fits = instruction.operands[0] == static_cast<std::uint32_t>(models[static_cast<std::size_t>(stage)]) &&
               std::strncmp(name, "main", (instruction.operands.size() - 2) * 4) == 0;
    }
    return entries == 1 && fits;
}

bool CodeIsSound(const std::vector<std::uint32_t>& spirv, EShaderStage stage)
{
    SpirvModule module;
    std::string message;
    return module.Parse(spirv) && EntryPointFits(module, stage) && ValidateSpirv(spirv, message);
}

HRESULT Parse(std::span<const std::uint8_t> bytes, ShaderModule& module)
{
    ContainerView view;
    ShaderInfo info;
    if (!OpenContainer(bytes, view) || !ReadShaderInfo(view.info, info))
        return E_INVALIDARG;
    ShaderModule read;
    read.stage = info.stage;
    read.spirv.resize(view.spirv.size() / sizeof(std::uint32_t));
    std::memcpy(read.spirv.data(), view.spirv.data(), view.spirv.size());
    if (!CodeIsSound(read.spirv, info.stage))
        return E_INVALIDARG;
    read.hash = XXH3_64bits(view.spirv.data(), view.spirv.size());
    read.inputs = std::move(info.inputs);
    read.outputs = std::move(info.outputs);
    for (ResourceInfo& resource : info.resources)
        read.bindings.push_back(std::move(resource.binding));
    read.threadGroup = info.threadGroup;
    read.instructionCount = info.counts.total;
    read.runsPerSample = info.runsPerSample;
    module = std::move(read);
    return S_OK;
}

} // namespace

HRESULT ParseShader(const void* bytes, std::size_t size, ShaderModule& module)
{
    if (!bytes)
        return E_INVALIDARG;
    try {
        return Parse({static_cast<const std::uint8_t*>(bytes), size}, module);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

} // namespace gleam
