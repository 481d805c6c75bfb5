// The abstract graphics interface: start and stop of a device, frames on it, and the list of displays.
#pragma once

#include "Gleamwork/Export.h"

#include <qs/Memory.h>
#include <qs/Set.h>

#include <cstdint>

class IApp;

namespace gw {
struct Display;
class RenderFrame;
struct RenderFrameDesc;
} // namespace gw

namespace api {

struct D3D11APIData;
/// The device record of the back end; there is one back end, so there is one such record.
using APIData = D3D11APIData;

/// One graphics interface. The application calls, on its start-up thread: `CreateAPI`, `InitCaps`, `Init`, later
/// `Exit`, then deletes the object. Render frames are made between `Init` and `Exit` and must be gone before `Exit`.
/// Nothing here takes a lock.
class GW_API IAPI
{
public:
    QS_DECLARE_ALLOC(api::IAPI)

    virtual ~IAPI() = default;

    /// Loads the shader compiler. True in every case: a missing compiler shows at the first compile.
    virtual bool InitCaps() = 0;
    /// Settles the display mode of the application's `AppStartupDesc`, makes a window when there is none, starts the
    /// device and makes the one renderer. False without a display, a window or a working renderer. A device that
    /// cannot be started ends the process with exit code 1, after a message box.
    virtual bool Init() = 0;
    /// Undoes `Init`: renderer, context, device, and the window when it was made here.
    virtual void Exit() = 0;
    /// A frame that presents on a window or an offscreen target; owned by the caller. Null when none can be made.
    virtual gw::RenderFrame* CreateRenderFrame(const gw::RenderFrameDesc& desc) = 0;
    /// Moves a frame's window to another size, display or mode. A null frame asserts. The last argument is not read.
    virtual void ResizeRenderFrameWindow(gw::RenderFrame* frame, unsigned width, unsigned height,
                                         unsigned refreshNumerator, unsigned refreshDenominator, int displayIndex,
                                         bool fullscreen, bool fakeFullscreen, bool tripleBuffering, bool verticalSync,
                                         int) = 0;
    /// True when there is no device or no context. The argument is not read.
    virtual bool IsDeviceLost(bool) const = 0;
    /// Replaces the content of `displays` by one record per output of every adapter, in enumeration order. May be
    /// called before `Init`.
    virtual void CollectDisplays(qs::ObjectSet<gw::Display, qs::DefaultComparator<gw::Display>>& displays) = 0;
    /// A short text for a window title.
    virtual const char* GetTitleInfo() const = 0;

    /// Makes the process's one renderer on this API and its prefab states; false when a state could not be made.
    bool CreateRenderer();
    /// Destroys the renderer; without one this does nothing.
    void DestroyRenderer();

    IApp* GetApp() { return app; }
    APIData* GetAPIData() { return apiData; }

    /// Whether any of the render support bits of `mask` is set. The back end sets 15.
    static bool TestRenderSupport(unsigned char mask) { return (s_Properties & mask) != 0; }

    static unsigned char s_Properties;

protected:
    IAPI(IApp* application, APIData* data) : app(application), apiData(data) {}
    IAPI(const IAPI&) = delete;
    IAPI& operator=(const IAPI&) = delete;

    IApp* app;        ///< not owned
    APIData* apiData; ///< owned by the derived class
};

/// A new Direct3D 11 API for an application; the caller deletes it. Null when memory ran out.
GW_API IAPI* CreateAPI(IApp* app);

} // namespace api
