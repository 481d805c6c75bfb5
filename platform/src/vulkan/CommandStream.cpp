// Command buffers, their memory and their way to the device.
#include "vulkan/CommandStream.h"

#include <algorithm>

namespace gleam {
namespace {

constexpr VkDeviceSize TransientSize = 1u << 20;
constexpr std::size_t RenameBatch = 32;
constexpr std::size_t MostCachedRenames = 16384;
constexpr uint32_t SetsPerPool = 1024;

} // namespace

CommandStream::CommandStream(Gpu& gpu, UploadQueue& uploads) : m_gpu(gpu), m_uploads(uploads)
{
    TakeSubmission();
}

CommandStream::~CommandStream()
{
    const DeviceFunctions& vk = m_gpu.vk;
    vk.DeviceWaitIdle(m_gpu.device);
    for (const auto& submission : m_all) {
        m_gpu.slices.Release(submission->slices.data(), submission->slices.size());
        for (VkDescriptorPool pool : submission->descriptorPools) {
            vk.DestroyDescriptorPool(m_gpu.device, pool, nullptr);
        }
        vk.DestroyCommandPool(m_gpu.device, submission->pool, nullptr);
    }
    for (VkDescriptorPool pool : m_freePools) {
        vk.DestroyDescriptorPool(m_gpu.device, pool, nullptr);
    }
    for (const auto& cache : m_renames) {
        m_gpu.slices.Release(cache.data(), cache.size());
    }
    if (m_transient) {
        m_gpu.slices.Release(m_transient);
    }
}

CommandStream::Submission* CommandStream::NewSubmission()
{
    auto submission = std::make_unique<Submission>();
    VkCommandPoolCreateInfo info{VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
    info.flags = VK_COMMAND_POOL_CREATE_TRANSIENT_BIT;
    info.queueFamilyIndex = m_gpu.queueFamily;
    Check(m_gpu.vk.CreateCommandPool(m_gpu.device, &info, nullptr, &submission->pool), "vkCreateCommandPool");
    m_all.push_back(std::move(submission));
    Submission* made = m_all.back().get();
    VkCommandBuffer buffers[2];
    VkCommandBufferAllocateInfo allocate{VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
    allocate.commandPool = made->pool;
    allocate.level = VK_COMMAND_BUFFER_LEVEL_PRIMARY;
    allocate.commandBufferCount = 2;
    Check(m_gpu.vk.AllocateCommandBuffers(m_gpu.device, &allocate, buffers), "vkAllocateCommandBuffers");
    made->ahead = buffers[0];
    made->main = buffers[1];
    return made;
}

void CommandStream::TakeSubmission()
{
    if (m_idle.empty()) {
        m_current = NewSubmission();
        return;
    }
    m_current = m_idle.back();
    m_idle.pop_back();
}

void CommandStream::Begin(VkCommandBuffer commands)
{
    VkCommandBufferBeginInfo info{VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
    info.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
    Check(m_gpu.vk.BeginCommandBuffer(commands, &info), "vkBeginCommandBuffer");
}

VkCommandBuffer CommandStream::BeginMain()
{
    Begin(m_current->main);
    return m_main = m_current->main;
}

VkCommandBuffer CommandStream::Ahead()
{
    if (!m_ahead) {
        Begin(m_current->ahead);
        m_ahead = m_current->ahead;
    }
    if (m_uploads.IsPending()) {
        m_uploads.Record(m_ahead, m_current->slices);
    }
    return m_ahead;
}

Slice CommandStream::Transient(VkDeviceSize size, VkDeviceSize alignment)
{
    if (size > TransientSize / 4) {
        const Slice slice = m_gpu.slices.Acquire(size);
        RetireSlice(slice);
        return slice;
    }
    m_transientUsed = (m_transientUsed + alignment - 1) & ~(alignment - 1);
    if (!m_transient || m_transientUsed + size > m_transient.size) {
        if (m_transient) {
            RetireSlice(m_transient);
            m_transient = {};
        }
        m_transient = m_gpu.slices.Acquire(TransientSize);
        m_transientUsed = 0;
    }
    Slice slice = m_transient;
    slice.offset += m_transientUsed;
    slice.mapped += m_transientUsed;
    slice.size = size;
    m_transientUsed += size;
    return slice;
}

Slice CommandStream::AcquireRenameSlow(VkDeviceSize size)
{
    if (size > SlicePool::LargestClass) {
        return m_gpu.slices.Acquire(size);
    }
    auto& cache = m_renames[SlicePool::ClassOf(size)];
    m_gpu.slices.AcquireMany(size, RenameBatch, cache);
    // The pool's order is the order in which the slices lie in memory; the back is taken first.
    std::reverse(cache.begin(), cache.end());
    const Slice slice = cache.back();
    cache.pop_back();
    return slice;
}

void CommandStream::AddDescriptorPool()
{
    if (!m_freePools.empty()) {
        m_current->descriptorPools.push_back(m_freePools.back());
        m_freePools.pop_back();
        return;
    }
    const VkDescriptorPoolSize sizes[] = {{VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC, SetsPerPool * 4},
                                          {VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE, SetsPerPool * 8},
                                          {VK_DESCRIPTOR_TYPE_SAMPLER, SetsPerPool * 4},
                                          {VK_DESCRIPTOR_TYPE_UNIFORM_TEXEL_BUFFER, SetsPerPool},
                                          {VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, SetsPerPool * 2},
                                          {VK_DESCRIPTOR_TYPE_STORAGE_IMAGE, SetsPerPool},
                                          {VK_DESCRIPTOR_TYPE_STORAGE_TEXEL_BUFFER, SetsPerPool},
                                          {VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, SetsPerPool}};
    VkDescriptorPoolCreateInfo info{VK_STRUCTURE_TYPE_DESCRIPTOR_POOL_CREATE_INFO};
    info.maxSets = SetsPerPool;
    info.poolSizeCount = static_cast<uint32_t>(std::size(sizes));
    info.pPoolSizes = sizes;
    VkDescriptorPool pool = VK_NULL_HANDLE;
    Check(m_gpu.vk.CreateDescriptorPool(m_gpu.device, &info, nullptr, &pool), "vkCreateDescriptorPool");
    m_current->descriptorPools.push_back(pool);
}

VkDescriptorSet CommandStream::AllocateSet(VkDescriptorSetLayout layout)
{
    // A set that does not fit even an empty pool would need more descriptors than any stage has slots.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (attempt == 1 || m_current->descriptorPools.empty()) {
            AddDescriptorPool();
        }
        VkDescriptorSetAllocateInfo info{VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO};
        info.descriptorPool = m_current->descriptorPools.back();
        info.descriptorSetCount = 1;
        info.pSetLayouts = &layout;
        VkDescriptorSet set = VK_NULL_HANDLE;
        const VkResult result = m_gpu.vk.AllocateDescriptorSets(m_gpu.device, &info, &set);
        if (result == VK_SUCCESS) {
            return set;
        }
        if (result != VK_ERROR_OUT_OF_POOL_MEMORY && result != VK_ERROR_FRAGMENTED_POOL) {
            Check(result, "vkAllocateDescriptorSets");
        }
    }
    throw VulkanError{VK_ERROR_OUT_OF_POOL_MEMORY, "vkAllocateDescriptorSets"};
}

void CommandStream::Submit(const QueueSync* sync)
{
    if (m_uploads.IsPending()) {
        Ahead();
    }
    VkCommandBufferSubmitInfo infos[2];
    uint32_t count = 0;
    for (VkCommandBuffer commands : {m_ahead, m_main}) {
        if (commands) {
            Check(m_gpu.vk.EndCommandBuffer(commands), "vkEndCommandBuffer");
            infos[count] = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_SUBMIT_INFO, nullptr, commands, 0};
            ++count;
        }
    }
    if (m_transient) {
        RetireSlice(m_transient);
        m_transient = {};
    }
    m_current->serial = Serial();
    m_current->bytes = m_bytes;
    m_bytesInFlight += m_bytes;
    m_inFlight.push_back(m_current);
    m_current = nullptr;
    m_main = m_ahead = VK_NULL_HANDLE;
    m_bytes = 0;
    m_draws = 0;
    TakeSubmission();
    m_gpu.Submit(infos, count, sync);
    Recycle();
    while (m_inFlight.size() > MostInFlight || (m_bytesInFlight > MostBytesInFlight && !m_inFlight.empty())) {
        m_gpu.Wait(m_inFlight.front()->serial);
        Recycle();
    }
}

void CommandStream::Recycle()
{
    if (m_inFlight.empty()) {
        return;
    }
    const std::uint64_t completed = m_gpu.UpdateCompleted();
    while (!m_inFlight.empty() && m_inFlight.front()->serial <= completed) {
        TakeBack(*m_inFlight.front());
        m_idle.push_back(m_inFlight.front());
        m_inFlight.pop_front();
    }
}

void CommandStream::TakeBack(Submission& submission)
{
    m_bytesInFlight -= submission.bytes;
    // Backwards, so that the next renames walk through memory in the order of these.
    for (auto it = submission.slices.rbegin(); it != submission.slices.rend(); ++it) {
        if (it->pool < SlicePool::ClassCount && m_renames[it->pool].size() < MostCachedRenames) {
            m_renames[it->pool].push_back(*it);
        } else {
            m_gpu.slices.Release(*it);
        }
    }
    submission.slices.clear();
    for (VkDescriptorPool pool : submission.descriptorPools) {
        m_gpu.vk.ResetDescriptorPool(m_gpu.device, pool, 0);
        m_freePools.push_back(pool);
    }
    submission.descriptorPools.clear();
    m_gpu.vk.ResetCommandPool(m_gpu.device, submission.pool, 0);
}

} // namespace gleam
