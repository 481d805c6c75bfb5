// Times the events of frames on the processor and on the device.
//
// The renderer holds no tracker: whoever wants GPU times makes one, calls BeginFrame and EndFrame around a frame and
// BeginEvent and EndEvent around its parts, on the thread that owns the immediate context, and takes the results from
// time to time. The device answers frames later; no call waits for it.
#pragma once

#include "Gleamwork/MeasurementNode.h"

#include <qs/Profile.h>

struct ID3D11Device;
struct ID3D11DeviceContext;
struct ID3D11Query;

namespace api {

/// One measured event. Its queries are made once and used for event after event; one that could not be made is null
/// and left out.
struct GW_API EventQuery
{
    QS_DECLARE_ALLOC(api::EventQuery)

    /// Each failure asserts.
    explicit EventQuery(ID3D11Device* device);
    /// Leaves the children alone.
    ~EventQuery();
    EventQuery(const EventQuery&) = delete;
    EventQuery& operator=(const EventQuery&) = delete;

    /// `parent` is null for a frame's root.
    void Begin(ID3D11DeviceContext* context, const qs::FixedString& eventName, EventQuery* parentQuery);
    void End(ID3D11DeviceContext* context);

    qs::FixedString name;
    ID3D11Query* startTimestamp = nullptr;
    ID3D11Query* endTimestamp = nullptr;
    ID3D11Query* statisticsQuery = nullptr;
    qs::PreciseClock clock;
    EventQuery* parent = nullptr;
    qs::PrimitiveSet<EventQuery*> children; ///< events that began inside this one; not owned
};

/// A frame whose answers are still out.
struct FrameQuery
{
    QS_DECLARE_ALLOC(api::FrameQuery)

    EventQuery* root = nullptr;
    ID3D11Query* disjoint = nullptr; ///< tells the clock's frequency, and whether the times can be trusted
};

/// Frames in the order in which they began. It starts with room for one and doubles.
class GW_API FrameQueryRing
{
public:
    FrameQueryRing();
    ~FrameQueryRing();
    FrameQueryRing(const FrameQueryRing&) = delete;
    FrameQueryRing& operator=(const FrameQueryRing&) = delete;

    void Push(FrameQuery* frame);
    /// Takes the oldest frame off; there must be one.
    void Pop();
    FrameQuery* GetOldest() const { return m_storage[m_front]; }
    FrameQuery* GetNewest() const { return m_storage[(m_back + m_capacity - 1) % m_capacity]; }
    bool IsEmpty() const { return m_count == 0; }
    std::uint32_t GetCount() const { return m_count; }
    std::uint32_t GetCapacity() const { return m_capacity; }

private:
    void Grow();

    FrameQuery** m_storage;
    std::uint32_t m_capacity = 1;
    std::uint32_t m_count = 0;
    std::int32_t m_front = -1; ///< -1 when empty
    std::uint32_t m_back = 0;  ///< behind the newest
};

class GW_API D3D11PerformanceTracker
{
public:
    QS_DECLARE_ALLOC(api::D3D11PerformanceTracker)

    D3D11PerformanceTracker();
    /// Frees the containers only: Destroy has to come before, while the device lives.
    virtual ~D3D11PerformanceTracker();
    D3D11PerformanceTracker(const D3D11PerformanceTracker&) = delete;
    D3D11PerformanceTracker& operator=(const D3D11PerformanceTracker&) = delete;

    /// Releases every query and record. The tracker can be used again afterwards.
    void Destroy();
    /// Without a disjoint query, which asserts, no frame begins.
    void BeginFrame(ID3D11Device* device, ID3D11DeviceContext* context, const qs::FixedString& name);
    /// Closes the newest frame and collects every frame whose answers are in, oldest first. Frames whose times were
    /// disturbed are dropped. Asserts without a frame, with another name than the frame's or with an event still open.
    void EndFrame(ID3D11DeviceContext* context, const qs::FixedString& name);
    /// Opens an event inside the innermost open one; outside a frame it does nothing.
    void BeginEvent(ID3D11Device* device, ID3D11DeviceContext* context, const qs::FixedString& name);
    /// Closes the innermost open event, whatever its name; another name asserts.
    void EndEvent(ID3D11DeviceContext* context, const qs::FixedString& name);
    /// Swaps the finished roots, oldest first, with what the set holds: empty it before. Above 64 waiting frames each
    /// EndFrame asserts, and none is dropped.
    void GetResults(qs::ObjectSet<gw::MeasurementNode>& set);

private:
    EventQuery* TakeEvent(ID3D11Device* device);
    ID3D11Query* TakeDisjoint(ID3D11Device* device);
    void CollectFrames(ID3D11DeviceContext* context);
    void RecycleEvents(EventQuery* event);
    void RecycleOldestFrame();

    EventQuery* currentQuery = nullptr; ///< innermost open event; null outside a frame
    qs::PrimitiveSet<EventQuery*> freeEventQueries;
    qs::PrimitiveSet<ID3D11Query*> freeDisjointQueries;
    qs::PrimitiveSet<FrameQuery*> freeFrameQueries;
    FrameQueryRing pendingFrames;
    qs::ObjectSet<gw::MeasurementNode> results;
};

} // namespace api
