// Rules and canonical forms of state objects, input layouts and queries.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <strings.h>

#include "Validation.h"

namespace gleam {
namespace {

constexpr D3D11_RENDER_TARGET_BLEND_DESC NoBlend = {
    FALSE,           D3D11_BLEND_ONE,  D3D11_BLEND_ZERO,   D3D11_BLEND_OP_ADD,
    D3D11_BLEND_ONE, D3D11_BLEND_ZERO, D3D11_BLEND_OP_ADD, D3D11_COLOR_WRITE_ENABLE_ALL};
constexpr D3D11_DEPTH_STENCILOP_DESC NoStencil = {D3D11_STENCIL_OP_KEEP, D3D11_STENCIL_OP_KEEP, D3D11_STENCIL_OP_KEEP,
                                                  D3D11_COMPARISON_ALWAYS};

/// Enumerators may hold any value that a caller cast to them.
template <class E>
bool IsIn(E value, int first, int last)
{
    return static_cast<int>(value) >= first && static_cast<int>(value) <= last;
}

bool IsBlend(D3D11_BLEND blend)
{
    return IsIn(blend, D3D11_BLEND_ZERO, D3D11_BLEND_SRC_ALPHA_SAT) ||
           IsIn(blend, D3D11_BLEND_BLEND_FACTOR, D3D11_BLEND_INV_SRC1_ALPHA);
}

bool IsAlphaBlend(D3D11_BLEND blend)
{
    switch (blend) {
    case D3D11_BLEND_SRC_COLOR:
    case D3D11_BLEND_INV_SRC_COLOR:
    case D3D11_BLEND_DEST_COLOR:
    case D3D11_BLEND_INV_DEST_COLOR:
    case D3D11_BLEND_SRC1_COLOR:
    case D3D11_BLEND_INV_SRC1_COLOR:
        return false;
    default:
        return IsBlend(blend);
    }
}

HRESULT CheckTargetBlend(const char* call, UINT target, const D3D11_RENDER_TARGET_BLEND_DESC& desc)
{
    if ((desc.RenderTargetWriteMask & ~D3D11_COLOR_WRITE_ENABLE_ALL) != 0) {
        return Refuse(E_INVALIDARG, call, "RenderTarget[%u].RenderTargetWriteMask 0x%x has unknown bits", target,
                      desc.RenderTargetWriteMask);
    }
    if (!desc.BlendEnable) {
        return S_OK;
    }
    if (!IsBlend(desc.SrcBlend) || !IsBlend(desc.DestBlend)) {
        return Refuse(E_INVALIDARG, call, "RenderTarget[%u] has an unknown SrcBlend %d or DestBlend %d", target,
                      desc.SrcBlend, desc.DestBlend);
    }
    if (!IsAlphaBlend(desc.SrcBlendAlpha) || !IsAlphaBlend(desc.DestBlendAlpha)) {
        return Refuse(E_INVALIDARG, call,
                      "RenderTarget[%u].SrcBlendAlpha %d and DestBlendAlpha %d must be known and not of colour", target,
                      desc.SrcBlendAlpha, desc.DestBlendAlpha);
    }
    if (!IsIn(desc.BlendOp, D3D11_BLEND_OP_ADD, D3D11_BLEND_OP_MAX) ||
        !IsIn(desc.BlendOpAlpha, D3D11_BLEND_OP_ADD, D3D11_BLEND_OP_MAX)) {
        return Refuse(E_INVALIDARG, call, "RenderTarget[%u] has an unknown BlendOp %d or BlendOpAlpha %d", target,
                      desc.BlendOp, desc.BlendOpAlpha);
    }
    return S_OK;
}

bool IsStencilFace(const D3D11_DEPTH_STENCILOP_DESC& face)
{
    constexpr int first = D3D11_STENCIL_OP_KEEP;
    constexpr int last = D3D11_STENCIL_OP_DECR;
    return IsIn(face.StencilFailOp, first, last) && IsIn(face.StencilDepthFailOp, first, last) &&
           IsIn(face.StencilPassOp, first, last) &&
           IsIn(face.StencilFunc, D3D11_COMPARISON_NEVER, D3D11_COMPARISON_ALWAYS);
}

bool IsFilter(D3D11_FILTER filter)
{
    // Bits: mip 0, mag 2, min 4, anisotropic 6, reduction 7 and 8.
    const auto bits = static_cast<UINT>(filter);
    const bool isAnisotropic = (bits & D3D11_ANISOTROPIC_FILTERING_BIT) != 0;
    return (bits & ~0x1d5u) == 0 && (!isAnisotropic || (bits & 0x15) == 0x15);
}

/// Alignment of an element in a vertex: its components', at most four bytes.
UINT ElementAlignment(const FormatInfo& info)
{
    const UINT component = info.bits[0] % 8 == 0 ? info.bits[0] / 8u : info.blockBytes;
    return std::min(component, 4u);
}

/// The state of one input slot while elements are walked in order.
struct Slot
{
    bool isUsed = false;
    D3D11_INPUT_CLASSIFICATION inputClass{};
    UINT stepRate = 0;
    UINT end = 0;
};

HRESULT CheckElement(const char* call, UINT index, const D3D11_INPUT_ELEMENT_DESC& element)
{
    const FormatInfo& format = GetFormatInfo(element.Format);
    if (!element.SemanticName || !*element.SemanticName) {
        return Refuse(E_INVALIDARG, call, "element %u has no SemanticName", index);
    }
    if (element.InputSlot >= D3D11_IA_VERTEX_INPUT_RESOURCE_SLOT_COUNT) {
        return Refuse(E_INVALIDARG, call, "element %u: InputSlot %u is not below %u", index, element.InputSlot,
                      D3D11_IA_VERTEX_INPUT_RESOURCE_SLOT_COUNT);
    }
    if ((format.support & D3D11_FORMAT_SUPPORT_IA_VERTEX_BUFFER) == 0) {
        return Refuse(E_INVALIDARG, call, "element %u: Format %s (%d) is no vertex format", index, format.name,
                      element.Format);
    }
    if (!IsIn(element.InputSlotClass, D3D11_INPUT_PER_VERTEX_DATA, D3D11_INPUT_PER_INSTANCE_DATA)) {
        return Refuse(E_INVALIDARG, call, "element %u: InputSlotClass %d is unknown", index, element.InputSlotClass);
    }
    if (element.InputSlotClass == D3D11_INPUT_PER_VERTEX_DATA && element.InstanceDataStepRate != 0) {
        return Refuse(E_INVALIDARG, call, "element %u: InstanceDataStepRate of vertex data must be 0", index);
    }
    return S_OK;
}

/// Places an element in its slot.
HRESULT PlaceElement(const char* call, UINT index, const D3D11_INPUT_ELEMENT_DESC& element, Slot& slot, UINT& offset)
{
    const FormatInfo& format = GetFormatInfo(element.Format);
    const UINT alignment = ElementAlignment(format);
    if (slot.isUsed && (slot.inputClass != element.InputSlotClass || slot.stepRate != element.InstanceDataStepRate)) {
        return Refuse(E_INVALIDARG, call, "element %u: InputSlotClass and step rate differ from others of slot %u",
                      index, element.InputSlot);
    }
    offset = element.AlignedByteOffset;
    if (offset == D3D11_APPEND_ALIGNED_ELEMENT) {
        offset = (slot.end + alignment - 1) / alignment * alignment;
    }
    // Vertex strides end at 2048, so no offset reaches it.
    if (offset % alignment != 0 || offset >= 2048) {
        return Refuse(E_INVALIDARG, call, "element %u: AlignedByteOffset %u must be a multiple of %u below 2048", index,
                      offset, alignment);
    }
    slot = {true, element.InputSlotClass, element.InstanceDataStepRate, offset + format.blockBytes};
    return S_OK;
}

bool IsSame(const D3D11_INPUT_ELEMENT_DESC& element, const char* semantic, UINT index)
{
    return element.SemanticIndex == index && strcasecmp(element.SemanticName, semantic) == 0;
}

HRESULT CheckInputsFed(const char* call, std::span<const D3D11_INPUT_ELEMENT_DESC> elements,
                       std::span<const VertexInput> inputs)
{
    for (const VertexInput& input : inputs) {
        bool isFed = false;
        for (const D3D11_INPUT_ELEMENT_DESC& element : elements) {
            isFed = isFed || IsSame(element, input.semantic, input.semanticIndex);
        }
        if (!isFed) {
            return Refuse(E_INVALIDARG, call, "the shader reads %s%u, which no element gives", input.semantic,
                          input.semanticIndex);
        }
    }
    return S_OK;
}

} // namespace

HRESULT CheckBlendState(const D3D11_BLEND_DESC* desc, D3D11_BLEND_DESC& full)
{
    constexpr const char* call = "ID3D11Device::CreateBlendState";
    if (!desc) {
        return Refuse(E_INVALIDARG, call, "pBlendStateDesc is null");
    }
    full = {};
    full.AlphaToCoverageEnable = desc->AlphaToCoverageEnable != 0;
    full.IndependentBlendEnable = desc->IndependentBlendEnable != 0;
    for (UINT i = 0; i < D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT; ++i) {
        if (i != 0 && !full.IndependentBlendEnable) {
            // Without independent blending the first entry rules all targets.
            full.RenderTarget[i] = full.RenderTarget[0];
            continue;
        }
        const D3D11_RENDER_TARGET_BLEND_DESC& target = desc->RenderTarget[i];
        if (const HRESULT hr = CheckTargetBlend(call, i, target); FAILED(hr)) {
            return hr;
        }
        full.RenderTarget[i] = target.BlendEnable ? target : NoBlend;
        full.RenderTarget[i].BlendEnable = target.BlendEnable != 0;
        full.RenderTarget[i].RenderTargetWriteMask = target.RenderTargetWriteMask;
    }
    return S_OK;
}

HRESULT CheckDepthStencilState(const D3D11_DEPTH_STENCIL_DESC* desc, D3D11_DEPTH_STENCIL_DESC& full)
{
    constexpr const char* call = "ID3D11Device::CreateDepthStencilState";
    if (!desc) {
        return Refuse(E_INVALIDARG, call, "pDepthStencilDesc is null");
    }
    full = {FALSE,
            D3D11_DEPTH_WRITE_MASK_ALL,
            D3D11_COMPARISON_LESS,
            FALSE,
            D3D11_DEFAULT_STENCIL_READ_MASK,
            D3D11_DEFAULT_STENCIL_WRITE_MASK,
            NoStencil,
            NoStencil};
    if (desc->DepthEnable) {
        if (!IsIn(desc->DepthFunc, D3D11_COMPARISON_NEVER, D3D11_COMPARISON_ALWAYS) ||
            !IsIn(desc->DepthWriteMask, D3D11_DEPTH_WRITE_MASK_ZERO, D3D11_DEPTH_WRITE_MASK_ALL)) {
            return Refuse(E_INVALIDARG, call, "DepthFunc %d or DepthWriteMask %d is unknown", desc->DepthFunc,
                          desc->DepthWriteMask);
        }
        full.DepthEnable = TRUE;
        full.DepthWriteMask = desc->DepthWriteMask;
        full.DepthFunc = desc->DepthFunc;
    }
    if (desc->StencilEnable) {
        if (!IsStencilFace(desc->FrontFace) || !IsStencilFace(desc->BackFace)) {
            return Refuse(E_INVALIDARG, call, "FrontFace or BackFace has an unknown operation or comparison");
        }
        full.StencilEnable = TRUE;
        full.StencilReadMask = desc->StencilReadMask;
        full.StencilWriteMask = desc->StencilWriteMask;
        full.FrontFace = desc->FrontFace;
        full.BackFace = desc->BackFace;
    }
    return S_OK;
}

HRESULT CheckRasterizerState(const D3D11_RASTERIZER_DESC* desc, D3D11_RASTERIZER_DESC& full)
{
    constexpr const char* call = "ID3D11Device::CreateRasterizerState";
    if (!desc) {
        return Refuse(E_INVALIDARG, call, "pRasterizerDesc is null");
    }
    if (!IsIn(desc->FillMode, D3D11_FILL_WIREFRAME, D3D11_FILL_SOLID)) {
        return Refuse(E_INVALIDARG, call, "FillMode %d is unknown", desc->FillMode);
    }
    if (!IsIn(desc->CullMode, D3D11_CULL_NONE, D3D11_CULL_BACK)) {
        return Refuse(E_INVALIDARG, call, "CullMode %d is unknown", desc->CullMode);
    }
    if (std::isnan(desc->DepthBiasClamp) || std::isnan(desc->SlopeScaledDepthBias)) {
        return Refuse(E_INVALIDARG, call, "DepthBiasClamp or SlopeScaledDepthBias is not a number");
    }
    full = *desc;
    for (BOOL* flag : {&full.FrontCounterClockwise, &full.DepthClipEnable, &full.ScissorEnable, &full.MultisampleEnable,
                       &full.AntialiasedLineEnable}) {
        *flag = *flag != 0;
    }
    // Positive zeros, so that equal states have equal bytes.
    full.DepthBiasClamp += 0.0f;
    full.SlopeScaledDepthBias += 0.0f;
    return S_OK;
}

HRESULT CheckSamplerState(const D3D11_SAMPLER_DESC* desc, D3D11_SAMPLER_DESC& full)
{
    constexpr const char* call = "ID3D11Device::CreateSamplerState";
    if (!desc) {
        return Refuse(E_INVALIDARG, call, "pSamplerDesc is null");
    }
    full = *desc;
    if (!IsFilter(desc->Filter)) {
        return Refuse(E_INVALIDARG, call, "Filter 0x%x is unknown", desc->Filter);
    }
    bool usesBorder = false;
    for (const D3D11_TEXTURE_ADDRESS_MODE mode : {desc->AddressU, desc->AddressV, desc->AddressW}) {
        if (!IsIn(mode, D3D11_TEXTURE_ADDRESS_WRAP, D3D11_TEXTURE_ADDRESS_MIRROR_ONCE)) {
            return Refuse(E_INVALIDARG, call, "address mode %d is unknown", mode);
        }
        usesBorder = usesBorder || mode == D3D11_TEXTURE_ADDRESS_BORDER;
    }
    if (!(desc->MipLODBias >= D3D11_MIP_LOD_BIAS_MIN && desc->MipLODBias <= D3D11_MIP_LOD_BIAS_MAX)) {
        return Refuse(E_INVALIDARG, call, "MipLODBias %g must be from -16 to 15.99", desc->MipLODBias);
    }
    if (std::isnan(desc->MinLOD) || std::isnan(desc->MaxLOD)) {
        return Refuse(E_INVALIDARG, call, "MinLOD or MaxLOD is not a number");
    }
    if ((desc->Filter & D3D11_ANISOTROPIC_FILTERING_BIT) == 0) {
        full.MaxAnisotropy = 0;
    } else if (desc->MaxAnisotropy == 0 || desc->MaxAnisotropy > D3D11_MAX_MAXANISOTROPY) {
        return Refuse(E_INVALIDARG, call, "MaxAnisotropy %u must be from 1 to 16", desc->MaxAnisotropy);
    }
    const UINT reduction = static_cast<UINT>(desc->Filter) >> D3D11_FILTER_REDUCTION_TYPE_SHIFT;
    if (reduction != 1) {
        full.ComparisonFunc = D3D11_COMPARISON_NEVER;
    } else if (!IsIn(desc->ComparisonFunc, D3D11_COMPARISON_NEVER, D3D11_COMPARISON_ALWAYS)) {
        return Refuse(E_INVALIDARG, call, "ComparisonFunc %d is unknown", desc->ComparisonFunc);
    }
    for (float& channel : full.BorderColor) {
        channel = usesBorder ? channel + 0.0f : 0.0f;
    }
    full.MipLODBias += 0.0f;
    full.MinLOD += 0.0f;
    full.MaxLOD += 0.0f;
    return S_OK;
}

UINT QueryDataSize(D3D11_QUERY query)
{
    switch (query) {
    case D3D11_QUERY_EVENT:
    case D3D11_QUERY_OCCLUSION_PREDICATE:
        return sizeof(BOOL);
    case D3D11_QUERY_OCCLUSION:
    case D3D11_QUERY_TIMESTAMP:
        return sizeof(UINT64);
    case D3D11_QUERY_TIMESTAMP_DISJOINT:
        return sizeof(D3D11_QUERY_DATA_TIMESTAMP_DISJOINT);
    case D3D11_QUERY_PIPELINE_STATISTICS:
        return sizeof(D3D11_QUERY_DATA_PIPELINE_STATISTICS);
    default:
        return 0;
    }
}

HRESULT CheckQuery(const D3D11_QUERY_DESC* desc)
{
    constexpr const char* call = "ID3D11Device::CreateQuery";
    if (!desc) {
        return Refuse(E_INVALIDARG, call, "pQueryDesc is null");
    }
    if (QueryDataSize(desc->Query) == 0) {
        return Refuse(E_INVALIDARG, call, "Query %d is unknown or not supported", desc->Query);
    }
    const bool isPredicate = desc->Query == D3D11_QUERY_OCCLUSION_PREDICATE;
    const UINT allowed = isPredicate ? D3D11_QUERY_MISC_PREDICATEHINT : 0;
    if ((desc->MiscFlags & ~allowed) != 0) {
        return Refuse(E_INVALIDARG, call, "MiscFlags 0x%x do not fit query %d", desc->MiscFlags, desc->Query);
    }
    return S_OK;
}

HRESULT CheckInputLayout(const D3D11_INPUT_ELEMENT_DESC* elements, UINT count, std::span<const VertexInput> inputs,
                         std::vector<UINT>& offsets)
{
    constexpr const char* call = "ID3D11Device::CreateInputLayout";
    if (!elements && count != 0) {
        return Refuse(E_INVALIDARG, call, "pInputElementDescs is null");
    }
    if (count > D3D11_IA_VERTEX_INPUT_STRUCTURE_ELEMENT_COUNT) {
        return Refuse(E_INVALIDARG, call, "NumElements %u is above %u", count,
                      D3D11_IA_VERTEX_INPUT_STRUCTURE_ELEMENT_COUNT);
    }
    Slot slots[D3D11_IA_VERTEX_INPUT_RESOURCE_SLOT_COUNT];
    offsets.assign(count, 0);
    for (UINT i = 0; i < count; ++i) {
        HRESULT hr = CheckElement(call, i, elements[i]);
        hr = FAILED(hr) ? hr : PlaceElement(call, i, elements[i], slots[elements[i].InputSlot], offsets[i]);
        if (FAILED(hr)) {
            return hr;
        }
        for (UINT other = 0; other < i; ++other) {
            if (IsSame(elements[other], elements[i].SemanticName, elements[i].SemanticIndex)) {
                return Refuse(E_INVALIDARG, call, "elements %u and %u are both %s%u", other, i,
                              elements[i].SemanticName, elements[i].SemanticIndex);
            }
        }
    }
    return CheckInputsFed(call, {elements, count}, inputs);
}

} // namespace gleam
