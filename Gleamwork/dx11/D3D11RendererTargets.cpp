// Render targets, viewport and scissor, and clears.
#include "Gleamwork/dx11/D3D11Enums.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

#include <qs/Log.h>

#include <algorithm>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RendererTargets";
constexpr char SET_TARGETS[] = "api::D3D11Renderer::SetRenderTargets";

/// A target view and its position in `Texture::rtvSlices`, -1 for the whole-resource view.
struct TargetView
{
    ID3D11RenderTargetView* view = nullptr;
    int index = -1;
};

bool HasUsage(const Texture& texture, gw::ETextureUsageFlag bit)
{
    return (texture.usage & bit) != 0;
}

/// The array slice to draw into, or -1 for the whole resource.
int SettleSlice(const Texture& texture, int slice)
{
    if (slice == -1) {
        return -1;
    }
    if (!HasUsage(texture, gw::eTextureUsageFlag_RenderTargetSlices)) {
        QS_LOG_ASSERT(FILE_NAME, SET_TARGETS,
                      "Trying to change to render target array slice %u, but the render target was not created using "
                      "the eTextureUsageFlag_RenderTargetSlices flag!",
                      unsigned(slice));
        return -1;
    }
    if (slice < 0 || slice >= texture.arraySize) {
        QS_LOG_ASSERT(FILE_NAME, SET_TARGETS,
                      "Trying to change to render target array slice %u, but the render target only has %u array "
                      "slices!",
                      unsigned(slice), unsigned(texture.arraySize));
        return -1; // there is no such view: the whole resource is the nearest one
    }
    return slice;
}

/// The view of one mip of a slice. False when the mip does not count and the slice alone decides.
bool PickMip(const Texture& texture, int slice, int mip, TargetView& picked)
{
    if (slice == -1) {
        QS_LOG_ASSERT(FILE_NAME, SET_TARGETS,
                      "Trying to change to render target mip slice, but no array slice was specified!");
        picked = {texture.rtv, -1};
        return true;
    }
    if (!HasUsage(texture, gw::eTextureUsageFlag_RenderTargetMips)) {
        QS_LOG_ASSERT(FILE_NAME, SET_TARGETS,
                      "Trying to change to render target mip slice %u, but the render target was not created using the "
                      "eTextureUsageFlag_RenderTargetMips flag!",
                      unsigned(mip));
        return false;
    }
    if (mip < 0 || mip >= texture.mipCount) {
        QS_LOG_ASSERT(FILE_NAME, SET_TARGETS,
                      "Trying to change to render target mip slice %u, but the render target only has %u mip slices!",
                      unsigned(mip), unsigned(texture.mipCount));
        return false;
    }
    if (!texture.rtvSlices) {
        return false;
    }
    const int index = texture.arraySize * mip + slice;
    picked = {texture.rtvSlices[index], index};
    return true;
}

TargetView PickTarget(const Texture& texture, int wantedSlice, int wantedMip)
{
    if (wantedSlice == -1 && wantedMip == -1) {
        return {texture.rtv, -1};
    }
    const int slice = SettleSlice(texture, wantedSlice);
    TargetView picked;
    if (wantedMip != -1 && PickMip(texture, slice, wantedMip, picked)) {
        return picked;
    }
    if (slice != -1 && texture.rtvSlices) {
        return {texture.rtvSlices[slice], slice};
    }
    return {texture.rtv, -1};
}

ID3D11DepthStencilView* PickDepth(const Texture& texture, bool readOnly, int slice)
{
    if (slice == -1) {
        return readOnly ? texture.dsvReadOnly : texture.dsv;
    }
    ID3D11DepthStencilView** slices = readOnly ? texture.dsvReadOnlySlices : texture.dsvSlices;
    return slices && slice >= 0 && slice < texture.arraySize ? slices[slice] : nullptr;
}

/// Four numbers against the shadow; false when nothing changed.
bool ChangeRectangle(std::int32_t (&shadow)[4], int a, int b, int c, int d)
{
    if (shadow[0] == a && shadow[1] == b && shadow[2] == c && shadow[3] == d) {
        return false;
    }
    shadow[0] = a;
    shadow[1] = b;
    shadow[2] = c;
    shadow[3] = d;
    return true;
}

} // namespace

void D3D11Renderer::SetRenderTargets(unsigned count, const qs::ObjectHandle* targets, const int* slices,
                                     const int* mips, qs::ObjectHandle depth, bool readOnlyDepth, int depthSlice)
{
    if (count > D3D11StateCache::TARGETS) {
        QS_LOG_ASSERT(FILE_NAME, SET_TARGETS, "Trying to set %u render targets, the maximum is %u!", count,
                      unsigned(D3D11StateCache::TARGETS));
        count = D3D11StateCache::TARGETS;
    }
    UnbindShaderResources();

    const Texture* depthTexture = depth.IsValid() ? m_textures.Get(depth) : nullptr;
    ID3D11DepthStencilView* depthView = depthTexture ? PickDepth(*depthTexture, readOnlyDepth, depthSlice) : nullptr;
    m_state.depthTarget = depth;
    m_state.depthSlice = depthSlice;

    ID3D11RenderTargetView* views[D3D11StateCache::TARGETS] = {};
    for (unsigned i = 0; i < D3D11StateCache::TARGETS; ++i) {
        if (i >= count) {
            m_state.renderTargets[i] = qs::ObjectHandle::Unassigned;
            continue;
        }
        const Texture* texture = targets[i].IsValid() ? m_textures.Get(targets[i]) : nullptr;
        const TargetView picked =
            texture ? PickTarget(*texture, slices ? slices[i] : -1, mips ? mips[i] : -1) : TargetView();
        views[i] = picked.view;
        m_state.renderTargets[i] = targets[i];
        m_state.renderTargetViewIndices[i] = picked.index;
    }
    m_deviceData.context->OMSetRenderTargets(count, views, depthView);

    // Base sizes: a mip does not reduce them.
    const Texture* sized = count > 0 && targets[0].IsValid() ? m_textures.Get(targets[0]) : depthTexture;
    const auto width = static_cast<std::int32_t>(sized ? sized->width : 0);
    const auto height = static_cast<std::int32_t>(sized ? sized->height : 0);
    if (width != m_state.targetWidth || height != m_state.targetHeight) {
        m_state.targetWidth = width;
        m_state.targetHeight = height;
        UpdateGlobalConstants();
    }
    SetViewport(width, height, 0, 0);
}

/// No texture can be read and written at once when none is bound while targets change.
void D3D11Renderer::UnbindShaderResources()
{
    for (auto& resources : m_state.shaderResources) {
        for (int slot = 0; slot < D3D11StateCache::TEXTURE_SLOTS; ++slot) {
            resources.Set(slot, nullptr);
        }
    }
    ApplyTextures();
    for (int slot = 0; slot < D3D11StateCache::UAV_SLOTS; ++slot) {
        m_state.unorderedAccessViews.Set(slot, nullptr);
    }
    ApplyUnorderedAccessViews();
}

qs::ObjectHandle D3D11Renderer::GetCurrentRenderTarget(unsigned index) const
{
    if (index < D3D11StateCache::TARGETS) {
        return m_state.renderTargets[index];
    }
    QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::GetCurrentRenderTarget", "mrtIndex out of bounds!");
    return TEXTURE_NONE;
}

void D3D11Renderer::SetViewport(int width, int height, int x, int y)
{
    if (!ChangeRectangle(m_state.viewport, width, height, x, y)) {
        return;
    }
    const D3D11_VIEWPORT viewport = {static_cast<float>(x),
                                     static_cast<float>(y),
                                     static_cast<float>(width),
                                     static_cast<float>(height),
                                     0.0f,
                                     1.0f};
    m_deviceData.context->RSSetViewports(1, &viewport);
}

void D3D11Renderer::SetScissorRect(int left, int top, int right, int bottom)
{
    if (!ChangeRectangle(m_state.scissor, left, top, right, bottom)) {
        return;
    }
    const D3D11_RECT rectangle = {left, top, right, bottom};
    m_deviceData.context->RSSetScissorRects(1, &rectangle);
}

void D3D11Renderer::ClearRenderTarget(qs::ObjectHandle handle, int slice, const Vector4f& color)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::ClearRenderTarget";
    if (!handle.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "api::D3D11Renderer::ClearRenderTarget - Trying to clear TEXTURE_NONE!");
        return;
    }
    const Texture* texture = m_textures.Get(handle);
    if (!texture) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "api::D3D11Renderer::ClearRenderTarget - Trying to clear nullptr!");
        return;
    }
    const auto value = static_cast<unsigned long long>(handle.GetValue());
    ID3D11RenderTargetView* view = nullptr;
    if (slice == -1) {
        view = texture->rtv;
        if (!view) {
            QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                          "api::D3D11Renderer::ClearRenderTarget failed! Texture with handle %llu doesn't have a "
                          "RenderTargetView!",
                          value);
        }
    } else if (!texture->rtvSlices) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "api::D3D11Renderer::ClearRenderTarget with slice %i failed! Texture with handle %llu doesn't "
                      "have a RenderTargetView array!",
                      slice, value);
    } else {
        const bool hasMips = HasUsage(*texture, gw::eTextureUsageFlag_RenderTargetMips);
        const int count = texture->arraySize * (hasMips ? texture->mipCount : 1);
        view = slice >= 0 && slice < count ? texture->rtvSlices[slice] : nullptr;
    }
    if (view) {
        const float channels[4] = {color.x, color.y, color.z, color.w};
        m_deviceData.context->ClearRenderTargetView(view, channels);
    }
}

void D3D11Renderer::ClearDepthStencil(qs::ObjectHandle handle, int slice, gw::EDepthStencilClearMode mode, float depth,
                                      unsigned char stencil)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::ClearDepthStencil";
    if (!handle.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "api::D3D11Renderer::ClearDepthStencil - Trying to clear TEXTURE_NONE!");
        return;
    }
    const Texture* texture = m_textures.Get(handle);
    if (!texture) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "api::D3D11Renderer::ClearDepthStencil - Trying to clear nullptr!");
        return;
    }
    const auto value = static_cast<unsigned long long>(handle.GetValue());
    ID3D11DepthStencilView* view = PickDepth(*texture, false, m_state.depthSlice);
    if (m_state.depthSlice == -1 && !view) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "api::D3D11Renderer::ClearDepthStencil failed! Texture with handle %llu doesn't have a "
                      "DepthStencilView!",
                      value);
    } else if (m_state.depthSlice != -1 && !texture->dsvSlices) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "api::D3D11Renderer::ClearDepthStencil with slice %i failed! Texture with handle %llu doesn't "
                      "have a DepthStencilView array!",
                      slice, value);
    }
    if (view) {
        m_deviceData.context->ClearDepthStencilView(view, gw2DX11::DepthStencilClearFlags(mode), depth, stencil);
    }
}

void D3D11Renderer::ClearUAVui(StructuredBufferID id, const unsigned* values)
{
    const StructuredBuffer* record = m_structuredBuffers.Get(id);
    const Texture* texture = record ? m_textures.Get(record->texture) : nullptr;
    if (texture && texture->uav) {
        m_deviceData.context->ClearUnorderedAccessViewUint(texture->uav, values);
    }
}

} // namespace api
