// Descriptor layouts of shaders, and vertex input by semantic.
#include "vulkan/Shader.h"

#include <strings.h>

#include <algorithm>

namespace gleam {
namespace {

std::uint64_t NextId()
{
    static std::atomic<std::uint64_t> next{1};
    return next++;
}

VkDescriptorType DescriptorType(EBindingKind kind)
{
    switch (kind) {
    case EBindingKind::ConstantBuffer:
        return VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER;
    case EBindingKind::Texture:
        return VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE;
    case EBindingKind::TypedBuffer:
        return VK_DESCRIPTOR_TYPE_UNIFORM_TEXEL_BUFFER;
    case EBindingKind::Sampler:
    case EBindingKind::ComparisonSampler:
        return VK_DESCRIPTOR_TYPE_SAMPLER;
    case EBindingKind::RwTexture:
        return VK_DESCRIPTOR_TYPE_STORAGE_IMAGE;
    case EBindingKind::RwTypedBuffer:
        return VK_DESCRIPTOR_TYPE_STORAGE_TEXEL_BUFFER;
    default:
        return VK_DESCRIPTOR_TYPE_STORAGE_BUFFER;
    }
}

VkShaderStageFlagBits StageBit(EShaderStage stage)
{
    switch (stage) {
    case EShaderStage::Pixel:
        return VK_SHADER_STAGE_FRAGMENT_BIT;
    case EShaderStage::Vertex:
        return VK_SHADER_STAGE_VERTEX_BIT;
    case EShaderStage::Geometry:
        return VK_SHADER_STAGE_GEOMETRY_BIT;
    case EShaderStage::Hull:
        return VK_SHADER_STAGE_TESSELLATION_CONTROL_BIT;
    case EShaderStage::Domain:
        return VK_SHADER_STAGE_TESSELLATION_EVALUATION_BIT;
    default:
        return VK_SHADER_STAGE_COMPUTE_BIT;
    }
}

/// Constant buffers of a stage that may have dynamic offsets; all five stages of a pipeline share the device's limit.
std::size_t MostDynamic(const Gpu& gpu)
{
    return std::max<uint32_t>(gpu.properties.limits.maxDescriptorSetUniformBuffersDynamic / 5, 1);
}

} // namespace

Shader::Shader(Gpu& gpu, ShaderModule&& parsed) : module(std::move(parsed)), id(NextId()), m_gpu(gpu)
{
    AddEntries();
    CreateSetLayout();
}

Shader::~Shader()
{
    m_gpu.vk.DestroyDescriptorSetLayout(m_gpu.device, setLayout, nullptr);
}

void Shader::AddEntries()
{
    for (const ShaderBinding& binding : module.bindings) {
        DescriptorEntry entry{};
        entry.type = DescriptorType(binding.kind);
        entry.bindingClass = binding.bindingClass;
        entry.kind = binding.kind;
        entry.binding = binding.binding;
        entry.slot = binding.slot;
        entry.count = binding.count;
        entry.dimension = binding.dimension;
        entries.push_back(entry);
        if (binding.hasCounter) {
            entry.type = VK_DESCRIPTOR_TYPE_STORAGE_BUFFER;
            entry.binding = CounterBase + binding.slot;
            entry.isCounter = true;
            entries.push_back(entry);
        }
        readsResources |= binding.bindingClass == EBindingClass::Resource;
        writesResources |= binding.bindingClass == EBindingClass::UnorderedAccess;
    }
    std::sort(entries.begin(), entries.end(),
              [](const DescriptorEntry& a, const DescriptorEntry& b) { return a.binding < b.binding; });
    for (DescriptorEntry& entry : entries) {
        if (entry.bindingClass != EBindingClass::ConstantBuffer) {
            continue;
        }
        for (uint32_t i = 0; i < entry.count; ++i) {
            constantMask |= 1u << (entry.slot + i);
        }
        if (dynamicSlots.size() + entry.count <= MostDynamic(m_gpu)) {
            entry.type = VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC;
            for (uint32_t i = 0; i < entry.count; ++i) {
                dynamicSlots.push_back(static_cast<std::uint8_t>(entry.slot + i));
            }
        }
    }
}

void Shader::CreateSetLayout()
{
    std::vector<VkDescriptorSetLayoutBinding> bindings;
    for (const DescriptorEntry& entry : entries) {
        bindings.push_back(
            {entry.binding, entry.type, entry.count, static_cast<VkShaderStageFlags>(StageBit(module.stage)), nullptr});
    }
    VkDescriptorSetLayoutCreateInfo create{VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO};
    create.bindingCount = static_cast<uint32_t>(bindings.size());
    create.pBindings = bindings.data();
    Check(m_gpu.vk.CreateDescriptorSetLayout(m_gpu.device, &create, nullptr, &setLayout),
          "vkCreateDescriptorSetLayout");
}

namespace {

VkFormat ZeroFormat(D3D_REGISTER_COMPONENT_TYPE type)
{
    switch (type) {
    case D3D_REGISTER_COMPONENT_UINT32:
        return VK_FORMAT_R32G32B32A32_UINT;
    case D3D_REGISTER_COMPONENT_SINT32:
        return VK_FORMAT_R32G32B32A32_SINT;
    default:
        return VK_FORMAT_R32G32B32A32_SFLOAT;
    }
}

uint32_t FreeSlot(const std::vector<LayoutElement>& elements)
{
    uint32_t slot = 0;
    while (std::any_of(elements.begin(), elements.end(), [&](const LayoutElement& e) { return e.slot == slot; })) {
        ++slot;
    }
    return slot;
}

VkVertexInputBindingDescription2EXT Binding(uint32_t slot)
{
    VkVertexInputBindingDescription2EXT binding{VK_STRUCTURE_TYPE_VERTEX_INPUT_BINDING_DESCRIPTION_2_EXT};
    binding.binding = slot;
    binding.inputRate = VK_VERTEX_INPUT_RATE_VERTEX;
    binding.divisor = 1;
    return binding;
}

VertexInputState Resolve(const std::vector<LayoutElement>& elements, const Shader& shader)
{
    VertexInputState state;
    for (const SignatureElement& input : shader.module.inputs) {
        if (input.location == SignatureElement::NoLocation) {
            continue;
        }
        VkVertexInputAttributeDescription2EXT attribute{VK_STRUCTURE_TYPE_VERTEX_INPUT_ATTRIBUTE_DESCRIPTION_2_EXT};
        attribute.location = input.location;
        const auto found = std::find_if(elements.begin(), elements.end(), [&](const LayoutElement& element) {
            return element.semanticIndex == input.semanticIndex &&
                   strcasecmp(element.semantic.c_str(), input.semantic.c_str()) == 0;
        });
        if (found == elements.end()) {
            state.zeroSlot = FreeSlot(elements);
            attribute.binding = state.zeroSlot;
            attribute.format = ZeroFormat(input.componentType);
        } else {
            attribute.binding = found->slot;
            attribute.format = found->format;
            attribute.offset = found->offset;
        }
        state.attributes.push_back(attribute);
    }
    for (const LayoutElement& element : elements) {
        const bool isKnown = std::any_of(state.bindings.begin(), state.bindings.end(),
                                         [&](const auto& binding) { return binding.binding == element.slot; });
        if (!isKnown) {
            VkVertexInputBindingDescription2EXT binding = Binding(element.slot);
            if (element.isPerInstance) {
                binding.inputRate = VK_VERTEX_INPUT_RATE_INSTANCE;
                binding.divisor = element.stepRate;
            }
            state.bindings.push_back(binding);
        }
    }
    if (state.zeroSlot != VertexInputState::NoZeros) {
        state.bindings.push_back(Binding(state.zeroSlot));
    }
    return state;
}

} // namespace

InputLayout::InputLayout(ID3D11Device* device, std::vector<LayoutElement>&& elements)
    : DeviceChild(device), id(NextId()), m_elements(std::move(elements))
{
    for (const LayoutElement& element : m_elements) {
        slotMask |= 1u << element.slot;
    }
}

const VertexInputState& InputLayout::For(const Shader& vertexShader)
{
    for (const auto& [shader, state] : m_states) {
        if (shader == vertexShader.id) {
            return *state;
        }
    }
    // Shaders that are gone leave their entries behind; a fresh start now and then drops them.
    if (m_states.size() >= MostStates) {
        m_states.clear();
    }
    m_states.emplace_back(vertexShader.id, std::make_unique<VertexInputState>(Resolve(m_elements, vertexShader)));
    return *m_states.back().second;
}

VertexInputState InputLayout::Without(const Shader& vertexShader)
{
    return Resolve({}, vertexShader);
}

} // namespace gleam
