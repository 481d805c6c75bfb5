// Direct3D 11.1: named ranges and markers on the immediate context.
#pragma once
#include "d3d11.h"

DEFINE_GUID(IID_ID3DUserDefinedAnnotation, 0xb2daad8b, 0x03d4, 0x4dbf, 0x95, 0xeb, 0x32, 0xab, 0x4b, 0x63, 0xd0, 0xab);

/// From QueryInterface of the immediate context, whose thread it belongs to. Names become debug labels of the
/// recorded work, visible in graphics debuggers; with GLEAM_DEBUG listing `markers` also lines of debugger output.
struct ID3DUserDefinedAnnotation : public IUnknown
{
    /// Opens a range and gives its depth, 0 for the outermost; -1 when no tool listens (see GetStatus).
    virtual INT STDMETHODCALLTYPE BeginEvent(LPCWSTR Name) = 0;
    /// Closes the innermost range and gives its depth; -1 when no tool listens, -2 when none is open.
    virtual INT STDMETHODCALLTYPE EndEvent() = 0;
    virtual void STDMETHODCALLTYPE SetMarker(LPCWSTR Name) = 0;
    /// Whether a tool listens: a debugger or layer that takes labels, or GLEAM_DEBUG with `markers`.
    virtual BOOL STDMETHODCALLTYPE GetStatus() = 0;
};
