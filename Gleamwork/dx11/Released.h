// A device object held for a scope.
#pragma once

#include "Gleamwork/dx11/ViewArray.h"

#include <utility>

namespace api {

/// Owns one reference, or nothing, and releases it at the end of the scope.
template <class Object>
class Released
{
public:
    Released() = default;
    ~Released() { ReleaseObject(m_object); }
    Released(const Released&) = delete;
    Released& operator=(const Released&) = delete;

    Object* operator->() const { return m_object; }
    Object* Get() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }
    /// For out parameters: what is held is released first.
    Object** Address()
    {
        ReleaseObject(m_object);
        return &m_object;
    }
    void** VoidAddress() { return reinterpret_cast<void**>(Address()); }
    /// Hands the reference to the caller.
    Object* Take() { return std::exchange(m_object, nullptr); }
    void Swap(Released& other) { std::swap(m_object, other.m_object); }

private:
    Object* m_object = nullptr;
};

} // namespace api
