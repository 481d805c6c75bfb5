// A counted pointer to an interface.
#pragma once

#include <utility>

#include "unknwn.h"

namespace gleam {

template <class T>
class ComPtr
{
public:
    ComPtr() = default;
    ComPtr(std::nullptr_t) {}
    /// Adds a reference.
    ComPtr(T* object) : m_object(object)
    {
        if (m_object) {
            m_object->AddRef();
        }
    }
    ComPtr(const ComPtr& other) : ComPtr(other.m_object) {}
    ComPtr(ComPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    ~ComPtr()
    {
        if (m_object) {
            m_object->Release();
        }
    }

    ComPtr& operator=(ComPtr other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }

    /// Takes over a reference that the caller owns.
    static ComPtr Adopt(T* object)
    {
        ComPtr result;
        result.m_object = object;
        return result;
    }

    T* Get() const { return m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    explicit operator bool() const { return m_object != nullptr; }

    /// For out parameters: drops what is held and gives the place of the pointer.
    T** Put()
    {
        *this = nullptr;
        return &m_object;
    }
    void** PutVoid() { return reinterpret_cast<void**>(Put()); }

    /// Hands the reference to the caller.
    T* Detach() { return std::exchange(m_object, nullptr); }

private:
    T* m_object = nullptr;
};

} // namespace gleam
