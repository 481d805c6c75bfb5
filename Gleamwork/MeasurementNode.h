// One measured event of a frame, with the events inside it: what a performance tracker hands out.
#pragma once

#include "Gleamwork/Export.h"

#include <qs/FixedString.h>
#include <qs/Memory.h>
#include <qs/Set.h>

#include <cstdint>

namespace gw {

/// The device's counters for an event, in the order of `D3D11_QUERY_DATA_PIPELINE_STATISTICS`, whose layout it has.
struct PipelineStatistics
{
    std::uint64_t IAVertices = 0;
    std::uint64_t IAPrimitives = 0;
    std::uint64_t VSInvocations = 0;
    std::uint64_t GSInvocations = 0;
    std::uint64_t GSPrimitives = 0;
    std::uint64_t CInvocations = 0;
    std::uint64_t CPrimitives = 0;
    std::uint64_t PSInvocations = 0;
    std::uint64_t HSInvocations = 0;
    std::uint64_t DSInvocations = 0;
    std::uint64_t CSInvocations = 0;
};

/// A node of a frame's tree. It keeps `parent` of its children right when it is moved or copied itself, so that trees
/// can stand in sets that grow.
struct GW_API MeasurementNode
{
    QS_DECLARE_ALLOC(gw::MeasurementNode)

    MeasurementNode() = default;
    MeasurementNode(const MeasurementNode& other);
    MeasurementNode(MeasurementNode&& other) noexcept;
    MeasurementNode& operator=(const MeasurementNode& other);
    /// Leaves the source without children; the rest of it stays as it is.
    MeasurementNode& operator=(MeasurementNode&& other) noexcept;

    /// Adds a node without values behind the other children. References to those end with the call.
    MeasurementNode& CreateChild();

    qs::FixedString name = qs::FixedString::Empty;
    float cpuTime = 0.0f; ///< milliseconds between begin and end on the processor's clock
    float gpuTime = 0.0f; ///< milliseconds between the event's two timestamps
    PipelineStatistics statistics;
    MeasurementNode* parent = nullptr;       ///< null on a root
    qs::ObjectSet<MeasurementNode> children; ///< in the order in which they began

private:
    void CopyValues(const MeasurementNode& other);
    void AdoptChildren();
};

} // namespace gw
