// The rules and canonical forms of state objects, input layouts and queries.
#include <cmath>
#include <functional>

#include "Support.h"
#include "common/StateCache.h"
#include "common/Validation.h"

namespace gleam {
namespace {

using test::DebugCapture;
using test::ExpectOutcome;

template <class Desc>
struct StateCase
{
    const char* line; // null for success
    std::function<void(Desc&)> change;
};

template <class Desc>
void RunCases(const Desc& sound, const std::vector<StateCase<Desc>>& cases, HRESULT (*check)(const Desc*, Desc&),
              const char* call)
{
    DebugCapture capture;
    Desc full;
    ExpectOutcome(capture, check(nullptr, full), {E_INVALIDARG, "null"}, call);
    for (size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        Desc desc = sound;
        cases[i].change(desc);
        ExpectOutcome(capture, check(&desc, full), {cases[i].line ? E_INVALIDARG : S_OK, cases[i].line}, call);
    }
}

D3D11_BLEND_DESC SoundBlend()
{
    D3D11_BLEND_DESC desc{};
    for (D3D11_RENDER_TARGET_BLEND_DESC& target : desc.RenderTarget) {
        target = {TRUE,
                  D3D11_BLEND_SRC_ALPHA,
                  D3D11_BLEND_INV_SRC_ALPHA,
                  D3D11_BLEND_OP_ADD,
                  D3D11_BLEND_ONE,
                  D3D11_BLEND_ZERO,
                  D3D11_BLEND_OP_MAX,
                  D3D11_COLOR_WRITE_ENABLE_ALL};
    }
    return desc;
}

TEST(StateRules, Blend)
{
    using Desc = D3D11_BLEND_DESC;
    RunCases<Desc>(SoundBlend(),
                   {{nullptr, [](Desc&) {}},
                    {"SrcBlend 12", [](Desc& d) { d.RenderTarget[0].SrcBlend = static_cast<D3D11_BLEND>(12); }},
                    {"not of colour", [](Desc& d) { d.RenderTarget[0].SrcBlendAlpha = D3D11_BLEND_DEST_COLOR; }},
                    {"BlendOp 0", [](Desc& d) { d.RenderTarget[0].BlendOp = static_cast<D3D11_BLEND_OP>(0); }},
                    {"WriteMask 0x10", [](Desc& d) { d.RenderTarget[0].RenderTargetWriteMask = 16; }},
                    // Later targets count only with independent blending, factors only when blending.
                    {nullptr, [](Desc& d) { d.RenderTarget[7].SrcBlend = static_cast<D3D11_BLEND>(31); }},
                    {"RenderTarget[7]",
                     [](Desc& d) {
                         d.IndependentBlendEnable = TRUE;
                         d.RenderTarget[7].SrcBlend = static_cast<D3D11_BLEND>(31);
                     }},
                    {nullptr,
                     [](Desc& d) {
                         d.RenderTarget[0].BlendEnable = FALSE;
                         d.RenderTarget[0].SrcBlend = static_cast<D3D11_BLEND>(31);
                     }}},
                   CheckBlendState, "ID3D11Device::CreateBlendState");
}

TEST(StateRules, DepthStencil)
{
    using Desc = D3D11_DEPTH_STENCIL_DESC;
    Desc sound{};
    sound.DepthEnable = TRUE;
    sound.DepthFunc = D3D11_COMPARISON_LESS;
    RunCases<Desc>(sound,
                   {{nullptr, [](Desc&) {}},
                    {"DepthFunc 0", [](Desc& d) { d.DepthFunc = static_cast<D3D11_COMPARISON_FUNC>(0); }},
                    {nullptr,
                     [](Desc& d) {
                         d.DepthEnable = FALSE;
                         d.DepthFunc = static_cast<D3D11_COMPARISON_FUNC>(0);
                     }},
                    {"FrontFace or BackFace", [](Desc& d) { d.StencilEnable = TRUE; }}},
                   CheckDepthStencilState, "ID3D11Device::CreateDepthStencilState");
}

TEST(StateRules, Rasterizer)
{
    using Desc = D3D11_RASTERIZER_DESC;
    Desc sound{};
    sound.FillMode = D3D11_FILL_SOLID;
    sound.CullMode = D3D11_CULL_NONE;
    RunCases<Desc>(sound,
                   {{nullptr, [](Desc&) {}},
                    {"FillMode 1", [](Desc& d) { d.FillMode = static_cast<D3D11_FILL_MODE>(1); }},
                    {"CullMode 0", [](Desc& d) { d.CullMode = static_cast<D3D11_CULL_MODE>(0); }},
                    {"not a number", [](Desc& d) { d.SlopeScaledDepthBias = NAN; }}},
                   CheckRasterizerState, "ID3D11Device::CreateRasterizerState");
}

D3D11_SAMPLER_DESC SoundSampler()
{
    D3D11_SAMPLER_DESC desc{};
    desc.Filter = D3D11_FILTER_MIN_MAG_MIP_LINEAR;
    desc.AddressU = desc.AddressV = desc.AddressW = D3D11_TEXTURE_ADDRESS_WRAP;
    desc.MaxLOD = D3D11_FLOAT32_MAX;
    return desc;
}

TEST(StateRules, Sampler)
{
    using Desc = D3D11_SAMPLER_DESC;
    RunCases<Desc>(SoundSampler(),
                   {{nullptr, [](Desc&) {}},
                    {"Filter 0x2", [](Desc& d) { d.Filter = static_cast<D3D11_FILTER>(2); }},
                    {"Filter 0x40", [](Desc& d) { d.Filter = static_cast<D3D11_FILTER>(0x40); }},
                    {"address mode 0", [](Desc& d) { d.AddressW = static_cast<D3D11_TEXTURE_ADDRESS_MODE>(0); }},
                    {"MipLODBias 16", [](Desc& d) { d.MipLODBias = 16; }},
                    {"MipLODBias nan", [](Desc& d) { d.MipLODBias = NAN; }},
                    {"LOD is not", [](Desc& d) { d.MinLOD = NAN; }},
                    {"MaxAnisotropy 0", [](Desc& d) { d.Filter = D3D11_FILTER_ANISOTROPIC; }},
                    {nullptr, [](Desc& d) { d.MaxAnisotropy = 99; }},
                    {"ComparisonFunc 0", [](Desc& d) { d.Filter = D3D11_FILTER_COMPARISON_MIN_MAG_MIP_POINT; }},
                    {nullptr, [](Desc& d) { d.Filter = D3D11_FILTER_MAXIMUM_MIN_MAG_MIP_POINT; }}},
                   CheckSamplerState, "ID3D11Device::CreateSamplerState");
}

TEST(StateRules, EqualEffectsHaveEqualKeys)
{
    D3D11_BLEND_DESC off = SoundBlend();
    off.RenderTarget[0].BlendEnable = FALSE;
    D3D11_BLEND_DESC otherOff = off;
    otherOff.RenderTarget[0].SrcBlend = D3D11_BLEND_ZERO;
    otherOff.RenderTarget[5].RenderTargetWriteMask = 1;
    D3D11_BLEND_DESC a, b;
    ASSERT_EQ(CheckBlendState(&off, a), S_OK);
    ASSERT_EQ(CheckBlendState(&otherOff, b), S_OK);
    EXPECT_EQ(KeyOf(a), KeyOf(b));
    otherOff.RenderTarget[0].RenderTargetWriteMask = 1;
    ASSERT_EQ(CheckBlendState(&otherOff, b), S_OK);
    EXPECT_NE(KeyOf(a), KeyOf(b));

    D3D11_SAMPLER_DESC sampler = SoundSampler(), other = sampler, c, d;
    other.BorderColor[2] = 0.5f;
    other.MaxAnisotropy = 7;
    other.MipLODBias = -0.0f;
    other.ComparisonFunc = D3D11_COMPARISON_LESS;
    ASSERT_EQ(CheckSamplerState(&sampler, c), S_OK);
    ASSERT_EQ(CheckSamplerState(&other, d), S_OK);
    EXPECT_EQ(KeyOf(c), KeyOf(d));
    other.AddressV = D3D11_TEXTURE_ADDRESS_BORDER;
    ASSERT_EQ(CheckSamplerState(&other, d), S_OK);
    EXPECT_EQ(d.BorderColor[2], 0.5f);
    EXPECT_NE(KeyOf(c), KeyOf(d));
}

constexpr auto PerVertex = D3D11_INPUT_PER_VERTEX_DATA;
constexpr auto PerInstance = D3D11_INPUT_PER_INSTANCE_DATA;
constexpr UINT Append = D3D11_APPEND_ALIGNED_ELEMENT;

TEST(InputLayoutRules, AppendedElementsAlignInTheirSlot)
{
    DebugCapture capture;
    const D3D11_INPUT_ELEMENT_DESC elements[] = {
        {"POSITION", 0, DXGI_FORMAT_R32G32B32_FLOAT, 0, Append, PerVertex, 0},
        {"BONE", 0, DXGI_FORMAT_R8_UINT, 0, Append, PerVertex, 0},
        {"MATRIX", 0, DXGI_FORMAT_R32G32B32A32_FLOAT, 3, Append, PerInstance, 2},
        {"NORMAL", 0, DXGI_FORMAT_R16G16_SNORM, 0, Append, PerVertex, 0},
        {"COLOR", 0, DXGI_FORMAT_R10G10B10A2_UNORM, 0, Append, PerVertex, 0},
        {"MATRIX", 1, DXGI_FORMAT_R32G32B32A32_FLOAT, 3, Append, PerInstance, 2},
        {"TEXCOORD", 0, DXGI_FORMAT_R16_FLOAT, 0, 2, PerVertex, 0}};
    const VertexInput inputs[] = {{"position", 0}, {"MATRIX", 1}};
    std::vector<UINT> offsets;
    ASSERT_EQ(CheckInputLayout(elements, std::size(elements), inputs, offsets), S_OK);
    EXPECT_THAT(offsets, testing::ElementsAre(0, 12, 0, 14, 20, 16, 2));
    EXPECT_THAT(capture.Lines(), testing::IsEmpty());
}

TEST(InputLayoutRules, NameTheElement)
{
    const D3D11_INPUT_ELEMENT_DESC sound = {"POSITION", 0, DXGI_FORMAT_R32G32_FLOAT, 0, 0, PerVertex, 0};
    using Change = std::function<void(D3D11_INPUT_ELEMENT_DESC&)>;
    const std::pair<const char*, Change> cases[] = {
        {"element 1 has no", [](auto& e) { e.SemanticName = nullptr; }},
        {"elements 0 and 1 are both", [](auto& e) { e.SemanticName = "Position"; }},
        {"InputSlot 32", [](auto& e) { e.InputSlot = 32; }},
        {"D24_UNORM_S8_UINT", [](auto& e) { e.Format = DXGI_FORMAT_D24_UNORM_S8_UINT; }},
        {"R8G8B8A8_UNORM_SRGB", [](auto& e) { e.Format = DXGI_FORMAT_R8G8B8A8_UNORM_SRGB; }},
        {"AlignedByteOffset 6", [](auto& e) { e.AlignedByteOffset = 6; }},
        {"below 2048", [](auto& e) { e.AlignedByteOffset = 2048; }},
        {"InstanceDataStepRate", [](auto& e) { e.InstanceDataStepRate = 1; }},
        {"slot 0", [](auto& e) { e.InputSlotClass = PerInstance; }},
    };
    DebugCapture capture;
    std::vector<UINT> offsets;
    for (const auto& [line, change] : cases) {
        SCOPED_TRACE(line);
        D3D11_INPUT_ELEMENT_DESC elements[] = {sound, sound};
        elements[1].SemanticName = "NORMAL";
        elements[1].AlignedByteOffset = 8;
        change(elements[1]);
        ExpectOutcome(capture, CheckInputLayout(elements, 2, {}, offsets), {E_INVALIDARG, line},
                      "ID3D11Device::CreateInputLayout");
    }
    const VertexInput missing[] = {{"TEXCOORD", 3}};
    ExpectOutcome(capture, CheckInputLayout(&sound, 1, missing, offsets), {E_INVALIDARG, "TEXCOORD3"},
                  "ID3D11Device::CreateInputLayout");
    const std::vector<D3D11_INPUT_ELEMENT_DESC> many(33, sound);
    ExpectOutcome(capture, CheckInputLayout(many.data(), 33, {}, offsets), {E_INVALIDARG, "NumElements 33"},
                  "ID3D11Device::CreateInputLayout");
}

TEST(QueryRules, KindsAndFlags)
{
    DebugCapture capture;
    const auto check = [](D3D11_QUERY query, UINT flags) {
        const D3D11_QUERY_DESC desc{query, flags};
        return CheckQuery(&desc);
    };
    constexpr const char* call = "ID3D11Device::CreateQuery";
    ExpectOutcome(capture, check(D3D11_QUERY_PIPELINE_STATISTICS, 0), {}, call);
    ExpectOutcome(capture, check(D3D11_QUERY_OCCLUSION_PREDICATE, D3D11_QUERY_MISC_PREDICATEHINT), {}, call);
    ExpectOutcome(capture, check(D3D11_QUERY_EVENT, 1), {E_INVALIDARG, "MiscFlags 0x1"}, call);
    ExpectOutcome(capture, check(D3D11_QUERY_SO_STATISTICS, 0), {E_INVALIDARG, "Query 6"}, call);
    EXPECT_EQ(QueryDataSize(D3D11_QUERY_PIPELINE_STATISTICS), 88u);
    EXPECT_EQ(QueryDataSize(D3D11_QUERY_TIMESTAMP_DISJOINT), 16u);
}

} // namespace
} // namespace gleam
