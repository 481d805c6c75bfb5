// The pool of named render targets.
#include "FrameFixture.h"

namespace {

std::pair<unsigned, unsigned> SizeOf(gw::Renderer& renderer, const qs::ObjectHandle* target)
{
    unsigned width = 0, height = 0, depth = 0;
    renderer.GetTextureDimensions(*target, width, height, depth);
    return {width, height};
}

using Size = std::pair<unsigned, unsigned>;

} // namespace

TEST_F(FrameTest, TargetsAreSharedByName)
{
    gw::RenderTargetManager manager(1920, 1080, false);
    const qs::ObjectHandle* target = manager.AddResizingRenderTarget(Name("a"), gw::FORMAT_RGBA8, 0.5f, true, false, 1);
    ASSERT_NE(target, nullptr);
    EXPECT_EQ(SizeOf(*m_renderer, target), Size(960, 540));
    EXPECT_EQ(m_renderer->GetNumMipMaps(*target), 10);
    EXPECT_EQ(manager.AddResizingRenderTarget(Name("a"), gw::FORMAT_RGBA8, 0.5f, true, false, 1), target);
    ExpectQuiet();
    EXPECT_EQ(manager.AddResizingRenderTarget(Name("a"), gw::FORMAT_RG8, 0.25f, true, true, 1), target);
    EXPECT_EQ(m_log.CountContaining("Format of returned Render target does not match requested format!"), 1u);
    EXPECT_EQ(m_log.CountContaining("Scale of returned Render target does not match requested scale!"), 1u);
    EXPECT_EQ(m_log.Count(), 2u);
    m_log.Clear();
    EXPECT_EQ(manager.GetRefCount(Name("a")), 3u);
    EXPECT_EQ(manager.GetRenderTarget(Name("a")), target);
    EXPECT_FALSE(manager.RemoveRenderTarget(Name("a")));
    EXPECT_FALSE(manager.RemoveRenderTarget(Name("a")));
    EXPECT_TRUE(manager.RemoveRenderTarget(Name("a")));
    EXPECT_FALSE(manager.RemoveRenderTarget(Name("a")));
    EXPECT_EQ(manager.GetRefCount(Name("a")), 0u);
    ExpectQuiet();
    EXPECT_EQ(manager.GetRenderTarget(Name("a")), nullptr);
    ExpectError("Render Target not found");

    const qs::ObjectHandle* fixed = manager.AddRenderTarget(Name("f"), gw::FORMAT_RGBA8, 32, 16, false, 1);
    EXPECT_EQ(manager.AddRenderTarget(Name("f"), gw::FORMAT_RG8, 33, 17, false, 1), fixed);
    EXPECT_EQ(m_log.CountContaining("of returned Render target does not match requested!"), 3u);
    m_log.Clear();
    EXPECT_EQ(SizeOf(*m_renderer, fixed), Size(32, 16));
    EXPECT_EQ(manager.AddResizingDepthRenderTarget(Name("f"), gw::FORMAT_RGBA8, 1.0f, true, 1), fixed);
    ExpectAssert("Scale of returned Render target does not match requested scale!");
    for (int i = 0; i < 3; ++i) {
        manager.RemoveRenderTarget(Name("f"));
    }
}

TEST_F(FrameTest, TargetsFollowTheSize)
{
    gw::RenderTargetManager manager(1920, 1080, true);
    const qs::ObjectHandle* half = manager.AddResizingRenderTarget(Name("h"), gw::FORMAT_RGBA8, 0.5f, false, true, 1);
    const qs::ObjectHandle* depth = manager.AddResizingDepthRenderTarget(Name("d"), gw::FORMAT_D24S8, 1.0f, false, 1);
    const qs::ObjectHandle* fixed = manager.AddRenderTarget(Name("f"), gw::FORMAT_RGBA8, 16, 16, true, 1);
    EXPECT_EQ(SizeOf(*m_renderer, half), Size(480, 540));
    EXPECT_EQ(SizeOf(*m_renderer, depth), Size(1920, 1080));
    manager.SetSize(1920, 1080, true);
    EXPECT_TRUE(m_immediate.IsEmpty());
    manager.SetSize(1920, 1080, false);
    EXPECT_EQ(m_immediate.ExecuteAll(), 2u);
    EXPECT_EQ(SizeOf(*m_renderer, half), Size(960, 540));
    manager.SetSize(1, 1, true);
    m_immediate.ExecuteAll();
    EXPECT_EQ(SizeOf(*m_renderer, half), Size(1, 1));
    unsigned width, height;
    manager.GetSize(width, height);
    EXPECT_EQ(Size(width, height), Size(1, 1));

    EXPECT_FALSE(manager.ResizeRenderTarget(Name("h"), 5, 5));
    ExpectError("Resizing screen size dependent render target not allowed");
    EXPECT_FALSE(manager.ResizeRenderTarget(Name("f"), 0, 5));
    EXPECT_FALSE(manager.ResizeRenderTarget(Name("f"), 16, 16));
    EXPECT_FALSE(manager.ResizeRenderTarget(Name("nobody"), 5, 5));
    EXPECT_TRUE(m_immediate.IsEmpty());
    manager.RemoveRenderTarget(Name("f"));
    fixed = manager.AddDepthRenderTarget(Name("g"), gw::FORMAT_D24S8, 8, 8, false, 1);
    EXPECT_TRUE(manager.ResizeRenderTarget(Name("g"), 12, 10));
    m_immediate.ExecuteAll();
    EXPECT_EQ(SizeOf(*m_renderer, fixed), Size(12, 10));
    for (const char* name : {"h", "d", "g"}) {
        EXPECT_TRUE(manager.RemoveRenderTarget(Name(name)));
    }
}
