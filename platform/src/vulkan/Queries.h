// Queries. Vulkan runs one query of a kind at a time and ends it with the command buffer, while the published ones
// overlap and span submissions. So the span between two Begin or End calls is one Vulkan query, a segment, and a
// published query sums the segments that it covers. Calls with no work in between need no segment of their own: they
// share one, and so do timestamps.
#pragma once

#include <deque>
#include <memory>
#include <vector>

#include "common/ComBase.h"
#include "vulkan/Gpu.h"

namespace gleam {

class CommandStream;

enum class EQueryHeap : std::uint8_t
{
    Occlusion,
    Statistics,
    Timestamp,
    Count
};

constexpr std::size_t StatisticsCount = 11;

struct QueryPool;

/// One Vulkan query and, once read, its values.
struct QuerySegment
{
    /// `serial` of a segment that has not ended.
    static constexpr std::uint64_t Unended = ~0ull;

    QueryPool* owner = nullptr;
    VkQueryPool pool = VK_NULL_HANDLE;
    uint32_t index = 0;
    EQueryHeap heap = EQueryHeap::Timestamp;
    uint32_t holders = 0;     ///< queries that sum it, and the recorder while it runs
    std::uint64_t serial = 0; ///< submission that ends it
    bool isRead = false;
    std::array<std::uint64_t, StatisticsCount> values{};
};

struct QueryPool
{
    static constexpr uint32_t Count = 256;

    VkQueryPool handle = VK_NULL_HANDLE;
    std::array<QuerySegment, Count> segments;
};

/// Hands out segments. Safe from any thread, since queries may end on any.
class QuerySegments
{
public:
    explicit QuerySegments(Gpu& gpu) : m_gpu(gpu) {}
    QuerySegments(const QuerySegments&) = delete;
    QuerySegments& operator=(const QuerySegments&) = delete;
    ~QuerySegments();

    /// A reset segment with one holder. Throws VulkanError.
    QuerySegment* Acquire(EQueryHeap heap);
    void AddHolder(QuerySegment* segment);
    void Release(QuerySegment* segment);
    /// The values of a segment whose submission is done. Context thread; throws VulkanError.
    const std::array<std::uint64_t, StatisticsCount>& Read(QuerySegment& segment);

private:
    void GrowNolock(EQueryHeap heap);

    Gpu& m_gpu;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<QueryPool>> m_pools;
    /// The longest free in front, whose submission is the likeliest to be done.
    std::array<std::deque<QuerySegment*>, static_cast<std::size_t>(EQueryHeap::Count)> m_free;
};

class Query final : public DeviceChild<ID3D11Query, IID_ID3D11Asynchronous, IID_ID3D11Query>
{
public:
    Query(ID3D11Device* device, std::shared_ptr<QuerySegments> segments, const D3D11_QUERY_DESC& desc);

    UINT STDMETHODCALLTYPE GetDataSize() override;
    void STDMETHODCALLTYPE GetDesc(D3D11_QUERY_DESC* desc) override { *desc = m_desc; }

    D3D11_QUERY Kind() const { return m_desc.Query; }
    /// Timestamps and events have no Begin.
    bool HasBegin() const;
    EQueryHeap Heap() const;

    // Context thread.
    void Restart();
    void Cover(QuerySegment* segment);
    /// Takes the last one back.
    void UncoverLast();
    bool isActive = false;
    bool isEnded = false;
    /// The submission that has to be done for the answer.
    std::uint64_t endSerial = 0;

    /// Fills `data` with the answer. The work of `endSerial` is done. Throws VulkanError.
    void Read(Gpu& gpu, void* data, UINT size);

protected:
    void Destroy() override;

private:
    std::array<std::uint64_t, StatisticsCount> Sum();

    const D3D11_QUERY_DESC m_desc;
    std::shared_ptr<QuerySegments> m_pool;
    std::vector<QuerySegment*> m_covered;
};

/// Runs the segments of one context.
class QueryRecorder
{
public:
    QueryRecorder(Gpu& gpu, CommandStream& stream, std::shared_ptr<QuerySegments> segments)
        : m_gpu(gpu), m_stream(stream), m_segments(std::move(segments))
    {
    }
    ~QueryRecorder();

    /// The recorder holds active queries.
    void Begin(Query& query);
    void End(Query& query);
    void WriteTimestamp(Query& query);

    /// Work that counts follows: in a pass, or a dispatch.
    void Open();
    /// Ends what runs, ahead of the beginning and the end of a pass and of the end of a command buffer.
    void Close();

private:
    struct Lane
    {
        std::vector<Query*> active;
        QuerySegment* running = nullptr;
        std::uint64_t startWorks = 0; ///< the stream's, when `running` began
    };

    Lane& LaneOf(const Query& query) { return m_lanes[static_cast<std::size_t>(query.Heap())]; }
    bool CanShare(const Lane& lane) const;
    void Start(Lane& lane, EQueryHeap heap);
    void Stop(Lane& lane);

    Gpu& m_gpu;
    CommandStream& m_stream;
    std::shared_ptr<QuerySegments> m_segments;
    std::array<Lane, 2> m_lanes; ///< occlusion and statistics
    bool m_isOpen = false;
    QuerySegment* m_lastTime = nullptr; ///< the newest timestamp, held
    std::uint64_t m_lastTimeWorks = 0;
};

} // namespace gleam
