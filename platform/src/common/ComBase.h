// Bases of the platform's objects: reference counting, finding interfaces, and what every device object shares.
#pragma once

#include <atomic>

#include "ComPtr.h"
#include "PrivateData.h"
#include "d3d11.h"

namespace gleam {

/// Answers for the interfaces of one inheritance line, all of which share one pointer.
template <const IID&... Iids>
bool HasInterface(REFIID riid)
{
    return riid == IID_IUnknown || (... || (riid == Iids));
}

/// An object with one line of interfaces that ends in `Interface`; `Iids` are their identifiers. It starts with one
/// reference, which belongs to its maker.
template <class Interface, const IID&... Iids>
class ComObject : public Interface
{
public:
    ComObject() = default;
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override
    {
        if (!object) {
            return E_POINTER;
        }
        *object = nullptr;
        if (!HasInterface<Iids...>(riid)) {
            return QueryOther(riid, object);
        }
        *object = static_cast<Interface*>(this);
        this->AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return m_references.fetch_add(1, std::memory_order_relaxed) + 1; }

    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) {
            delete this;
        }
        return left;
    }

protected:
    virtual ~ComObject() = default;

    /// Interfaces outside the line; `*object` is null on entry. A success adds the reference.
    virtual HRESULT QueryOther(REFIID riid, void** object) { return E_NOINTERFACE; }

private:
    std::atomic<ULONG> m_references{1};
};

/// An object of a device. It is counted twice: references of callers, which also hold the device, and uses by the
/// device itself (bindings, views, work in flight), which do not, so that a device with objects still bound can end.
/// The object lives until both counts are 0. It starts with one reference of its maker.
template <class Interface, const IID&... Iids>
class DeviceChild : public Interface
{
public:
    explicit DeviceChild(ID3D11Device* device) : m_device(device) { m_device->AddRef(); }
    DeviceChild(const DeviceChild&) = delete;
    DeviceChild& operator=(const DeviceChild&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override
    {
        if (!object) {
            return E_POINTER;
        }
        *object = nullptr;
        if (!HasInterface<IID_ID3D11DeviceChild, Iids...>(riid)) {
            return E_NOINTERFACE;
        }
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override
    {
        const ULONG before = m_references.fetch_add(1, std::memory_order_relaxed);
        if (before == 0) {
            AddUse();
            m_device->AddRef();
        }
        return before + 1;
    }

    ULONG STDMETHODCALLTYPE Release() override
    {
        // The device outlives this call: its reference goes last.
        ID3D11Device* device = m_device;
        const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) {
            RemoveUse();
            device->Release();
        }
        return left;
    }

    /// Counts of the device's own uses.
    void AddUse() { m_uses.fetch_add(1, std::memory_order_relaxed); }
    void RemoveUse()
    {
        if (m_uses.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            Destroy();
        }
    }

    /// Whether nobody but one user of the device knows the object. Only that user may rely on the answer.
    bool IsIdle() const
    {
        return m_references.load(std::memory_order_acquire) == 0 && m_uses.load(std::memory_order_acquire) == 1;
    }

    void STDMETHODCALLTYPE GetDevice(ID3D11Device** device) override
    {
        if (device) {
            m_device->AddRef();
            *device = m_device;
        }
    }

    HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID name, UINT* size, void* data) override
    {
        return m_privateData.Get(name, size, data);
    }
    HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID name, UINT size, const void* data) override
    {
        return m_privateData.Set(name, size, data);
    }
    HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID name, const IUnknown* object) override
    {
        return m_privateData.SetInterface(name, object);
    }

protected:
    virtual ~DeviceChild()
    {
        // Only when a constructor of a derived class threw.
        if (m_references.load(std::memory_order_relaxed) != 0) {
            m_device->Release();
        }
    }

    /// Ends an object that nobody holds or uses; may put it on a list instead of deleting it at once.
    virtual void Destroy() { delete this; }

    ID3D11Device* Device() const { return m_device; }

private:
    ID3D11Device* m_device;
    std::atomic<ULONG> m_references{1};
    std::atomic<ULONG> m_uses{1};
    PrivateData m_privateData;
};

/// Replaces a use-counted pointer.
template <class T>
void AssignUse(T*& place, T* object)
{
    if (place == object) {
        return;
    }
    if (object) {
        object->AddUse();
    }
    if (T* old = std::exchange(place, object)) {
        old->RemoveUse();
    }
}

} // namespace gleam
