// Arrays of device views: raw pointers in a tracked block, released entry by entry.
#pragma once

#include <qs/Memory.h>

#include <cstdint>
#include <cstring>

namespace api {

/// Releases a device object and forgets it; null is accepted.
template <class Object>
void ReleaseObject(Object*& object)
{
    if (object) {
        object->Release();
        object = nullptr;
    }
}

/// Room for `count` views, all null.
template <class View>
View** NewViews(std::int64_t count)
{
    qs::MemoryTrackerSample scope("api::D3D11Renderer views");
    const std::uint64_t bytes = std::uint64_t(count < 1 ? 1 : count) * sizeof(View*);
    void* block = qs::MemoryManager::Allocate(bytes, qs::AllocType::NewArray, qs::DefaultMemoryTag, 0, true);
    return static_cast<View**>(std::memset(block, 0, bytes));
}

/// Releases `count` views and the array itself; null is accepted.
template <class View>
void DeleteViews(View**& views, std::int64_t count)
{
    if (!views) {
        return;
    }
    for (std::int64_t i = 0; i < count; ++i) {
        ReleaseObject(views[i]);
    }
    qs::MemoryManager::Deallocate(views, qs::AllocType::DeleteArray, qs::DefaultMemoryTag, true);
    views = nullptr;
}

} // namespace api
