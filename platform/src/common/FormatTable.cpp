// The format table. Uses follow the published tables of format support for feature level 11.
#include "FormatTable.h"

#ifndef VK_NO_PROTOTYPES
#define VK_NO_PROTOTYPES
#endif
#include <vulkan/vulkan_core.h>

namespace gleam {
namespace {

// Groups of D3D11_FORMAT_SUPPORT bits that come together in the published tables.
constexpr UINT Ld = D3D11_FORMAT_SUPPORT_SHADER_LOAD;
constexpr UINT Txt = D3D11_FORMAT_SUPPORT_TEXTURE1D | D3D11_FORMAT_SUPPORT_TEXTURE2D | D3D11_FORMAT_SUPPORT_TEXTURE3D |
                     D3D11_FORMAT_SUPPORT_TEXTURECUBE | D3D11_FORMAT_SUPPORT_MIP | D3D11_FORMAT_SUPPORT_CPU_LOCKABLE |
                     D3D11_FORMAT_SUPPORT_CAST_WITHIN_BIT_LAYOUT;
constexpr UINT Tex = Txt | Ld;
// Depth textures have no 3D form, compressed ones no 1D form.
constexpr UINT Dtx = D3D11_FORMAT_SUPPORT_TEXTURE1D | D3D11_FORMAT_SUPPORT_TEXTURE2D |
                     D3D11_FORMAT_SUPPORT_TEXTURECUBE | D3D11_FORMAT_SUPPORT_MIP | D3D11_FORMAT_SUPPORT_CPU_LOCKABLE |
                     D3D11_FORMAT_SUPPORT_CAST_WITHIN_BIT_LAYOUT | D3D11_FORMAT_SUPPORT_MULTISAMPLE_LOAD;
constexpr UINT Btx = D3D11_FORMAT_SUPPORT_TEXTURE2D | D3D11_FORMAT_SUPPORT_TEXTURE3D |
                     D3D11_FORMAT_SUPPORT_TEXTURECUBE | D3D11_FORMAT_SUPPORT_MIP | D3D11_FORMAT_SUPPORT_CPU_LOCKABLE |
                     D3D11_FORMAT_SUPPORT_CAST_WITHIN_BIT_LAYOUT;
constexpr UINT Smp = D3D11_FORMAT_SUPPORT_SHADER_SAMPLE | D3D11_FORMAT_SUPPORT_SHADER_GATHER;
constexpr UINT Cmp = D3D11_FORMAT_SUPPORT_SHADER_SAMPLE_COMPARISON | D3D11_FORMAT_SUPPORT_SHADER_GATHER_COMPARISON;
constexpr UINT Buf = D3D11_FORMAT_SUPPORT_BUFFER;
constexpr UINT Vtx = D3D11_FORMAT_SUPPORT_IA_VERTEX_BUFFER;
constexpr UINT Idx = D3D11_FORMAT_SUPPORT_IA_INDEX_BUFFER;
constexpr UINT Rt = D3D11_FORMAT_SUPPORT_RENDER_TARGET | D3D11_FORMAT_SUPPORT_MULTISAMPLE_RENDERTARGET |
                    D3D11_FORMAT_SUPPORT_MULTISAMPLE_LOAD;
constexpr UINT Bld = D3D11_FORMAT_SUPPORT_BLENDABLE;
constexpr UINT Rsv = D3D11_FORMAT_SUPPORT_MULTISAMPLE_RESOLVE;
constexpr UINT Gen = D3D11_FORMAT_SUPPORT_MIP_AUTOGEN;
constexpr UINT Uav = D3D11_FORMAT_SUPPORT_TYPED_UNORDERED_ACCESS_VIEW;
constexpr UINT Dsv = D3D11_FORMAT_SUPPORT_DEPTH_STENCIL | D3D11_FORMAT_SUPPORT_MULTISAMPLE_RENDERTARGET;
constexpr UINT Dsp = D3D11_FORMAT_SUPPORT_DISPLAY | D3D11_FORMAT_SUPPORT_BACK_BUFFER_CAST;

// What ordinary float and normalised formats, and integer formats, can do.
constexpr UINT All = Buf | Vtx | Tex | Smp | Rt | Bld | Rsv | Gen | Uav;
constexpr UINT Int = Buf | Vtx | Tex | Rt | Uav;

using enum EFormatKind;

/// A row without its relatives, which MakeTable finds.
constexpr FormatInfo Row(DXGI_FORMAT format, const char* name, DXGI_FORMAT family, EFormatKind kind,
                         std::array<std::uint8_t, 3> block, std::array<std::uint8_t, 4> bits, UINT support,
                         std::uint32_t vkFormat)
{
    return {format, name,  block[0], block[1], block[2], kind,    bits,     false,
            false,  false, family,   format,   format,   support, vkFormat, 0};
}

constexpr FormatInfo Bgra(FormatInfo row)
{
    row.isBgra = true;
    return row;
}

constexpr FormatInfo Planes(FormatInfo row, bool depth, bool stencil)
{
    row.hasDepth = depth;
    row.hasStencil = stencil;
    return row;
}

#define COLOR(NAME, FAMILY, KIND, BYTES, USES, VK, ...)                                                                \
    Row(DXGI_FORMAT_##NAME, #NAME, DXGI_FORMAT_##FAMILY, KIND, {1, 1, BYTES}, {__VA_ARGS__}, USES, VK_FORMAT_##VK)
#define BLOCKS(NAME, FAMILY, KIND, BYTES, USES, VK)                                                                    \
    Row(DXGI_FORMAT_##NAME, #NAME, DXGI_FORMAT_##FAMILY, KIND, {4, 4, BYTES}, {}, USES, VK_FORMAT_##VK)
#define OTHER(NAME, KIND, WIDTH, BYTES)                                                                                \
    Row(DXGI_FORMAT_##NAME, #NAME, DXGI_FORMAT_##NAME, KIND, {WIDTH, 1, BYTES}, {}, 0, 0)

constexpr std::array Rows = {
    OTHER(UNKNOWN, Unknown, 1, 0),
    COLOR(R32G32B32A32_TYPELESS, R32G32B32A32_TYPELESS, Typeless, 16, Txt, R32G32B32A32_SFLOAT, 32, 32, 32, 32),
    COLOR(R32G32B32A32_FLOAT, R32G32B32A32_TYPELESS, Float, 16, All, R32G32B32A32_SFLOAT, 32, 32, 32, 32),
    COLOR(R32G32B32A32_UINT, R32G32B32A32_TYPELESS, Uint, 16, Int, R32G32B32A32_UINT, 32, 32, 32, 32),
    COLOR(R32G32B32A32_SINT, R32G32B32A32_TYPELESS, Sint, 16, Int, R32G32B32A32_SINT, 32, 32, 32, 32),
    COLOR(R32G32B32_TYPELESS, R32G32B32_TYPELESS, Typeless, 12, Txt, R32G32B32_SFLOAT, 32, 32, 32),
    COLOR(R32G32B32_FLOAT, R32G32B32_TYPELESS, Float, 12, Buf | Vtx | Tex | Smp | Rt | Bld | Gen, R32G32B32_SFLOAT, 32,
          32, 32),
    COLOR(R32G32B32_UINT, R32G32B32_TYPELESS, Uint, 12, Buf | Vtx | Tex, R32G32B32_UINT, 32, 32, 32),
    COLOR(R32G32B32_SINT, R32G32B32_TYPELESS, Sint, 12, Buf | Vtx | Tex, R32G32B32_SINT, 32, 32, 32),
    COLOR(R16G16B16A16_TYPELESS, R16G16B16A16_TYPELESS, Typeless, 8, Txt, R16G16B16A16_SFLOAT, 16, 16, 16, 16),
    COLOR(R16G16B16A16_FLOAT, R16G16B16A16_TYPELESS, Float, 8, All | Dsp, R16G16B16A16_SFLOAT, 16, 16, 16, 16),
    COLOR(R16G16B16A16_UNORM, R16G16B16A16_TYPELESS, Unorm, 8, All, R16G16B16A16_UNORM, 16, 16, 16, 16),
    COLOR(R16G16B16A16_UINT, R16G16B16A16_TYPELESS, Uint, 8, Int, R16G16B16A16_UINT, 16, 16, 16, 16),
    COLOR(R16G16B16A16_SNORM, R16G16B16A16_TYPELESS, Snorm, 8, All, R16G16B16A16_SNORM, 16, 16, 16, 16),
    COLOR(R16G16B16A16_SINT, R16G16B16A16_TYPELESS, Sint, 8, Int, R16G16B16A16_SINT, 16, 16, 16, 16),
    COLOR(R32G32_TYPELESS, R32G32_TYPELESS, Typeless, 8, Txt, R32G32_SFLOAT, 32, 32),
    COLOR(R32G32_FLOAT, R32G32_TYPELESS, Float, 8, All, R32G32_SFLOAT, 32, 32),
    COLOR(R32G32_UINT, R32G32_TYPELESS, Uint, 8, Int, R32G32_UINT, 32, 32),
    COLOR(R32G32_SINT, R32G32_TYPELESS, Sint, 8, Int, R32G32_SINT, 32, 32),
    Planes(COLOR(R32G8X24_TYPELESS, R32G8X24_TYPELESS, Typeless, 8, Dtx, D32_SFLOAT_S8_UINT, 32, 8), true, true),
    Planes(COLOR(D32_FLOAT_S8X24_UINT, R32G8X24_TYPELESS, Float, 8, Dtx | Dsv, D32_SFLOAT_S8_UINT, 32, 8), true, true),
    Planes(COLOR(R32_FLOAT_X8X24_TYPELESS, R32G8X24_TYPELESS, Float, 8, Dtx | Ld | Smp | Cmp, D32_SFLOAT_S8_UINT, 32),
           true, false),
    Planes(COLOR(X32_TYPELESS_G8X24_UINT, R32G8X24_TYPELESS, Uint, 8, Dtx | Ld, D32_SFLOAT_S8_UINT, 0, 8), false, true),
    COLOR(R10G10B10A2_TYPELESS, R10G10B10A2_TYPELESS, Typeless, 4, Txt, A2B10G10R10_UNORM_PACK32, 10, 10, 10, 2),
    COLOR(R10G10B10A2_UNORM, R10G10B10A2_TYPELESS, Unorm, 4, All | Dsp, A2B10G10R10_UNORM_PACK32, 10, 10, 10, 2),
    COLOR(R10G10B10A2_UINT, R10G10B10A2_TYPELESS, Uint, 4, Int, A2B10G10R10_UINT_PACK32, 10, 10, 10, 2),
    COLOR(R11G11B10_FLOAT, R11G11B10_FLOAT, Float, 4, All, B10G11R11_UFLOAT_PACK32, 11, 11, 10),
    COLOR(R8G8B8A8_TYPELESS, R8G8B8A8_TYPELESS, Typeless, 4, Txt, R8G8B8A8_UNORM, 8, 8, 8, 8),
    COLOR(R8G8B8A8_UNORM, R8G8B8A8_TYPELESS, Unorm, 4, All | Dsp, R8G8B8A8_UNORM, 8, 8, 8, 8),
    COLOR(R8G8B8A8_UNORM_SRGB, R8G8B8A8_TYPELESS, UnormSrgb, 4, Tex | Smp | Rt | Bld | Rsv | Gen | Dsp, R8G8B8A8_SRGB,
          8, 8, 8, 8),
    COLOR(R8G8B8A8_UINT, R8G8B8A8_TYPELESS, Uint, 4, Int, R8G8B8A8_UINT, 8, 8, 8, 8),
    COLOR(R8G8B8A8_SNORM, R8G8B8A8_TYPELESS, Snorm, 4, All, R8G8B8A8_SNORM, 8, 8, 8, 8),
    COLOR(R8G8B8A8_SINT, R8G8B8A8_TYPELESS, Sint, 4, Int, R8G8B8A8_SINT, 8, 8, 8, 8),
    COLOR(R16G16_TYPELESS, R16G16_TYPELESS, Typeless, 4, Txt, R16G16_SFLOAT, 16, 16),
    COLOR(R16G16_FLOAT, R16G16_TYPELESS, Float, 4, All, R16G16_SFLOAT, 16, 16),
    COLOR(R16G16_UNORM, R16G16_TYPELESS, Unorm, 4, All, R16G16_UNORM, 16, 16),
    COLOR(R16G16_UINT, R16G16_TYPELESS, Uint, 4, Int, R16G16_UINT, 16, 16),
    COLOR(R16G16_SNORM, R16G16_TYPELESS, Snorm, 4, All, R16G16_SNORM, 16, 16),
    COLOR(R16G16_SINT, R16G16_TYPELESS, Sint, 4, Int, R16G16_SINT, 16, 16),
    COLOR(R32_TYPELESS, R32_TYPELESS, Typeless, 4, Txt, R32_SFLOAT, 32),
    Planes(COLOR(D32_FLOAT, R32_TYPELESS, Float, 4, Dtx | Dsv, D32_SFLOAT, 32), true, false),
    COLOR(R32_FLOAT, R32_TYPELESS, Float, 4, All | Cmp, R32_SFLOAT, 32),
    COLOR(R32_UINT, R32_TYPELESS, Uint, 4, Int | Idx, R32_UINT, 32),
    COLOR(R32_SINT, R32_TYPELESS, Sint, 4, Int, R32_SINT, 32),
    Planes(COLOR(R24G8_TYPELESS, R24G8_TYPELESS, Typeless, 4, Dtx, D24_UNORM_S8_UINT, 24, 8), true, true),
    Planes(COLOR(D24_UNORM_S8_UINT, R24G8_TYPELESS, Unorm, 4, Dtx | Dsv, D24_UNORM_S8_UINT, 24, 8), true, true),
    Planes(COLOR(R24_UNORM_X8_TYPELESS, R24G8_TYPELESS, Unorm, 4, Dtx | Ld | Smp | Cmp, D24_UNORM_S8_UINT, 24), true,
           false),
    Planes(COLOR(X24_TYPELESS_G8_UINT, R24G8_TYPELESS, Uint, 4, Dtx | Ld, D24_UNORM_S8_UINT, 0, 8), false, true),
    COLOR(R8G8_TYPELESS, R8G8_TYPELESS, Typeless, 2, Txt, R8G8_UNORM, 8, 8),
    COLOR(R8G8_UNORM, R8G8_TYPELESS, Unorm, 2, All, R8G8_UNORM, 8, 8),
    COLOR(R8G8_UINT, R8G8_TYPELESS, Uint, 2, Int, R8G8_UINT, 8, 8),
    COLOR(R8G8_SNORM, R8G8_TYPELESS, Snorm, 2, All, R8G8_SNORM, 8, 8),
    COLOR(R8G8_SINT, R8G8_TYPELESS, Sint, 2, Int, R8G8_SINT, 8, 8),
    COLOR(R16_TYPELESS, R16_TYPELESS, Typeless, 2, Txt, R16_SFLOAT, 16),
    COLOR(R16_FLOAT, R16_TYPELESS, Float, 2, All, R16_SFLOAT, 16),
    Planes(COLOR(D16_UNORM, R16_TYPELESS, Unorm, 2, Dtx | Dsv, D16_UNORM, 16), true, false),
    COLOR(R16_UNORM, R16_TYPELESS, Unorm, 2, All | Cmp, R16_UNORM, 16),
    COLOR(R16_UINT, R16_TYPELESS, Uint, 2, Int | Idx, R16_UINT, 16),
    COLOR(R16_SNORM, R16_TYPELESS, Snorm, 2, All, R16_SNORM, 16),
    COLOR(R16_SINT, R16_TYPELESS, Sint, 2, Int, R16_SINT, 16),
    COLOR(R8_TYPELESS, R8_TYPELESS, Typeless, 1, Txt, R8_UNORM, 8),
    COLOR(R8_UNORM, R8_TYPELESS, Unorm, 1, All, R8_UNORM, 8),
    COLOR(R8_UINT, R8_TYPELESS, Uint, 1, Int, R8_UINT, 8),
    COLOR(R8_SNORM, R8_TYPELESS, Snorm, 1, All, R8_SNORM, 8),
    COLOR(R8_SINT, R8_TYPELESS, Sint, 1, Int, R8_SINT, 8),
    COLOR(A8_UNORM, A8_UNORM, Unorm, 1, Buf | Tex | Smp | Rt | Bld | Rsv | Gen, R8_UNORM, 0, 0, 0, 8),
    OTHER(R1_UNORM, Unorm, 8, 1),
    COLOR(R9G9B9E5_SHAREDEXP, R9G9B9E5_SHAREDEXP, Float, 4, Tex | Smp, E5B9G9R9_UFLOAT_PACK32, 9, 9, 9),
    OTHER(R8G8_B8G8_UNORM, Unorm, 2, 4),
    OTHER(G8R8_G8B8_UNORM, Unorm, 2, 4),
    BLOCKS(BC1_TYPELESS, BC1_TYPELESS, Typeless, 8, Btx, BC1_RGBA_UNORM_BLOCK),
    BLOCKS(BC1_UNORM, BC1_TYPELESS, Unorm, 8, Btx | Ld | Smp, BC1_RGBA_UNORM_BLOCK),
    BLOCKS(BC1_UNORM_SRGB, BC1_TYPELESS, UnormSrgb, 8, Btx | Ld | Smp, BC1_RGBA_SRGB_BLOCK),
    BLOCKS(BC2_TYPELESS, BC2_TYPELESS, Typeless, 16, Btx, BC2_UNORM_BLOCK),
    BLOCKS(BC2_UNORM, BC2_TYPELESS, Unorm, 16, Btx | Ld | Smp, BC2_UNORM_BLOCK),
    BLOCKS(BC2_UNORM_SRGB, BC2_TYPELESS, UnormSrgb, 16, Btx | Ld | Smp, BC2_SRGB_BLOCK),
    BLOCKS(BC3_TYPELESS, BC3_TYPELESS, Typeless, 16, Btx, BC3_UNORM_BLOCK),
    BLOCKS(BC3_UNORM, BC3_TYPELESS, Unorm, 16, Btx | Ld | Smp, BC3_UNORM_BLOCK),
    BLOCKS(BC3_UNORM_SRGB, BC3_TYPELESS, UnormSrgb, 16, Btx | Ld | Smp, BC3_SRGB_BLOCK),
    BLOCKS(BC4_TYPELESS, BC4_TYPELESS, Typeless, 8, Btx, BC4_UNORM_BLOCK),
    BLOCKS(BC4_UNORM, BC4_TYPELESS, Unorm, 8, Btx | Ld | Smp, BC4_UNORM_BLOCK),
    BLOCKS(BC4_SNORM, BC4_TYPELESS, Snorm, 8, Btx | Ld | Smp, BC4_SNORM_BLOCK),
    BLOCKS(BC5_TYPELESS, BC5_TYPELESS, Typeless, 16, Btx, BC5_UNORM_BLOCK),
    BLOCKS(BC5_UNORM, BC5_TYPELESS, Unorm, 16, Btx | Ld | Smp, BC5_UNORM_BLOCK),
    BLOCKS(BC5_SNORM, BC5_TYPELESS, Snorm, 16, Btx | Ld | Smp, BC5_SNORM_BLOCK),
    Bgra(COLOR(B5G6R5_UNORM, B5G6R5_UNORM, Unorm, 2, Tex | Smp | Rt | Bld | Rsv | Gen, R5G6B5_UNORM_PACK16, 5, 6, 5)),
    Bgra(COLOR(B5G5R5A1_UNORM, B5G5R5A1_UNORM, Unorm, 2, Tex | Smp | Rt | Bld | Rsv | Gen, A1R5G5B5_UNORM_PACK16, 5, 5,
               5, 1)),
    Bgra(COLOR(B8G8R8A8_UNORM, B8G8R8A8_TYPELESS, Unorm, 4, Buf | Vtx | Tex | Smp | Rt | Bld | Rsv | Gen | Dsp,
               B8G8R8A8_UNORM, 8, 8, 8, 8)),
    Bgra(COLOR(B8G8R8X8_UNORM, B8G8R8X8_TYPELESS, Unorm, 4, Tex | Smp | Rt | Bld | Rsv | Gen, B8G8R8A8_UNORM, 8, 8, 8)),
    OTHER(R10G10B10_XR_BIAS_A2_UNORM, Unorm, 1, 4),
    Bgra(COLOR(B8G8R8A8_TYPELESS, B8G8R8A8_TYPELESS, Typeless, 4, Txt, B8G8R8A8_UNORM, 8, 8, 8, 8)),
    Bgra(COLOR(B8G8R8A8_UNORM_SRGB, B8G8R8A8_TYPELESS, UnormSrgb, 4, Tex | Smp | Rt | Bld | Rsv | Gen | Dsp,
               B8G8R8A8_SRGB, 8, 8, 8, 8)),
    Bgra(COLOR(B8G8R8X8_TYPELESS, B8G8R8X8_TYPELESS, Typeless, 4, Txt, B8G8R8A8_UNORM, 8, 8, 8)),
    Bgra(COLOR(B8G8R8X8_UNORM_SRGB, B8G8R8X8_TYPELESS, UnormSrgb, 4, Tex | Smp | Rt | Bld | Rsv | Gen, B8G8R8A8_SRGB, 8,
               8, 8)),
    BLOCKS(BC6H_TYPELESS, BC6H_TYPELESS, Typeless, 16, Btx, BC6H_UFLOAT_BLOCK),
    BLOCKS(BC6H_UF16, BC6H_TYPELESS, Float, 16, Btx | Ld | Smp, BC6H_UFLOAT_BLOCK),
    BLOCKS(BC6H_SF16, BC6H_TYPELESS, Float, 16, Btx | Ld | Smp, BC6H_SFLOAT_BLOCK),
    BLOCKS(BC7_TYPELESS, BC7_TYPELESS, Typeless, 16, Btx, BC7_UNORM_BLOCK),
    BLOCKS(BC7_UNORM, BC7_TYPELESS, Unorm, 16, Btx | Ld | Smp, BC7_UNORM_BLOCK),
    BLOCKS(BC7_UNORM_SRGB, BC7_TYPELESS, UnormSrgb, 16, Btx | Ld | Smp, BC7_SRGB_BLOCK),
    OTHER(AYUV, Video, 1, 4),
    OTHER(Y410, Video, 1, 4),
    OTHER(Y416, Video, 1, 8),
    OTHER(NV12, Video, 1, 1),
    OTHER(P010, Video, 1, 2),
    OTHER(P016, Video, 1, 2),
    OTHER(420_OPAQUE, Video, 1, 1),
    OTHER(YUY2, Video, 2, 4),
    OTHER(Y210, Video, 2, 8),
    OTHER(Y216, Video, 2, 8),
    OTHER(NV11, Video, 1, 1),
    OTHER(AI44, Video, 1, 1),
    OTHER(IA44, Video, 1, 1),
    OTHER(P8, Video, 1, 1),
    OTHER(A8P8, Video, 1, 2),
    Bgra(COLOR(B4G4R4A4_UNORM, B4G4R4A4_UNORM, Unorm, 2, Tex | Smp | Rt | Bld | Rsv | Gen, A4R4G4B4_UNORM_PACK16, 4, 4,
               4, 4)),
    OTHER(P208, Video, 1, 1),
    OTHER(V208, Video, 1, 1),
    OTHER(V408, Video, 1, 1),
};

#undef COLOR
#undef BLOCKS
#undef OTHER

/// Fills in the sRGB and linear twins, and the depth format of each family.
constexpr auto MakeTable()
{
    auto table = Rows;
    for (FormatInfo& row : table) {
        for (const FormatInfo& other : Rows) {
            if (row.family != other.family || row.kind == Typeless) {
                continue;
            }
            if (row.kind == Unorm && other.kind == UnormSrgb) {
                row.srgb = other.format;
            } else if (row.kind == UnormSrgb && other.kind == Unorm) {
                row.linear = other.format;
            }
        }
        for (const FormatInfo& other : Rows) {
            const bool isDepth = (other.support & D3D11_FORMAT_SUPPORT_DEPTH_STENCIL) != 0;
            const bool canBe = row.kind == Typeless || row.hasDepth || row.hasStencil;
            if (row.family == other.family && isDepth && canBe) {
                row.vkDepthFormat = other.vkFormat;
            }
        }
    }
    return table;
}

constexpr auto Table = MakeTable();

} // namespace

std::span<const FormatInfo> FormatTable()
{
    return Table;
}

} // namespace gleam
