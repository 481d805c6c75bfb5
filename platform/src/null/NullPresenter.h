// Presenting without hardware: frames are counted and stay in the back buffer's memory.
#pragma once

#include "dxgi/Presenter.h"
#include "null/NullResource.h"

namespace gleam {

class NullContext;
class NullDevice;

/// Never waits for a display, so that the processor's cost of frames can be measured.
class NullPresenter final : public Presenter
{
public:
    NullPresenter(NullDevice& device, NullContext& context, NativeWindow& window)
        : m_device(device), m_context(context), m_window(window)
    {
    }
    ~NullPresenter() override;

    HRESULT CreateBackBuffer(const D3D11_TEXTURE2D_DESC& desc) override;
    bool DropBackBuffer() override;
    ID3D11Texture2D* BackBuffer() override { return m_backBuffer; }
    void UnbindBackBuffer() override;
    HRESULT Present(const PresentRequest& request) override;
    HRESULT TestPresent() override;
    bool CanShow(DXGI_COLOR_SPACE_TYPE colorSpace) override
    {
        return colorSpace == DXGI_COLOR_SPACE_RGB_FULL_G22_NONE_P709;
    }
    void SetColorSpace(DXGI_COLOR_SPACE_TYPE) override {}
    void SetHdrMetadata(const DXGI_HDR_METADATA_HDR10*) override {}
    void WindowChanged() override {}

private:
    NullDevice& m_device;
    NullContext& m_context;
    NativeWindow& m_window;
    NullTexture2D* m_backBuffer = nullptr; ///< a use, no reference
};

} // namespace gleam
