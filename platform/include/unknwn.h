// IUnknown, the root of every interface here: reference counting and finding an object's other interfaces.
#pragma once

#include "windows.h"

DEFINE_GUID(IID_IUnknown, 0x00000000, 0x0000, 0x0000, 0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46);

/// The destructor is neither virtual nor public on purpose: objects end by Release alone, and a virtual destructor
/// would add entries to every table of virtual functions.
struct IUnknown
{
    /// Gives the interface `riid` of the same object with a reference added, or E_NOINTERFACE and a null in
    /// `*object`; E_POINTER when `object` is null. Callable from any thread.
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) = 0;
    /// Both return the new count, which is of use to tests only. Callable from any thread.
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

protected:
    ~IUnknown() = default;
};
