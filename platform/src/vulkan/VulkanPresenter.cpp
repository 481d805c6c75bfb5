// Back buffers and the steps of a Present.
#include "vulkan/VulkanPresenter.h"

#include "common/DebugOutput.h"
#include "vulkan/Device.h"

namespace gleam {
namespace {

constexpr uint32_t FewestImages = 3; ///< one shown, one waiting, one to draw into

/// False for spaces that Vulkan's surfaces do not know.
bool ToVulkan(DXGI_COLOR_SPACE_TYPE colorSpace, VkColorSpaceKHR& result)
{
    switch (colorSpace) {
    case DXGI_COLOR_SPACE_RGB_FULL_G22_NONE_P709:
        result = VK_COLOR_SPACE_SRGB_NONLINEAR_KHR;
        return true;
    case DXGI_COLOR_SPACE_RGB_FULL_G10_NONE_P709:
        result = VK_COLOR_SPACE_EXTENDED_SRGB_LINEAR_EXT;
        return true;
    case DXGI_COLOR_SPACE_RGB_FULL_G2084_NONE_P2020:
        result = VK_COLOR_SPACE_HDR10_ST2084_EXT;
        return true;
    default:
        return false;
    }
}

VkXYColorEXT ToChromaticity(const UINT16 (&value)[2])
{
    constexpr float unit = 0.00002f;
    return {static_cast<float>(value[0]) * unit, static_cast<float>(value[1]) * unit};
}

} // namespace

VulkanPresenter::VulkanPresenter(VulkanDevice& device, Context& context, NativeWindow& window)
    : m_device(device), m_context(context), m_gpu(device.gpu), m_window(window)
{
    if (window.HasSurface()) {
        m_surface.emplace(m_gpu, window);
        if (!m_surface->Open()) {
            m_surface.reset();
        }
    } else {
        DebugLine("IDXGIFactory::CreateSwapChain: the window has no Vulkan surface, pictures stay in memory");
    }
}

VulkanPresenter::~VulkanPresenter()
{
    if (m_backBuffer) {
        m_backBuffer->RemoveUse();
    }
}

/// Whether the window has the other order of channels only.
bool VulkanPresenter::StoresSwapped(const D3D11_TEXTURE2D_DESC& desc) const
{
    const auto format = static_cast<VkFormat>(GetFormatInfo(desc.Format).vkFormat);
    const VkFormat swapped = SwapRedBlue(format);
    return m_surface && desc.SampleDesc.Count == 1 && (desc.BindFlags & D3D11_BIND_UNORDERED_ACCESS) == 0 &&
           swapped != VK_FORMAT_UNDEFINED && !m_surface->HasFormat(format, m_colorSpace) &&
           m_surface->HasFormat(swapped, m_colorSpace);
}

HRESULT VulkanPresenter::CreateBackBuffer(const D3D11_TEXTURE2D_DESC& desc)
{
    Texture2D* made = nullptr;
    const HRESULT hr = m_device.CreateBackBuffer(desc, StoresSwapped(desc), made);
    if (FAILED(hr)) {
        return hr;
    }
    made->AddUse();
    made->Release();
    m_backBuffer = made;
    if (m_surface) {
        m_surface->Ask(static_cast<VkFormat>(GetFormatInfo(desc.Format).vkFormat), FewestImages);
    }
    return S_OK;
}

bool VulkanPresenter::DropBackBuffer()
{
    if (!m_backBuffer) {
        return true;
    }
    m_context.Unbind(*m_backBuffer, true);
    if (!m_backBuffer->IsIdle()) {
        return false;
    }
    // An open pass may still draw into it.
    m_context.Flush();
    std::exchange(m_backBuffer, nullptr)->RemoveUse();
    return true;
}

void VulkanPresenter::UnbindBackBuffer()
{
    if (m_backBuffer) {
        m_context.Unbind(*m_backBuffer, false);
    }
}

HRESULT VulkanPresenter::RemovedResult() const
{
    return m_gpu.RemovedReason() == DXGI_ERROR_DEVICE_RESET ? DXGI_ERROR_DEVICE_RESET : DXGI_ERROR_DEVICE_REMOVED;
}

void VulkanPresenter::WaitForLatency()
{
    const std::size_t latency = m_device.MaximumFrameLatency();
    while (m_presents.size() >= latency) {
        m_gpu.Wait(m_presents.front());
        m_presents.pop_front();
    }
}

// A processor device's surface shows every picture at once, whatever it was asked for.
bool VulkanPresenter::NeedsPacing(const PresentRequest& request) const
{
    return request.syncInterval > 0 && (!m_surface || m_gpu.isProcessor || request.syncInterval > 1);
}

HRESULT VulkanPresenter::Present(const PresentRequest& request)
{
    if (m_gpu.IsLost()) {
        return RemovedResult();
    }
    if (!m_backBuffer) {
        return DXGI_ERROR_INVALID_CALL;
    }
    HRESULT hr = S_OK;
    try {
        WaitForLatency();
        hr = m_surface ? PresentOnSurface(request) : m_window.IsMinimized() ? DXGI_STATUS_OCCLUDED : S_OK;
        if (!m_surface || hr != S_OK) {
            // What was recorded goes to the device also when nothing is shown.
            m_context.Submit();
        }
        if (!m_surface) {
            m_presents.push_back(m_gpu.RecordingSerial() - 1);
        }
    } catch (const VulkanError& error) {
        hr = m_gpu.Report(error, "IDXGISwapChain::Present");
    }
    if (m_gpu.IsLost()) {
        return RemovedResult();
    }
    if (SUCCEEDED(hr) && NeedsPacing(request)) {
        m_pacer.Wait(request.syncInterval, m_window.RefreshRate());
    }
    return hr;
}

HRESULT VulkanPresenter::PresentOnSurface(const PresentRequest& request)
{
    WindowImage image;
    switch (m_surface->Acquire({request.syncInterval > 0, request.allowTearing}, request.doNotWait, image)) {
    case EAcquire::Occluded:
        return DXGI_STATUS_OCCLUDED;
    case EAcquire::StillDrawing:
        return DXGI_ERROR_WAS_STILL_DRAWING;
    case EAcquire::Ready:
        break;
    }
    try {
        m_context.CopyToWindow(*m_backBuffer, image, request);
        m_context.SubmitFrame(image.sync);
    } catch (const VulkanError&) {
        m_surface->Abandon();
        throw;
    }
    const std::uint64_t serial = m_gpu.RecordingSerial() - 1;
    m_presents.push_back(serial);
    if (!m_gpu.IsLost()) {
        m_surface->Present(image, serial);
    }
    return S_OK;
}

HRESULT VulkanPresenter::TestPresent()
{
    if (m_gpu.IsLost()) {
        return RemovedResult();
    }
    return m_window.IsMinimized() ? DXGI_STATUS_OCCLUDED : S_OK;
}

bool VulkanPresenter::CanShow(DXGI_COLOR_SPACE_TYPE colorSpace)
{
    VkColorSpaceKHR wanted;
    if (!ToVulkan(colorSpace, wanted)) {
        return false;
    }
    return m_surface ? m_surface->HasColorSpace(wanted) : wanted == VK_COLOR_SPACE_SRGB_NONLINEAR_KHR;
}

void VulkanPresenter::SetColorSpace(DXGI_COLOR_SPACE_TYPE colorSpace)
{
    if (ToVulkan(colorSpace, m_colorSpace) && m_surface) {
        m_surface->SetColorSpace(m_colorSpace);
    }
}

void VulkanPresenter::SetHdrMetadata(const DXGI_HDR_METADATA_HDR10* metadata)
{
    if (!m_surface) {
        return;
    }
    if (!metadata) {
        m_surface->SetHdrMetadata(nullptr);
        return;
    }
    constexpr float luminanceUnit = 0.0001f;
    VkHdrMetadataEXT hdr{VK_STRUCTURE_TYPE_HDR_METADATA_EXT};
    hdr.displayPrimaryRed = ToChromaticity(metadata->RedPrimary);
    hdr.displayPrimaryGreen = ToChromaticity(metadata->GreenPrimary);
    hdr.displayPrimaryBlue = ToChromaticity(metadata->BluePrimary);
    hdr.whitePoint = ToChromaticity(metadata->WhitePoint);
    hdr.maxLuminance = static_cast<float>(metadata->MaxMasteringLuminance) * luminanceUnit;
    hdr.minLuminance = static_cast<float>(metadata->MinMasteringLuminance) * luminanceUnit;
    hdr.maxContentLightLevel = metadata->MaxContentLightLevel;
    hdr.maxFrameAverageLightLevel = metadata->MaxFrameAverageLightLevel;
    m_surface->SetHdrMetadata(&hdr);
}

void VulkanPresenter::WindowChanged()
{
    if (m_surface) {
        m_surface->WindowChanged();
    }
}

} // namespace gleam
