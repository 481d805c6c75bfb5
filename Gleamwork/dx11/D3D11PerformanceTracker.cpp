// Frames of measured events, and the trees that come out of them.
#include "Gleamwork/dx11/D3D11PerformanceTracker.h"

#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/ViewArray.h"

#include <cstring>
#include <d3d11.h>
#include <utility>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11PerformanceTracker";
constexpr char END_FRAME[] = "api::D3D11PerformanceTracker::EndFrame";
constexpr char DESTROY[] = "api::D3D11PerformanceTracker::Destroy";
constexpr std::uint32_t MOST_RESULTS = 64;

static_assert(sizeof(gw::PipelineStatistics) == sizeof(D3D11_QUERY_DATA_PIPELINE_STATISTICS));
static_assert(sizeof(D3D11_QUERY_DATA_PIPELINE_STATISTICS) == 88 && sizeof(D3D11_QUERY_DATA_TIMESTAMP_DISJOINT) == 16);

/// What the device answers without being waited for; false, with `data` as it was, when it does not.
bool ReadData(ID3D11DeviceContext* context, ID3D11Query* query, void* data, UINT size)
{
    return query && context->GetData(query, data, size, D3D11_ASYNC_GETDATA_DONOTFLUSH) == S_OK;
}

UINT64 ReadTimestamp(ID3D11DeviceContext* context, ID3D11Query* query)
{
    UINT64 ticks = 0;
    return ReadData(context, query, &ticks, sizeof(ticks)) ? ticks : 0;
}

void Fill(const EventQuery& event, gw::MeasurementNode& node, ID3D11DeviceContext* context, float frequency)
{
    for (const EventQuery* child : event.children) {
        Fill(*child, node.CreateChild(), context, frequency);
    }
    node.name = event.name;
    node.cpuTime = static_cast<float>(event.clock.getTimeMicroseconds()) / 1000.0f;
    const UINT64 start = ReadTimestamp(context, event.startTimestamp);
    const UINT64 end = ReadTimestamp(context, event.endTimestamp);
    node.gpuTime = static_cast<float>(end - start) * 1000.0f / frequency;
    D3D11_QUERY_DATA_PIPELINE_STATISTICS statistics;
    if (ReadData(context, event.statisticsQuery, &statistics, sizeof(statistics))) {
        std::memcpy(static_cast<void*>(&node.statistics), &statistics, sizeof(statistics));
    }
}

void DestroyEvents(EventQuery* event)
{
    if (!event) {
        return;
    }
    for (EventQuery* child : event->children) {
        DestroyEvents(child);
    }
    delete event;
}

/// Takes the last element off; null when there is none.
template <class T>
T* TakeLast(qs::PrimitiveSet<T*>& pool)
{
    if (pool.IsEmpty()) {
        return nullptr;
    }
    T* last = pool[pool.GetSize() - 1];
    pool.RemoveAt(pool.GetSize() - 1);
    return last;
}

} // namespace

D3D11PerformanceTracker::D3D11PerformanceTracker()
    : freeEventQueries(64), freeDisjointQueries(2), freeFrameQueries(1), results(2)
{
}

D3D11PerformanceTracker::~D3D11PerformanceTracker() = default;

EventQuery* D3D11PerformanceTracker::TakeEvent(ID3D11Device* device)
{
    EventQuery* event = TakeLast(freeEventQueries);
    return event ? event : new EventQuery(device);
}

ID3D11Query* D3D11PerformanceTracker::TakeDisjoint(ID3D11Device* device)
{
    if (ID3D11Query* query = TakeLast(freeDisjointQueries)) {
        return query;
    }
    const D3D11_QUERY_DESC desc = {D3D11_QUERY_TIMESTAMP_DISJOINT, 0};
    ID3D11Query* query = nullptr;
    const HRESULT hr = device->CreateQuery(&desc, &query);
    if (FAILED(hr)) {
        GW_ASSERT_DEVICE_ERROR(FILE_NAME, "api::D3D11PerformanceTracker::BeginFrame",
                               "ID3D11Device::CreateQuery failed!\nError: %s\nDescription: %s", hr);
        return nullptr;
    }
    return query;
}

void D3D11PerformanceTracker::BeginFrame(ID3D11Device* device, ID3D11DeviceContext* context,
                                         const qs::FixedString& name)
{
    FrameQuery* frame = TakeLast(freeFrameQueries);
    if (!frame) {
        frame = new FrameQuery;
    }
    frame->disjoint = TakeDisjoint(device);
    if (!frame->disjoint) {
        freeFrameQueries.Add(frame);
        return;
    }
    frame->root = TakeEvent(device);
    context->Begin(frame->disjoint);
    frame->root->Begin(context, name, nullptr);
    currentQuery = frame->root;
    pendingFrames.Push(frame);
}

void D3D11PerformanceTracker::BeginEvent(ID3D11Device* device, ID3D11DeviceContext* context,
                                         const qs::FixedString& name)
{
    if (!currentQuery) {
        return;
    }
    EventQuery* event = TakeEvent(device);
    event->Begin(context, name, currentQuery);
    currentQuery = event;
}

void D3D11PerformanceTracker::EndEvent(ID3D11DeviceContext* context, const qs::FixedString& name)
{
    if (!currentQuery) {
        return;
    }
    if (name != currentQuery->name) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11PerformanceTracker::EndEvent", "EndEvent not called in pairs! %s != %s",
                      currentQuery->name.ToChar(), name.ToChar());
    }
    currentQuery->End(context);
    currentQuery = currentQuery->parent;
}

void D3D11PerformanceTracker::EndFrame(ID3D11DeviceContext* context, const qs::FixedString& name)
{
    if (pendingFrames.IsEmpty()) {
        QS_LOG_ASSERT(FILE_NAME, END_FRAME, "Calling EndFrame, but no frame is pending?");
        return;
    }
    FrameQuery* frame = pendingFrames.GetNewest();
    if (name != frame->root->name) {
        QS_LOG_ASSERT(FILE_NAME, END_FRAME, "EndFrame called on the wrong frame! %s != %s", frame->root->name.ToChar(),
                      name.ToChar());
    }
    frame->root->End(context);
    if (currentQuery != frame->root) {
        QS_LOG_ASSERT(FILE_NAME, END_FRAME,
                      "At this point, the current query should be the root query, but it's not! Something went wrong!");
    }
    currentQuery = nullptr;
    context->End(frame->disjoint);
    CollectFrames(context);
    if (results.GetSize() > MOST_RESULTS) {
        QS_LOG_ASSERT(FILE_NAME, END_FRAME,
                      "Frame results queue is growing larger than 64 (%lu). Make sure you call GetResults or the queue "
                      "will keep growing!",
                      static_cast<unsigned long>(results.GetSize()));
    }
}

void D3D11PerformanceTracker::CollectFrames(ID3D11DeviceContext* context)
{
    while (!pendingFrames.IsEmpty()) {
        const FrameQuery& frame = *pendingFrames.GetOldest();
        D3D11_QUERY_DATA_TIMESTAMP_DISJOINT clock;
        if (!ReadData(context, frame.disjoint, &clock, sizeof(clock))) {
            return;
        }
        if (!clock.Disjoint) {
            results.Add(gw::MeasurementNode());
            Fill(*frame.root, results[results.GetSize() - 1], context, static_cast<float>(clock.Frequency));
        }
        RecycleOldestFrame();
    }
}

void D3D11PerformanceTracker::RecycleOldestFrame()
{
    FrameQuery* frame = pendingFrames.GetOldest();
    RecycleEvents(frame->root);
    freeDisjointQueries.Add(frame->disjoint);
    pendingFrames.Pop();
    frame->root = nullptr;
    frame->disjoint = nullptr;
    freeFrameQueries.Add(frame);
}

void D3D11PerformanceTracker::RecycleEvents(EventQuery* event)
{
    for (EventQuery* child : event->children) {
        RecycleEvents(child);
    }
    freeEventQueries.Add(event);
}

void D3D11PerformanceTracker::GetResults(qs::ObjectSet<gw::MeasurementNode>& set)
{
    std::swap(set, results);
}

void D3D11PerformanceTracker::Destroy()
{
    for (EventQuery* event : freeEventQueries) {
        delete event;
    }
    freeEventQueries.Clear();
    for (ID3D11Query* query : freeDisjointQueries) {
        query->Release();
    }
    freeDisjointQueries.Clear();
    for (FrameQuery* frame : freeFrameQueries) {
        if (frame->root) {
            QS_LOG_ASSERT(FILE_NAME, DESTROY, "Root query should be nullptr here!");
        }
        if (frame->disjoint) {
            QS_LOG_ASSERT(FILE_NAME, DESTROY, "Disjoint query should be nullptr here!");
        }
        delete frame;
    }
    freeFrameQueries.Clear();
    while (!pendingFrames.IsEmpty()) {
        FrameQuery* frame = pendingFrames.GetOldest();
        DestroyEvents(frame->root);
        ReleaseObject(frame->disjoint);
        delete frame;
        pendingFrames.Pop();
    }
    if (!pendingFrames.IsEmpty()) {
        QS_LOG_ASSERT(FILE_NAME, DESTROY, "Something went wrong!");
    }
    currentQuery = nullptr;
    results.Clear();
}

} // namespace api
