// Translation of the library's enumerations to Direct3D 11 values. Pure functions, callable from any thread. A value
// outside a function's cases asserts and gives the fallback told beside it.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/FormatDesc.h"
#include "Gleamwork/RenderTypes.h"
#include "Gleamwork/image/Format.h"

#include <d3d11.h>

namespace gw2DX11 {

GW_API D3D11_USAGE ResourceUsage(gw::EResourceUsage value);                    ///< staging
GW_API D3D11_TEXTURE_ADDRESS_MODE WrapMode(gw::EAddressMode value);            ///< wrap
GW_API D3D11_BLEND BlendConstants(gw::EBlendConstants value);                  ///< zero
GW_API D3D11_BLEND_OP BlendOperation(gw::EBlendOperation value);               ///< add
GW_API D3D11_COMPARISON_FUNC CompareFunc(gw::EComparisonFunction value);       ///< never
GW_API D3D11_STENCIL_OP StencilOperation(gw::EStencilOperation value);         ///< keep
GW_API D3D11_CULL_MODE CullMode(gw::ECullModes value);                         ///< none
GW_API D3D11_FILL_MODE FillMode(gw::EFillModes value);                         ///< solid
GW_API D3D11_FILTER SamplerFilterMode(gw::EFilter value);                      ///< point
GW_API D3D_PRIMITIVE_TOPOLOGY PrimitiveTopology(gw::EPrimitiveTopology value); ///< undefined, as for fans and quads
GW_API UINT DepthStencilClearFlags(gw::EDepthStencilClearMode value);          ///< depth
GW_API const char* FormatDescUsageToSemanticName(gw::EAttributeUsage value);   ///< null, as for None

/// Format of a vertex attribute. Counts outside 1 to 4 and unknown formats assert; both, and three components of an
/// 8- or 16-bit type, give `DXGI_FORMAT_UNKNOWN`.
GW_API DXGI_FORMAT AttributeFormat(gw::EAttributeFormat format, unsigned count);

/// Device format of a pixel format; `DXGI_FORMAT_UNKNOWN` for what the device cannot hold, which includes
/// `FORMAT_D32FS8`, `FORMAT_MAX` and every value outside the catalogue.
GW_API DXGI_FORMAT Format(gw::EFormat format);

} // namespace gw2DX11

/// How a resource is mapped. Reading without waiting differs from reading by a map flag that the lock operations add.
GW_API D3D11_MAP GetD3D11MapType(gw::EResourceAccess access);
