// What a swap chain asks of the device that it presents for.
#pragma once

#include <memory>

#include "d3d11.h"
#include "dxgi1_6.h"

namespace gleam {

class NativeWindow;

/// One Present.
struct PresentRequest
{
    UINT syncInterval = 0;
    bool allowTearing = false;
    bool doNotWait = false;
    DXGI_SCALING scaling = DXGI_SCALING_STRETCH;
    /// Shows where the picture does not cover the window.
    DXGI_RGBA background{};
};

/// The device's side of one swap chain. It owns the back buffer, on which it holds a use but no reference, so that the
/// references of callers can be told. Belongs to the thread of the immediate context.
class Presenter
{
public:
    virtual ~Presenter() = default;

    /// The first back buffer; there must be none.
    virtual HRESULT CreateBackBuffer(const D3D11_TEXTURE2D_DESC& desc) = 0;
    /// Takes the back buffer off the immediate context and lets go of it. False, with the buffer still there, when
    /// a caller holds the buffer or a view of it.
    virtual bool DropBackBuffer() = 0;
    virtual ID3D11Texture2D* BackBuffer() = 0;
    /// Takes the back buffer off the output stage, as presenting in the flip model does.
    virtual void UnbindBackBuffer() = 0;

    /// S_OK, DXGI_STATUS_OCCLUDED when the picture could not be seen and was dropped, DXGI_ERROR_WAS_STILL_DRAWING for
    /// `doNotWait`, or the reason for which the device is gone.
    virtual HRESULT Present(const PresentRequest& request) = 0;
    /// As Present would answer, without doing it.
    virtual HRESULT TestPresent() = 0;

    virtual bool CanShow(DXGI_COLOR_SPACE_TYPE colorSpace) = 0;
    /// One that CanShow.
    virtual void SetColorSpace(DXGI_COLOR_SPACE_TYPE colorSpace) = 0;
    /// Null for none. A display that does not take it goes on as before.
    virtual void SetHdrMetadata(const DXGI_HDR_METADATA_HDR10* metadata) = 0;
    /// The window got another size or state.
    virtual void WindowChanged() = 0;
};

/// What devices of this platform are besides ID3D11Device.
class PresentDevice
{
public:
    /// The window outlives the presenter; it may have no surface. Null after a line of debugger output.
    virtual std::unique_ptr<Presenter> CreatePresenter(NativeWindow& window) = 0;

protected:
    ~PresentDevice() = default;
};

/// Sleeps from present to present where no display sets the pace.
class PresentPacer
{
public:
    /// Until `interval` periods of `refreshRate` Hz behind the last call's end.
    void Wait(UINT interval, UINT refreshRate);

private:
    long long m_last = 0; ///< nanoseconds of the steady clock
};

} // namespace gleam
