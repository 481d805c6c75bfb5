// A window of SDL2 that is presented on straight in Vulkan: the limit of the rows present and resize.
#pragma once

#include "bench/common/RawVulkanDevice.h"

#include <SDL.h>

namespace bench {

/// As the usual short program does it: two frames in flight, each with a command buffer, a fence and a semaphore; the
/// window's images are cleared themselves and shown without waiting for the display. One thread.
class RawVulkanWindow
{
public:
    /// The window outlives the object; it was made with SDL_WINDOW_VULKAN.
    explicit RawVulkanWindow(SDL_Window* window);
    ~RawVulkanWindow();
    RawVulkanWindow(const RawVulkanWindow&) = delete;
    RawVulkanWindow& operator=(const RawVulkanWindow&) = delete;

    /// Why it cannot run, null when it can.
    const char* Problem() const { return m_problem; }

    /// Clears the next image and presents it.
    void Frame(const float (&color)[4]);
    /// A new swap chain of the window's present size in place of the last.
    void Recreate();

private:
    static constexpr unsigned FramesInFlight = 2;

    struct Flight
    {
        VkCommandPool pool = VK_NULL_HANDLE;
        VkCommandBuffer commands = VK_NULL_HANDLE;
        VkFence fence = VK_NULL_HANDLE;
        VkSemaphore acquired = VK_NULL_HANDLE;
    };

    static std::vector<const char*> Extensions(SDL_Window* window);
    void MakeFlights();
    void PickMode();
    void DropImages();
    void Record(const Flight& flight, VkImage image, const float (&color)[4]) const;

    RawVulkanDevice m_vk;
    const char* m_problem = nullptr;
    VkSurfaceKHR m_surface = VK_NULL_HANDLE;
    VkSurfaceFormatKHR m_format{};
    VkPresentModeKHR m_mode = VK_PRESENT_MODE_FIFO_KHR;
    VkSwapchainKHR m_swapchain = VK_NULL_HANDLE;
    std::vector<VkImage> m_images;
    std::vector<VkSemaphore> m_drawn; ///< by image
    Flight m_flights[FramesInFlight];
    unsigned m_next = 0;
};

} // namespace bench
