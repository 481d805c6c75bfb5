// The null device's swap chains.
#include "null/NullPresenter.h"

#include "null/NullDevice.h"
#include "window/NativeWindow.h"

namespace gleam {

NullPresenter::~NullPresenter()
{
    if (m_backBuffer) {
        m_backBuffer->RemoveUse();
    }
}

HRESULT NullPresenter::CreateBackBuffer(const D3D11_TEXTURE2D_DESC& desc)
{
    ID3D11Texture2D* made = nullptr;
    const HRESULT hr = m_device.CreateTexture2D(&desc, nullptr, &made);
    if (SUCCEEDED(hr)) {
        m_backBuffer = static_cast<NullTexture2D*>(made);
        m_backBuffer->AddUse();
        m_backBuffer->Release();
    }
    return hr;
}

bool NullPresenter::DropBackBuffer()
{
    if (!m_backBuffer) {
        return true;
    }
    m_context.Unbind(*m_backBuffer, true);
    if (!m_backBuffer->IsIdle()) {
        return false;
    }
    std::exchange(m_backBuffer, nullptr)->RemoveUse();
    return true;
}

void NullPresenter::UnbindBackBuffer()
{
    if (m_backBuffer) {
        m_context.Unbind(*m_backBuffer, false);
    }
}

HRESULT NullPresenter::Present(const PresentRequest&)
{
    m_device.Calls().Count(ENullCall::Present);
    return m_backBuffer ? TestPresent() : DXGI_ERROR_INVALID_CALL;
}

HRESULT NullPresenter::TestPresent()
{
    return m_window.IsMinimized() ? DXGI_STATUS_OCCLUDED : S_OK;
}

} // namespace gleam
