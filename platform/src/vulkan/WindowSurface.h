// A window's Vulkan surface and the chain of images on it, remade whenever the window system asks for it.
#pragma once

#include <vector>

#include "vulkan/Gpu.h"
#include "window/NativeWindow.h"

namespace gleam {

/// An image of the window, lent by WindowSurface::Acquire.
struct WindowImage
{
    VkImage image = VK_NULL_HANDLE;
    VkFormat format = VK_FORMAT_UNDEFINED;
    VkExtent2D extent{};
    uint32_t index = 0;
    /// For the submission that fills the image.
    QueueSync sync{};
};

enum class EAcquire
{
    Ready,
    Occluded,     ///< there is nothing to draw on: no area, no image in time, or no surface
    StillDrawing, ///< only without waiting
};

/// Belongs to the context's thread. All operations throw VulkanError for failures that are neither the window's nor
/// passing ones.
class WindowSurface
{
public:
    /// How images come to the display.
    struct Pace
    {
        bool waitsForDisplay = false;
        bool mayTear = false;
        bool operator==(const Pace&) const = default;
    };

    WindowSurface(Gpu& gpu, NativeWindow& window) : m_gpu(gpu), m_window(window) {}
    WindowSurface(const WindowSurface&) = delete;
    WindowSurface& operator=(const WindowSurface&) = delete;
    ~WindowSurface();

    /// False, after a line of debugger output, when this device cannot present on the window.
    bool Open();

    bool HasColorSpace(VkColorSpaceKHR colorSpace) const;
    bool HasFormat(VkFormat format, VkColorSpaceKHR colorSpace) const;
    /// The back buffer's format, from which the images' is chosen, how many images there should be at least, and the
    /// colour space.
    void Ask(VkFormat format, uint32_t imageCount);
    void SetColorSpace(VkColorSpaceKHR colorSpace);
    void SetHdrMetadata(const VkHdrMetadataEXT* metadata);

    /// Look at the window's size before the next image.
    void WindowChanged() { m_state = m_state == EState::Good ? EState::Unsure : m_state; }

    /// An image to fill. It has to go to Present or, when its submission failed, to Abandon.
    EAcquire Acquire(const Pace& pace, bool doNotWait, WindowImage& image);
    /// Shows the image after submission `serial`, which filled it.
    void Present(const WindowImage& image, std::uint64_t serial);
    /// The image was not submitted: everything is made anew.
    void Abandon() { m_state = EState::Broken; }

private:
    enum class EState
    {
        Good,
        Unsure, ///< the window may have changed
        Broken, ///< the images cannot be used
    };

    struct AcquireSlot
    {
        VkSemaphore semaphore = VK_NULL_HANDLE;
        std::uint64_t serial = 0; ///< the submission that waited on it last
    };

    bool CreateSurface();
    void ReadFormats();
    void DropSurface();
    void DropImages();
    /// False when the window has no area.
    bool Prepare(const Pace& pace);
    bool NeedsImages(const Pace& pace, VkExtent2D extent) const;
    bool ReadExtent(VkSurfaceCapabilitiesKHR& caps, VkExtent2D& extent);
    VkSurfaceFormatKHR PickFormat() const;
    VkPresentModeKHR PickMode(const Pace& pace) const;
    void CreateImages(const Pace& pace, const VkSurfaceCapabilitiesKHR& caps, VkExtent2D extent);
    void CreateSemaphores();
    VkResult AcquireOnce(std::uint64_t timeout, WindowImage& image);
    void SendHdrMetadata();

    Gpu& m_gpu;
    NativeWindow& m_window;
    VkSurfaceKHR m_surface = VK_NULL_HANDLE;
    std::vector<VkSurfaceFormatKHR> m_formats;
    std::vector<VkPresentModeKHR> m_modes;

    VkFormat m_wantedFormat = VK_FORMAT_B8G8R8A8_UNORM;
    uint32_t m_wantedImages = 2;
    VkColorSpaceKHR m_colorSpace = VK_COLOR_SPACE_SRGB_NONLINEAR_KHR;
    bool m_hasHdrMetadata = false;
    VkHdrMetadataEXT m_hdrMetadata{VK_STRUCTURE_TYPE_HDR_METADATA_EXT};

    EState m_state = EState::Broken;
    VkSwapchainKHR m_swapchain = VK_NULL_HANDLE;
    Pace m_pace;
    VkSurfaceFormatKHR m_format{};
    VkExtent2D m_extent{};
    std::vector<VkImage> m_images;
    std::vector<VkSemaphore> m_drawn; ///< by image
    std::vector<AcquireSlot> m_acquired;
    std::size_t m_nextSlot = 0;
};

} // namespace gleam
