// Surface, images and frames.
#include "bench/window/RawVulkanWindow.h"

#include <SDL_vulkan.h>

#include <algorithm>

namespace bench {

namespace {

constexpr VkImageSubresourceRange Whole = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};

} // namespace

std::vector<const char*> RawVulkanWindow::Extensions(SDL_Window* window)
{
    unsigned count = 0;
    SDL_Vulkan_GetInstanceExtensions(window, &count, nullptr);
    std::vector<const char*> names(count);
    SDL_Vulkan_GetInstanceExtensions(window, &count, names.data());
    return names;
}

RawVulkanWindow::RawVulkanWindow(SDL_Window* window) : m_vk(Extensions(window)), m_problem(m_vk.problem)
{
    if (m_problem)
        return;
    if (!SDL_Vulkan_CreateSurface(window, m_vk.instance, &m_surface)) {
        m_problem = "no surface";
        return;
    }
    VkBool32 isSupported = VK_FALSE;
    vkGetPhysicalDeviceSurfaceSupportKHR(m_vk.physical, m_vk.family, m_surface, &isSupported);
    uint32_t count = 0;
    vkGetPhysicalDeviceSurfaceFormatsKHR(m_vk.physical, m_surface, &count, nullptr);
    if (!isSupported || count == 0) {
        m_problem = "the device cannot present";
        return;
    }
    count = 1;
    vkGetPhysicalDeviceSurfaceFormatsKHR(m_vk.physical, m_surface, &count, &m_format);
    PickMode();
    MakeFlights();
    Recreate();
}

RawVulkanWindow::~RawVulkanWindow()
{
    if (m_vk.device) {
        vkDeviceWaitIdle(m_vk.device);
        DropImages();
        vkDestroySwapchainKHR(m_vk.device, m_swapchain, nullptr);
        for (const Flight& flight : m_flights) {
            vkDestroyCommandPool(m_vk.device, flight.pool, nullptr);
            vkDestroyFence(m_vk.device, flight.fence, nullptr);
            vkDestroySemaphore(m_vk.device, flight.acquired, nullptr);
        }
    }
    if (m_surface)
        vkDestroySurfaceKHR(m_vk.instance, m_surface, nullptr);
}

void RawVulkanWindow::PickMode()
{
    uint32_t count = 0;
    vkGetPhysicalDeviceSurfacePresentModesKHR(m_vk.physical, m_surface, &count, nullptr);
    std::vector<VkPresentModeKHR> modes(count);
    vkGetPhysicalDeviceSurfacePresentModesKHR(m_vk.physical, m_surface, &count, modes.data());
    for (VkPresentModeKHR wanted : {VK_PRESENT_MODE_MAILBOX_KHR, VK_PRESENT_MODE_IMMEDIATE_KHR})
        if (std::find(modes.begin(), modes.end(), wanted) != modes.end())
            m_mode = wanted;
}

void RawVulkanWindow::MakeFlights()
{
    for (Flight& flight : m_flights) {
        VkCommandPoolCreateInfo poolInfo{VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
        poolInfo.queueFamilyIndex = m_vk.family;
        vkCreateCommandPool(m_vk.device, &poolInfo, nullptr, &flight.pool);
        VkCommandBufferAllocateInfo allocate{VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
        allocate.commandPool = flight.pool;
        allocate.commandBufferCount = 1;
        vkAllocateCommandBuffers(m_vk.device, &allocate, &flight.commands);
        const VkFenceCreateInfo fence{VK_STRUCTURE_TYPE_FENCE_CREATE_INFO, nullptr, VK_FENCE_CREATE_SIGNALED_BIT};
        vkCreateFence(m_vk.device, &fence, nullptr, &flight.fence);
        const VkSemaphoreCreateInfo semaphore{VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO};
        vkCreateSemaphore(m_vk.device, &semaphore, nullptr, &flight.acquired);
    }
}

void RawVulkanWindow::DropImages()
{
    for (VkSemaphore semaphore : m_drawn)
        vkDestroySemaphore(m_vk.device, semaphore, nullptr);
    m_drawn.clear();
}

void RawVulkanWindow::Recreate()
{
    vkDeviceWaitIdle(m_vk.device);
    DropImages();
    VkSurfaceCapabilitiesKHR caps;
    vkGetPhysicalDeviceSurfaceCapabilitiesKHR(m_vk.physical, m_surface, &caps);
    VkSwapchainCreateInfoKHR info{VK_STRUCTURE_TYPE_SWAPCHAIN_CREATE_INFO_KHR};
    info.surface = m_surface;
    info.minImageCount = std::max(caps.minImageCount, 3u);
    info.imageFormat = m_format.format;
    info.imageColorSpace = m_format.colorSpace;
    info.imageExtent = caps.currentExtent;
    info.imageArrayLayers = 1;
    info.imageUsage = VK_IMAGE_USAGE_TRANSFER_DST_BIT | VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT;
    info.preTransform = caps.currentTransform;
    info.compositeAlpha = VK_COMPOSITE_ALPHA_OPAQUE_BIT_KHR;
    info.presentMode = m_mode;
    info.clipped = VK_TRUE;
    info.oldSwapchain = m_swapchain;
    VkSwapchainKHR made = VK_NULL_HANDLE;
    if (vkCreateSwapchainKHR(m_vk.device, &info, nullptr, &made) != VK_SUCCESS) {
        m_problem = "no swap chain";
        return;
    }
    vkDestroySwapchainKHR(m_vk.device, m_swapchain, nullptr);
    m_swapchain = made;
    uint32_t count = 0;
    vkGetSwapchainImagesKHR(m_vk.device, m_swapchain, &count, nullptr);
    m_images.resize(count);
    vkGetSwapchainImagesKHR(m_vk.device, m_swapchain, &count, m_images.data());
    m_drawn.resize(count);
    const VkSemaphoreCreateInfo semaphore{VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO};
    for (VkSemaphore& drawn : m_drawn)
        vkCreateSemaphore(m_vk.device, &semaphore, nullptr, &drawn);
}

void RawVulkanWindow::Record(const Flight& flight, VkImage image, const float (&color)[4]) const
{
    VkCommandBufferBeginInfo begin{VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
    begin.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
    vkBeginCommandBuffer(flight.commands, &begin);
    VkImageMemoryBarrier barrier{VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
    barrier.srcQueueFamilyIndex = barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.image = image;
    barrier.subresourceRange = Whole;
    barrier.newLayout = VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL;
    barrier.dstAccessMask = VK_ACCESS_TRANSFER_WRITE_BIT;
    vkCmdPipelineBarrier(flight.commands, VK_PIPELINE_STAGE_TRANSFER_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT, 0, 0, nullptr,
                         0, nullptr, 1, &barrier);
    const VkClearColorValue value{{color[0], color[1], color[2], color[3]}};
    vkCmdClearColorImage(flight.commands, image, barrier.newLayout, &value, 1, &Whole);
    barrier.srcAccessMask = VK_ACCESS_TRANSFER_WRITE_BIT;
    barrier.dstAccessMask = 0;
    barrier.oldLayout = VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL;
    barrier.newLayout = VK_IMAGE_LAYOUT_PRESENT_SRC_KHR;
    vkCmdPipelineBarrier(flight.commands, VK_PIPELINE_STAGE_TRANSFER_BIT, VK_PIPELINE_STAGE_BOTTOM_OF_PIPE_BIT, 0, 0,
                         nullptr, 0, nullptr, 1, &barrier);
    vkEndCommandBuffer(flight.commands);
}

void RawVulkanWindow::Frame(const float (&color)[4])
{
    const Flight& flight = m_flights[m_next++ % FramesInFlight];
    m_vk.WaitForFences(m_vk.device, 1, &flight.fence, VK_TRUE, ~0ull);
    uint32_t index = 0;
    VkResult result = vkAcquireNextImageKHR(m_vk.device, m_swapchain, ~0ull, flight.acquired, VK_NULL_HANDLE, &index);
    if (result == VK_ERROR_OUT_OF_DATE_KHR) {
        Recreate();
        result = vkAcquireNextImageKHR(m_vk.device, m_swapchain, ~0ull, flight.acquired, VK_NULL_HANDLE, &index);
    }
    if (result < 0) {
        m_problem = "no image";
        return;
    }
    m_vk.ResetFences(m_vk.device, 1, &flight.fence);
    m_vk.ResetCommandPool(m_vk.device, flight.pool, 0);
    Record(flight, m_images[index], color);
    const VkPipelineStageFlags stage = VK_PIPELINE_STAGE_TRANSFER_BIT;
    VkSubmitInfo submit{VK_STRUCTURE_TYPE_SUBMIT_INFO};
    submit.waitSemaphoreCount = submit.commandBufferCount = submit.signalSemaphoreCount = 1;
    submit.pWaitSemaphores = &flight.acquired;
    submit.pWaitDstStageMask = &stage;
    submit.pCommandBuffers = &flight.commands;
    submit.pSignalSemaphores = &m_drawn[index];
    m_vk.QueueSubmit(m_vk.queue, 1, &submit, flight.fence);
    VkPresentInfoKHR present{VK_STRUCTURE_TYPE_PRESENT_INFO_KHR};
    present.waitSemaphoreCount = present.swapchainCount = 1;
    present.pWaitSemaphores = &m_drawn[index];
    present.pSwapchains = &m_swapchain;
    present.pImageIndices = &index;
    vkQueuePresentKHR(m_vk.queue, &present);
}

} // namespace bench
