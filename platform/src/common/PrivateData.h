// Data that callers attach to objects under an identifier.
#pragma once

#include <cstddef>
#include <mutex>
#include <vector>

#include "ComPtr.h"

namespace gleam {

/// The private data of one object. All calls are safe from any thread.
class PrivateData
{
public:
    HRESULT Set(REFGUID name, UINT size, const void* data);
    HRESULT SetInterface(REFGUID name, const IUnknown* object);
    HRESULT Get(REFGUID name, UINT* size, void* data) const;

private:
    struct Entry
    {
        GUID name;
        std::vector<std::byte> bytes;
        ComPtr<IUnknown> object;
    };

    void Replace(Entry entry, bool remove);

    mutable std::mutex m_mutex;
    std::vector<Entry> m_entries;
};

} // namespace gleam
