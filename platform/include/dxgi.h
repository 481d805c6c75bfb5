// DXGI 1.0 and 1.1: factories, adapters, outputs, the device's DXGI side, and the swap chain interface.
//
// Adapters are the Vulkan devices of this machine; outputs are SDL2's displays, all of which belong to adapter 0.
// Without a display there is one virtual output of 1920 by 1080 at 60 Hz, so that nothing needs a screen.
// A window handle is an SDL_Window pointer. Swap chains present on its Vulkan surface when it was made with
// SDL_WINDOW_VULKAN on a real display; on any other window, and on the null device, pictures stay in memory.
// Objects are reference counted; an output keeps its adapter alive and an adapter its factory. Unless a call says
// otherwise it may come from any thread.
#pragma once

#include "dxgitype.h"
#include "unknwn.h"

#define DXGI_ENUM_MODES_INTERLACED 1u
#define DXGI_ENUM_MODES_SCALING 2u
#define DXGI_RESOURCE_PRIORITY_MINIMUM 0x28000000u
#define DXGI_RESOURCE_PRIORITY_LOW 0x50000000u
#define DXGI_RESOURCE_PRIORITY_NORMAL 0x78000000u
#define DXGI_RESOURCE_PRIORITY_HIGH 0xa0000000u
#define DXGI_RESOURCE_PRIORITY_MAXIMUM 0xc8000000u
#define DXGI_MAP_READ 1u
#define DXGI_MAP_WRITE 2u
#define DXGI_MAP_DISCARD 4u
#define DXGI_MAX_SWAP_CHAIN_BUFFERS 16
#define DXGI_PRESENT_TEST 0x00000001u
#define DXGI_PRESENT_DO_NOT_SEQUENCE 0x00000002u
#define DXGI_PRESENT_RESTART 0x00000004u
#define DXGI_PRESENT_DO_NOT_WAIT 0x00000008u
#define DXGI_PRESENT_STEREO_PREFER_RIGHT 0x00000010u
#define DXGI_PRESENT_STEREO_TEMPORARY_MONO 0x00000020u
#define DXGI_PRESENT_RESTRICT_TO_OUTPUT 0x00000040u
#define DXGI_PRESENT_USE_DURATION 0x00000100u
#define DXGI_PRESENT_ALLOW_TEARING 0x00000200u
#define DXGI_MWA_NO_WINDOW_CHANGES 0x1u
#define DXGI_MWA_NO_ALT_ENTER 0x2u
#define DXGI_MWA_NO_PRINT_SCREEN 0x4u
#define DXGI_MWA_VALID 0x7u

enum DXGI_SWAP_EFFECT
{
    DXGI_SWAP_EFFECT_DISCARD = 0,
    DXGI_SWAP_EFFECT_SEQUENTIAL = 1,
    DXGI_SWAP_EFFECT_FLIP_SEQUENTIAL = 3,
    DXGI_SWAP_EFFECT_FLIP_DISCARD = 4,
};

enum DXGI_RESIDENCY
{
    DXGI_RESIDENCY_FULLY_RESIDENT = 1,
    DXGI_RESIDENCY_RESIDENT_IN_SHARED_MEMORY = 2,
    DXGI_RESIDENCY_EVICTED_TO_DISK = 3,
};

enum DXGI_SWAP_CHAIN_FLAG
{
    DXGI_SWAP_CHAIN_FLAG_NONPREROTATED = 0x1,
    DXGI_SWAP_CHAIN_FLAG_ALLOW_MODE_SWITCH = 0x2,
    DXGI_SWAP_CHAIN_FLAG_GDI_COMPATIBLE = 0x4,
    DXGI_SWAP_CHAIN_FLAG_RESTRICTED_CONTENT = 0x8,
    DXGI_SWAP_CHAIN_FLAG_RESTRICT_SHARED_RESOURCE_DRIVER = 0x10,
    DXGI_SWAP_CHAIN_FLAG_DISPLAY_ONLY = 0x20,
    DXGI_SWAP_CHAIN_FLAG_FRAME_LATENCY_WAITABLE_OBJECT = 0x40,
    DXGI_SWAP_CHAIN_FLAG_FOREGROUND_LAYER = 0x80,
    DXGI_SWAP_CHAIN_FLAG_FULLSCREEN_VIDEO = 0x100,
    DXGI_SWAP_CHAIN_FLAG_YUV_VIDEO = 0x200,
    DXGI_SWAP_CHAIN_FLAG_HW_PROTECTED = 0x400,
    DXGI_SWAP_CHAIN_FLAG_ALLOW_TEARING = 0x800,
    DXGI_SWAP_CHAIN_FLAG_RESTRICTED_TO_ALL_HOLOGRAPHIC_DISPLAYS = 0x1000,
};

enum DXGI_ADAPTER_FLAG
{
    DXGI_ADAPTER_FLAG_NONE = 0,
    DXGI_ADAPTER_FLAG_REMOTE = 1,
    DXGI_ADAPTER_FLAG_SOFTWARE = 2,
};

struct DXGI_SURFACE_DESC
{
    UINT Width;
    UINT Height;
    DXGI_FORMAT Format;
    DXGI_SAMPLE_DESC SampleDesc;
};

struct DXGI_MAPPED_RECT
{
    INT Pitch;
    BYTE* pBits;
};

struct DXGI_OUTPUT_DESC
{
    /// "\\.\DISPLAY1" and so on, in the order of enumeration.
    WCHAR DeviceName[32];
    RECT DesktopCoordinates;
    BOOL AttachedToDesktop;
    DXGI_MODE_ROTATION Rotation;
    /// SDL's display index plus one, as a pointer; null for the virtual output.
    HMONITOR Monitor;
};

struct DXGI_FRAME_STATISTICS
{
    UINT PresentCount;
    UINT PresentRefreshCount;
    UINT SyncRefreshCount;
    LARGE_INTEGER SyncQPCTime;
    LARGE_INTEGER SyncGPUTime;
};

/// Memory sizes are in bytes: dedicated video memory is the sum of the device's own heaps, or 0 for a device that
/// only shares the system's memory; shared system memory is the sum of its other heaps.
struct DXGI_ADAPTER_DESC
{
    WCHAR Description[128];
    UINT VendorId;
    UINT DeviceId;
    UINT SubSysId;
    UINT Revision;
    SIZE_T DedicatedVideoMemory;
    SIZE_T DedicatedSystemMemory;
    SIZE_T SharedSystemMemory;
    LUID AdapterLuid;
};

struct DXGI_ADAPTER_DESC1
{
    WCHAR Description[128];
    UINT VendorId;
    UINT DeviceId;
    UINT SubSysId;
    UINT Revision;
    SIZE_T DedicatedVideoMemory;
    SIZE_T DedicatedSystemMemory;
    SIZE_T SharedSystemMemory;
    LUID AdapterLuid;
    /// DXGI_ADAPTER_FLAG bits; a processor device and the null device say DXGI_ADAPTER_FLAG_SOFTWARE.
    UINT Flags;
};

struct DXGI_SWAP_CHAIN_DESC
{
    DXGI_MODE_DESC BufferDesc;
    DXGI_SAMPLE_DESC SampleDesc;
    DXGI_USAGE BufferUsage;
    UINT BufferCount;
    HWND OutputWindow;
    BOOL Windowed;
    DXGI_SWAP_EFFECT SwapEffect;
    UINT Flags;
};

struct DXGI_SHARED_RESOURCE
{
    HANDLE Handle;
};

/// What every DXGI object can do: carry private data by identifier, and name the object that made it.
DEFINE_GUID(IID_IDXGIObject, 0xaec22fb8, 0x76f3, 0x4639, 0x9b, 0xe0, 0x28, 0xeb, 0x43, 0xa6, 0x7a, 0x2e);
struct IDXGIObject : public IUnknown
{
    /// Copies `size` bytes; a null `data` with size 0 removes the entry.
    virtual HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID name, UINT size, const void* data) = 0;
    /// Keeps a reference on `object` until the entry or this object goes.
    virtual HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID name, const IUnknown* object) = 0;
    /// `*size` is the room in `data` on entry and the entry's size on return. DXGI_ERROR_NOT_FOUND without an
    /// entry, DXGI_ERROR_MORE_DATA when the room is too small; a null `data` asks for the size alone.
    virtual HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID name, UINT* size, void* data) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetParent(REFIID riid, void** parent) = 0;
};

DEFINE_GUID(IID_IDXGIDeviceSubObject, 0x3d3e0379, 0xf9de, 0x4d58, 0xbb, 0x6c, 0x18, 0xd6, 0x29, 0x92, 0xf1, 0xa6);
struct IDXGIDeviceSubObject : public IDXGIObject
{
    virtual HRESULT STDMETHODCALLTYPE GetDevice(REFIID riid, void** device) = 0;
};

DEFINE_GUID(IID_IDXGIResource, 0x035f3ab4, 0x482e, 0x4e50, 0xb4, 0x1f, 0x8a, 0x7f, 0x8b, 0xd8, 0x96, 0x0b);
struct IDXGIResource : public IDXGIDeviceSubObject
{
    virtual HRESULT STDMETHODCALLTYPE GetSharedHandle(HANDLE* handle) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUsage(DXGI_USAGE* usage) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetEvictionPriority(UINT priority) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetEvictionPriority(UINT* priority) = 0;
};

DEFINE_GUID(IID_IDXGISurface, 0xcafcb56c, 0x6ac3, 0x4889, 0xbf, 0x47, 0x9e, 0x23, 0xbb, 0xd2, 0x60, 0xec);
struct IDXGISurface : public IDXGIDeviceSubObject
{
    virtual HRESULT STDMETHODCALLTYPE GetDesc(DXGI_SURFACE_DESC* desc) = 0;
    virtual HRESULT STDMETHODCALLTYPE Map(DXGI_MAPPED_RECT* rect, UINT flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Unmap() = 0;
};

/// A display. Modes exist for the display formats R8G8B8A8 and B8G8R8A8 (UNORM and UNORM_SRGB), R10G10B10A2_UNORM
/// and R16G16B16A16_FLOAT; any other format has an empty list.
DEFINE_GUID(IID_IDXGIOutput, 0xae02eedb, 0xc735, 0x4690, 0x8d, 0x52, 0x5a, 0x8d, 0xc2, 0x02, 0x13, 0xaa);
struct IDXGIOutput : public IDXGIObject
{
    virtual HRESULT STDMETHODCALLTYPE GetDesc(DXGI_OUTPUT_DESC* desc) = 0;
    /// With a null `modes` sets `*count` to the number of modes. Else fills at most `*count` of them and sets
    /// `*count` to the number filled; DXGI_ERROR_MORE_DATA when there are more. Modes are sorted by width, height
    /// and refresh rate and have unspecified scaling; DXGI_ENUM_MODES_SCALING adds a centred and a stretched form
    /// of each mode that is smaller than the desktop. There are no interlaced modes.
    virtual HRESULT STDMETHODCALLTYPE GetDisplayModeList(DXGI_FORMAT format, UINT flags, UINT* count,
                                                         DXGI_MODE_DESC* modes) = 0;
    /// Finds the mode closest to `mode`, whose zero fields are free. Given fields are matched first, then free ones to
    /// the desktop's values, each group in the order scan-line order, scaling, format, size, refresh rate; each match
    /// filters the list for the next. Width and height are both given or both zero, and so are the parts of the refresh
    /// rate. An unknown format needs `device`. DXGI_ERROR_INVALID_CALL for arguments that break these rules,
    /// DXGI_ERROR_NOT_FOUND when no mode has the format.
    virtual HRESULT STDMETHODCALLTYPE FindClosestMatchingMode(const DXGI_MODE_DESC* mode, DXGI_MODE_DESC* closest,
                                                              IUnknown* device) = 0;
    /// Sleeps until the next multiple of the desktop's refresh period.
    virtual HRESULT STDMETHODCALLTYPE WaitForVBlank() = 0;
    /// Ownership, display surfaces and frame statistics belong to full-screen swap chains: DXGI_ERROR_UNSUPPORTED.
    virtual HRESULT STDMETHODCALLTYPE TakeOwnership(IUnknown* device, BOOL exclusive) = 0;
    virtual void STDMETHODCALLTYPE ReleaseOwnership() = 0;
    /// Gamma is the compositor's here: no control points, and setting gives DXGI_ERROR_UNSUPPORTED.
    virtual HRESULT STDMETHODCALLTYPE GetGammaControlCapabilities(DXGI_GAMMA_CONTROL_CAPABILITIES* caps) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetGammaControl(const DXGI_GAMMA_CONTROL* control) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetGammaControl(DXGI_GAMMA_CONTROL* control) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDisplaySurface(IDXGISurface* surface) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDisplaySurfaceData(IDXGISurface* destination) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFrameStatistics(DXGI_FRAME_STATISTICS* statistics) = 0;
};

DEFINE_GUID(IID_IDXGIAdapter, 0x2411e7e1, 0x12ac, 0x4ccf, 0xbd, 0x14, 0x97, 0x98, 0xe8, 0x53, 0x4d, 0xc0);
struct IDXGIAdapter : public IDXGIObject
{
    /// DXGI_ERROR_NOT_FOUND past the last output.
    virtual HRESULT STDMETHODCALLTYPE EnumOutputs(UINT index, IDXGIOutput** output) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDesc(DXGI_ADAPTER_DESC* desc) = 0;
    /// Answers for IDXGIDevice alone, with the driver's version; DXGI_ERROR_UNSUPPORTED for anything else.
    virtual HRESULT STDMETHODCALLTYPE CheckInterfaceSupport(REFGUID guid, LARGE_INTEGER* driverVersion) = 0;
};

/// The swap chain. Its calls belong to the thread of the immediate context; its window has to outlive it.
///
/// The back buffer has the format that was asked for, whatever the window's is: presenting converts, resolves several
/// samples (in the flip model as well) and scales to the window. Presenting leaves its contents alone.
DEFINE_GUID(IID_IDXGISwapChain, 0x310d36a0, 0xd2e7, 0x4c0a, 0xaa, 0x04, 0x6a, 0x9d, 0x23, 0xb8, 0x88, 0x6a);
struct IDXGISwapChain : public IDXGIDeviceSubObject
{
    /// Shows the back buffer. Interval 0 does not wait for the display; 1 to 4 do, and where no display sets the pace
    /// the call sleeps instead (never on the null device). In the flip model the back buffer is off the output stage
    /// afterwards. DXGI_STATUS_OCCLUDED, a success, when the window is minimised or has no area: nothing was shown.
    /// DXGI_ERROR_DEVICE_REMOVED or DXGI_ERROR_DEVICE_RESET when the device is gone; DXGI_ERROR_INVALID_CALL for
    /// unknown flags, and for DXGI_PRESENT_ALLOW_TEARING with an interval, in full screen or on a chain without it.
    virtual HRESULT STDMETHODCALLTYPE Present(UINT syncInterval, UINT flags) = 0;
    /// Only buffer 0 can be reached.
    virtual HRESULT STDMETHODCALLTYPE GetBuffer(UINT buffer, REFIID riid, void** surface) = 0;
    /// Switches the window. Chains made with DXGI_SWAP_CHAIN_FLAG_ALLOW_MODE_SWITCH take the mode closest to their
    /// buffers' size, others the desktop's. DXGI_ERROR_NOT_CURRENTLY_AVAILABLE when the window system refuses.
    virtual HRESULT STDMETHODCALLTYPE SetFullscreenState(BOOL fullscreen, IDXGIOutput* target) = 0;
    /// Either place may be null.
    virtual HRESULT STDMETHODCALLTYPE GetFullscreenState(BOOL* fullscreen, IDXGIOutput** target) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDesc(DXGI_SWAP_CHAIN_DESC* desc) = 0;
    /// Makes a new back buffer; zeros and DXGI_FORMAT_UNKNOWN keep the count, take the window's size and keep the
    /// format. DXGI_ERROR_INVALID_CALL, with everything as it was, while a caller holds a reference to the back buffer
    /// or a view of it; what is merely bound on the immediate context is unbound.
    virtual HRESULT STDMETHODCALLTYPE ResizeBuffers(UINT count, UINT width, UINT height, DXGI_FORMAT format,
                                                    UINT flags) = 0;
    /// Sizes the window, or in full screen switches the display's mode.
    virtual HRESULT STDMETHODCALLTYPE ResizeTarget(const DXGI_MODE_DESC* mode) = 0;
    /// The output that shows most of the window.
    virtual HRESULT STDMETHODCALLTYPE GetContainingOutput(IDXGIOutput** output) = 0;
    /// Times are nanoseconds of the steady clock.
    virtual HRESULT STDMETHODCALLTYPE GetFrameStatistics(DXGI_FRAME_STATISTICS* statistics) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetLastPresentCount(UINT* count) = 0;
};

DEFINE_GUID(IID_IDXGIFactory, 0x7b7166ec, 0x21c7, 0x44ae, 0xb2, 0x1a, 0xc9, 0xae, 0x32, 0x1a, 0xe3, 0x69);
struct IDXGIFactory : public IDXGIObject
{
    /// DXGI_ERROR_NOT_FOUND past the last adapter.
    virtual HRESULT STDMETHODCALLTYPE EnumAdapters(UINT index, IDXGIAdapter** adapter) = 0;
    virtual HRESULT STDMETHODCALLTYPE MakeWindowAssociation(HWND window, UINT flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetWindowAssociation(HWND* window) = 0;
    /// A chain of either model on `desc->OutputWindow`. DXGI_ERROR_INVALID_CALL for a description that breaks a rule,
    /// or a handle that is no SDL2 window of this process. 0 samples count as 1.
    virtual HRESULT STDMETHODCALLTYPE CreateSwapChain(IUnknown* device, DXGI_SWAP_CHAIN_DESC* desc,
                                                      IDXGISwapChain** swapChain) = 0;
    /// DXGI_ERROR_UNSUPPORTED: a processor device is one of the ordinary adapters here.
    virtual HRESULT STDMETHODCALLTYPE CreateSoftwareAdapter(HMODULE module, IDXGIAdapter** adapter) = 0;
};

/// The DXGI side of a Direct3D device, found by QueryInterface on it; its parent is the adapter.
DEFINE_GUID(IID_IDXGIDevice, 0x54ec77fa, 0x1377, 0x44e6, 0x8c, 0x32, 0x88, 0xfd, 0x5f, 0x44, 0xc8, 0x4c);
struct IDXGIDevice : public IDXGIObject
{
    virtual HRESULT STDMETHODCALLTYPE GetAdapter(IDXGIAdapter** adapter) = 0;
    /// DXGI_ERROR_UNSUPPORTED: surfaces are made as textures.
    virtual HRESULT STDMETHODCALLTYPE CreateSurface(const DXGI_SURFACE_DESC* desc, UINT count, DXGI_USAGE usage,
                                                    const DXGI_SHARED_RESOURCE* shared, IDXGISurface** surface) = 0;
    /// Everything is resident: Vulkan does not tell otherwise.
    virtual HRESULT STDMETHODCALLTYPE QueryResourceResidency(IUnknown* const* resources, DXGI_RESIDENCY* residency,
                                                             UINT count) = 0;
    /// -7 to 7; kept and given back, without effect.
    virtual HRESULT STDMETHODCALLTYPE SetGPUThreadPriority(INT priority) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetGPUThreadPriority(INT* priority) = 0;
};

DEFINE_GUID(IID_IDXGIAdapter1, 0x29038f61, 0x3839, 0x4626, 0x91, 0xfd, 0x08, 0x68, 0x79, 0x01, 0x1a, 0x05);
struct IDXGIAdapter1 : public IDXGIAdapter
{
    virtual HRESULT STDMETHODCALLTYPE GetDesc1(DXGI_ADAPTER_DESC1* desc) = 0;
};

DEFINE_GUID(IID_IDXGIDevice1, 0x77db970f, 0x6276, 0x48ba, 0xba, 0x28, 0x07, 0x01, 0x43, 0xb4, 0x39, 0x2c);
struct IDXGIDevice1 : public IDXGIDevice
{
    /// 0 restores the default of 3; more than 16 is DXGI_ERROR_INVALID_CALL.
    virtual HRESULT STDMETHODCALLTYPE SetMaximumFrameLatency(UINT latency) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMaximumFrameLatency(UINT* latency) = 0;
};

DEFINE_GUID(IID_IDXGIFactory1, 0x770aae78, 0xf26f, 0x4dba, 0xa8, 0x29, 0x25, 0x3c, 0x83, 0xd1, 0xb3, 0x87);
struct IDXGIFactory1 : public IDXGIFactory
{
    virtual HRESULT STDMETHODCALLTYPE EnumAdapters1(UINT index, IDXGIAdapter1** adapter) = 0;
    /// FALSE once the displays differ from those that this factory found.
    virtual BOOL STDMETHODCALLTYPE IsCurrent() = 0;
};

extern "C" {

/// Make a factory that has all interfaces up to IDXGIFactory5, and give the one asked for. E_NOINTERFACE for an
/// interface that no factory has, E_POINTER when `factory` is null.
GLEAM_PLATFORM_API HRESULT WINAPI CreateDXGIFactory(REFIID riid, void** factory);
GLEAM_PLATFORM_API HRESULT WINAPI CreateDXGIFactory1(REFIID riid, void** factory);
}
