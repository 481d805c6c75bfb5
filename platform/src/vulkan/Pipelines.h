// Pipelines, found by everything that Vulkan wants baked into them, and the driver's cache of them on disk.
#pragma once

#include <array>
#include <filesystem>
#include <memory>
#include <type_traits>
#include <unordered_map>

#include "vulkan/Shader.h"

namespace gleam {

/// Stages of the graphics pipeline in the order of their descriptor sets.
enum EStageSet : unsigned
{
    SetVertex,
    SetPixel,
    SetGeometry,
    SetHull,
    SetDomain,
    GraphicsSets
};

using GraphicsShaders = std::array<const Shader*, GraphicsSets>;

/// State that takes part in a graphics pipeline. What the device can set dynamically stays 0, so that it does not
/// split pipelines. Compared as bytes.
///
///   formats    8 colour formats, 0 for an empty slot
///   blends     one per colour slot; 0 with dynamic blend
///   flags      bits of EPipelineFlag
struct PipelineState
{
    std::uint64_t inputLayout; ///< 0 without a layout and with dynamic vertex input
    std::array<std::uint32_t, D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT> formats;
    std::uint32_t depthFormat;
    std::uint32_t stencilFormat;
    std::uint32_t sampleMask;
    std::uint8_t sampleCount;
    std::uint8_t topology; ///< a VkPrimitiveTopology that stands for its class
    std::uint8_t patchPoints;
    std::uint8_t flags;
    std::uint64_t blends[D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT];

    bool operator==(const PipelineState&) const = default;
};
static_assert(std::has_unique_object_representations_v<PipelineState>, "hashed as bytes");

enum EPipelineFlag : std::uint8_t
{
    PipelineWireframe = 1,
    PipelineDepthClip = 2,
    PipelineAlphaToCoverage = 4
};

struct PipelineStateHash
{
    std::size_t operator()(const PipelineState& state) const;
};

/// Shaders that work together: linked code, the pipeline layout, and the pipelines made of them.
struct GraphicsProgram
{
    std::array<std::uint64_t, GraphicsSets> ids{};
    std::array<VkShaderModule, GraphicsSets> modules{};
    std::array<VkDescriptorSetLayout, GraphicsSets> setLayouts{};
    VkPipelineLayout layout = VK_NULL_HANDLE;
    std::unordered_map<PipelineState, VkPipeline, PipelineStateHash> pipelines;
    std::uint64_t lastUse = 0;
};

struct ComputeProgram
{
    VkPipelineLayout layout = VK_NULL_HANDLE;
    VkPipeline pipeline = VK_NULL_HANDLE;
    std::uint64_t lastUse = 0;
};

/// Belongs to the context's thread.
class Pipelines
{
public:
    Pipelines(Gpu& gpu, DeadShaders& dead);
    Pipelines(const Pipelines&) = delete;
    Pipelines& operator=(const Pipelines&) = delete;
    ~Pipelines();

    /// Throws VulkanError. References stay valid until the shaders are gone and ForgetDead has run.
    GraphicsProgram& Program(const GraphicsShaders& shaders);
    ComputeProgram& Program(const Shader& shader);

    /// `input` is used where vertex input is not dynamic.
    VkPipeline Pipeline(GraphicsProgram& program, const PipelineState& state, const VertexInputState* input);

    /// Lets go of pipelines whose shaders are gone. Call between submissions.
    void ForgetDead();

private:
    struct ProgramHash
    {
        std::size_t operator()(const std::array<std::uint64_t, GraphicsSets>& ids) const;
    };

    VkShaderModule MakeModule(const std::vector<std::uint32_t>& code);
    VkPipelineLayout MakeLayout(const VkDescriptorSetLayout* sets, uint32_t count);
    VkPipeline MakePipeline(const GraphicsProgram& program, const PipelineState& state, const VertexInputState* input);
    void Free(GraphicsProgram& program, bool atOnce);
    void LoadCache();
    void StoreCache();
    std::filesystem::path CacheFile() const;

    Gpu& m_gpu;
    DeadShaders& m_dead;
    VkPipelineCache m_cache = VK_NULL_HANDLE;
    std::size_t m_loadedBytes = 0;
    VkDescriptorSetLayout m_emptySet = VK_NULL_HANDLE;
    std::unordered_map<std::array<std::uint64_t, GraphicsSets>, std::unique_ptr<GraphicsProgram>, ProgramHash>
        m_programs;
    std::unordered_map<std::uint64_t, std::unique_ptr<ComputeProgram>> m_compute;
};

} // namespace gleam
