// Sums of the null devices' counters.
#include "null/NullCalls.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <mutex>
#include <vector>

#include "common/DebugOutput.h"
#include "gleam_null_device.h"

namespace gleam {
namespace {

constexpr const char* Names[] = {
#define GLEAM_NULL_CALL(name) #name,
    GLEAM_NULL_CALLS(GLEAM_NULL_CALL)
#undef GLEAM_NULL_CALL
};
constexpr size_t Kinds = std::size(Names);

struct Registry
{
    std::mutex mutex;
    std::vector<NullCallCounts*> live;
    std::array<std::uint64_t, Kinds> ended{};
};

Registry& TheRegistry()
{
    // Never destroyed: a device may outlive static objects.
    static Registry* registry = new Registry;
    return *registry;
}

} // namespace

NullCallCounts::NullCallCounts()
{
    Registry& registry = TheRegistry();
    std::lock_guard lock(registry.mutex);
    registry.live.push_back(this);
}

NullCallCounts::~NullCallCounts()
{
    if (DebugSwitch("null-calls")) {
        WriteDebugLines();
    }
    Registry& registry = TheRegistry();
    std::lock_guard lock(registry.mutex);
    std::erase(registry.live, this);
    for (size_t kind = 0; kind < Kinds; ++kind) {
        registry.ended[kind] += Of(kind);
    }
}

void NullCallCounts::Reset()
{
    for (auto& count : m_counts) {
        count.store(0, std::memory_order_relaxed);
    }
}

void NullCallCounts::WriteDebugLines() const
{
    for (size_t kind = 0; kind < Kinds; ++kind) {
        if (Of(kind) != 0) {
            DebugLine("null device: %s %llu", Names[kind], static_cast<unsigned long long>(Of(kind)));
        }
    }
}

} // namespace gleam

size_t GleamNullCallKinds(void)
{
    return gleam::Kinds;
}

const char* GleamNullCallName(size_t kind)
{
    return kind < gleam::Kinds ? gleam::Names[kind] : nullptr;
}

uint64_t GleamNullCallCount(size_t kind)
{
    if (kind >= gleam::Kinds) {
        return 0;
    }
    gleam::Registry& registry = gleam::TheRegistry();
    std::lock_guard lock(registry.mutex);
    uint64_t sum = registry.ended[kind];
    for (const gleam::NullCallCounts* counts : registry.live) {
        sum += counts->Of(kind);
    }
    return sum;
}

uint64_t GleamNullCallCountOf(const char* name)
{
    for (size_t kind = 0; name && kind < gleam::Kinds; ++kind) {
        if (std::strcmp(gleam::Names[kind], name) == 0) {
            return GleamNullCallCount(kind);
        }
    }
    return std::numeric_limits<uint64_t>::max();
}

void GleamNullResetCalls(void)
{
    gleam::Registry& registry = gleam::TheRegistry();
    std::lock_guard lock(registry.mutex);
    registry.ended.fill(0);
    for (gleam::NullCallCounts* counts : registry.live) {
        counts->Reset();
    }
}
