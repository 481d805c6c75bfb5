// Records segments and sums them up.
#include "vulkan/Queries.h"

#include <algorithm>
#include <cstring>

#include "common/Validation.h"
#include "vulkan/CommandStream.h"

namespace gleam {
namespace {

VkQueryType QueryType(EQueryHeap heap)
{
    switch (heap) {
    case EQueryHeap::Occlusion:
        return VK_QUERY_TYPE_OCCLUSION;
    case EQueryHeap::Statistics:
        return VK_QUERY_TYPE_PIPELINE_STATISTICS;
    default:
        return VK_QUERY_TYPE_TIMESTAMP;
    }
}

// Vulkan delivers the counters in order of their bits, which is the published order.
constexpr VkQueryPipelineStatisticFlags AllStatistics = (1u << StatisticsCount) - 1;
static_assert(VK_QUERY_PIPELINE_STATISTIC_COMPUTE_SHADER_INVOCATIONS_BIT == 1u << (StatisticsCount - 1));
static_assert(sizeof(D3D11_QUERY_DATA_PIPELINE_STATISTICS) == StatisticsCount * sizeof(std::uint64_t));

} // namespace

QuerySegments::~QuerySegments()
{
    for (const auto& pool : m_pools) {
        m_gpu.vk.DestroyQueryPool(m_gpu.device, pool->handle, nullptr);
    }
}

void QuerySegments::GrowNolock(EQueryHeap heap)
{
    VkQueryPoolCreateInfo create{VK_STRUCTURE_TYPE_QUERY_POOL_CREATE_INFO};
    create.queryType = QueryType(heap);
    create.queryCount = QueryPool::Count;
    create.pipelineStatistics = heap == EQueryHeap::Statistics ? AllStatistics : 0;
    auto pool = std::make_unique<QueryPool>();
    Check(m_gpu.vk.CreateQueryPool(m_gpu.device, &create, nullptr, &pool->handle), "vkCreateQueryPool");
    // Reading takes whole pools, also what was never used.
    m_gpu.vk.ResetQueryPool(m_gpu.device, pool->handle, 0, QueryPool::Count);
    auto& free = m_free[static_cast<std::size_t>(heap)];
    for (uint32_t i = QueryPool::Count; i-- > 0;) {
        QuerySegment& segment = pool->segments[i];
        segment.owner = pool.get();
        segment.pool = pool->handle;
        segment.index = i;
        segment.heap = heap;
        free.push_front(&segment);
    }
    m_pools.push_back(std::move(pool));
}

QuerySegment* QuerySegments::Acquire(EQueryHeap heap)
{
    std::lock_guard lock(m_mutex);
    auto& free = m_free[static_cast<std::size_t>(heap)];
    if (free.empty() || free.front()->serial > m_gpu.CompletedSerial()) {
        GrowNolock(heap);
    }
    QuerySegment* segment = free.front();
    free.pop_front();
    segment->holders = 1;
    segment->serial = QuerySegment::Unended;
    segment->isRead = false;
    segment->values = {};
    m_gpu.vk.ResetQueryPool(m_gpu.device, segment->pool, segment->index, 1);
    return segment;
}

void QuerySegments::AddHolder(QuerySegment* segment)
{
    std::lock_guard lock(m_mutex);
    ++segment->holders;
}

void QuerySegments::Release(QuerySegment* segment)
{
    std::lock_guard lock(m_mutex);
    if (--segment->holders == 0) {
        m_free[static_cast<std::size_t>(segment->heap)].push_back(segment);
    }
}

// Some drivers wait for the device at each call, so one call takes all of the pool that has come in.
const std::array<std::uint64_t, StatisticsCount>& QuerySegments::Read(QuerySegment& wanted)
{
    if (wanted.isRead) {
        return wanted.values;
    }
    const std::size_t count = wanted.heap == EQueryHeap::Statistics ? StatisticsCount : 1;
    const std::size_t stride = (count + 1) * sizeof(std::uint64_t);
    std::array<std::uint64_t, QueryPool::Count*(StatisticsCount + 1)> data;
    const VkResult result = m_gpu.vk.GetQueryPoolResults(
        m_gpu.device, wanted.pool, 0, QueryPool::Count, QueryPool::Count * stride, data.data(), stride,
        VK_QUERY_RESULT_64_BIT | VK_QUERY_RESULT_WITH_AVAILABILITY_BIT);
    if (result != VK_NOT_READY) {
        Check(result, "vkGetQueryPoolResults");
    }
    const std::uint64_t completed = m_gpu.CompletedSerial();
    for (QuerySegment& segment : wanted.owner->segments) {
        const std::uint64_t* values = data.data() + segment.index * (count + 1);
        if (!segment.isRead && segment.serial <= completed && values[count] != 0) {
            std::copy_n(values, count, segment.values.begin());
            segment.isRead = true;
        }
    }
    return wanted.values;
}

Query::Query(ID3D11Device* device, std::shared_ptr<QuerySegments> segments, const D3D11_QUERY_DESC& desc)
    : DeviceChild(device), m_desc(desc), m_pool(std::move(segments))
{
}

UINT Query::GetDataSize()
{
    return QueryDataSize(m_desc.Query);
}

bool Query::HasBegin() const
{
    return m_desc.Query != D3D11_QUERY_EVENT && m_desc.Query != D3D11_QUERY_TIMESTAMP;
}

EQueryHeap Query::Heap() const
{
    switch (m_desc.Query) {
    case D3D11_QUERY_OCCLUSION:
    case D3D11_QUERY_OCCLUSION_PREDICATE:
        return EQueryHeap::Occlusion;
    case D3D11_QUERY_PIPELINE_STATISTICS:
        return EQueryHeap::Statistics;
    default:
        return EQueryHeap::Timestamp;
    }
}

void Query::Restart()
{
    for (QuerySegment* segment : m_covered) {
        m_pool->Release(segment);
    }
    m_covered.clear();
    isEnded = false;
}

void Query::Cover(QuerySegment* segment)
{
    m_pool->AddHolder(segment);
    m_covered.push_back(segment);
}

void Query::UncoverLast()
{
    m_pool->Release(m_covered.back());
    m_covered.pop_back();
}

std::array<std::uint64_t, StatisticsCount> Query::Sum()
{
    std::array<std::uint64_t, StatisticsCount> sum{};
    for (QuerySegment* segment : m_covered) {
        const auto& values = m_pool->Read(*segment);
        for (std::size_t i = 0; i < sum.size(); ++i) {
            sum[i] += values[i];
        }
    }
    return sum;
}

void Query::Read(Gpu& gpu, void* data, UINT size)
{
    switch (m_desc.Query) {
    case D3D11_QUERY_EVENT: {
        const BOOL done = TRUE;
        std::memcpy(data, &done, sizeof done);
        return;
    }
    case D3D11_QUERY_OCCLUSION_PREDICATE: {
        const BOOL any = Sum()[0] != 0;
        std::memcpy(data, &any, sizeof any);
        return;
    }
    case D3D11_QUERY_TIMESTAMP_DISJOINT: {
        D3D11_QUERY_DATA_TIMESTAMP_DISJOINT answer{};
        answer.Frequency = static_cast<UINT64>(gpu.timestampFrequency);
        answer.Disjoint = FALSE;
        std::memcpy(data, &answer, sizeof answer);
        return;
    }
    case D3D11_QUERY_TIMESTAMP: {
        const std::uint64_t ticks = Sum()[0] & gpu.timestampMask;
        std::memcpy(data, &ticks, sizeof ticks);
        return;
    }
    default:
        const auto sum = Sum();
        std::memcpy(data, sum.data(), size);
    }
}

void Query::Destroy()
{
    Restart();
    delete this;
}

QueryRecorder::~QueryRecorder()
{
    for (Lane& lane : m_lanes) {
        if (lane.running) {
            m_segments->Release(lane.running);
        }
        for (Query* query : lane.active) {
            query->RemoveUse();
        }
    }
    if (m_lastTime) {
        m_segments->Release(m_lastTime);
    }
}

/// Whether nothing that counts has happened since the segment that runs.
bool QueryRecorder::CanShare(const Lane& lane) const
{
    return lane.running && lane.startWorks == m_stream.Works();
}

void QueryRecorder::Start(Lane& lane, EQueryHeap heap)
{
    if (lane.active.empty()) {
        return;
    }
    lane.running = m_segments->Acquire(heap);
    lane.startWorks = m_stream.Works();
    for (Query* query : lane.active) {
        query->Cover(lane.running);
    }
    const bool isPrecise = heap == EQueryHeap::Occlusion && m_gpu.features.preciseOcclusion;
    m_gpu.vk.CmdBeginQuery(m_stream.Marks(), lane.running->pool, lane.running->index,
                           isPrecise ? VK_QUERY_CONTROL_PRECISE_BIT : 0);
}

void QueryRecorder::Stop(Lane& lane)
{
    if (QuerySegment* segment = std::exchange(lane.running, nullptr)) {
        m_gpu.vk.CmdEndQuery(m_stream.Marks(), segment->pool, segment->index);
        segment->serial = m_stream.Serial();
        m_segments->Release(segment);
    }
}

void QueryRecorder::Begin(Query& query)
{
    query.Restart();
    query.isActive = true;
    query.AddUse();
    Lane& lane = LaneOf(query);
    if (CanShare(lane)) {
        lane.active.push_back(&query);
        query.Cover(lane.running);
        return;
    }
    Stop(lane);
    lane.active.push_back(&query);
    if (m_isOpen) {
        Start(lane, query.Heap());
    }
}

void QueryRecorder::End(Query& query)
{
    Lane& lane = LaneOf(query);
    const bool shares = CanShare(lane);
    if (shares) {
        query.UncoverLast();
    }
    std::erase(lane.active, &query);
    query.isActive = false;
    if (!shares || lane.active.empty()) {
        Stop(lane);
        if (m_isOpen) {
            Start(lane, query.Heap());
        }
    }
    query.RemoveUse();
}

void QueryRecorder::WriteTimestamp(Query& query)
{
    query.Restart();
    if (!m_lastTime || m_lastTime->serial != m_stream.Serial() || m_lastTimeWorks != m_stream.Works()) {
        QuerySegment* segment = m_segments->Acquire(EQueryHeap::Timestamp);
        segment->serial = m_stream.Serial();
        m_gpu.vk.CmdWriteTimestamp2(m_stream.Marks(), VK_PIPELINE_STAGE_2_ALL_COMMANDS_BIT, segment->pool,
                                    segment->index);
        if (m_lastTime) {
            m_segments->Release(m_lastTime);
        }
        m_lastTime = segment;
        m_lastTimeWorks = m_stream.Works();
    }
    query.Cover(m_lastTime);
}

void QueryRecorder::Open()
{
    m_isOpen = true;
    for (std::size_t i = 0; i < m_lanes.size(); ++i) {
        if (!m_lanes[i].running) {
            Start(m_lanes[i], static_cast<EQueryHeap>(i));
        }
    }
}

void QueryRecorder::Close()
{
    m_isOpen = false;
    for (Lane& lane : m_lanes) {
        Stop(lane);
    }
}

} // namespace gleam
