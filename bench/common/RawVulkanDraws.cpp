// The least Vulkan that draws the scene well: dynamic rendering, one uniform buffer with a dynamic offset a draw, one
// command buffer, one submission. Entry points come from the driver, past the loader.
#include "bench/common/RawVulkanDraws.h"

#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>
#include <vulkan/vulkan.h>

#include <cstring>
#include <vector>

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

std::vector<unsigned> Compile(const char* text, EShLanguage stage)
{
    glslang::InitializeProcess();
    glslang::TShader shader(stage);
    shader.setStrings(&text, 1);
    shader.setEnvInput(glslang::EShSourceGlsl, stage, glslang::EShClientVulkan, 100);
    shader.setEnvClient(glslang::EShClientVulkan, glslang::EShTargetVulkan_1_3);
    shader.setEnvTarget(glslang::EShTargetSpv, glslang::EShTargetSpv_1_3);
    const TBuiltInResource* limits = nullptr;
    TBuiltInResource plain{};
    plain.maxDrawBuffers = 8;
    plain.limits.generalUniformIndexing = plain.limits.generalVariableIndexing = true;
    plain.limits.generalConstantMatrixVectorIndexing = true;
    limits = &plain;
    const auto messages = static_cast<EShMessages>(EShMsgSpvRules | EShMsgVulkanRules);
    std::vector<unsigned> code;
    glslang::TProgram program;
    if (shader.parse(limits, 450, false, messages)) {
        program.addShader(&shader);
        if (program.link(messages))
            glslang::GlslangToSpv(*program.getIntermediate(stage), code);
    }
    return code;
}

constexpr VkFormat Format = VK_FORMAT_R8G8B8A8_UNORM;
constexpr VkDeviceSize RingBytes = VkDeviceSize(DrawScene::Draws) * DrawScene::ConstantBytes;
constexpr VkDeviceSize PixelBytes = DrawScene::Target * DrawScene::Target * 4;

} // namespace

// clang-format off
#define RAW_DEVICE_CALLS(X)                                                                                            \
    X(BeginCommandBuffer)                                                                                              \
    X(EndCommandBuffer)                                                                                                \
    X(ResetCommandPool)                                                                                                \
    X(CmdBeginRendering) X(CmdEndRendering) X(CmdBindPipeline) X(CmdSetViewport) X(CmdSetScissor)                      \
        X(CmdBindDescriptorSets) X(CmdDraw) X(CmdPipelineBarrier) X(CmdCopyImageToBuffer) X(QueueSubmit)               \
            X(WaitForFences) X(ResetFences)
// clang-format on

struct RawVulkanDraws::State
{
    const char* problem = nullptr;
    VkInstance instance = VK_NULL_HANDLE;
    VkPhysicalDevice physical = VK_NULL_HANDLE;
    VkDevice device = VK_NULL_HANDLE;
    VkQueue queue = VK_NULL_HANDLE;
    uint32_t family = 0;
    VkImage image = VK_NULL_HANDLE;
    VkImageView view = VK_NULL_HANDLE;
    VkBuffer ring = VK_NULL_HANDLE, pixels = VK_NULL_HANDLE;
    VkDeviceMemory imageMemory = VK_NULL_HANDLE, ringMemory = VK_NULL_HANDLE, pixelMemory = VK_NULL_HANDLE;
    std::byte *ringBytes = nullptr, *pixelBytes = nullptr;
    VkDescriptorSetLayout setLayout = VK_NULL_HANDLE;
    VkPipelineLayout layout = VK_NULL_HANDLE;
    VkDescriptorPool descriptors = VK_NULL_HANDLE;
    VkDescriptorSet set = VK_NULL_HANDLE;
    VkShaderModule modules[2] = {};
    VkPipeline pipeline = VK_NULL_HANDLE;
    VkCommandPool pool = VK_NULL_HANDLE;
    VkCommandBuffer commands = VK_NULL_HANDLE;
    VkFence fence = VK_NULL_HANDLE;
#define RAW_MEMBER(name) PFN_vk##name name = nullptr;
    RAW_DEVICE_CALLS(RAW_MEMBER)
#undef RAW_MEMBER

    bool Open();
    void PickDevice();
    bool MakeDevice();
    uint32_t MemoryType(uint32_t bits, VkMemoryPropertyFlags flags) const;
    VkDeviceMemory Allocate(const VkMemoryRequirements& need, VkMemoryPropertyFlags flags) const;
    std::byte* MakeBuffer(VkDeviceSize size, VkBufferUsageFlags usage, VkBuffer& buffer, VkDeviceMemory& memory) const;
    void MakeTarget();
    void MakeDescriptors();
    bool MakePipeline();
    void MakeCommands();
    void Close();
    void Barrier(VkImageLayout from, VkImageLayout to, VkAccessFlags source, VkAccessFlags target,
                 VkPipelineStageFlags sourceStage, VkPipelineStageFlags targetStage) const;
};

bool RawVulkanDraws::State::Open()
{
    VkApplicationInfo application{VK_STRUCTURE_TYPE_APPLICATION_INFO};
    application.apiVersion = VK_API_VERSION_1_3;
    VkInstanceCreateInfo info{VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO};
    info.pApplicationInfo = &application;
    if (vkCreateInstance(&info, nullptr, &instance) != VK_SUCCESS) {
        problem = "no Vulkan";
        return false;
    }
    PickDevice();
    if (!physical || !MakeDevice()) {
        problem = "no Vulkan 1.3 device";
        return false;
    }
    MakeTarget();
    ringBytes = MakeBuffer(RingBytes, VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT, ring, ringMemory);
    pixelBytes = MakeBuffer(PixelBytes, VK_BUFFER_USAGE_TRANSFER_DST_BIT, pixels, pixelMemory);
    MakeDescriptors();
    MakeCommands();
    if (!MakePipeline())
        problem = "the shaders do not compile";
    return !problem;
}

void RawVulkanDraws::State::PickDevice()
{
    uint32_t count = 0;
    vkEnumeratePhysicalDevices(instance, &count, nullptr);
    std::vector<VkPhysicalDevice> devices(count);
    vkEnumeratePhysicalDevices(instance, &count, devices.data());
    int best = -1;
    for (VkPhysicalDevice candidate : devices) {
        VkPhysicalDeviceProperties properties;
        vkGetPhysicalDeviceProperties(candidate, &properties);
        const int rank = properties.deviceType == VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU     ? 3
                         : properties.deviceType == VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU ? 2
                         : properties.deviceType == VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU    ? 1
                                                                                           : 0;
        if (rank > best) {
            best = rank;
            physical = candidate;
        }
    }
}

bool RawVulkanDraws::State::MakeDevice()
{
    const float priority = 1;
    VkDeviceQueueCreateInfo queues{VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO};
    queues.queueFamilyIndex = family;
    queues.queueCount = 1;
    queues.pQueuePriorities = &priority;
    VkPhysicalDeviceVulkan13Features features{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_3_FEATURES};
    features.dynamicRendering = VK_TRUE;
    VkDeviceCreateInfo info{VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO};
    info.pNext = &features;
    info.queueCreateInfoCount = 1;
    info.pQueueCreateInfos = &queues;
    if (vkCreateDevice(physical, &info, nullptr, &device) != VK_SUCCESS)
        return false;
    vkGetDeviceQueue(device, family, 0, &queue);
#define RAW_LOAD(name) name = reinterpret_cast<PFN_vk##name>(vkGetDeviceProcAddr(device, "vk" #name));
    RAW_DEVICE_CALLS(RAW_LOAD)
#undef RAW_LOAD
    return true;
}

uint32_t RawVulkanDraws::State::MemoryType(uint32_t bits, VkMemoryPropertyFlags flags) const
{
    VkPhysicalDeviceMemoryProperties memory;
    vkGetPhysicalDeviceMemoryProperties(physical, &memory);
    for (uint32_t i = 0; i < memory.memoryTypeCount; ++i)
        if ((bits & (1u << i)) && (memory.memoryTypes[i].propertyFlags & flags) == flags)
            return i;
    return 0;
}

VkDeviceMemory RawVulkanDraws::State::Allocate(const VkMemoryRequirements& need, VkMemoryPropertyFlags flags) const
{
    VkMemoryAllocateInfo info{VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
    info.allocationSize = need.size;
    info.memoryTypeIndex = MemoryType(need.memoryTypeBits, flags);
    VkDeviceMemory memory = VK_NULL_HANDLE;
    vkAllocateMemory(device, &info, nullptr, &memory);
    return memory;
}

std::byte* RawVulkanDraws::State::MakeBuffer(VkDeviceSize size, VkBufferUsageFlags usage, VkBuffer& buffer,
                                             VkDeviceMemory& memory) const
{
    VkBufferCreateInfo info{VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
    info.size = size;
    info.usage = usage;
    vkCreateBuffer(device, &info, nullptr, &buffer);
    VkMemoryRequirements need;
    vkGetBufferMemoryRequirements(device, buffer, &need);
    memory = Allocate(need, VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT);
    vkBindBufferMemory(device, buffer, memory, 0);
    void* mapped = nullptr;
    vkMapMemory(device, memory, 0, VK_WHOLE_SIZE, 0, &mapped);
    return static_cast<std::byte*>(mapped);
}

void RawVulkanDraws::State::MakeTarget()
{
    VkImageCreateInfo info{VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO};
    info.imageType = VK_IMAGE_TYPE_2D;
    info.format = Format;
    info.extent = {DrawScene::Target, DrawScene::Target, 1};
    info.mipLevels = info.arrayLayers = 1;
    info.samples = VK_SAMPLE_COUNT_1_BIT;
    info.usage = VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT | VK_IMAGE_USAGE_TRANSFER_SRC_BIT;
    vkCreateImage(device, &info, nullptr, &image);
    VkMemoryRequirements need;
    vkGetImageMemoryRequirements(device, image, &need);
    imageMemory = Allocate(need, VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT);
    vkBindImageMemory(device, image, imageMemory, 0);
    VkImageViewCreateInfo viewInfo{VK_STRUCTURE_TYPE_IMAGE_VIEW_CREATE_INFO};
    viewInfo.image = image;
    viewInfo.viewType = VK_IMAGE_VIEW_TYPE_2D;
    viewInfo.format = Format;
    viewInfo.subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};
    vkCreateImageView(device, &viewInfo, nullptr, &view);
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
    const VkDescriptorBufferInfo buffer{ring, 0, DrawScene::ConstantBytes};
    VkWriteDescriptorSet write{VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
    write.dstSet = set;
    write.descriptorCount = 1;
    write.descriptorType = VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC;
    write.pBufferInfo = &buffer;
    vkUpdateDescriptorSets(device, 1, &write, 0, nullptr);
}

bool RawVulkanDraws::State::MakePipeline()
{
    VkPipelineShaderStageCreateInfo stages[2];
    for (int i = 0; i < 2; ++i) {
        const std::vector<unsigned> code =
            i == 0 ? Compile(VertexGlsl, EShLangVertex) : Compile(PixelGlsl, EShLangFragment);
        VkShaderModuleCreateInfo info{VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO};
        info.codeSize = code.size() * sizeof(unsigned);
        info.pCode = code.data();
        if (code.empty() || vkCreateShaderModule(device, &info, nullptr, &modules[i]) != VK_SUCCESS)
            return false;
        stages[i] = {VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO};
        stages[i].stage = i == 0 ? VK_SHADER_STAGE_VERTEX_BIT : VK_SHADER_STAGE_FRAGMENT_BIT;
        stages[i].module = modules[i];
        stages[i].pName = "main";
    }
    const VkPipelineVertexInputStateCreateInfo input{VK_STRUCTURE_TYPE_PIPELINE_VERTEX_INPUT_STATE_CREATE_INFO};
    VkPipelineInputAssemblyStateCreateInfo assembly{VK_STRUCTURE_TYPE_PIPELINE_INPUT_ASSEMBLY_STATE_CREATE_INFO};
    assembly.topology = VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST;
    VkPipelineViewportStateCreateInfo viewport{VK_STRUCTURE_TYPE_PIPELINE_VIEWPORT_STATE_CREATE_INFO};
    viewport.viewportCount = viewport.scissorCount = 1;
    VkPipelineRasterizationStateCreateInfo raster{VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_STATE_CREATE_INFO};
    raster.lineWidth = 1;
    VkPipelineMultisampleStateCreateInfo samples{VK_STRUCTURE_TYPE_PIPELINE_MULTISAMPLE_STATE_CREATE_INFO};
    samples.rasterizationSamples = VK_SAMPLE_COUNT_1_BIT;
    VkPipelineColorBlendAttachmentState attachment{};
    attachment.colorWriteMask = 15;
    VkPipelineColorBlendStateCreateInfo blend{VK_STRUCTURE_TYPE_PIPELINE_COLOR_BLEND_STATE_CREATE_INFO};
    blend.attachmentCount = 1;
    blend.pAttachments = &attachment;
    const VkDynamicState states[] = {VK_DYNAMIC_STATE_VIEWPORT, VK_DYNAMIC_STATE_SCISSOR};
    VkPipelineDynamicStateCreateInfo dynamic{VK_STRUCTURE_TYPE_PIPELINE_DYNAMIC_STATE_CREATE_INFO};
    dynamic.dynamicStateCount = 2;
    dynamic.pDynamicStates = states;
    VkPipelineRenderingCreateInfo rendering{VK_STRUCTURE_TYPE_PIPELINE_RENDERING_CREATE_INFO};
    rendering.colorAttachmentCount = 1;
    rendering.pColorAttachmentFormats = &Format;
    VkGraphicsPipelineCreateInfo info{VK_STRUCTURE_TYPE_GRAPHICS_PIPELINE_CREATE_INFO};
    info.pNext = &rendering;
    info.stageCount = 2;
    info.pStages = stages;
    info.pVertexInputState = &input;
    info.pInputAssemblyState = &assembly;
    info.pViewportState = &viewport;
    info.pRasterizationState = &raster;
    info.pMultisampleState = &samples;
    info.pColorBlendState = &blend;
    info.pDynamicState = &dynamic;
    info.layout = layout;
    return vkCreateGraphicsPipelines(device, VK_NULL_HANDLE, 1, &info, nullptr, &pipeline) == VK_SUCCESS;
}

void RawVulkanDraws::State::MakeCommands()
{
    VkCommandPoolCreateInfo poolInfo{VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
    poolInfo.queueFamilyIndex = family;
    vkCreateCommandPool(device, &poolInfo, nullptr, &pool);
    VkCommandBufferAllocateInfo allocate{VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
    allocate.commandPool = pool;
    allocate.commandBufferCount = 1;
    vkAllocateCommandBuffers(device, &allocate, &commands);
    const VkFenceCreateInfo fenceInfo{VK_STRUCTURE_TYPE_FENCE_CREATE_INFO, nullptr, VK_FENCE_CREATE_SIGNALED_BIT};
    vkCreateFence(device, &fenceInfo, nullptr, &fence);
}

void RawVulkanDraws::State::Close()
{
    if (device) {
        vkDeviceWaitIdle(device);
        vkDestroyFence(device, fence, nullptr);
        vkDestroyCommandPool(device, pool, nullptr);
        vkDestroyPipeline(device, pipeline, nullptr);
        for (VkShaderModule module : modules)
            vkDestroyShaderModule(device, module, nullptr);
        vkDestroyDescriptorPool(device, descriptors, nullptr);
        vkDestroyPipelineLayout(device, layout, nullptr);
        vkDestroyDescriptorSetLayout(device, setLayout, nullptr);
        vkDestroyImageView(device, view, nullptr);
        vkDestroyImage(device, image, nullptr);
        vkDestroyBuffer(device, ring, nullptr);
        vkDestroyBuffer(device, pixels, nullptr);
        for (VkDeviceMemory memory : {imageMemory, ringMemory, pixelMemory})
            vkFreeMemory(device, memory, nullptr);
        vkDestroyDevice(device, nullptr);
    }
    if (instance)
        vkDestroyInstance(instance, nullptr);
}

void RawVulkanDraws::State::Barrier(VkImageLayout from, VkImageLayout to, VkAccessFlags source, VkAccessFlags target,
                                    VkPipelineStageFlags sourceStage, VkPipelineStageFlags targetStage) const
{
    VkImageMemoryBarrier barrier{VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
    barrier.srcAccessMask = source;
    barrier.dstAccessMask = target;
    barrier.oldLayout = from;
    barrier.newLayout = to;
    barrier.srcQueueFamilyIndex = barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.image = image;
    barrier.subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};
    CmdPipelineBarrier(commands, sourceStage, targetStage, 0, 0, nullptr, 0, nullptr, 1, &barrier);
}

RawVulkanDraws::RawVulkanDraws() : m_state(std::make_unique<State>())
{
    m_state->Open();
}

RawVulkanDraws::~RawVulkanDraws()
{
    m_state->Close();
}

const char* RawVulkanDraws::Problem() const
{
    return m_state->problem;
}

void RawVulkanDraws::Frame()
{
    State& vk = *m_state;
    vk.ResetFences(vk.device, 1, &vk.fence);
    vk.ResetCommandPool(vk.device, vk.pool, 0);
    VkCommandBufferBeginInfo begin{VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
    begin.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
    vk.BeginCommandBuffer(vk.commands, &begin);
    vk.Barrier(VK_IMAGE_LAYOUT_UNDEFINED, VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL, 0,
               VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT, VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT,
               VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT);
    VkRenderingAttachmentInfo color{VK_STRUCTURE_TYPE_RENDERING_ATTACHMENT_INFO};
    color.imageView = vk.view;
    color.imageLayout = VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL;
    color.loadOp = VK_ATTACHMENT_LOAD_OP_CLEAR;
    color.storeOp = VK_ATTACHMENT_STORE_OP_STORE;
    VkRenderingInfo rendering{VK_STRUCTURE_TYPE_RENDERING_INFO};
    rendering.renderArea.extent = {DrawScene::Target, DrawScene::Target};
    rendering.layerCount = 1;
    rendering.colorAttachmentCount = 1;
    rendering.pColorAttachments = &color;
    vk.CmdBeginRendering(vk.commands, &rendering);
    vk.CmdBindPipeline(vk.commands, VK_PIPELINE_BIND_POINT_GRAPHICS, vk.pipeline);
    constexpr float side = DrawScene::Target;
    const VkViewport viewport{0, side, side, -side, 0, 1};
    vk.CmdSetViewport(vk.commands, 0, 1, &viewport);
    vk.CmdSetScissor(vk.commands, 0, 1, &rendering.renderArea);
    float constants[DrawScene::ConstantBytes / 4];
    DrawScene::FillConstants(constants, 0);
    for (unsigned i = 0; i < DrawScene::Draws; ++i) {
        const uint32_t offset = i * DrawScene::ConstantBytes;
        constants[0] = static_cast<float>(i % 64) / 64.0f;
        std::memcpy(vk.ringBytes + offset, constants, sizeof constants);
        vk.CmdBindDescriptorSets(vk.commands, VK_PIPELINE_BIND_POINT_GRAPHICS, vk.layout, 0, 1, &vk.set, 1, &offset);
        vk.CmdDraw(vk.commands, 3, 1, 0, 0);
    }
    vk.CmdEndRendering(vk.commands);
    vk.EndCommandBuffer(vk.commands);
    VkSubmitInfo submit{VK_STRUCTURE_TYPE_SUBMIT_INFO};
    submit.commandBufferCount = 1;
    submit.pCommandBuffers = &vk.commands;
    vk.QueueSubmit(vk.queue, 1, &submit, vk.fence);
}

void RawVulkanDraws::Wait()
{
    m_state->WaitForFences(m_state->device, 1, &m_state->fence, VK_TRUE, ~0ull);
}

unsigned RawVulkanDraws::MiddlePixel()
{
    State& vk = *m_state;
    Wait();
    vk.ResetFences(vk.device, 1, &vk.fence);
    vk.ResetCommandPool(vk.device, vk.pool, 0);
    const VkCommandBufferBeginInfo begin{VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
    vk.BeginCommandBuffer(vk.commands, &begin);
    vk.Barrier(VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL,
               VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT, VK_ACCESS_TRANSFER_READ_BIT,
               VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT);
    VkBufferImageCopy copy{};
    copy.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
    copy.imageExtent = {DrawScene::Target, DrawScene::Target, 1};
    vk.CmdCopyImageToBuffer(vk.commands, vk.image, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, vk.pixels, 1, &copy);
    vk.EndCommandBuffer(vk.commands);
    VkSubmitInfo submit{VK_STRUCTURE_TYPE_SUBMIT_INFO};
    submit.commandBufferCount = 1;
    submit.pCommandBuffers = &vk.commands;
    vk.QueueSubmit(vk.queue, 1, &submit, vk.fence);
    Wait();
    unsigned pixel;
    constexpr std::size_t middle = DrawScene::Target / 2 * DrawScene::Target + DrawScene::Target / 2;
    std::memcpy(&pixel, vk.pixelBytes + middle * 4, sizeof pixel);
    return pixel;
}

} // namespace bench
