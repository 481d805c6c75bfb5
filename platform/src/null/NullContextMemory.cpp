// The null context's calls that work on memory, its draws and its queries.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "null/NullDevice.h"

namespace gleam {
namespace {

constexpr UINT DepthMask24 = 0x00ffffff;

/// Memory behind a resource that a call needs; null after the debug line.
NullStorage* Need(const char* call, ID3D11Resource* resource)
{
    NullStorage* storage = StorageOf(resource);
    if (!storage) {
        Refuse(E_INVALIDARG, call, "the resource is null");
    }
    return storage;
}

template <class Object>
bool NeedObject(const char* call, const Object* object)
{
    if (!object) {
        Refuse(E_INVALIDARG, call, "the object is null");
    }
    return object != nullptr;
}

UINT PackUnorm(float value, UINT most)
{
    const double clamped = std::isnan(value) ? 0.0 : std::clamp(static_cast<double>(value), 0.0, 1.0);
    return static_cast<UINT>(std::nearbyint(clamped * most));
}

} // namespace

// --- Draws ---

void NullContext::Draw(UINT vertices, UINT startVertex)
{
    m_calls.Count(ENullCall::Draw);
}

void NullContext::DrawIndexed(UINT indices, UINT startIndex, INT baseVertex)
{
    m_calls.Count(ENullCall::DrawIndexed);
}

void NullContext::DrawInstanced(UINT vertices, UINT instances, UINT startVertex, UINT startInstance)
{
    m_calls.Count(ENullCall::DrawInstanced);
}

void NullContext::DrawIndexedInstanced(UINT indices, UINT instances, UINT startIndex, INT baseVertex,
                                       UINT startInstance)
{
    m_calls.Count(ENullCall::DrawIndexedInstanced);
}

void NullContext::CheckArguments(const char* call, ID3D11Buffer* arguments, UINT offset, UINT bytes)
{
    if (const NullStorage* storage = Need(call, arguments)) {
        CheckIndirect(call, storage->Info(), offset, bytes);
    }
}

void NullContext::DrawInstancedIndirect(ID3D11Buffer* arguments, UINT offset)
{
    m_calls.Count(ENullCall::DrawInstancedIndirect);
    CheckArguments("ID3D11DeviceContext::DrawInstancedIndirect", arguments, offset,
                   sizeof(D3D11_DRAW_INSTANCED_INDIRECT_ARGS));
}

void NullContext::DrawIndexedInstancedIndirect(ID3D11Buffer* arguments, UINT offset)
{
    m_calls.Count(ENullCall::DrawIndexedInstancedIndirect);
    CheckArguments("ID3D11DeviceContext::DrawIndexedInstancedIndirect", arguments, offset,
                   sizeof(D3D11_DRAW_INDEXED_INSTANCED_INDIRECT_ARGS));
}

void NullContext::Dispatch(UINT x, UINT y, UINT z)
{
    m_calls.Count(ENullCall::Dispatch);
    CheckDispatch(x, y, z);
}

void NullContext::DispatchIndirect(ID3D11Buffer* arguments, UINT offset)
{
    m_calls.Count(ENullCall::DispatchIndirect);
    CheckArguments("ID3D11DeviceContext::DispatchIndirect", arguments, offset, 3 * sizeof(UINT));
}

void NullContext::Flush()
{
    m_calls.Count(ENullCall::Flush);
}

// --- Maps, updates and copies ---

HRESULT NullContext::Map(ID3D11Resource* resource, UINT subresource, D3D11_MAP type, UINT flags,
                         D3D11_MAPPED_SUBRESOURCE* mapped)
{
    constexpr const char* call = "ID3D11DeviceContext::Map";
    m_calls.Count(ENullCall::Map);
    NullStorage* storage = Need(call, resource);
    if (!storage) {
        return E_INVALIDARG;
    }
    if (!mapped) {
        return Refuse(E_INVALIDARG, call, "pMappedResource is null");
    }
    *mapped = {};
    const bool isMapped =
        subresource < storage->Info().SubresourceCount() && storage->Subresource(subresource).isMapped;
    if (const HRESULT hr = CheckMap(storage->Info(), subresource, type, flags, isMapped); FAILED(hr)) {
        return hr;
    }
    NullSubresource& sub = storage->Subresource(subresource);
    sub.isMapped = true;
    *mapped = {storage->Data(subresource), sub.rowPitch, sub.slicePitch};
    return S_OK;
}

void NullContext::Unmap(ID3D11Resource* resource, UINT subresource)
{
    constexpr const char* call = "ID3D11DeviceContext::Unmap";
    m_calls.Count(ENullCall::Unmap);
    NullStorage* storage = Need(call, resource);
    if (!storage) {
        return;
    }
    if (subresource >= storage->Info().SubresourceCount() || !storage->Subresource(subresource).isMapped) {
        Refuse(E_INVALIDARG, call, "subresource %u is not mapped", subresource);
        return;
    }
    storage->Subresource(subresource).isMapped = false;
}

void NullContext::UpdateSubresource(ID3D11Resource* resource, UINT subresource, const D3D11_BOX* box, const void* data,
                                    UINT rowPitch, UINT depthPitch)
{
    m_calls.Count(ENullCall::UpdateSubresource);
    NullStorage* storage = Need("ID3D11DeviceContext::UpdateSubresource", resource);
    CopyBox region;
    if (storage && SUCCEEDED(CheckUpdateSubresource(storage->Info(), subresource, box, data, region)) &&
        !region.IsEmpty()) {
        storage->Write(subresource, region, data, rowPitch, depthPitch);
    }
}

void NullContext::CopySubresourceRegion(ID3D11Resource* destination, UINT destinationSubresource, UINT x, UINT y,
                                        UINT z, ID3D11Resource* source, UINT sourceSubresource, const D3D11_BOX* box)
{
    constexpr const char* call = "ID3D11DeviceContext::CopySubresourceRegion";
    m_calls.Count(ENullCall::CopySubresourceRegion);
    NullStorage* to = Need(call, destination);
    NullStorage* from = to ? Need(call, source) : nullptr;
    CopyBox region;
    if (from &&
        SUCCEEDED(CheckCopySubresourceRegion(to->Info(), destinationSubresource, x, y, z, from->Info(),
                                             sourceSubresource, box, to == from, region)) &&
        !region.IsEmpty()) {
        to->CopyFrom(destinationSubresource, x, y, z, *from, sourceSubresource, region);
    }
}

void NullContext::CopyResource(ID3D11Resource* destination, ID3D11Resource* source)
{
    constexpr const char* call = "ID3D11DeviceContext::CopyResource";
    m_calls.Count(ENullCall::CopyResource);
    NullStorage* to = Need(call, destination);
    NullStorage* from = to ? Need(call, source) : nullptr;
    if (!from || FAILED(CheckCopyResource(to->Info(), from->Info(), to == from))) {
        return;
    }
    const ResourceInfo& info = from->Info();
    for (UINT i = 0; i < info.SubresourceCount(); ++i) {
        const UINT mip = i % info.mipLevels;
        to->CopyFrom(i, 0, 0, 0, *from, i, {0, 0, 0, info.MipWidth(mip), info.MipHeight(mip), info.MipDepth(mip)});
    }
}

void NullContext::CopyStructureCount(ID3D11Buffer* destination, UINT offset, ID3D11UnorderedAccessView* view)
{
    constexpr const char* call = "ID3D11DeviceContext::CopyStructureCount";
    m_calls.Count(ENullCall::CopyStructureCount);
    NullStorage* storage = Need(call, destination);
    if (!storage || !NeedObject(call, view)) {
        return;
    }
    const auto& desc = static_cast<NullUnorderedAccessView*>(view)->Description();
    if (SUCCEEDED(CheckCopyStructureCount(storage->Info(), offset, desc))) {
        // No shader runs, so every hidden counter stands at 0.
        constexpr UINT count = 0;
        std::memcpy(storage->Data(0) + offset, &count, sizeof(count));
    }
}

void NullContext::ResolveSubresource(ID3D11Resource* destination, UINT destinationSubresource, ID3D11Resource* source,
                                     UINT sourceSubresource, DXGI_FORMAT format)
{
    constexpr const char* call = "ID3D11DeviceContext::ResolveSubresource";
    m_calls.Count(ENullCall::ResolveSubresource);
    NullStorage* to = Need(call, destination);
    NullStorage* from = to ? Need(call, source) : nullptr;
    if (from && SUCCEEDED(CheckResolveSubresource(to->Info(), destinationSubresource, from->Info(), sourceSubresource,
                                                  format))) {
        // One value stands for all samples of a texel.
        to->CopyFrom(destinationSubresource, 0, 0, 0, *from, sourceSubresource,
                     {0, 0, 0, from->Info().width, from->Info().height, 1});
    }
}

void NullContext::GenerateMips(ID3D11ShaderResourceView* view)
{
    m_calls.Count(ENullCall::GenerateMips);
    if (NeedObject("ID3D11DeviceContext::GenerateMips", view)) {
        const auto* object = static_cast<NullShaderResourceView*>(view);
        CheckGenerateMips(object->Storage().Info(), object->Description());
    }
}

// --- Clears ---

void NullContext::ClearRenderTargetView(ID3D11RenderTargetView* view, const FLOAT color[4])
{
    m_calls.Count(ENullCall::ClearRenderTargetView);
    if (!NeedObject("ID3D11DeviceContext::ClearRenderTargetView", view)) {
        return;
    }
    auto* object = static_cast<NullRenderTargetView*>(view);
    const FormatInfo& format = GetFormatInfo(object->Description().Format);
    std::uint8_t texel[16];
    if (PackColor(format, color, texel)) {
        object->Storage().Fill(object->Range(), texel, format.blockBytes);
    }
}

void NullContext::ClearDepthStencilView(ID3D11DepthStencilView* view, UINT flags, FLOAT depth, UINT8 stencil)
{
    constexpr const char* call = "ID3D11DeviceContext::ClearDepthStencilView";
    m_calls.Count(ENullCall::ClearDepthStencilView);
    if (!NeedObject(call, view)) {
        return;
    }
    if ((flags & ~static_cast<UINT>(D3D11_CLEAR_DEPTH | D3D11_CLEAR_STENCIL)) != 0) {
        Refuse(E_INVALIDARG, call, "ClearFlags 0x%x are unknown", flags);
        return;
    }
    auto* object = static_cast<NullDepthStencilView*>(view);
    NullStorage& storage = object->Storage();
    const ViewRange& range = object->Range();
    const bool clearsDepth = (flags & D3D11_CLEAR_DEPTH) != 0;
    const bool clearsStencil = (flags & D3D11_CLEAR_STENCIL) != 0;
    switch (object->Description().Format) {
    case DXGI_FORMAT_D16_UNORM:
        if (clearsDepth) {
            const auto value = static_cast<UINT16>(PackUnorm(depth, 0xffff));
            storage.Fill(range, &value, sizeof(value));
        }
        break;
    case DXGI_FORMAT_D32_FLOAT:
        if (clearsDepth) {
            storage.Fill(range, &depth, sizeof(depth));
        }
        break;
    case DXGI_FORMAT_D24_UNORM_S8_UINT:
        storage.FillMasked(range, PackUnorm(depth, DepthMask24) | static_cast<UINT>(stencil) << 24,
                           (clearsDepth ? DepthMask24 : 0) | (clearsStencil ? ~DepthMask24 : 0), 0, 1);
        break;
    default:
        // D32_FLOAT_S8X24_UINT: depth in the first word of a texel, stencil in the second.
        storage.FillMasked(range, std::bit_cast<UINT>(depth), clearsDepth ? ~0u : 0, 0, 2);
        storage.FillMasked(range, stencil, clearsStencil ? 0xffu : 0, 1, 2);
        break;
    }
}

void NullContext::ClearAccess(NullUnorderedAccessView* view, const std::uint8_t* texel, UINT word)
{
    const D3D11_UNORDERED_ACCESS_VIEW_DESC& desc = view->Description();
    NullStorage& storage = view->Storage();
    const FormatInfo& format = GetFormatInfo(desc.Format);
    if (desc.ViewDimension != D3D11_UAV_DIMENSION_BUFFER) {
        storage.Fill(view->Range(), texel, format.blockBytes);
        return;
    }
    // Structured and raw views take the first value as each 32-bit word.
    const bool isTyped = desc.Format != DXGI_FORMAT_UNKNOWN && !format.IsTypeless();
    const UINT stride = storage.Info().IsStructured() ? storage.Info().structureByteStride : sizeof(UINT);
    const UINT elementBytes = isTyped ? format.blockBytes : stride;
    const void* pattern = isTyped ? static_cast<const void*>(texel) : &word;
    const UINT patternBytes = isTyped ? format.blockBytes : sizeof(word);
    std::byte* begin = storage.Data(0) + static_cast<size_t>(desc.Buffer.FirstElement) * elementBytes;
    const size_t bytes = static_cast<size_t>(desc.Buffer.NumElements) * elementBytes;
    for (size_t i = 0; i + patternBytes <= bytes; i += patternBytes) {
        std::memcpy(begin + i, pattern, patternBytes);
    }
}

void NullContext::ClearUnorderedAccessViewUint(ID3D11UnorderedAccessView* view, const UINT values[4])
{
    constexpr const char* call = "ID3D11DeviceContext::ClearUnorderedAccessViewUint";
    m_calls.Count(ENullCall::ClearUnorderedAccessViewUint);
    if (!NeedObject(call, view)) {
        return;
    }
    auto* object = static_cast<NullUnorderedAccessView*>(view);
    std::uint8_t texel[16] = {};
    PackBits(GetFormatInfo(object->Description().Format), values, texel);
    ClearAccess(object, texel, values[0]);
}

void NullContext::ClearUnorderedAccessViewFloat(ID3D11UnorderedAccessView* view, const FLOAT values[4])
{
    constexpr const char* call = "ID3D11DeviceContext::ClearUnorderedAccessViewFloat";
    m_calls.Count(ENullCall::ClearUnorderedAccessViewFloat);
    if (!NeedObject(call, view)) {
        return;
    }
    auto* object = static_cast<NullUnorderedAccessView*>(view);
    const FormatInfo& format = GetFormatInfo(object->Description().Format);
    std::uint8_t texel[16] = {};
    if (format.IsInteger() || !PackColor(format, values, texel)) {
        Refuse(E_INVALIDARG, call, "format %s of the view is not a float or normalised one", format.name);
        return;
    }
    ClearAccess(object, texel, 0);
}

// --- Queries ---

void NullContext::Begin(ID3D11Asynchronous* query)
{
    m_calls.Count(ENullCall::Begin);
    if (NeedObject("ID3D11DeviceContext::Begin", query)) {
        static_cast<NullQuery*>(query)->Begin();
    }
}

void NullContext::End(ID3D11Asynchronous* query)
{
    m_calls.Count(ENullCall::End);
    if (NeedObject("ID3D11DeviceContext::End", query)) {
        static_cast<NullQuery*>(query)->End();
    }
}

HRESULT NullContext::GetData(ID3D11Asynchronous* query, void* data, UINT size, UINT flags)
{
    m_calls.Count(ENullCall::GetData);
    if (!NeedObject("ID3D11DeviceContext::GetData", query)) {
        return E_INVALIDARG;
    }
    return static_cast<NullQuery*>(query)->GetData(data, size);
}

} // namespace gleam
