// The least Vulkan that draws the scene well: dynamic rendering, one uniform buffer with a dynamic offset a draw, one
// command buffer, one submission.
#include "bench/common/RawVulkanDraws.h"

#include "bench/common/RawVulkanDevice.h"

#include <cstring>

namespace bench {

void DrawScene::FillConstants(float constants[ConstantBytes / 4], unsigned index)
{
    for (unsigned i = 0; i < ConstantBytes / 4; ++i)
        constants[i] = static_cast<float>((index * 7 + i) % 256) / 256.0f;
}

const char* DrawScene::VertexText()
{
    return "cbuffer C : register(b0) { float4 place; float4 tints[15]; }"
           "struct Out { float4 position : SV_Position; float4 color : COLOR; };"
           "Out main(uint id : SV_VertexID) { Out o; float2 p = float2(id & 1, id >> 1) * 0.25 - place.xy * 0.5;"
           "o.position = float4(p, 0.5, 1); o.color = tints[id] * 0.5 + tints[14] * 0.5; return o; }";
}

const char* DrawScene::PixelText()
{
    return "float4 main(float4 position : SV_Position, float4 color : COLOR) : SV_Target { return color; }";
}

namespace {

const char* const VertexGlsl = "#version 450\nlayout(set = 0, binding = 0) uniform C { vec4 place; vec4 tints[15]; };"
                               "layout(location = 0) out vec4 color; void main() { uint id = gl_VertexIndex;"
                               "vec2 p = vec2(id & 1, id >> 1) * 0.25 - place.xy * 0.5; gl_Position = vec4(p, 0.5, 1);"
                               "color = tints[id] * 0.5 + tints[14] * 0.5; }";
const char* const PixelGlsl = "#version 450\nlayout(location = 0) in vec4 color; layout(location = 0) out vec4 result;"
                              "void main() { result = color; }";

constexpr VkDeviceSize RingBytes = VkDeviceSize(DrawScene::Draws) * DrawScene::ConstantBytes;

} // namespace

struct RawVulkanDraws::State : RawVulkanDevice
{
    Image target;
    Buffer ring;
    VkDescriptorSetLayout setLayout = VK_NULL_HANDLE;
    VkPipelineLayout layout = VK_NULL_HANDLE;
    VkDescriptorPool descriptors = VK_NULL_HANDLE;
    VkDescriptorSet set = VK_NULL_HANDLE;
    VkPipeline pipeline = VK_NULL_HANDLE;

    State();
    ~State();
    void MakeDescriptors();
};

RawVulkanDraws::State::State()
{
    if (problem)
        return;
    target = MakeImage(DrawScene::Target, VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT | VK_IMAGE_USAGE_TRANSFER_SRC_BIT);
    ring = MakeBuffer(RingBytes, VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT);
    MakeDescriptors();
    const VkPipelineVertexInputStateCreateInfo input{VK_STRUCTURE_TYPE_PIPELINE_VERTEX_INPUT_STATE_CREATE_INFO};
    pipeline = MakePipeline(VertexGlsl, PixelGlsl, input, layout, VK_CULL_MODE_NONE);
    if (!pipeline)
        problem = "the shaders do not compile";
}

RawVulkanDraws::State::~State()
{
    if (!device)
        return;
    vkDeviceWaitIdle(device);
    vkDestroyDescriptorPool(device, descriptors, nullptr);
    vkDestroyPipelineLayout(device, layout, nullptr);
    vkDestroyDescriptorSetLayout(device, setLayout, nullptr);
}

void RawVulkanDraws::State::MakeDescriptors()
{
    const VkDescriptorSetLayoutBinding binding{0, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC, 1,
                                               VK_SHADER_STAGE_VERTEX_BIT, nullptr};
    VkDescriptorSetLayoutCreateInfo info{VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO};
    info.bindingCount = 1;
    info.pBindings = &binding;
    vkCreateDescriptorSetLayout(device, &info, nullptr, &setLayout);
    VkPipelineLayoutCreateInfo layoutInfo{VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO};
    layoutInfo.setLayoutCount = 1;
    layoutInfo.pSetLayouts = &setLayout;
    vkCreatePipelineLayout(device, &layoutInfo, nullptr, &layout);
    const VkDescriptorPoolSize size{VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC, 1};
    VkDescriptorPoolCreateInfo poolInfo{VK_STRUCTURE_TYPE_DESCRIPTOR_POOL_CREATE_INFO};
    poolInfo.maxSets = poolInfo.poolSizeCount = 1;
    poolInfo.pPoolSizes = &size;
    vkCreateDescriptorPool(device, &poolInfo, nullptr, &descriptors);
    VkDescriptorSetAllocateInfo allocate{VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO};
    allocate.descriptorPool = descriptors;
    allocate.descriptorSetCount = 1;
    allocate.pSetLayouts = &setLayout;
    vkAllocateDescriptorSets(device, &allocate, &set);
    const VkDescriptorBufferInfo buffer{ring.buffer, 0, DrawScene::ConstantBytes};
    VkWriteDescriptorSet write{VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
    write.dstSet = set;
    write.descriptorCount = 1;
    write.descriptorType = VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC;
    write.pBufferInfo = &buffer;
    vkUpdateDescriptorSets(device, 1, &write, 0, nullptr);
}

RawVulkanDraws::RawVulkanDraws() : m_state(std::make_unique<State>()) {}

RawVulkanDraws::~RawVulkanDraws() = default;

const char* RawVulkanDraws::Problem() const
{
    return m_state->problem;
}

void RawVulkanDraws::Frame()
{
    State& vk = *m_state;
    vk.BeginCommands();
    vk.BeginTarget(vk.target, DrawScene::Target);
    vk.CmdBindPipeline(vk.commands, VK_PIPELINE_BIND_POINT_GRAPHICS, vk.pipeline);
    float constants[DrawScene::ConstantBytes / 4];
    DrawScene::FillConstants(constants, 0);
    for (unsigned i = 0; i < DrawScene::Draws; ++i) {
        const uint32_t offset = i * DrawScene::ConstantBytes;
        constants[0] = static_cast<float>(i % 64) / 64.0f;
        std::memcpy(vk.ring.bytes + offset, constants, sizeof constants);
        vk.CmdBindDescriptorSets(vk.commands, VK_PIPELINE_BIND_POINT_GRAPHICS, vk.layout, 0, 1, &vk.set, 1, &offset);
        vk.CmdDraw(vk.commands, 3, 1, 0, 0);
    }
    vk.EndTarget();
    vk.EndAndSubmit();
}

void RawVulkanDraws::Wait()
{
    m_state->Wait();
}

unsigned RawVulkanDraws::MiddlePixel()
{
    constexpr std::size_t middle = DrawScene::Target / 2 * DrawScene::Target + DrawScene::Target / 2;
    return m_state->ReadPixels(m_state->target, DrawScene::Target)[middle];
}

} // namespace bench
