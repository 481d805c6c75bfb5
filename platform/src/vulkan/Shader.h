// Shader objects: the parsed module, and which descriptors its stage needs.
#pragma once

#include "shader/ShaderModule.h"
#include "vulkan/StateObjects.h"

namespace gleam {

/// One binding of a stage's descriptor set.
struct DescriptorEntry
{
    VkDescriptorType type;
    EBindingClass bindingClass;
    EBindingKind kind;
    uint32_t binding;
    uint32_t slot;
    uint32_t count;
    D3D_SRV_DIMENSION dimension;
    bool isCounter; ///< the hidden counter of the unordered access view at `slot`
};

/// The part of a shader object that does not depend on its interface. Pipelines know it by its id alone.
class Shader
{
public:
    /// Throws VulkanError.
    Shader(Gpu& gpu, ShaderModule&& module);
    Shader(const Shader&) = delete;
    Shader& operator=(const Shader&) = delete;

    virtual void AddUse() = 0;
    virtual void RemoveUse() = 0;

    const ShaderModule module;
    /// Unique in the process, never 0.
    const std::uint64_t id;

    VkDescriptorSetLayout setLayout = VK_NULL_HANDLE;
    /// In order of binding numbers: constant buffers first.
    std::vector<DescriptorEntry> entries;
    /// Slots of the constant buffers with dynamic offsets, in the order of their offsets.
    std::vector<std::uint8_t> dynamicSlots;
    /// Bit per slot that any entry reads.
    uint32_t constantMask = 0;
    bool readsResources = false;
    bool writesResources = false;

protected:
    virtual ~Shader();

private:
    void AddEntries();
    void CreateSetLayout();

    Gpu& m_gpu;
};

/// Shaders whose last reference went, for the pipeline cache to forget. Safe from any thread.
class DeadShaders
{
public:
    void Add(std::uint64_t id)
    {
        std::lock_guard lock(m_mutex);
        m_ids.push_back(id);
        m_any.store(true, std::memory_order_release);
    }
    bool Any() const { return m_any.load(std::memory_order_acquire); }
    std::vector<std::uint64_t> Take()
    {
        std::lock_guard lock(m_mutex);
        m_any.store(false, std::memory_order_release);
        return std::exchange(m_ids, {});
    }

private:
    std::mutex m_mutex;
    std::vector<std::uint64_t> m_ids;
    std::atomic<bool> m_any{false};
};

template <class Interface, const IID& Iid>
class ShaderObject final : public DeviceChild<Interface, Iid>, public Shader
{
public:
    using Base = DeviceChild<Interface, Iid>;

    ShaderObject(ID3D11Device* device, Gpu& gpu, DeadShaders& dead, ShaderModule&& parsed)
        : Base(device), Shader(gpu, std::move(parsed)), m_dead(dead)
    {
    }

    void AddUse() override { Base::AddUse(); }
    void RemoveUse() override { Base::RemoveUse(); }

protected:
    void Destroy() override
    {
        m_dead.Add(id);
        delete this;
    }

private:
    DeadShaders& m_dead;
};

using VertexShader = ShaderObject<ID3D11VertexShader, IID_ID3D11VertexShader>;
using HullShader = ShaderObject<ID3D11HullShader, IID_ID3D11HullShader>;
using DomainShader = ShaderObject<ID3D11DomainShader, IID_ID3D11DomainShader>;
using GeometryShader = ShaderObject<ID3D11GeometryShader, IID_ID3D11GeometryShader>;
using PixelShader = ShaderObject<ID3D11PixelShader, IID_ID3D11PixelShader>;
using ComputeShader = ShaderObject<ID3D11ComputeShader, IID_ID3D11ComputeShader>;

/// Vertex input of one layout as one vertex shader takes it.
struct VertexInputState
{
    std::vector<VkVertexInputAttributeDescription2EXT> attributes;
    /// Strides are filled in when it is set.
    std::vector<VkVertexInputBindingDescription2EXT> bindings;
    /// A slot that the layout leaves free, for zeros to inputs that no element feeds.
    uint32_t zeroSlot = NoZeros;

    static constexpr uint32_t NoZeros = ~0u;
};

struct LayoutElement
{
    std::string semantic;
    UINT semanticIndex;
    VkFormat format;
    UINT slot;
    UINT offset;
    bool isPerInstance;
    UINT stepRate;
};

class InputLayout final : public DeviceChild<ID3D11InputLayout, IID_ID3D11InputLayout>
{
public:
    InputLayout(ID3D11Device* device, std::vector<LayoutElement>&& elements);

    /// The input for a shader, found by semantic. Context thread. Valid until the next call.
    const VertexInputState& For(const Shader& vertexShader);

    /// Input of a shader without a layout: zeros everywhere.
    static VertexInputState Without(const Shader& vertexShader);

    const std::uint64_t id;
    /// Bit per vertex buffer slot that it reads.
    uint32_t slotMask = 0;

private:
    static constexpr std::size_t MostStates = 64;

    const std::vector<LayoutElement> m_elements;
    std::vector<std::pair<std::uint64_t, std::unique_ptr<VertexInputState>>> m_states;
};

} // namespace gleam
