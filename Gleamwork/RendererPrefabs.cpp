// The prefab render states and the operations that set them by index.
#include "Gleamwork/Renderer.h"

#include <algorithm>
#include <iterator>
#include <qs/Log.h>

namespace gw {

namespace {

struct SamplerRow
{
    EFilter filter;
    EAddressMode address;
    unsigned maxAnisotropy;
    EComparisonFunction comparison = eComparisonFunction_Never;
};

constexpr SamplerRow s_samplers[] = {
    {eFilter_Point, eAddressMode_Wrap, 1},
    {eFilter_Point, eAddressMode_Clamp, 1},
    {eFilter_Point, eAddressMode_Mirror, 1},
    {eFilter_Point, eAddressMode_Mirror, 1},
    {eFilter_Point, eAddressMode_Clamp, 1},
    {eFilter_Bilinear, eAddressMode_Wrap, 1},
    {eFilter_Bilinear, eAddressMode_Clamp, 1},
    {eFilter_Bilinear, eAddressMode_Mirror, 1},
    {eFilter_Bilinear, eAddressMode_Border, 1},
    {eFilter_Trilinear, eAddressMode_Wrap, 1},
    {eFilter_Trilinear, eAddressMode_Clamp, 1},
    {eFilter_Trilinear, eAddressMode_Mirror, 1},
    {eFilter_Anisotropic, eAddressMode_Wrap, 2},
    {eFilter_Anisotropic, eAddressMode_Clamp, 2},
    {eFilter_Anisotropic, eAddressMode_Mirror, 2},
    {eFilter_Anisotropic, eAddressMode_Wrap, 4},
    {eFilter_Anisotropic, eAddressMode_Clamp, 4},
    {eFilter_Anisotropic, eAddressMode_Mirror, 4},
    {eFilter_Anisotropic, eAddressMode_Wrap, 8},
    {eFilter_Anisotropic, eAddressMode_Clamp, 8},
    {eFilter_Anisotropic, eAddressMode_Mirror, 8},
    {eFilter_Anisotropic, eAddressMode_Wrap, 16},
    {eFilter_Anisotropic, eAddressMode_Clamp, 16},
    {eFilter_Anisotropic, eAddressMode_Mirror, 16},
    {eFilter_Trilinear, eAddressMode_Wrap, 1},
    {eFilter_BilinearAlt, eAddressMode_Wrap, 1, eComparisonFunction_Less},
};
static_assert(std::size(s_samplers) == gw::SS_INVALID);

struct BlendRow
{
    EBlendConstants src;
    EBlendConstants dst;
    EBlendConstants srcAlpha;
    EBlendConstants dstAlpha;
    EBlendOperation alphaOp;
    bool separateAlpha; ///< a hint for back ends with one equation for colour and alpha
};

constexpr EBlendConstants c_zero = eBlendConstants_Zero;
constexpr EBlendConstants c_one = eBlendConstants_One;
constexpr EBlendConstants c_alpha = eBlendConstants_SrcAlpha;
constexpr EBlendConstants c_invAlpha = eBlendConstants_InvSrcAlpha;

constexpr BlendRow s_blends[] = {
    {c_alpha, c_invAlpha, c_one, c_invAlpha, eBlendOperation_Add, false},
    {c_one, c_one, c_one, c_one, eBlendOperation_Add, false},
    {c_one, c_one, c_one, c_zero, eBlendOperation_Add, false},
    {c_one, c_invAlpha, c_one, c_invAlpha, eBlendOperation_Add, false},
    {c_alpha, c_invAlpha, c_one, c_one, eBlendOperation_Add, true},
    {c_alpha, c_invAlpha, c_invAlpha, c_zero, eBlendOperation_Add, true},
    {c_one, c_zero, c_one, c_one, eBlendOperation_Max, true},
    {c_one, c_zero, c_one, c_zero, eBlendOperation_Add, false},
};
static_assert(std::size(s_blends) == gw::BS_INVALID);

constexpr EComparisonFunction c_never = eComparisonFunction_Never;
constexpr EComparisonFunction c_less = eComparisonFunction_Less;
constexpr EComparisonFunction c_equal = eComparisonFunction_Equal;
constexpr EComparisonFunction c_lessEqual = eComparisonFunction_LessEqual;
constexpr EComparisonFunction c_greater = eComparisonFunction_Greater;
constexpr EComparisonFunction c_greaterEqual = eComparisonFunction_GreaterEqual;
constexpr EComparisonFunction c_always = eComparisonFunction_Always;

struct DepthRow
{
    bool depthEnable;
    bool depthWrite;
    EComparisonFunction depthFunc;
    bool stencilEnable = false;
    unsigned char stencilMask = 255;
    EComparisonFunction stencilFunc = c_always;
    EStencilOperation depthFail = eStencilOperation_Keep;
    EStencilOperation pass = eStencilOperation_Keep;
};

constexpr DepthRow s_depths[] = {
    {false, false, c_lessEqual},
    {true, false, c_lessEqual},
    {true, true, c_lessEqual},
    {false, false, c_always},
    {true, false, c_never},
    {true, false, c_equal},
    {true, true, c_less},
    {true, false, c_less, true, 255, c_always, eStencilOperation_Replace},
    {true, false, c_less, true, 255, c_equal},
    {true, false, c_greaterEqual},
    {true, false, c_always, true, 255, c_always},
    {false, false, c_always, true, 255, c_always, eStencilOperation_Keep, eStencilOperation_Replace},
    {false, false, c_always, true, 255, c_equal},
    {true, true, c_lessEqual, true, 1, c_equal},
    {true, false, c_equal, true, 126, c_greater},
    {true, false, c_equal, true, 126, c_greater, eStencilOperation_Keep, eStencilOperation_Replace},
    {true, false, c_equal, true, 126, c_equal},
};
static_assert(std::size(s_depths) == gw::DS_INVALID);

struct RasterizerRow
{
    ECullModes cull;
    EFillModes fill;
    bool multisample;
    bool scissor;
    bool depthBias;
};

constexpr RasterizerRow s_rasterizers[] = {
    {eCullModes_None, eFillModes_Solid, true, false, false},
    {eCullModes_Back, eFillModes_Solid, true, false, false},
    {eCullModes_Front, eFillModes_Solid, true, false, false},
    {eCullModes_None, eFillModes_Wireframe, true, false, false},
    {eCullModes_Back, eFillModes_Wireframe, true, false, false},
    {eCullModes_None, eFillModes_Solid, true, true, false},
    {eCullModes_None, eFillModes_Solid, true, false, true},
    {eCullModes_Back, eFillModes_Solid, true, false, true},
    {eCullModes_None, eFillModes_Wireframe, true, false, true},
    {eCullModes_None, eFillModes_Solid, false, true, false},
};
static_assert(std::size(s_rasterizers) == gw::RS_INVALID);

constexpr int c_writeAllChannels = 15;

template <class Table>
bool AllAssigned(const Table& table)
{
    return std::all_of(std::begin(table), std::end(table), [](const qs::ObjectHandle& h) { return h.IsValid(); });
}

} // namespace

bool Renderer::CreatePrefabStates()
{
    std::transform(std::begin(s_samplers), std::end(s_samplers), s_SS, [this](const SamplerRow& row) {
        return AddSamplerState(row.filter, row.address, row.address, row.address, 0.0f, row.maxAnisotropy,
                               row.comparison);
    });
    std::transform(std::begin(s_blends), std::end(s_blends), s_BS, [this](const BlendRow& row) {
        return AddBlendState(row.src, row.dst, eBlendOperation_Add, c_writeAllChannels, row.srcAlpha, row.dstAlpha,
                             row.alphaOp, row.separateAlpha);
    });
    std::transform(std::begin(s_depths), std::end(s_depths), s_DS, [this](const DepthRow& row) {
        return AddDepthState(row.depthEnable, row.depthWrite, row.depthFunc, row.stencilEnable, row.stencilMask,
                             row.stencilFunc, eStencilOperation_Keep, row.depthFail, row.pass);
    });
    std::transform(std::begin(s_rasterizers), std::end(s_rasterizers), s_RS, [this](const RasterizerRow& row) {
        return AddRasterizerState(row.cull, row.fill, row.multisample, row.scissor, row.depthBias);
    });
    return AllAssigned(s_SS) && AllAssigned(s_BS) && AllAssigned(s_DS) && AllAssigned(s_RS);
}

// The handles stay in the tables, dead: whoever draws behind Destroy is told so by the containers.
void Renderer::RemovePrefabStates()
{
    for (const qs::ObjectHandle& state : s_SS) {
        RemoveSamplerState(state);
    }
    for (const qs::ObjectHandle& state : s_BS) {
        RemoveBlendState(state);
    }
    for (const qs::ObjectHandle& state : s_DS) {
        RemoveDepthState(state);
    }
    for (const qs::ObjectHandle& state : s_RS) {
        RemoveRasterizerState(state);
    }
}

void Renderer::SetBlendState(EPrefabBlendState index, unsigned mask)
{
    if (index >= gw::BS_INVALID) {
        QS_LOG_ASSERT("Gleamwork/Renderer", "gw::Renderer::SetBlendState", "[SetBlendState] incorrect index passed");
        index = BS_OPAQUE;
    }
    SetBlendState(s_BS[index], mask);
}

void Renderer::SetDepthState(EPrefabDepthState index, unsigned stencilRef)
{
    if (index >= gw::DS_INVALID) {
        QS_LOG_ASSERT("Gleamwork/Renderer", "gw::Renderer::SetDepthState", "[SetDepthState] incorrect index passed");
        return;
    }
    SetDepthState(s_DS[index], stencilRef);
}

void Renderer::SetRasterizerState(EPrefabRasterizerState index)
{
    if (index >= gw::RS_INVALID) {
        QS_LOG_ASSERT("Gleamwork/Renderer", "gw::Renderer::SetRasterizerState",
                      "[SetRasterizerState] incorrect index passed");
        return;
    }
    SetRasterizerState(s_RS[index]);
}

} // namespace gw
