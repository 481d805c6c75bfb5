// Surfaces and their images.
#include "vulkan/WindowSurface.h"

#include <SDL_vulkan.h>

#include <algorithm>

#include "common/DebugOutput.h"
#include "vulkan/Texture.h"

namespace gleam {
namespace {

/// A window that gives no image for so long is taken for covered; a lost display server must not hang anybody.
constexpr std::uint64_t AcquireTimeout = 1'000'000'000;

template <class Element, class Read>
std::vector<Element> ReadAll(Read read)
{
    uint32_t count = 0;
    read(&count, static_cast<Element*>(nullptr));
    std::vector<Element> all(count);
    read(&count, all.data());
    all.resize(count);
    return all;
}

bool IsSrgb(VkFormat format)
{
    return format == VK_FORMAT_R8G8B8A8_SRGB || format == VK_FORMAT_B8G8R8A8_SRGB;
}

VkCompositeAlphaFlagBitsKHR PickAlpha(VkCompositeAlphaFlagsKHR supported)
{
    return supported & VK_COMPOSITE_ALPHA_OPAQUE_BIT_KHR ? VK_COMPOSITE_ALPHA_OPAQUE_BIT_KHR
                                                         : VK_COMPOSITE_ALPHA_INHERIT_BIT_KHR;
}

} // namespace

WindowSurface::~WindowSurface()
{
    DropSurface();
}

bool WindowSurface::Open()
{
    if (!m_gpu.features.swapchains) {
        DebugLine("IDXGIFactory::CreateSwapChain: device \"%s\" cannot present, pictures stay in memory",
                  m_gpu.properties.deviceName);
        return false;
    }
    return CreateSurface();
}

bool WindowSurface::CreateSurface()
{
    if (!m_window.IsAlive() || !SDL_Vulkan_CreateSurface(m_window.Sdl(), m_gpu.InstanceHandle(), &m_surface)) {
        m_surface = VK_NULL_HANDLE;
        DebugLine("IDXGISwapChain: the window has no Vulkan surface (%s)", SDL_GetError());
        return false;
    }
    VkBool32 isSupported = VK_FALSE;
    m_gpu.InstanceVk().GetPhysicalDeviceSurfaceSupportKHR(m_gpu.physicalDevice, m_gpu.queueFamily, m_surface,
                                                          &isSupported);
    ReadFormats();
    if (!isSupported || m_formats.empty()) {
        DebugLine("IDXGISwapChain: device \"%s\" cannot present on this window", m_gpu.properties.deviceName);
        DropSurface();
        return false;
    }
    return true;
}

void WindowSurface::ReadFormats()
{
    const InstanceFunctions& vk = m_gpu.InstanceVk();
    m_formats = ReadAll<VkSurfaceFormatKHR>([&](uint32_t* count, VkSurfaceFormatKHR* formats) {
        vk.GetPhysicalDeviceSurfaceFormatsKHR(m_gpu.physicalDevice, m_surface, count, formats);
    });
    m_modes = ReadAll<VkPresentModeKHR>([&](uint32_t* count, VkPresentModeKHR* modes) {
        vk.GetPhysicalDeviceSurfacePresentModesKHR(m_gpu.physicalDevice, m_surface, count, modes);
    });
}

void WindowSurface::DropImages()
{
    if (!m_swapchain && m_acquired.empty()) {
        return;
    }
    m_gpu.WaitIdle();
    for (VkSemaphore semaphore : m_drawn) {
        m_gpu.vk.DestroySemaphore(m_gpu.device, semaphore, nullptr);
    }
    for (const AcquireSlot& slot : m_acquired) {
        m_gpu.vk.DestroySemaphore(m_gpu.device, slot.semaphore, nullptr);
    }
    m_drawn.clear();
    m_acquired.clear();
    m_images.clear();
    m_gpu.vk.DestroySwapchainKHR(m_gpu.device, std::exchange(m_swapchain, VK_NULL_HANDLE), nullptr);
}

void WindowSurface::DropSurface()
{
    if (m_surface) {
        DropImages();
        m_gpu.InstanceVk().DestroySurfaceKHR(m_gpu.InstanceHandle(), std::exchange(m_surface, VK_NULL_HANDLE), nullptr);
    }
    m_state = EState::Broken;
}

bool WindowSurface::HasColorSpace(VkColorSpaceKHR colorSpace) const
{
    return std::any_of(m_formats.begin(), m_formats.end(),
                       [=](const VkSurfaceFormatKHR& format) { return format.colorSpace == colorSpace; });
}

bool WindowSurface::HasFormat(VkFormat format, VkColorSpaceKHR colorSpace) const
{
    return std::any_of(m_formats.begin(), m_formats.end(), [=](const VkSurfaceFormatKHR& offered) {
        return offered.format == format && offered.colorSpace == colorSpace;
    });
}

void WindowSurface::Ask(VkFormat format, uint32_t imageCount)
{
    if (format != m_wantedFormat || imageCount != m_wantedImages) {
        m_wantedFormat = format;
        m_wantedImages = imageCount;
        m_state = EState::Broken;
    }
}

void WindowSurface::SetColorSpace(VkColorSpaceKHR colorSpace)
{
    if (colorSpace != m_colorSpace) {
        m_colorSpace = colorSpace;
        m_state = EState::Broken;
    }
}

void WindowSurface::SetHdrMetadata(const VkHdrMetadataEXT* metadata)
{
    m_hasHdrMetadata = metadata != nullptr;
    if (metadata) {
        m_hdrMetadata = *metadata;
        SendHdrMetadata();
    }
}

void WindowSurface::SendHdrMetadata()
{
    if (m_hasHdrMetadata && m_swapchain && m_gpu.features.hdrMetadata) {
        m_gpu.vk.SetHdrMetadataEXT(m_gpu.device, 1, &m_swapchain, &m_hdrMetadata);
    }
}

// The asked format, or one that differs in the order of its channels, or the nearest. Linear values of half floats need
// a format that encodes them.
VkSurfaceFormatKHR WindowSurface::PickFormat() const
{
    const bool encodes = IsSrgb(m_wantedFormat) || (m_wantedFormat == VK_FORMAT_R16G16B16A16_SFLOAT &&
                                                    m_colorSpace == VK_COLOR_SPACE_SRGB_NONLINEAR_KHR);
    const auto rank = [&](const VkSurfaceFormatKHR& offered) {
        if (offered.colorSpace != m_colorSpace) {
            return 4;
        }
        if (offered.format == m_wantedFormat || offered.format == SwapRedBlue(m_wantedFormat)) {
            return offered.format == m_wantedFormat ? 0 : 1;
        }
        return IsSrgb(offered.format) == encodes ? 2 : 3;
    };
    return *std::min_element(m_formats.begin(), m_formats.end(),
                             [&](const auto& a, const auto& b) { return rank(a) < rank(b); });
}

VkPresentModeKHR WindowSurface::PickMode(const Pace& pace) const
{
    const auto has = [&](VkPresentModeKHR mode) {
        return std::find(m_modes.begin(), m_modes.end(), mode) != m_modes.end();
    };
    if (pace.waitsForDisplay) {
        return VK_PRESENT_MODE_FIFO_KHR;
    }
    if (!pace.mayTear && has(VK_PRESENT_MODE_MAILBOX_KHR)) {
        return VK_PRESENT_MODE_MAILBOX_KHR;
    }
    if (has(VK_PRESENT_MODE_IMMEDIATE_KHR)) {
        return VK_PRESENT_MODE_IMMEDIATE_KHR;
    }
    return has(VK_PRESENT_MODE_MAILBOX_KHR) ? VK_PRESENT_MODE_MAILBOX_KHR : VK_PRESENT_MODE_FIFO_KHR;
}

bool WindowSurface::ReadExtent(VkSurfaceCapabilitiesKHR& caps, VkExtent2D& extent)
{
    const VkResult result =
        m_gpu.InstanceVk().GetPhysicalDeviceSurfaceCapabilitiesKHR(m_gpu.physicalDevice, m_surface, &caps);
    if (result == VK_ERROR_SURFACE_LOST_KHR) {
        DropSurface();
        return false;
    }
    Check(result, "vkGetPhysicalDeviceSurfaceCapabilitiesKHR");
    extent = caps.currentExtent;
    if (extent.width == ~0u) {
        // The window follows its images.
        UINT width = 0;
        UINT height = 0;
        m_window.GetSize(width, height);
        extent.width = std::clamp(width, caps.minImageExtent.width, caps.maxImageExtent.width);
        extent.height = std::clamp(height, caps.minImageExtent.height, caps.maxImageExtent.height);
    }
    return extent.width != 0 && extent.height != 0;
}

bool WindowSurface::NeedsImages(const Pace& pace, VkExtent2D extent) const
{
    return m_state == EState::Broken || pace != m_pace || extent.width != m_extent.width ||
           extent.height != m_extent.height;
}

bool WindowSurface::Prepare(const Pace& pace)
{
    if (m_state == EState::Good && pace == m_pace) {
        return true;
    }
    if (!m_surface && !CreateSurface()) {
        return false;
    }
    VkSurfaceCapabilitiesKHR caps;
    VkExtent2D extent;
    if (!ReadExtent(caps, extent)) {
        return false;
    }
    if (NeedsImages(pace, extent)) {
        CreateImages(pace, caps, extent);
    }
    m_state = EState::Good;
    return true;
}

void WindowSurface::CreateImages(const Pace& pace, const VkSurfaceCapabilitiesKHR& caps, VkExtent2D extent)
{
    if (!(caps.supportedUsageFlags & VK_IMAGE_USAGE_TRANSFER_DST_BIT)) {
        throw VulkanError{VK_ERROR_FEATURE_NOT_PRESENT, "window images that can be copied into"};
    }
    DropImages();
    m_state = EState::Broken;
    m_format = PickFormat();
    VkSwapchainCreateInfoKHR create{VK_STRUCTURE_TYPE_SWAPCHAIN_CREATE_INFO_KHR};
    create.surface = m_surface;
    create.minImageCount = std::max(caps.minImageCount, m_wantedImages);
    if (caps.maxImageCount != 0) {
        create.minImageCount = std::min(create.minImageCount, caps.maxImageCount);
    }
    create.imageFormat = m_format.format;
    create.imageColorSpace = m_format.colorSpace;
    create.imageExtent = extent;
    create.imageArrayLayers = 1;
    create.imageUsage = VK_IMAGE_USAGE_TRANSFER_DST_BIT;
    create.imageSharingMode = VK_SHARING_MODE_EXCLUSIVE;
    create.preTransform = caps.currentTransform;
    create.compositeAlpha = PickAlpha(caps.supportedCompositeAlpha);
    create.presentMode = PickMode(pace);
    create.clipped = VK_TRUE;
    Check(m_gpu.vk.CreateSwapchainKHR(m_gpu.device, &create, nullptr, &m_swapchain), "vkCreateSwapchainKHR");
    m_extent = extent;
    m_pace = pace;
    m_images = ReadAll<VkImage>([&](uint32_t* count, VkImage* images) {
        Check(m_gpu.vk.GetSwapchainImagesKHR(m_gpu.device, m_swapchain, count, images), "vkGetSwapchainImagesKHR");
    });
    CreateSemaphores();
    SendHdrMetadata();
}

void WindowSurface::CreateSemaphores()
{
    const VkSemaphoreCreateInfo create{VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO};
    const auto make = [&](VkSemaphore& semaphore) {
        Check(m_gpu.vk.CreateSemaphore(m_gpu.device, &create, nullptr, &semaphore), "vkCreateSemaphore");
    };
    m_drawn.assign(m_images.size(), VK_NULL_HANDLE);
    // One more than images, so that the next one to wait on is always free.
    m_acquired.assign(m_images.size() + 1, {});
    for (VkSemaphore& semaphore : m_drawn) {
        make(semaphore);
    }
    for (AcquireSlot& slot : m_acquired) {
        make(slot.semaphore);
    }
    m_nextSlot = 0;
}

VkResult WindowSurface::AcquireOnce(std::uint64_t timeout, WindowImage& image)
{
    AcquireSlot& slot = m_acquired[m_nextSlot];
    m_gpu.Wait(slot.serial);
    const VkResult result =
        m_gpu.vk.AcquireNextImageKHR(m_gpu.device, m_swapchain, timeout, slot.semaphore, VK_NULL_HANDLE, &image.index);
    if (result == VK_SUCCESS || result == VK_SUBOPTIMAL_KHR) {
        image.image = m_images[image.index];
        image.format = m_format.format;
        image.extent = m_extent;
        image.sync = {slot.semaphore, m_drawn[image.index]};
    }
    return result;
}

EAcquire WindowSurface::Acquire(const Pace& pace, bool doNotWait, WindowImage& image)
{
    // Once more with new images; a window that refuses those as well is met again at the next Present.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (m_window.IsMinimized() || !Prepare(pace)) {
            return EAcquire::Occluded;
        }
        const VkResult result = AcquireOnce(doNotWait ? 0 : AcquireTimeout, image);
        switch (result) {
        case VK_SUBOPTIMAL_KHR:
            WindowChanged();
            return EAcquire::Ready;
        case VK_SUCCESS:
            return EAcquire::Ready;
        case VK_TIMEOUT:
        case VK_NOT_READY:
            return doNotWait ? EAcquire::StillDrawing : EAcquire::Occluded;
        case VK_ERROR_OUT_OF_DATE_KHR:
        case VK_ERROR_FULL_SCREEN_EXCLUSIVE_MODE_LOST_EXT:
            m_state = EState::Broken;
            break;
        case VK_ERROR_SURFACE_LOST_KHR:
            DropSurface();
            break;
        default:
            Check(result, "vkAcquireNextImageKHR");
        }
    }
    return EAcquire::Occluded;
}

void WindowSurface::Present(const WindowImage& image, std::uint64_t serial)
{
    m_acquired[m_nextSlot].serial = serial;
    m_nextSlot = (m_nextSlot + 1) % m_acquired.size();
    VkPresentInfoKHR info{VK_STRUCTURE_TYPE_PRESENT_INFO_KHR};
    info.waitSemaphoreCount = 1;
    info.pWaitSemaphores = &image.sync.signal;
    info.swapchainCount = 1;
    info.pSwapchains = &m_swapchain;
    info.pImageIndices = &image.index;
    const VkResult result = m_gpu.Present(info);
    switch (result) {
    case VK_SUCCESS:
        break;
    case VK_SUBOPTIMAL_KHR:
        WindowChanged();
        break;
    case VK_ERROR_OUT_OF_DATE_KHR:
    case VK_ERROR_FULL_SCREEN_EXCLUSIVE_MODE_LOST_EXT:
        m_state = EState::Broken;
        break;
    case VK_ERROR_SURFACE_LOST_KHR:
        DropSurface();
        break;
    default:
        Check(result, "vkQueuePresentKHR");
    }
}

} // namespace gleam
