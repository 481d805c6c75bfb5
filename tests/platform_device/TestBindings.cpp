// Nothing is bound for reading and writing at once, getters tell what is bound, and ClearState empties it all.
#include "DeviceKit.h"

class Bindings : public DeviceTest
{
protected:
    ComPtr<ID3D11ShaderResourceView> BoundRead(UINT slot = 0)
    {
        ComPtr<ID3D11ShaderResourceView> view;
        context->PSGetShaderResources(slot, 1, view.Put());
        return view;
    }
    void BindRead(ID3D11ShaderResourceView* view, UINT slot = 0) { context->PSSetShaderResources(slot, 1, &view); }
};

TEST_F(Bindings, WritingTakesReadsAwayAndKeepsNewOnesOut)
{
    const auto texture = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8, {.mips = 2});
    D3D11_SHADER_RESOURCE_VIEW_DESC desc{DXGI_FORMAT_R8G8B8A8_UNORM, D3D_SRV_DIMENSION_TEXTURE2D, {}};
    desc.Texture2D = {0, 1};
    const auto firstMip = View(texture.Get(), &desc);
    desc.Texture2D = {1, 1};
    const auto secondMip = View(texture.Get(), &desc);
    const auto target = Target(texture.Get());
    BindRead(firstMip.Get());
    BindRead(secondMip.Get(), 5);
    SetTarget(target.Get(), 8, 8);
    EXPECT_EQ(nullptr, BoundRead().Get());
    EXPECT_EQ(secondMip.Get(), BoundRead(5).Get()) << "the other mip may stay";
    BindRead(firstMip.Get());
    EXPECT_EQ(nullptr, BoundRead().Get());
    SetTarget(nullptr, 8, 8);
    BindRead(firstMip.Get());
    EXPECT_EQ(firstMip.Get(), BoundRead().Get());
    // Reading one mip while another is drawn gives the right pixels.
    const float color[4] = {1, 0.5f, 0, 1};
    context->ClearRenderTargetView(target.Get(), color);
    D3D11_RENDER_TARGET_VIEW_DESC lower{DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_RTV_DIMENSION_TEXTURE2D, {}};
    lower.Texture2D = {1};
    SetTarget(Target(texture.Get(), &lower).Get(), 4, 4);
    EXPECT_EQ(firstMip.Get(), BoundRead().Get());
    Fill(Pixel("Texture2D t; float4 main() : SV_Target { return t.Load(0).bgra; }").Get());
    EXPECT_EQ(Rgba(0, 128, 255), ReadColor(texture.Get(), 1));
    EXPECT_EQ(Rgba(255, 128, 0), ReadColor(texture.Get(), 0));
}

TEST_F(Bindings, PingPongBetweenTargetsIsOrdered)
{
    const auto first = Texture(DXGI_FORMAT_R32_UINT, 4, 4), second = Texture(DXGI_FORMAT_R32_UINT, 4, 4);
    const auto firstTarget = Target(first.Get()), secondTarget = Target(second.Get());
    const auto firstView = View(first.Get()), secondView = View(second.Get());
    const auto shader = Pixel("Texture2D<uint> t; uint main(float4 p : SV_Position) : SV_Target"
                              "{ return t.Load(int3(3 - p.xy, 0)) * 2 + 1; }");
    const float zero[4] = {};
    context->ClearRenderTargetView(firstTarget.Get(), zero);
    for (int i = 0; i < 9; ++i) {
        BindRead(nullptr);
        SetTarget(i % 2 ? firstTarget.Get() : secondTarget.Get(), 4, 4);
        BindRead(i % 2 ? secondView.Get() : firstView.Get());
        Fill(shader.Get());
    }
    EXPECT_EQ(511u, ReadColor(second.Get()));
    EXPECT_EQ(255u, ReadColor(first.Get()));
}

TEST_F(Bindings, GettersAnswerUntilClearState)
{
    const auto buffer = Buffer(64, D3D11_BIND_VERTEX_BUFFER | D3D11_BIND_INDEX_BUFFER);
    const auto constants = Buffer(64, D3D11_BIND_CONSTANT_BUFFER);
    const auto texture = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8);
    const auto target = Target(texture.Get());
    ID3D11Buffer* buffers[] = {buffer.Get()};
    const UINT stride = 12, offset = 4;
    context->IASetVertexBuffers(3, 1, buffers, &stride, &offset);
    context->IASetIndexBuffer(buffer.Get(), DXGI_FORMAT_R16_UINT, 6);
    ID3D11Buffer* constant[] = {constants.Get(), buffer.Get()};
    context->VSSetConstantBuffers(12, 2, constant); // the second cannot be one
    const auto shader = Pixel("float4 main() : SV_Target { return 0; }");
    context->PSSetShader(shader.Get(), nullptr, 0);
    SetTarget(target.Get(), 8, 8);
    for (const bool isCleared : {false, true}) {
        ComPtr<ID3D11Buffer> gotVertices, gotIndices, gotConstants[2];
        ComPtr<ID3D11RenderTargetView> gotTarget;
        ComPtr<ID3D11PixelShader> gotShader;
        UINT gotStride = 9, gotOffset = 9, viewports = 4;
        DXGI_FORMAT format;
        context->IAGetVertexBuffers(3, 1, gotVertices.Put(), &gotStride, &gotOffset);
        context->IAGetIndexBuffer(gotIndices.Put(), &format, &gotOffset);
        context->VSGetConstantBuffers(12, 1, gotConstants[0].Put());
        context->VSGetConstantBuffers(13, 1, gotConstants[1].Put());
        context->OMGetRenderTargets(1, gotTarget.Put(), nullptr);
        context->PSGetShader(gotShader.Put(), nullptr, nullptr);
        context->RSGetViewports(&viewports, nullptr);
        EXPECT_EQ(isCleared ? nullptr : buffer.Get(), gotVertices.Get());
        EXPECT_EQ(isCleared ? 0u : stride, gotStride);
        EXPECT_EQ(isCleared ? nullptr : buffer.Get(), gotIndices.Get());
        EXPECT_EQ(isCleared ? 0u : 6u, gotOffset);
        EXPECT_EQ(isCleared ? nullptr : constants.Get(), gotConstants[0].Get());
        EXPECT_EQ(nullptr, gotConstants[1].Get());
        EXPECT_EQ(isCleared ? nullptr : target.Get(), gotTarget.Get());
        EXPECT_EQ(isCleared ? nullptr : shader.Get(), gotShader.Get());
        EXPECT_EQ(isCleared ? 0u : 1u, viewports);
        context->ClearState();
    }
}

TEST_F(Bindings, ObjectsLiveWhileBoundOrInFlight)
{
    const auto texture = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8);
    SetTarget(Target(texture.Get()).Get(), 8, 8); // the view is held by the binding alone
    for (unsigned i = 0; i < 50; ++i) {
        const std::uint32_t pixel = Rgba(i, 0, 0);
        const D3D11_SUBRESOURCE_DATA data{&pixel, 4, 0};
        BindRead(View(Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 1, 1, {.data = &data}).Get()).Get());
        Fill(Pixel("Texture2D t; float4 main() : SV_Target { return t.Load(0); }").Get());
        if (i % 20 == 19) {
            context->Flush();
        }
    }
    EXPECT_EQ(Rgba(49, 0, 0), ReadColor(texture.Get()));
}
