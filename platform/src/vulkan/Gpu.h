// The Vulkan device and what every part of this folder shares: memory, slices, delayed destruction, the time line of
// submissions, and the lost state.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "vulkan/Instance.h"
#include "vulkan/ReleaseQueue.h"

namespace gleam {

/// What the device can do beyond the required Vulkan 1.3.
struct GpuFeatures
{
    bool dynamicVertexInput = false; ///< VK_EXT_vertex_input_dynamic_state
    bool dynamicBlend = false;       ///< the parts of VK_EXT_extended_dynamic_state3 that PipelineKey leaves out
    bool anyDynamicTopology = false; ///< topology classes may change in one pipeline
    bool depthClip = false;          ///< VK_EXT_depth_clip_enable
    bool customBorder = false;       ///< VK_EXT_custom_border_color without formats
    bool geometryShader = false;
    bool tessellationShader = false;
    bool wireframe = false;
    bool depthBiasClamp = false;
    bool independentBlend = false;
    bool dualSourceBlend = false;
    bool anisotropy = false;
    bool multiViewport = false;
    bool preciseOcclusion = false;
    bool pipelineStatistics = false;
    bool timestamps = false;
    bool instanceDivisor = false; ///< VK_EXT_vertex_attribute_divisor, zero included
    bool minMaxFilter = false;
    bool mirrorOnce = false;
    bool swapchains = false;  ///< VK_KHR_swapchain
    bool hdrMetadata = false; ///< VK_EXT_hdr_metadata
};

/// Semaphores around one submission, for images that belong to a window.
struct QueueSync
{
    VkSemaphore wait;   ///< before the first copy
    VkSemaphore signal; ///< when all is done
};

/// Reads switches of GLEAM_DEBUG when it is made: `lose-device=N` makes the N-th submission report a lost device, for
/// the reason of `lose-reason=CODE` (a result code in hexadecimal, DXGI_ERROR_DEVICE_REMOVED without it), `sync` waits
/// for each submission, `baked-state` goes without the extensions for dynamic state, as devices do that lack them.
class Gpu
{
public:
    /// Opens the device. Throws VulkanError; VK_ERROR_FEATURE_NOT_PRESENT (after one debug line that names it) when
    /// the device lacks something that this layer cannot do without.
    Gpu(std::shared_ptr<Instance> instance, VkPhysicalDevice physicalDevice);
    Gpu(const Gpu&) = delete;
    Gpu& operator=(const Gpu&) = delete;
    ~Gpu();

    DeviceFunctions vk;
    VkDevice device = VK_NULL_HANDLE;
    VkPhysicalDevice physicalDevice = VK_NULL_HANDLE;
    uint32_t queueFamily = 0;
    VkPhysicalDeviceProperties properties{};
    GpuFeatures features;
    bool isProcessor = false;
    double timestampFrequency = 1e9; ///< ticks a second
    uint64_t timestampMask = ~0ull;
    VkDeviceSize maxUniformRange = 65536;

    MemoryAllocator memory;
    SlicePool slices;

    const InstanceFunctions& InstanceVk() const { return m_instance->Functions(); }
    VkInstance InstanceHandle() const { return m_instance->Handle(); }
    bool HasDebugUtils() const { return m_instance->HasDebugUtils(); }
    VkFormatProperties FormatProperties(VkFormat format) const;

    /// Submission numbers: the one that is being recorded, and the last that the device has finished.
    std::uint64_t RecordingSerial() const { return m_recording.load(std::memory_order_relaxed); }
    std::uint64_t CompletedSerial() const { return m_completed.load(std::memory_order_acquire); }

    /// Asks the device how far it is, then frees what that sets free. Callable from any thread.
    std::uint64_t UpdateCompleted();
    /// Waits for a submission that has been made. False when the device is lost. Callable from any thread.
    bool Wait(std::uint64_t serial);

    /// Hands command buffers to the queue as submission RecordingSerial(), which it advances. Context thread only.
    /// With `sync` null nothing but the time line is signalled.
    void Submit(const VkCommandBufferSubmitInfo* buffers, uint32_t count, const QueueSync* sync = nullptr);

    /// Shows an image on its window. The result is the caller's to judge; a lost device is remembered.
    VkResult Present(const VkPresentInfoKHR& info);
    /// Until everything that was submitted or presented is done. Callable from any thread.
    void WaitIdle();

    /// Runs one command buffer outside the time line and waits for it. Callable from any thread.
    void SubmitAndWait(VkCommandBuffer commands);

    void Retire(const Retired& object, std::uint64_t lastUse) { m_releases.Retire(object, lastUse, CompletedSerial()); }

    /// Why the device was lost, S_OK while it works. Callable from any thread.
    HRESULT RemovedReason() const { return m_removed.load(std::memory_order_acquire); }
    bool IsLost() const { return RemovedReason() != S_OK; }
    void MarkLost(HRESULT reason);
    /// The result for callers; a lost device is remembered on the way.
    HRESULT Report(const VulkanError& error, const char* method);

    /// Names a Vulkan object for debuggers and validation messages; does nothing when nobody listens.
    void SetName(VkObjectType type, std::uint64_t handle, const char* name) const;

private:
    explicit Gpu(std::shared_ptr<Instance> instance);
    void PickQueueFamily();
    void CreateDevice();
    void CreateTimeline();
    void ReadProperties();

    std::shared_ptr<Instance> m_instance;
    VkQueue m_queue = VK_NULL_HANDLE;
    std::mutex m_queueMutex;
    VkSemaphore m_timeline = VK_NULL_HANDLE;
    ReleaseQueue m_releases;
    std::atomic<std::uint64_t> m_recording{1};
    std::atomic<std::uint64_t> m_completed{0};
    std::atomic<HRESULT> m_removed{S_OK};
    std::uint64_t m_loseAfter = 0; ///< GLEAM_DEBUG lose-device=N, 0 for never
    HRESULT m_loseReason = S_OK;   ///< GLEAM_DEBUG lose-reason=CODE
    bool m_waitEach = false;       ///< GLEAM_DEBUG sync
};

} // namespace gleam
