// Tables of device values, each in the order of the library's enumeration.
#include "Gleamwork/dx11/D3D11Enums.h"

#include <qs/Log.h>

#include <cstddef>
#include <iterator>

namespace gw2DX11 {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11Enums";

void AssertInvalid(const char* function, unsigned value, unsigned highest)
{
    QS_LOG_ASSERT(FILE_NAME, "gw2DX11", "[gw2DX11::%s] invalid value passed (%u), valid range is [%u, %u]", function,
                  value, 0u, highest);
}

template <class Device, std::size_t Count>
Device Translate(const char* function, const Device (&table)[Count], unsigned value, Device fallback,
                 unsigned highestPrinted = Count - 1)
{
    if (value < Count) {
        return table[value];
    }
    AssertInvalid(function, value, highestPrinted);
    return fallback;
}

constexpr DXGI_FORMAT NONE = DXGI_FORMAT_UNKNOWN;

// Rows by gw::EAttributeFormat, columns by component count.
constexpr DXGI_FORMAT ATTRIBUTE_FORMATS[][4] = {
    {DXGI_FORMAT_R32_FLOAT, DXGI_FORMAT_R32G32_FLOAT, DXGI_FORMAT_R32G32B32_FLOAT, DXGI_FORMAT_R32G32B32A32_FLOAT},
    {DXGI_FORMAT_R32_UINT, DXGI_FORMAT_R32G32_UINT, DXGI_FORMAT_R32G32B32_UINT, DXGI_FORMAT_R32G32B32A32_UINT},
    {DXGI_FORMAT_R32_SINT, DXGI_FORMAT_R32G32_SINT, DXGI_FORMAT_R32G32B32_SINT, DXGI_FORMAT_R32G32B32A32_SINT},
    {DXGI_FORMAT_R16_FLOAT, DXGI_FORMAT_R16G16_FLOAT, NONE, DXGI_FORMAT_R16G16B16A16_FLOAT},
    {DXGI_FORMAT_R16_UNORM, DXGI_FORMAT_R16G16_UNORM, NONE, DXGI_FORMAT_R16G16B16A16_UNORM},
    {DXGI_FORMAT_R16_UINT, DXGI_FORMAT_R16G16_UINT, NONE, DXGI_FORMAT_R16G16B16A16_UINT},
    {DXGI_FORMAT_R16_SNORM, DXGI_FORMAT_R16G16_SNORM, NONE, DXGI_FORMAT_R16G16B16A16_SNORM},
    {DXGI_FORMAT_R16_SINT, DXGI_FORMAT_R16G16_SINT, NONE, DXGI_FORMAT_R16G16B16A16_SINT},
    {DXGI_FORMAT_R8_UNORM, DXGI_FORMAT_R8G8_UNORM, NONE, DXGI_FORMAT_R8G8B8A8_UNORM},
    {DXGI_FORMAT_R8_UINT, DXGI_FORMAT_R8G8_UINT, NONE, DXGI_FORMAT_R8G8B8A8_UINT},
    {DXGI_FORMAT_R8_SNORM, DXGI_FORMAT_R8G8_SNORM, NONE, DXGI_FORMAT_R8G8B8A8_SNORM},
    {DXGI_FORMAT_R8_SINT, DXGI_FORMAT_R8G8_SINT, NONE, DXGI_FORMAT_R8G8B8A8_SINT},
};

// By gw::EFormat.
constexpr DXGI_FORMAT FORMATS[] = {
    NONE,                           // FORMAT_NONE
    DXGI_FORMAT_R8_UNORM,           // FORMAT_R8
    DXGI_FORMAT_R8G8_UNORM,         // FORMAT_RG8
    NONE,                           // FORMAT_RGB8
    DXGI_FORMAT_R8G8B8A8_UNORM,     // FORMAT_RGBA8
    DXGI_FORMAT_R16_UNORM,          // FORMAT_R16
    DXGI_FORMAT_R16G16_UNORM,       // FORMAT_RG16
    NONE,                           // FORMAT_RGB16
    DXGI_FORMAT_R16G16B16A16_UNORM, // FORMAT_RGBA16
    DXGI_FORMAT_R8_SNORM,           // FORMAT_R8S
    DXGI_FORMAT_R8G8_SNORM,         // FORMAT_RG8S
    NONE,                           // FORMAT_RGB8S
    DXGI_FORMAT_R8G8B8A8_SNORM,     // FORMAT_RGBA8S
    DXGI_FORMAT_R16_SNORM,          // FORMAT_R16S
    DXGI_FORMAT_R16G16_SNORM,       // FORMAT_RG16S
    NONE,                           // FORMAT_RGB16S
    DXGI_FORMAT_R16G16B16A16_SNORM, // FORMAT_RGBA16S
    DXGI_FORMAT_R16_FLOAT,          // FORMAT_R16F
    DXGI_FORMAT_R16G16_FLOAT,       // FORMAT_RG16F
    NONE,                           // FORMAT_RGB16F
    DXGI_FORMAT_R16G16B16A16_FLOAT, // FORMAT_RGBA16F
    DXGI_FORMAT_R32_FLOAT,          // FORMAT_R32F
    DXGI_FORMAT_R32G32_FLOAT,       // FORMAT_RG32F
    DXGI_FORMAT_R32G32B32_FLOAT,    // FORMAT_RGB32F
    DXGI_FORMAT_R32G32B32A32_FLOAT, // FORMAT_RGBA32F
    DXGI_FORMAT_R16_SINT,           // FORMAT_R16I
    DXGI_FORMAT_R16G16_SINT,        // FORMAT_RG16I
    NONE,                           // FORMAT_RGB16I
    DXGI_FORMAT_R16G16B16A16_SINT,  // FORMAT_RGBA16I
    DXGI_FORMAT_R32_SINT,           // FORMAT_R32I
    DXGI_FORMAT_R32G32_SINT,        // FORMAT_RG32I
    DXGI_FORMAT_R32G32B32_SINT,     // FORMAT_RGB32I
    DXGI_FORMAT_R32G32B32A32_SINT,  // FORMAT_RGBA32I
    DXGI_FORMAT_R16_UINT,           // FORMAT_R16UI
    DXGI_FORMAT_R16G16_UINT,        // FORMAT_RG16UI
    NONE,                           // FORMAT_RGB16UI
    DXGI_FORMAT_R16G16B16A16_UINT,  // FORMAT_RGBA16UI
    DXGI_FORMAT_R32_UINT,           // FORMAT_R32UI
    DXGI_FORMAT_R32G32_UINT,        // FORMAT_RG32UI
    DXGI_FORMAT_R32G32B32_UINT,     // FORMAT_RGB32UI
    DXGI_FORMAT_R32G32B32A32_UINT,  // FORMAT_RGBA32UI
    NONE,                           // FORMAT_RGBE8
    DXGI_FORMAT_R9G9B9E5_SHAREDEXP, // FORMAT_RGB9E5
    DXGI_FORMAT_R11G11B10_FLOAT,    // FORMAT_RG11B10F
    DXGI_FORMAT_B5G6R5_UNORM,       // FORMAT_RGB565
    NONE,                           // FORMAT_RGBA4
    DXGI_FORMAT_R10G10B10A2_UNORM,  // FORMAT_RGB10A2
    DXGI_FORMAT_R10G10B10A2_UNORM,  // FORMAT_BGR10A2
    NONE,                           // FORMAT_A1RGB5
    DXGI_FORMAT_D16_UNORM,          // FORMAT_D16
    DXGI_FORMAT_D24_UNORM_S8_UINT,  // FORMAT_D24
    DXGI_FORMAT_D24_UNORM_S8_UINT,  // FORMAT_D24S8
    DXGI_FORMAT_D32_FLOAT,          // FORMAT_D32F
    DXGI_FORMAT_BC1_UNORM,          // FORMAT_DXT1
    DXGI_FORMAT_BC2_UNORM,          // FORMAT_DXT3
    DXGI_FORMAT_BC3_UNORM,          // FORMAT_DXT5
    DXGI_FORMAT_BC4_UNORM,          // FORMAT_ATI1N
    DXGI_FORMAT_BC5_UNORM,          // FORMAT_ATI2N
    DXGI_FORMAT_BC6H_UF16,          // FORMAT_BC6H
    DXGI_FORMAT_BC7_UNORM,          // FORMAT_BC7
    NONE,                           // FORMAT_BGR8
    DXGI_FORMAT_B8G8R8A8_UNORM,     // FORMAT_BGRA8
};
static_assert(std::size(FORMATS) == gw::FORMAT_BGRA8 + 1);

} // namespace

D3D11_USAGE ResourceUsage(gw::EResourceUsage value)
{
    static constexpr D3D11_USAGE TABLE[] = {D3D11_USAGE_IMMUTABLE, D3D11_USAGE_DEFAULT, D3D11_USAGE_DYNAMIC,
                                            D3D11_USAGE_STAGING};
    return Translate("ResourceUsage", TABLE, value, D3D11_USAGE_STAGING);
}

D3D11_TEXTURE_ADDRESS_MODE WrapMode(gw::EAddressMode value)
{
    static constexpr D3D11_TEXTURE_ADDRESS_MODE TABLE[] = {D3D11_TEXTURE_ADDRESS_WRAP, D3D11_TEXTURE_ADDRESS_CLAMP,
                                                           D3D11_TEXTURE_ADDRESS_MIRROR, D3D11_TEXTURE_ADDRESS_BORDER};
    // The border mode came later than the message, whose range still ends before it.
    return Translate("WrapMode", TABLE, value, D3D11_TEXTURE_ADDRESS_WRAP, 2u);
}

D3D11_BLEND BlendConstants(gw::EBlendConstants value)
{
    static constexpr D3D11_BLEND TABLE[] = {
        D3D11_BLEND_ZERO,           D3D11_BLEND_ONE,           D3D11_BLEND_SRC_COLOR,
        D3D11_BLEND_INV_SRC_COLOR,  D3D11_BLEND_DEST_COLOR,    D3D11_BLEND_INV_DEST_COLOR,
        D3D11_BLEND_SRC_ALPHA,      D3D11_BLEND_INV_SRC_ALPHA, D3D11_BLEND_DEST_ALPHA,
        D3D11_BLEND_INV_DEST_ALPHA, D3D11_BLEND_SRC_ALPHA_SAT};
    return Translate("BlendConstants", TABLE, value, D3D11_BLEND_ZERO);
}

D3D11_BLEND_OP BlendOperation(gw::EBlendOperation value)
{
    static constexpr D3D11_BLEND_OP TABLE[] = {D3D11_BLEND_OP_ADD, D3D11_BLEND_OP_SUBTRACT, D3D11_BLEND_OP_REV_SUBTRACT,
                                               D3D11_BLEND_OP_MIN, D3D11_BLEND_OP_MAX};
    return Translate("BlendOperation", TABLE, value, D3D11_BLEND_OP_ADD);
}

D3D11_COMPARISON_FUNC CompareFunc(gw::EComparisonFunction value)
{
    static constexpr D3D11_COMPARISON_FUNC TABLE[] = {D3D11_COMPARISON_NEVER,         D3D11_COMPARISON_LESS,
                                                      D3D11_COMPARISON_EQUAL,         D3D11_COMPARISON_LESS_EQUAL,
                                                      D3D11_COMPARISON_GREATER,       D3D11_COMPARISON_NOT_EQUAL,
                                                      D3D11_COMPARISON_GREATER_EQUAL, D3D11_COMPARISON_ALWAYS};
    return Translate("CompareFunc", TABLE, value, D3D11_COMPARISON_NEVER);
}

D3D11_STENCIL_OP StencilOperation(gw::EStencilOperation value)
{
    // Wrapping before saturating: the other way round than the device counts them.
    static constexpr D3D11_STENCIL_OP TABLE[] = {
        D3D11_STENCIL_OP_KEEP, D3D11_STENCIL_OP_ZERO, D3D11_STENCIL_OP_REPLACE,  D3D11_STENCIL_OP_INVERT,
        D3D11_STENCIL_OP_INCR, D3D11_STENCIL_OP_DECR, D3D11_STENCIL_OP_INCR_SAT, D3D11_STENCIL_OP_DECR_SAT};
    return Translate("StencilOperation", TABLE, value, D3D11_STENCIL_OP_KEEP);
}

D3D11_CULL_MODE CullMode(gw::ECullModes value)
{
    static constexpr D3D11_CULL_MODE TABLE[] = {D3D11_CULL_NONE, D3D11_CULL_BACK, D3D11_CULL_FRONT};
    return Translate("CullMode", TABLE, value, D3D11_CULL_NONE);
}

D3D11_FILL_MODE FillMode(gw::EFillModes value)
{
    static constexpr D3D11_FILL_MODE TABLE[] = {D3D11_FILL_SOLID, D3D11_FILL_WIREFRAME};
    return Translate("FillMode", TABLE, value, D3D11_FILL_SOLID);
}

D3D11_FILTER SamplerFilterMode(gw::EFilter value)
{
    static constexpr D3D11_FILTER TABLE[] = {D3D11_FILTER_MIN_MAG_MIP_POINT,
                                             D3D11_FILTER_MIN_MAG_LINEAR_MIP_POINT,
                                             D3D11_FILTER_MIN_MAG_LINEAR_MIP_POINT,
                                             D3D11_FILTER_MIN_MAG_MIP_LINEAR,
                                             D3D11_FILTER_ANISOTROPIC,
                                             D3D11_FILTER_ANISOTROPIC};
    return Translate("SamplerXYFilterMode", TABLE, value, D3D11_FILTER_MIN_MAG_MIP_POINT);
}

D3D_PRIMITIVE_TOPOLOGY PrimitiveTopology(gw::EPrimitiveTopology value)
{
    static constexpr D3D_PRIMITIVE_TOPOLOGY TABLE[] = {
        D3D_PRIMITIVE_TOPOLOGY_UNDEFINED,     D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST, D3D_PRIMITIVE_TOPOLOGY_UNDEFINED,
        D3D_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP, D3D_PRIMITIVE_TOPOLOGY_UNDEFINED,    D3D_PRIMITIVE_TOPOLOGY_LINELIST,
        D3D_PRIMITIVE_TOPOLOGY_LINESTRIP,     D3D_PRIMITIVE_TOPOLOGY_UNDEFINED,    D3D_PRIMITIVE_TOPOLOGY_POINTLIST};
    return Translate("PrimitiveTopology", TABLE, value, D3D_PRIMITIVE_TOPOLOGY_UNDEFINED);
}

UINT DepthStencilClearFlags(gw::EDepthStencilClearMode value)
{
    static constexpr UINT TABLE[] = {D3D11_CLEAR_DEPTH, D3D11_CLEAR_STENCIL, D3D11_CLEAR_DEPTH | D3D11_CLEAR_STENCIL};
    return Translate("DepthStencilClearFlags", TABLE, value, UINT(D3D11_CLEAR_DEPTH));
}

const char* FormatDescUsageToSemanticName(gw::EAttributeUsage value)
{
    static constexpr const char* TABLE[] = {nullptr,   "Position",    "Texcoord",    "Normal",
                                            "Tangent", "Binormal",    "BlendWeight", "BlendIndices",
                                            "Color",   "FloatStream", "Float3Stream"};
    return Translate("FormatDescUsageToSemanticName", TABLE, value, static_cast<const char*>(nullptr));
}

DXGI_FORMAT AttributeFormat(gw::EAttributeFormat format, unsigned count)
{
    if (count < 1 || count > 4) {
        QS_LOG_ASSERT(FILE_NAME, "gw2DX11::AttributeFormat",
                      "[gw2DX11::AttributeFormat] invalid size passed (%u), valid range is [1, 4]", count);
        return DXGI_FORMAT_UNKNOWN;
    }
    constexpr unsigned ROWS = unsigned(std::size(ATTRIBUTE_FORMATS));
    if (format >= ROWS) {
        AssertInvalid("AttributeFormat", format, ROWS - 1);
        return DXGI_FORMAT_UNKNOWN;
    }
    return ATTRIBUTE_FORMATS[format][count - 1];
}

DXGI_FORMAT Format(gw::EFormat format)
{
    return format < std::size(FORMATS) ? FORMATS[format] : DXGI_FORMAT_UNKNOWN;
}

} // namespace gw2DX11

D3D11_MAP GetD3D11MapType(gw::EResourceAccess access)
{
    static constexpr D3D11_MAP TABLE[] = {D3D11_MAP_READ,       D3D11_MAP_READ,          D3D11_MAP_WRITE,
                                          D3D11_MAP_READ_WRITE, D3D11_MAP_WRITE_DISCARD, D3D11_MAP_WRITE_NO_OVERWRITE};
    if (access < std::size(TABLE)) {
        return TABLE[access];
    }
    QS_LOG_ASSERT("Gleamwork/dx11/D3D11Enums", "GetD3D11MapType",
                  "Unknown EBufferUpdateFlags! Please update this function!");
    return D3D11_MAP_READ;
}
