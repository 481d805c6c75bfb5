// State objects by their description: equal states are one object.
#pragma once

#include <array>
#include <bit>
#include <functional>
#include <mutex>
#include <new>
#include <string_view>
#include <unordered_map>

#include "common/ComBase.h"

namespace gleam {

/// The meaningful fields of a canonical description in words, without the padding that the records have.
std::array<std::uint32_t, 66> KeyOf(const D3D11_BLEND_DESC& desc);
std::array<std::uint32_t, 14> KeyOf(const D3D11_DEPTH_STENCIL_DESC& desc);
std::array<std::uint32_t, 10> KeyOf(const D3D11_RASTERIZER_DESC& desc);
std::array<std::uint32_t, 13> KeyOf(const D3D11_SAMPLER_DESC& desc);

/// The state objects of one kind, each a DeviceChild that the cache uses. At most 4,096 are alive at once, as
/// published; those that nobody holds make room when that number is reached. Callable from any thread.
template <class Desc, class Object>
class StateCache
{
public:
    StateCache() = default;
    StateCache(const StateCache&) = delete;
    StateCache& operator=(const StateCache&) = delete;
    ~StateCache() { Clear(); }

    /// Gives the object for `desc` with a reference added; `make` builds a missing one.
    template <class Make>
    HRESULT Get(const Desc& desc, Object*& object, Make make)
    {
        std::lock_guard lock(m_mutex);
        const Key key = KeyOf(desc);
        if (const auto found = m_objects.find(key); found != m_objects.end()) {
            object = found->second;
            object->AddRef();
            return S_OK;
        }
        if (m_objects.size() >= Limit) {
            DropIdleNolock();
        }
        if (m_objects.size() >= Limit) {
            return D3D11_ERROR_TOO_MANY_UNIQUE_STATE_OBJECTS;
        }
        try {
            const auto place = m_objects.emplace(key, nullptr).first;
            try {
                place->second = make();
            } catch (...) {
                m_objects.erase(place);
                throw;
            }
            place->second->AddUse();
            object = place->second;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }

    /// Lets go of all objects; for the end of the device.
    void Clear()
    {
        std::lock_guard lock(m_mutex);
        for (const auto& entry : m_objects) {
            entry.second->RemoveUse();
        }
        m_objects.clear();
    }

private:
    static constexpr size_t Limit = 4096;

    using Key = decltype(KeyOf(std::declval<const Desc&>()));
    struct Hash
    {
        size_t operator()(const Key& key) const
        {
            return std::hash<std::string_view>()({reinterpret_cast<const char*>(key.data()), sizeof(key)});
        }
    };

    void DropIdleNolock()
    {
        std::erase_if(m_objects, [](const auto& entry) {
            const bool isIdle = entry.second->IsIdle();
            if (isIdle) {
                entry.second->RemoveUse();
            }
            return isIdle;
        });
    }

    std::mutex m_mutex;
    std::unordered_map<Key, Object*, Hash> m_objects;
};

} // namespace gleam
