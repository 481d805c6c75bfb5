// Recording and submission. One submission is two command buffers: uploads that may run ahead of everything, then the
// work in order. What a submission needs (descriptor pools, slices) is taken back once the device is done with it.
#pragma once

#include <deque>

#include "vulkan/UploadQueue.h"

namespace gleam {

/// Belongs to the context's thread.
class CommandStream
{
public:
    CommandStream(Gpu& gpu, UploadQueue& uploads);
    CommandStream(const CommandStream&) = delete;
    CommandStream& operator=(const CommandStream&) = delete;
    ~CommandStream();

    /// Number of the submission that is being recorded.
    std::uint64_t Serial() const { return m_gpu.RecordingSerial(); }

    /// The command buffer of the work in order, begun at the first call of a submission.
    VkCommandBuffer Main()
    {
        ++m_works;
        return Marks();
    }
    /// The same, for what is no work by itself: times, counters and labels.
    VkCommandBuffer Marks() { return m_main ? m_main : BeginMain(); }
    /// As long as it stays the same, nothing was recorded but marks.
    std::uint64_t Works() const { return m_works; }
    /// Runs ahead of Main(); for resources that Main() has not touched. Holds all queued first contents already.
    VkCommandBuffer Ahead();

    bool HasWork() const { return m_main || m_ahead || m_uploads.IsPending(); }

    /// Memory for data of this submission alone. `alignment` is a power of two up to 256.
    Slice Transient(VkDeviceSize size, VkDeviceSize alignment = 16);

    /// A slice for a renamed buffer, from a pool that needs no lock.
    Slice AcquireRename(VkDeviceSize size)
    {
        if (size <= SlicePool::LargestClass) {
            auto& cache = m_renames[SlicePool::ClassOf(size)];
            if (!cache.empty()) {
                const Slice slice = cache.back();
                cache.pop_back();
                return slice;
            }
        }
        return AcquireRenameSlow(size);
    }

    /// Gives a slice back when this submission is done.
    void RetireSlice(const Slice& slice)
    {
        m_current->slices.push_back(slice);
        m_bytes += slice.size;
    }

    VkDescriptorSet AllocateSet(VkDescriptorSetLayout layout);

    /// Whether so much memory hangs on this submission, or so many draws, that it should go now.
    bool IsFull() const { return m_bytes > LargestSubmission || m_draws >= MostDraws; }
    void CountDraw() { ++m_draws; }

    /// Ends the command buffers and hands them to the device. Later calls record the next submission. At most four
    /// submissions and 128 MiB of their slices are on the way; beyond that it waits for the oldest.
    void Submit(const QueueSync* sync = nullptr);

    /// Takes back what finished submissions held.
    void Recycle();

private:
    static constexpr VkDeviceSize LargestSubmission = 24u << 20;
    static constexpr VkDeviceSize MostBytesInFlight = 96u << 20;
    static constexpr std::size_t MostInFlight = 4;
    static constexpr uint32_t MostDraws = 4096;

    struct Submission
    {
        std::uint64_t serial = 0;
        VkCommandPool pool = VK_NULL_HANDLE;
        VkCommandBuffer ahead = VK_NULL_HANDLE;
        VkCommandBuffer main = VK_NULL_HANDLE;
        std::vector<VkDescriptorPool> descriptorPools;
        std::vector<Slice> slices;
        VkDeviceSize bytes = 0;
    };

    VkCommandBuffer BeginMain();
    void Begin(VkCommandBuffer commands);
    Submission* NewSubmission();
    void TakeSubmission();
    void AddDescriptorPool();
    Slice AcquireRenameSlow(VkDeviceSize size);
    void TakeBack(Submission& submission);

    Gpu& m_gpu;
    UploadQueue& m_uploads;
    std::vector<std::unique_ptr<Submission>> m_all;
    std::vector<Submission*> m_idle;
    std::deque<Submission*> m_inFlight;
    Submission* m_current = nullptr;
    VkCommandBuffer m_main = VK_NULL_HANDLE;
    VkCommandBuffer m_ahead = VK_NULL_HANDLE;
    std::uint64_t m_works = 0;
    Slice m_transient;
    VkDeviceSize m_transientUsed = 0;
    VkDeviceSize m_bytes = 0;
    VkDeviceSize m_bytesInFlight = 0;
    uint32_t m_draws = 0;
    std::array<std::vector<Slice>, SlicePool::ClassCount> m_renames;
    std::vector<VkDescriptorPool> m_freePools;
};

} // namespace gleam
