// What factories, adapters and outputs share: private data and a parent, which each keeps alive.
#pragma once

#include "common/ComBase.h"
#include "dxgi1_6.h"

namespace gleam {

template <class Interface, const IID&... Iids>
class DxgiObject : public ComObject<Interface, IID_IDXGIObject, Iids...>
{
public:
    /// A factory has no parent.
    explicit DxgiObject(IUnknown* parent) : m_parent(parent) {}

    HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID name, UINT size, const void* data) override
    {
        return m_privateData.Set(name, size, data);
    }
    HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID name, const IUnknown* object) override
    {
        return m_privateData.SetInterface(name, object);
    }
    HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID name, UINT* size, void* data) override
    {
        return m_privateData.Get(name, size, data);
    }
    HRESULT STDMETHODCALLTYPE GetParent(REFIID riid, void** parent) override
    {
        if (!parent) {
            return E_POINTER;
        }
        *parent = nullptr;
        return m_parent ? m_parent->QueryInterface(riid, parent) : E_NOINTERFACE;
    }

protected:
    IUnknown* Parent() const { return m_parent.Get(); }

private:
    ComPtr<IUnknown> m_parent;
    PrivateData m_privateData;
};

} // namespace gleam
