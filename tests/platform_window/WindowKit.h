// Windows with swap chains on a device of choice.
#pragma once

#include <SDL.h>

#include <memory>

#include "DeviceKit.h"
#include "common/VirtualDisplay.h"
#include "dxgi1_6.h"

/// Where a test's window is and who draws for it.
enum class EStage
{
    Null,   ///< null device, no display
    Memory, ///< Vulkan, no display
    Screen, ///< Vulkan, virtual display
};

class WindowKit : public DeviceTest
{
protected:
    void Start(EStage stage);
    void TearDown() override;

    /// Flip model, RGBA8, two buffers, the window's size.
    static DXGI_SWAP_CHAIN_DESC1 Flip();
    HRESULT MakeChain(const DXGI_SWAP_CHAIN_DESC1& desc);
    /// Clears the back buffer through a new view and lets go of it.
    void ClearBuffer(float r, float g, float b);
    ComPtr<ID3D11Texture2D> BackBuffer();
    HRESULT Present(UINT interval = 0, UINT flags = 0);
    /// Lets the window system catch up until the client area has this size.
    bool WaitForSize(int width, int height);
    /// What the screen shows at this place of the client area, once it shows `expected` or a second has passed.
    unsigned Shown(int x, int y, unsigned expected);

    ComPtr<IDXGIFactory5> m_factory;
    ComPtr<IDXGISwapChain4> m_chain;
    SDL_Window* m_window = nullptr;
    std::unique_ptr<VirtualDisplay> m_display;
};
