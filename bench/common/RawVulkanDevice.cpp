// Opening and closing the device, and what a frame of any scene does.
#include "bench/common/RawVulkanDevice.h"

#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>

#include <cstring>

namespace bench {

namespace {

constexpr VkFormat Format = VK_FORMAT_R8G8B8A8_UNORM;

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

} // namespace

RawVulkanDevice::RawVulkanDevice(const std::vector<const char*>& extensions)
{
    Open(extensions);
}

bool RawVulkanDevice::Open(const std::vector<const char*>& extensions)
{
    VkApplicationInfo application{VK_STRUCTURE_TYPE_APPLICATION_INFO};
    application.apiVersion = VK_API_VERSION_1_3;
    VkInstanceCreateInfo info{VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO};
    info.pApplicationInfo = &application;
    info.enabledExtensionCount = static_cast<uint32_t>(extensions.size());
    info.ppEnabledExtensionNames = extensions.data();
    if (vkCreateInstance(&info, nullptr, &instance) != VK_SUCCESS) {
        problem = "no Vulkan";
        return false;
    }
    PickDevice();
    if (!physical || !MakeDevice(!extensions.empty())) {
        problem = "no Vulkan 1.3 device";
        return false;
    }
    MakeCommands();
    return true;
}

RawVulkanDevice::~RawVulkanDevice()
{
    if (device) {
        vkDeviceWaitIdle(device);
        vkDestroyFence(device, fence, nullptr);
        vkDestroyCommandPool(device, pool, nullptr);
        for (VkPipeline pipeline : m_pipelines)
            vkDestroyPipeline(device, pipeline, nullptr);
        for (VkShaderModule module : m_modules)
            vkDestroyShaderModule(device, module, nullptr);
        for (const Image& image : m_images) {
            vkDestroyImageView(device, image.view, nullptr);
            vkDestroyImage(device, image.image, nullptr);
        }
        for (VkBuffer buffer : m_buffers)
            vkDestroyBuffer(device, buffer, nullptr);
        for (VkDeviceMemory memory : m_memory)
            vkFreeMemory(device, memory, nullptr);
        vkDestroyDevice(device, nullptr);
    }
    if (instance)
        vkDestroyInstance(instance, nullptr);
}

void RawVulkanDevice::PickDevice()
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

bool RawVulkanDevice::MakeDevice(bool presents)
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
    const char* swapchains = VK_KHR_SWAPCHAIN_EXTENSION_NAME;
    info.enabledExtensionCount = presents ? 1 : 0;
    info.ppEnabledExtensionNames = &swapchains;
    if (vkCreateDevice(physical, &info, nullptr, &device) != VK_SUCCESS)
        return false;
    vkGetDeviceQueue(device, family, 0, &queue);
#define RAW_LOAD(name) name = reinterpret_cast<PFN_vk##name>(vkGetDeviceProcAddr(device, "vk" #name));
    RAW_DEVICE_CALLS(RAW_LOAD)
#undef RAW_LOAD
    return true;
}

uint32_t RawVulkanDevice::MemoryType(uint32_t bits, VkMemoryPropertyFlags flags) const
{
    VkPhysicalDeviceMemoryProperties memory;
    vkGetPhysicalDeviceMemoryProperties(physical, &memory);
    for (uint32_t i = 0; i < memory.memoryTypeCount; ++i)
        if ((bits & (1u << i)) && (memory.memoryTypes[i].propertyFlags & flags) == flags)
            return i;
    return 0;
}

VkDeviceMemory RawVulkanDevice::Allocate(const VkMemoryRequirements& need, VkMemoryPropertyFlags flags)
{
    VkMemoryAllocateInfo info{VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
    info.allocationSize = need.size;
    info.memoryTypeIndex = MemoryType(need.memoryTypeBits, flags);
    VkDeviceMemory memory = VK_NULL_HANDLE;
    vkAllocateMemory(device, &info, nullptr, &memory);
    m_memory.push_back(memory);
    return memory;
}

RawVulkanDevice::Buffer RawVulkanDevice::MakeBuffer(VkDeviceSize size, VkBufferUsageFlags usage)
{
    VkBufferCreateInfo info{VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
    info.size = size;
    info.usage = usage;
    Buffer made;
    vkCreateBuffer(device, &info, nullptr, &made.buffer);
    m_buffers.push_back(made.buffer);
    VkMemoryRequirements need;
    vkGetBufferMemoryRequirements(device, made.buffer, &need);
    const VkDeviceMemory memory =
        Allocate(need, VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT);
    vkBindBufferMemory(device, made.buffer, memory, 0);
    void* mapped = nullptr;
    vkMapMemory(device, memory, 0, VK_WHOLE_SIZE, 0, &mapped);
    made.bytes = static_cast<std::byte*>(mapped);
    return made;
}

RawVulkanDevice::Image RawVulkanDevice::MakeImage(uint32_t side, VkImageUsageFlags usage)
{
    VkImageCreateInfo info{VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO};
    info.imageType = VK_IMAGE_TYPE_2D;
    info.format = Format;
    info.extent = {side, side, 1};
    info.mipLevels = info.arrayLayers = 1;
    info.samples = VK_SAMPLE_COUNT_1_BIT;
    info.usage = usage;
    Image made;
    vkCreateImage(device, &info, nullptr, &made.image);
    VkMemoryRequirements need;
    vkGetImageMemoryRequirements(device, made.image, &need);
    vkBindImageMemory(device, made.image, Allocate(need, VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT), 0);
    VkImageViewCreateInfo viewInfo{VK_STRUCTURE_TYPE_IMAGE_VIEW_CREATE_INFO};
    viewInfo.image = made.image;
    viewInfo.viewType = VK_IMAGE_VIEW_TYPE_2D;
    viewInfo.format = Format;
    viewInfo.subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};
    vkCreateImageView(device, &viewInfo, nullptr, &made.view);
    m_images.push_back(made);
    return made;
}

VkPipeline RawVulkanDevice::MakePipeline(const char* vertex, const char* fragment,
                                         const VkPipelineVertexInputStateCreateInfo& input, VkPipelineLayout layout,
                                         VkCullModeFlags cull)
{
    VkPipelineShaderStageCreateInfo stages[2];
    for (int i = 0; i < 2; ++i) {
        const std::vector<unsigned> code = i == 0 ? Compile(vertex, EShLangVertex) : Compile(fragment, EShLangFragment);
        VkShaderModuleCreateInfo info{VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO};
        info.codeSize = code.size() * sizeof(unsigned);
        info.pCode = code.data();
        VkShaderModule module = VK_NULL_HANDLE;
        if (code.empty() || vkCreateShaderModule(device, &info, nullptr, &module) != VK_SUCCESS)
            return VK_NULL_HANDLE;
        m_modules.push_back(module);
        stages[i] = {VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO};
        stages[i].stage = i == 0 ? VK_SHADER_STAGE_VERTEX_BIT : VK_SHADER_STAGE_FRAGMENT_BIT;
        stages[i].module = module;
        stages[i].pName = "main";
    }
    VkPipelineInputAssemblyStateCreateInfo assembly{VK_STRUCTURE_TYPE_PIPELINE_INPUT_ASSEMBLY_STATE_CREATE_INFO};
    assembly.topology = VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST;
    VkPipelineViewportStateCreateInfo viewport{VK_STRUCTURE_TYPE_PIPELINE_VIEWPORT_STATE_CREATE_INFO};
    viewport.viewportCount = viewport.scissorCount = 1;
    VkPipelineRasterizationStateCreateInfo raster{VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_STATE_CREATE_INFO};
    raster.lineWidth = 1;
    raster.cullMode = cull;
    raster.frontFace = VK_FRONT_FACE_CLOCKWISE;
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
    VkPipeline pipeline = VK_NULL_HANDLE;
    if (vkCreateGraphicsPipelines(device, VK_NULL_HANDLE, 1, &info, nullptr, &pipeline) == VK_SUCCESS)
        m_pipelines.push_back(pipeline);
    return pipeline;
}

void RawVulkanDevice::MakeCommands()
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

void RawVulkanDevice::BeginCommands()
{
    ResetFences(device, 1, &fence);
    ResetCommandPool(device, pool, 0);
    VkCommandBufferBeginInfo begin{VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
    begin.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
    BeginCommandBuffer(commands, &begin);
}

void RawVulkanDevice::EndAndSubmit()
{
    EndCommandBuffer(commands);
    VkSubmitInfo submit{VK_STRUCTURE_TYPE_SUBMIT_INFO};
    submit.commandBufferCount = 1;
    submit.pCommandBuffers = &commands;
    QueueSubmit(queue, 1, &submit, fence);
}

void RawVulkanDevice::Wait()
{
    WaitForFences(device, 1, &fence, VK_TRUE, ~0ull);
}

void RawVulkanDevice::BeginTarget(const Image& target, uint32_t side)
{
    Barrier(target.image, VK_IMAGE_LAYOUT_UNDEFINED, VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL, 0,
            VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT, VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT,
            VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT);
    VkRenderingAttachmentInfo color{VK_STRUCTURE_TYPE_RENDERING_ATTACHMENT_INFO};
    color.imageView = target.view;
    color.imageLayout = VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL;
    color.loadOp = VK_ATTACHMENT_LOAD_OP_CLEAR;
    color.storeOp = VK_ATTACHMENT_STORE_OP_STORE;
    VkRenderingInfo rendering{VK_STRUCTURE_TYPE_RENDERING_INFO};
    rendering.renderArea.extent = {side, side};
    rendering.layerCount = 1;
    rendering.colorAttachmentCount = 1;
    rendering.pColorAttachments = &color;
    CmdBeginRendering(commands, &rendering);
    const auto length = static_cast<float>(side);
    const VkViewport viewport{0, length, length, -length, 0, 1};
    CmdSetViewport(commands, 0, 1, &viewport);
    CmdSetScissor(commands, 0, 1, &rendering.renderArea);
}

void RawVulkanDevice::EndTarget()
{
    CmdEndRendering(commands);
}

void RawVulkanDevice::Barrier(VkImage image, VkImageLayout from, VkImageLayout to, VkAccessFlags source,
                              VkAccessFlags target, VkPipelineStageFlags sourceStage,
                              VkPipelineStageFlags targetStage) const
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

std::vector<unsigned> RawVulkanDevice::ReadPixels(const Image& target, uint32_t side)
{
    const Buffer pixels = MakeBuffer(VkDeviceSize(side) * side * 4, VK_BUFFER_USAGE_TRANSFER_DST_BIT);
    Wait();
    BeginCommands();
    Barrier(target.image, VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL,
            VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT, VK_ACCESS_TRANSFER_READ_BIT,
            VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT);
    VkBufferImageCopy copy{};
    copy.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
    copy.imageExtent = {side, side, 1};
    CmdCopyImageToBuffer(commands, target.image, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, pixels.buffer, 1, &copy);
    EndAndSubmit();
    Wait();
    std::vector<unsigned> result(std::size_t(side) * side);
    std::memcpy(result.data(), pixels.bytes, result.size() * sizeof(unsigned));
    return result;
}

} // namespace bench
