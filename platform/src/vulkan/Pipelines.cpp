// Links programs, keeps their pipelines, and drops those of dead shaders.
#include "vulkan/Pipelines.h"

#include <xxhash.h>

#include <algorithm>

namespace gleam {

std::size_t PipelineStateHash::operator()(const PipelineState& state) const
{
    return XXH3_64bits(&state, sizeof state);
}

std::size_t Pipelines::ProgramHash::operator()(const std::array<std::uint64_t, GraphicsSets>& ids) const
{
    return XXH3_64bits(ids.data(), sizeof ids);
}

Pipelines::Pipelines(Gpu& gpu, DeadShaders& dead) : m_gpu(gpu), m_dead(dead)
{
    VkDescriptorSetLayoutCreateInfo create{VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO};
    Check(m_gpu.vk.CreateDescriptorSetLayout(m_gpu.device, &create, nullptr, &m_emptySet),
          "vkCreateDescriptorSetLayout");
    LoadCache();
}

Pipelines::~Pipelines()
{
    StoreCache();
    for (auto& [ids, program] : m_programs) {
        Free(*program, true);
    }
    for (auto& [id, program] : m_compute) {
        m_gpu.vk.DestroyPipeline(m_gpu.device, program->pipeline, nullptr);
        m_gpu.vk.DestroyPipelineLayout(m_gpu.device, program->layout, nullptr);
    }
    m_gpu.vk.DestroyPipelineCache(m_gpu.device, m_cache, nullptr);
    m_gpu.vk.DestroyDescriptorSetLayout(m_gpu.device, m_emptySet, nullptr);
}

VkShaderModule Pipelines::MakeModule(const std::vector<std::uint32_t>& code)
{
    VkShaderModuleCreateInfo create{VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO};
    create.codeSize = code.size() * sizeof(std::uint32_t);
    create.pCode = code.data();
    VkShaderModule module = VK_NULL_HANDLE;
    Check(m_gpu.vk.CreateShaderModule(m_gpu.device, &create, nullptr, &module), "vkCreateShaderModule");
    return module;
}

VkPipelineLayout Pipelines::MakeLayout(const VkDescriptorSetLayout* sets, uint32_t count)
{
    VkPipelineLayoutCreateInfo create{VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO};
    create.setLayoutCount = count;
    create.pSetLayouts = sets;
    VkPipelineLayout layout = VK_NULL_HANDLE;
    Check(m_gpu.vk.CreatePipelineLayout(m_gpu.device, &create, nullptr, &layout), "vkCreatePipelineLayout");
    return layout;
}

GraphicsProgram& Pipelines::Program(const GraphicsShaders& shaders)
{
    std::array<std::uint64_t, GraphicsSets> ids{};
    for (unsigned set = 0; set < GraphicsSets; ++set) {
        ids[set] = shaders[set] ? shaders[set]->id : 0;
    }
    auto& place = m_programs[ids];
    if (place) {
        return *place;
    }
    auto program = std::make_unique<GraphicsProgram>();
    try {
        program->ids = ids;
        uint32_t sets = 0;
        for (unsigned set = 0; set < GraphicsSets; ++set) {
            const Shader* shader = shaders[set];
            program->setLayouts[set] = shader ? shader->setLayout : m_emptySet;
            if (!shader) {
                continue;
            }
            sets = set + 1;
            if (set != SetPixel) {
                program->modules[set] = MakeModule(shader->module.spirv);
                continue;
            }
            const Shader* previous = shaders[SetGeometry] ? shaders[SetGeometry]
                                     : shaders[SetDomain] ? shaders[SetDomain]
                                                          : shaders[SetVertex];
            std::vector<std::uint32_t> linked;
            if (!LinkPixelStage(previous->module, shader->module, linked)) {
                linked = shader->module.spirv;
            }
            program->modules[set] = MakeModule(linked);
        }
        program->layout = MakeLayout(program->setLayouts.data(), sets);
    } catch (...) {
        Free(*program, true);
        m_programs.erase(ids);
        throw;
    }
    place = std::move(program);
    return *place;
}

ComputeProgram& Pipelines::Program(const Shader& shader)
{
    auto& place = m_compute[shader.id];
    if (place) {
        return *place;
    }
    auto program = std::make_unique<ComputeProgram>();
    program->layout = MakeLayout(&shader.setLayout, 1);
    VkComputePipelineCreateInfo create{VK_STRUCTURE_TYPE_COMPUTE_PIPELINE_CREATE_INFO};
    create.layout = program->layout;
    create.stage = {VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO};
    create.stage.stage = VK_SHADER_STAGE_COMPUTE_BIT;
    create.stage.module = MakeModule(shader.module.spirv);
    create.stage.pName = "main";
    const VkResult result =
        m_gpu.vk.CreateComputePipelines(m_gpu.device, m_cache, 1, &create, nullptr, &program->pipeline);
    m_gpu.vk.DestroyShaderModule(m_gpu.device, create.stage.module, nullptr);
    if (result != VK_SUCCESS) {
        m_gpu.vk.DestroyPipelineLayout(m_gpu.device, program->layout, nullptr);
        m_compute.erase(shader.id);
        Check(result, "vkCreateComputePipelines");
    }
    place = std::move(program);
    return *place;
}

VkPipeline Pipelines::Pipeline(GraphicsProgram& program, const PipelineState& state, const VertexInputState* input)
{
    const auto found = program.pipelines.find(state);
    if (found != program.pipelines.end()) {
        return found->second;
    }
    const VkPipeline made = MakePipeline(program, state, input);
    program.pipelines.emplace(state, made);
    return made;
}

void Pipelines::Free(GraphicsProgram& program, bool atOnce)
{
    for (auto& [state, pipeline] : program.pipelines) {
        if (atOnce) {
            m_gpu.vk.DestroyPipeline(m_gpu.device, pipeline, nullptr);
        } else {
            Retired retired;
            retired.pipeline = pipeline;
            m_gpu.Retire(retired, program.lastUse);
        }
    }
    for (VkShaderModule module : program.modules) {
        m_gpu.vk.DestroyShaderModule(m_gpu.device, module, nullptr);
    }
    // Command buffers do not need a pipeline layout once they are recorded.
    m_gpu.vk.DestroyPipelineLayout(m_gpu.device, program.layout, nullptr);
}

void Pipelines::ForgetDead()
{
    if (!m_dead.Any()) {
        return;
    }
    const std::vector<std::uint64_t> dead = m_dead.Take();
    const auto isDead = [&](std::uint64_t id) { return std::find(dead.begin(), dead.end(), id) != dead.end(); };
    std::erase_if(m_programs, [&](auto& entry) {
        const bool drop = std::any_of(entry.first.begin(), entry.first.end(), isDead);
        if (drop) {
            Free(*entry.second, false);
        }
        return drop;
    });
    std::erase_if(m_compute, [&](auto& entry) {
        if (!isDead(entry.first)) {
            return false;
        }
        Retired retired;
        retired.pipeline = entry.second->pipeline;
        m_gpu.Retire(retired, entry.second->lastUse);
        m_gpu.vk.DestroyPipelineLayout(m_gpu.device, entry.second->layout, nullptr);
        return true;
    });
}

} // namespace gleam
