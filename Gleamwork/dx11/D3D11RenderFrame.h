// The render frame that has a window: swap chain, presentation, full screen and high dynamic range.
#pragma once

#include "Gleamwork/RenderFrame.h"

struct IDXGISwapChain;
struct IDXGISwapChain4;
struct DXGI_SWAP_CHAIN_DESC1;
struct HWND__;

namespace qs {
class ScratchString;
}

namespace api {

struct D3D11APIData;

/// Mastering display of a picture with high dynamic range, in the layout of `DXGI_HDR_METADATA_HDR10`: chromaticities
/// in units of 0.00002, mastering luminances in units of 0.0001 nit, light levels in nits.
struct HdrMetadata
{
    std::uint16_t RedPrimary[2];
    std::uint16_t GreenPrimary[2];
    std::uint16_t BluePrimary[2];
    std::uint16_t WhitePoint[2];
    std::uint32_t MaxMasteringLuminance;
    std::uint32_t MinMasteringLuminance;
    std::uint16_t MaxContentLightLevel;
    std::uint16_t MaxFrameAverageLightLevel;
};

/// A frame on a window's swap chain. The back buffer is a texture of the renderer like any other, under a handle that
/// changes with each resize; the depth buffer is the manager's target "DepthBuffer", and the default frame has a colour
/// target "FakeFullScreenFrameBuffer" beside it. Both follow the frame's size once the immediate queue is drained.
///
/// Threads: everything runs on the render thread, which owns the immediate context. The frame must not be made or
/// destroyed while something renders.
///
/// A failure to make the swap chain, and a removed device, end the process after a message box; see
/// HandleDeviceRemoved.
class GW_API D3D11RenderFrame : public gw::RenderFrame
{
public:
    QS_DECLARE_ALLOC(api::D3D11RenderFrame)

    /// The description's window has to be open and to outlive the frame. `data` is not owned.
    D3D11RenderFrame(D3D11APIData* data, gw::Renderer* renderer, const gw::RenderFrameDesc& desc,
                     gw::EFormat backBuffer, gw::EFormat depth);
    ~D3D11RenderFrame() override;

    /// Makes chain and back buffer; a 0 takes the frame's own size. The sample count is reduced to what the device can.
    bool CreateFrameBufferSurfaces(unsigned width, unsigned height) override;
    /// Leaves full screen, releases both and drains the device. Always true.
    bool ReleaseFrameBufferSurfaces() override;
    /// For a window that got another size or state. The frame's views and targets take `width` by `height`, the chain
    /// `outputWidth` by `outputHeight`, or the same where those are 0. Nobody may hold the back buffer's views.
    bool Resize(unsigned width, unsigned height, bool leaveFullscreen, unsigned outputWidth,
                unsigned outputHeight) override;
    bool OnPreResetDevice() override { return true; }
    bool OnPostResetDevice() override { return true; }
    /// Follows the output that shows most of the window; to be called when the window has moved. `force` sends the
    /// colour space also when it did not change. False when the output could not be found or asked, which switches high
    /// dynamic range off. True at once for a frame that did not ask for it.
    bool CheckDisplayHDRSupport(bool force) override;
    /// Presents. Only the default frame waits for the display.
    void FlipBuffers(bool present) override;

    /// Stores the values for the next Resize and FlipBuffers; no device work.
    void SetProperties(bool fullscreen, unsigned refreshNumerator, unsigned refreshDenominator, bool verticalSync,
                       bool tripleBuffering);

    /// The newest way to a chain that the system offers, and the way of older systems. The result is an HRESULT.
    long CreateSwapChain(unsigned width, unsigned height);
    long CreateSwapChainCompatibility(unsigned width, unsigned height);
    /// Wraps buffer 0 of the chain as frame buffer 0. False without a chain or when a view fails.
    bool CreateFrameBufferTextures();
    void ReleaseFrameBufferTextures();
    /// Brings the chain to this state, when it is in the other.
    void SetFullscreen(int state);
    /// Takes effect only for frames that asked for high dynamic range, and falls back to the standard colour space when
    /// the chain refuses any step.
    void SetHDR(bool enable, bool force);
    /// Before full screen is entered: makes buffers and display mode agree.
    void ResizeTargetIfNeeded(unsigned width, unsigned height);
    void CheckTearingSupport();

    /// Tells the user that the device is gone and ends the process: exit code 1 when the device hung or was called
    /// wrongly, else 0. `hr` is what `operation` gave.
    void HandleDeviceRemoved(long hr, const char* operation);
    void AddFixSuggestionsToErrorString(qs::ScratchString& text);

    /// Null when there is none.
    IDXGISwapChain* GetSwapChain() const { return swapChain; }

private:
    HWND__* GetNativeWindow() const;
    void ReduceSampleCount();
    void HandleSwapChainFailure(long hr, unsigned width, unsigned height);
    void ForbidWindowChanges();
    DXGI_SWAP_CHAIN_DESC1 DescribeFlipChain(unsigned width, unsigned height) const;
    void ResizeChain(unsigned width, unsigned height);
    void ResetHDR();
    bool StartHDR(IDXGISwapChain4& chain);

    D3D11APIData* apiData;
    IDXGISwapChain* swapChain = nullptr; ///< owned reference
    std::uint32_t swapChainFlags = 0;    ///< passed again to every resize
    bool verticalSync;
    bool tripleBuffering;
    bool tearingSupported = false;
    HdrMetadata hdrMetadata;
};

} // namespace api
