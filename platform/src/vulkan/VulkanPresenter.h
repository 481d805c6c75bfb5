// Presenting for devices over Vulkan: on a window's surface, or in memory where there is none.
#pragma once

#include <deque>
#include <optional>

#include "dxgi/Presenter.h"
#include "vulkan/Texture.h"
#include "vulkan/WindowSurface.h"

namespace gleam {

class Context;

class VulkanPresenter final : public Presenter
{
public:
    VulkanPresenter(VulkanDevice& device, Context& context, NativeWindow& window);
    ~VulkanPresenter() override;

    HRESULT CreateBackBuffer(const D3D11_TEXTURE2D_DESC& desc) override;
    bool DropBackBuffer() override;
    ID3D11Texture2D* BackBuffer() override { return m_backBuffer; }
    void UnbindBackBuffer() override;
    HRESULT Present(const PresentRequest& request) override;
    HRESULT TestPresent() override;
    bool CanShow(DXGI_COLOR_SPACE_TYPE colorSpace) override;
    void SetColorSpace(DXGI_COLOR_SPACE_TYPE colorSpace) override;
    void SetHdrMetadata(const DXGI_HDR_METADATA_HDR10* metadata) override;
    void WindowChanged() override;

private:
    bool StoresSwapped(const D3D11_TEXTURE2D_DESC& desc) const;
    HRESULT PresentOnSurface(const PresentRequest& request);
    void WaitForLatency();
    bool NeedsPacing(const PresentRequest& request) const;
    HRESULT RemovedResult() const;

    VulkanDevice& m_device;
    Context& m_context;
    Gpu& m_gpu;
    NativeWindow& m_window;
    std::optional<WindowSurface> m_surface;
    VkColorSpaceKHR m_colorSpace = VK_COLOR_SPACE_SRGB_NONLINEAR_KHR;
    Texture2D* m_backBuffer = nullptr;    ///< a use, no reference
    std::deque<std::uint64_t> m_presents; ///< submissions that are not known to be done
    PresentPacer m_pacer;
};

} // namespace gleam
