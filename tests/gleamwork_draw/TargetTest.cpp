// Render targets: which view is bound for which slice and mip, and what is cleared.
#include "DrawFixture.h"

namespace {

constexpr unsigned SLICED = gw::eTextureUsageFlag_RenderTarget | gw::eTextureUsageFlag_RenderTargetSlices |
                            gw::eTextureUsageFlag_RenderTargetMips;

class Targets : public DrawTest
{
protected:
    qs::ObjectHandle Make(gw::EFormat format, unsigned usage, unsigned size, unsigned mips, unsigned slices)
    {
        const qs::ObjectHandle texture =
            gw::DataLoader::InvokeAddTextureFromMemory(nullptr, format, size, size, 0, mips, nullptr, slices, 1,
                                                       gw::ETextureUsageFlag(usage), gw::ETextureAccessFlag(12));
        m_textures.push_back(texture);
        return texture;
    }
    void Bind(qs::ObjectHandle target, int slice, int mip)
    {
        m_renderer->SetRenderTargets(1, &target, &slice, &mip, TEXTURE_NONE, false, -1);
    }
    void TearDown() override
    {
        for (const qs::ObjectHandle& texture : m_textures) {
            m_renderer->RemoveTexture(texture, true, true);
        }
        DrawTest::TearDown();
    }

private:
    std::vector<qs::ObjectHandle> m_textures;
};

TEST_F(Targets, SlicesAndMipsPickTheirViews)
{
    const qs::ObjectHandle target = Make(gw::FORMAT_RGBA8, SLICED, 16, 4, 4);
    struct Case
    {
        int slice, mip, index;
        const char* said;
    };
    for (const Case& c : {Case{-1, -1, -1, nullptr}, Case{2, -1, 2, nullptr}, Case{1, 2, 9, nullptr},
                          Case{-1, 1, -1, "mip slice, but no array slice was specified!"},
                          Case{4, -1, -1, "array slice 4, but the render target only has 4 array slices!"},
                          Case{1, 4, 1, "mip slice 4, but the render target only has 4 mip slices!"}}) {
        Bind(target, c.slice, c.mip);
        EXPECT_EQ(State().renderTargetViewIndices[0], c.index) << c.slice << " " << c.mip;
        if (c.said) {
            ExpectAssert(c.said);
        }
    }
    const qs::ObjectHandle plain = Make(gw::FORMAT_RGBA8, gw::eTextureUsageFlag_RenderTarget, 16, 2, 2);
    Bind(plain, 1, -1);
    ExpectAssert("was not created using the eTextureUsageFlag_RenderTargetSlices flag!");
    EXPECT_EQ(State().renderTargetViewIndices[0], -1);
    EXPECT_EQ(m_renderer->GetCurrentRenderTarget(0).GetValue(), plain.GetValue());
    EXPECT_FALSE(m_renderer->GetCurrentRenderTarget(8).IsValid());
    ExpectAssert("mrtIndex out of bounds!");
}

TEST_F(Targets, TheSizeComesFromTheFirstTargetElseFromDepth)
{
    const qs::ObjectHandle color = Make(gw::FORMAT_RGBA8, gw::eTextureUsageFlag_RenderTarget, 16, 1, 1);
    const qs::ObjectHandle depth = MakeDepth(32, 8);
    const auto bind = [&](unsigned count, qs::ObjectHandle depthTarget) {
        m_renderer->SetRenderTargets(count, &color, nullptr, nullptr, depthTarget, false, -1);
    };
    bind(1, TEXTURE_NONE);
    EXPECT_EQ(CountCalls("Map", [&] { bind(0, depth); }), 1u); // the view constants hold the size
    EXPECT_EQ(State().viewport[0], 32);
    EXPECT_EQ(State().viewport[1], 8);
    bind(1, TEXTURE_NONE);
    EXPECT_EQ(State().viewport[0], 16);
    EXPECT_EQ(CountCalls("Map", [&] { bind(1, TEXTURE_NONE); }), 0u);
    bind(0, TEXTURE_NONE);
    EXPECT_EQ(State().targetWidth, 0);
    const qs::ObjectHandle tooMany[9] = {};
    m_renderer->SetRenderTargets(9, tooMany, nullptr, nullptr, TEXTURE_NONE, false, -1);
    ExpectAssert("Trying to set 9 render targets, the maximum is 8!");
    m_renderer->RemoveTexture(depth, true, true);
}

TEST_F(Targets, ClearsChooseTheirViewsAndTellWhatIsMissing)
{
    const qs::ObjectHandle shadow =
        Make(gw::FORMAT_D24S8, gw::eTextureUsageFlag_DepthStencil | gw::eTextureUsageFlag_DepthStencilSlices, 8, 1, 3);
    const auto clear = [&] { m_renderer->ClearDepthStencil(shadow, -1, gw::eDepthStencilClearMode_Both, 1.0f, 0); };
    m_renderer->SetRenderTargets(0, nullptr, nullptr, nullptr, shadow, false, 2);
    EXPECT_EQ(CountCalls("ClearDepthStencilView", clear), 1u);
    const qs::ObjectHandle color = Make(gw::FORMAT_RGBA8, gw::eTextureUsageFlag_RenderTarget, 8, 1, 1);
    const qs::ObjectHandle texture = Make(gw::FORMAT_RGBA8, gw::eTextureUsageFlag_ShaderResource, 8, 1, 1);
    m_renderer->ClearDepthStencil(color, 7, gw::eDepthStencilClearMode_Depth, 1.0f, 0);
    ExpectAssert("ClearDepthStencil with slice 7 failed!");
    m_renderer->SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
    m_renderer->ClearDepthStencil(color, 0, gw::eDepthStencilClearMode_Depth, 1.0f, 0);
    ExpectAssert("doesn't have a DepthStencilView!");
    m_renderer->ClearDepthStencil(TEXTURE_NONE, 0, gw::eDepthStencilClearMode_Depth, 1.0f, 0);
    ExpectAssert("ClearDepthStencil - Trying to clear TEXTURE_NONE!");

    const Vector4f black(0, 0, 0, 0);
    EXPECT_EQ(CountCalls("ClearRenderTargetView", [&] { m_renderer->ClearRenderTarget(color, -1, black); }), 1u);
    m_renderer->ClearRenderTarget(color, 0, black);
    ExpectAssert("ClearRenderTarget with slice 0 failed!");
    m_renderer->ClearRenderTarget(texture, -1, black);
    ExpectAssert("doesn't have a RenderTargetView!");
    m_renderer->ClearRenderTarget(TEXTURE_NONE, -1, black);
    ExpectAssert("ClearRenderTarget - Trying to clear TEXTURE_NONE!");
}

} // namespace
