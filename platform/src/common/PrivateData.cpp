// Private data as a short list: objects rarely carry more than a debug name.
#include "PrivateData.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace gleam {

void PrivateData::Replace(Entry entry, bool remove)
{
    // What is replaced dies outside the lock: releasing an interface may run any code.
    Entry old{};
    std::lock_guard lock(m_mutex);
    auto at = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.name == entry.name; });
    if (at == m_entries.end()) {
        if (!remove) {
            m_entries.push_back(std::move(entry));
        }
        return;
    }
    old = std::move(*at);
    if (remove) {
        m_entries.erase(at);
    } else {
        *at = std::move(entry);
    }
}

HRESULT PrivateData::Set(REFGUID name, UINT size, const void* data)
{
    if (!data && size != 0) {
        return E_INVALIDARG;
    }
    try {
        const auto* bytes = static_cast<const std::byte*>(data);
        Replace({name, data ? std::vector<std::byte>(bytes, bytes + size) : std::vector<std::byte>(), {}}, !data);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

HRESULT PrivateData::SetInterface(REFGUID name, const IUnknown* object)
{
    try {
        Replace({name, {}, ComPtr<IUnknown>(const_cast<IUnknown*>(object))}, !object);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

HRESULT PrivateData::Get(REFGUID name, UINT* size, void* data) const
{
    if (!size) {
        return E_INVALIDARG;
    }
    std::lock_guard lock(m_mutex);
    const auto at = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.name == name; });
    if (at == m_entries.end()) {
        *size = 0;
        return DXGI_ERROR_NOT_FOUND;
    }
    IUnknown* object = at->object.Get();
    const void* source = object ? static_cast<const void*>(&object) : at->bytes.data();
    const UINT needed = object ? static_cast<UINT>(sizeof(object)) : static_cast<UINT>(at->bytes.size());
    const UINT room = *size;
    *size = needed;
    if (!data) {
        return S_OK;
    }
    if (room < needed) {
        return DXGI_ERROR_MORE_DATA;
    }
    if (needed != 0) {
        std::memcpy(data, source, needed);
    }
    if (object) {
        object->AddRef();
    }
    return S_OK;
}

} // namespace gleam
