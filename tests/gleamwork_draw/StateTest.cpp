// Render states: what reaches the device, and what the shadow keeps from it.
#include "DrawFixture.h"

#include <d3d11.h>

using gw::details::RendererBase;

namespace {

class StateTest : public DrawTest
{
};

TEST_F(StateTest, RepeatedSetsMakeNoDeviceCall)
{
    const qs::ObjectHandle alpha = RendererBase::BS(gw::BS_ALPHA);
    EXPECT_EQ(CountCalls("OMSetBlendState", [&] { m_renderer->SetBlendState(alpha, 0xffffffff); }), 1u);
    EXPECT_EQ(CountCalls("OMSetBlendState", [&] { m_renderer->SetBlendState(alpha, 0xffffffff); }), 0u);
    EXPECT_EQ(CountCalls("OMSetBlendState", [&] { m_renderer->SetBlendState(alpha, 1); }), 1u);

    const qs::ObjectHandle depth = RendererBase::DS(gw::DS_READ_WRITE);
    EXPECT_EQ(CountCalls("OMSetDepthStencilState", [&] { m_renderer->SetDepthState(depth, 3); }), 1u);
    EXPECT_EQ(CountCalls("OMSetDepthStencilState", [&] { m_renderer->SetDepthState(depth, 3); }), 0u);
    EXPECT_EQ(CountCalls("OMSetDepthStencilState", [&] { m_renderer->SetDepthState(depth, 4); }), 1u);

    const qs::ObjectHandle wire = RendererBase::RS(gw::RS_WIREFRAME);
    EXPECT_EQ(CountCalls("RSSetState", [&] { m_renderer->SetRasterizerState(wire); }), 1u);
    EXPECT_EQ(CountCalls("RSSetState", [&] { m_renderer->SetRasterizerState(wire); }), 0u);

    const auto lines = [&] { m_renderer->SetPrimitiveTopology(gw::ePrimitiveTopology_LineList); };
    EXPECT_EQ(CountCalls("IASetPrimitiveTopology", lines), 1u);
    EXPECT_EQ(CountCalls("IASetPrimitiveTopology", lines), 0u);

    m_renderer->ResetToDefaults();
    EXPECT_EQ(CountCalls("OMSetBlendState", [&] { m_renderer->SetBlendState(alpha, 1); }), 1u);
    EXPECT_EQ(CountCalls("IASetPrimitiveTopology", lines), 1u);
}

TEST_F(StateTest, InvalidHandlesAssertAndReachNoDevice)
{
    const qs::ObjectHandle none = qs::ObjectHandle::Unassigned;
    EXPECT_EQ(CountCalls("OMSetBlendState", [&] { m_renderer->SetBlendState(none, 1); }), 0u);
    ExpectAssert("SetBlendState should never be called using BS_INVALID!");
    EXPECT_EQ(CountCalls("OMSetDepthStencilState", [&] { m_renderer->SetDepthState(none, 1); }), 0u);
    ExpectAssert("SetDepthState should never be called using DS_INVALID!");
    EXPECT_EQ(CountCalls("RSSetState", [&] { m_renderer->SetRasterizerState(none); }), 0u);
    ExpectAssert("SetRasterizerState should never be called using RS_INVALID!");
    EXPECT_EQ(State().sampleMask, 1u);
}

TEST_F(StateTest, DeviceObjectsHaveTheDescribedValues)
{
    ID3D11DeviceContext* context = m_renderer->GetDeviceData().context;
    m_renderer->SetRasterizerState(RendererBase::RS(gw::RS_SOLID_CULL_BACK_BIAS));
    ID3D11RasterizerState* rasterizer = nullptr;
    context->RSGetState(&rasterizer);
    ASSERT_NE(rasterizer, nullptr);
    D3D11_RASTERIZER_DESC rasterizerDesc = {};
    rasterizer->GetDesc(&rasterizerDesc);
    rasterizer->Release();
    EXPECT_EQ(rasterizerDesc.DepthBias, -5);
    EXPECT_EQ(rasterizerDesc.SlopeScaledDepthBias, -2.5f);
    EXPECT_EQ(rasterizerDesc.CullMode, D3D11_CULL_BACK);

    // The opaque prefab is the device's default: a null state.
    m_renderer->SetBlendState(RendererBase::BS(gw::BS_ALPHA), 1);
    m_renderer->SetBlendState(RendererBase::BS(gw::BS_OPAQUE), 0xffffffff);
    ID3D11BlendState* blend = nullptr;
    float factor[4];
    UINT mask = 0;
    context->OMGetBlendState(&blend, factor, &mask);
    EXPECT_EQ(blend, nullptr);
    EXPECT_EQ(mask, 0xffffffffu);
    if (blend) {
        blend->Release();
    }
}

TEST_F(StateTest, ViewportScissorAndSynchronisation)
{
    EXPECT_EQ(CountCalls("RSSetViewports", [&] { m_renderer->SetViewport(10, 20, 1, 2); }), 1u);
    EXPECT_EQ(CountCalls("RSSetViewports", [&] { m_renderer->SetViewport(10, 20, 1, 2); }), 0u);
    EXPECT_EQ(CountCalls("RSSetScissorRects", [&] { m_renderer->SetScissorRect(1, 2, 3, 4); }), 1u);
    EXPECT_EQ(CountCalls("RSSetScissorRects", [&] { m_renderer->SetScissorRect(1, 2, 3, 4); }), 0u);
    EXPECT_EQ(CountCalls("ClearState", [&] { m_renderer->GPUWait(gw::ESyncType(11), {}, "", 0, 0); }), 0u);
    EXPECT_EQ(CountCalls("ClearState", [&] { m_renderer->GPUWait(gw::ESyncType(12), {}, "", 0, 0); }), 1u);
    EXPECT_EQ(CountCalls("RSSetViewports", [&] { m_renderer->SetViewport(10, 20, 1, 2); }), 1u);
}

} // namespace
