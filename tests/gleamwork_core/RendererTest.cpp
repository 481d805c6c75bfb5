// The renderer's life, its prefabs, default textures, debug render passes and fonts, on the device that draws nothing.
#include "CoreFixture.h"

#include "Gleamwork/image/Image.h"

#include <png.h>
#include <set>
#include <unistd.h>

namespace {

class RendererTest : public DeviceTest
{
protected:
    void SetUp() override { StartDevice("null"); }
};

using gw::details::RendererBase;

} // namespace

TEST_F(RendererTest, PrefabStatesExistAndFillTheirTables)
{
    std::set<std::uint64_t> handles;
    for (int i = 0; i < gw::SS_INVALID; ++i) {
        handles.insert(RendererBase::SS(gw::EPrefabSamplerState(i)).GetValue());
    }
    for (int i = 0; i < gw::BS_INVALID; ++i) {
        handles.insert(RendererBase::BS(gw::EPrefabBlendState(i)).GetValue());
    }
    for (int i = 0; i < gw::DS_INVALID; ++i) {
        handles.insert(RendererBase::DS(gw::EPrefabDepthState(i)).GetValue());
    }
    for (int i = 0; i < gw::RS_INVALID; ++i) {
        handles.insert(RendererBase::RS(gw::EPrefabRasterizerState(i)).GetValue());
    }
    EXPECT_EQ(handles.size(), 61u);
    EXPECT_EQ(handles.count(0), 0u);
    EXPECT_FALSE(
        m_renderer->AddRasterizerState(gw::eCullModes_None, gw::eFillModes_Solid, false, false, false).IsValid());
    ExpectAssert("qs::ObjectContainer is trying to grow, but no more free pages!!!");
}

TEST_F(RendererTest, PrefabIndexOutOfRangeAsserts)
{
    m_renderer->SetBlendState(gw::BS_INVALID, 1);
    ExpectAssert("[SetBlendState] incorrect index passed");
    m_renderer->SetDepthState(gw::DS_INVALID, 1);
    ExpectAssert("[SetDepthState] incorrect index passed");
    m_renderer->SetRasterizerState(gw::RS_INVALID);
    ExpectAssert("[SetRasterizerState] incorrect index passed");
}

TEST_F(RendererTest, DefaultTexturesAreMadeOnDemand)
{
    EXPECT_FALSE(m_renderer->GetDefaultWhiteTexture().IsValid());
    const std::size_t before = m_renderer->GetTextureCount();
    ASSERT_TRUE(m_renderer->CreateDefaultTextures());
    EXPECT_EQ(m_renderer->GetTextureCount(), before + 5);
    for (const qs::ObjectHandle handle : {m_renderer->GetDefaultWhiteTexture(), m_renderer->GetDefaultBlackTexture(),
                                          m_renderer->GetDefaultTransparentTexture()}) {
        EXPECT_EQ(m_renderer->GetTextureSize(handle), 1024u);
    }
    EXPECT_EQ(m_renderer->GetTextureSize(m_renderer->GetDefaultWhiteTextureCube()), 6144u);
    EXPECT_EQ(m_renderer->GetTextureSize(m_renderer->GetDefaultBlackTextureCube()), 6144u);
    EXPECT_EQ(ReadPixels(m_renderer->GetDefaultBlackTexture())[255], (Pixel{0, 0, 0, 255}));
    EXPECT_EQ(ReadPixels(m_renderer->GetDefaultTransparentTexture())[0], (Pixel{0, 0, 0, 0}));
}

TEST_F(RendererTest, ViewPropertiesReachTheirPlaces)
{
    Matrix4x4f view;
    view.SetTranslate({1, 2, 3});
    Matrix4x4f projection;
    projection(2, 3) = 1;
    m_renderer->SetRenderProperties(view, projection, {4, 5, 6}, 7, 8);
    m_renderer->SetRenderFrustrumCorners({10, 0, 0}, {0, 1, 0}, {0, 0, 1}, {20, 0, 0}, {0, 2, 0}, {0, 0, 2});
    const gw::RendererProperties& properties = *m_renderer->GetRenderProperties();
    EXPECT_EQ(properties.viewProjection(3, 3), 1 + 3.0f);
    EXPECT_EQ(properties.viewPosition, Vector4f(4, 5, 6, 1));
    EXPECT_EQ(properties.frustumCornersWorld[0], Vector4f(10, 1, -1, 0));
    EXPECT_EQ(properties.frustumCornersWorld[1], Vector4f(10, 1, 3, 0));
    EXPECT_EQ(properties.frustumCornersWorld[2], Vector4f(10, -3, -1, 0));
    EXPECT_EQ(properties.frustumCornersView[2], Vector4f(20, -6, -2, 0));
    EXPECT_EQ(properties.frustumCornersWorld[3], Vector4f());
}

TEST_F(RendererTest, DebugRenderPassKeepsACopyOfTheTarget)
{
    const qs::FixedString pass = qs::FixedString::Create("shadow");
    const qs::ObjectHandle target = MakeTarget(8, 4);
    const qs::ObjectHandle larger = MakeTarget(16, 16);
    const auto draw = [&](const qs::ObjectHandle& to, const Vector4f& color) {
        m_renderer->SetRenderTargets(1, &to, nullptr, nullptr, TEXTURE_NONE, false, -1);
        m_renderer->ClearRenderTarget(to, -1, color);
        m_renderer->DebugMRT(pass, 0);
    };
    const std::size_t before = m_renderer->GetTextureCount();
    draw(target, {1, 0, 0, 1});
    EXPECT_EQ(m_renderer->GetTextureCount(), before);

    m_renderer->AddDebugRenderPass(pass);
    EXPECT_TRUE(m_renderer->IsDebuggingRenderPass(pass));
    EXPECT_FALSE(m_renderer->GetDebugRenderPassTexture(pass).IsValid());
    draw(target, {1, 0, 0, 1});
    const qs::ObjectHandle copy = m_renderer->GetDebugRenderPassTexture(pass);
    ASSERT_TRUE(m_renderer->IsAlive(copy));
    EXPECT_EQ(ReadPixels(copy), ReadPixels(target));
    draw(larger, {0, 1, 0, 1});
    EXPECT_EQ(m_renderer->GetDebugRenderPassTexture(pass), copy);
    EXPECT_EQ(ReadPixels(copy), ReadPixels(larger));

    m_renderer->RemoveDebugRenderPass(pass);
    EXPECT_FALSE(m_renderer->IsDebuggingRenderPass(pass));
    EXPECT_TRUE(m_renderer->IsAlive(copy));
    m_renderer->SetDebugRenderPassTexture(pass, copy);
    ExpectAssert("Trying to set debug render pass texture, but the render pass is not being debugged. (shadow)");
    for (const qs::ObjectHandle& texture : {target, larger, copy}) {
        m_renderer->RemoveTexture(texture, true, true);
    }
}

TEST_F(RendererTest, ReloadKeepsTheHandle)
{
    const unsigned char grey[4 * 4 * 4] = {};
    const qs::ObjectHandle texture = MakeTexture(4, 4, grey);
    const std::string path = testing::TempDir() + "reload" + std::to_string(getpid()) + ".png";
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    png.width = 2;
    png.height = 3;
    png.format = PNG_FORMAT_RGB;
    const unsigned char rgb[2 * 3 * 3] = {10, 20, 30};
    ASSERT_TRUE(png_image_write_to_file(&png, path.c_str(), 0, rgb, 0, nullptr));

    m_renderer->ReloadTexture(texture, qs::Path(qs::PATH_ROOT_NONE, path.c_str()), false);
    unsigned width = 0;
    unsigned height = 0;
    unsigned depth = 1;
    m_renderer->GetTextureDimensions(texture, width, height, depth);
    EXPECT_EQ(std::make_tuple(width, height, depth), std::make_tuple(2u, 3u, 0u));
    EXPECT_EQ(ReadPixels(texture)[0], (Pixel{10, 20, 30, 255}));
    unlink(path.c_str());

    m_renderer->ReloadTexture(texture, qs::Path(qs::PATH_ROOT_NONE, path.c_str()), true);
    ExpectError(("Couldn't open \"" + path + "\"").c_str());
    EXPECT_TRUE(m_renderer->IsAlive(texture));
    EXPECT_EQ(m_renderer->GetTextureSize(texture), 0u);

    m_renderer->RemoveTexture(texture, true, true);
    m_renderer->ReloadTexture(texture, qs::Path(qs::PATH_ROOT_NONE, path.c_str()), true);
    gw::Image none;
    m_renderer->ReloadTexture(texture, none, false);
    ExpectQuiet();
    m_renderer->ReloadTexture(TEXTURE_NONE, none, false);
    ExpectAssert("Cannot reload a texture on a TEXTURE_NONE id!");
}

TEST_F(RendererTest, UpdateTextureDataCopiesRowsAndStaysInside)
{
    std::vector<unsigned char> pixels(7 * 5 * 4);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        pixels[i] = static_cast<unsigned char>(i * 7);
    }
    const qs::ObjectHandle texture =
        MakeTexture(7, 5, nullptr, gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_CPUWrite);
    m_renderer->UpdateTextureData(texture, pixels.data(), 7, 5, 4);
    const std::vector<Pixel> read = ReadPixels(texture);
    EXPECT_EQ(std::memcmp(read.data(), pixels.data(), pixels.size()), 0);
    m_renderer->UpdateTextureData(texture, pixels.data(), 7, 6, 4);
    ExpectError("7 by 6 pixels of 4 bytes do not fit into a texture of 7 by 5");
    m_renderer->UpdateTextureData(texture, pixels.data(), 7, -1, 4);
    ExpectError("do not fit");
    m_renderer->RemoveTexture(texture, true, true);
}

TEST_F(RendererTest, FontsGoWithTheirTexture)
{
    const unsigned char white[4] = {255, 255, 255, 255};
    gw::TexturedFont font;
    font.texture = MakeTexture(1, 1, white);
    const qs::ObjectHandle handle = m_renderer->AddFont(font);
    ASSERT_NE(m_renderer->GetFont(handle), nullptr);
    EXPECT_EQ(m_renderer->GetFont(handle)->GetHandle(), handle);
    EXPECT_EQ(handle.GetType(), gw::TexturedFont::GetType());
    m_renderer->RemoveFont(handle);
    EXPECT_FALSE(m_renderer->IsAlive(font.texture));
    m_renderer->RemoveFont(handle);
    ExpectQuiet();

    font.texture = MakeTexture(1, 1, white);
    m_renderer->AddFont(font);
    m_renderer->Destroy();
    ExpectAssert("Textured Fonts still alive at shutdown!");
    EXPECT_FALSE(m_renderer->IsAlive(font.texture));
    m_renderer->GetDefaultFullScreenTriangle();
    ExpectAssert("Fullscreen triangle accessed before it's created!");
    ASSERT_TRUE(m_renderer->Create());
}

TEST_F(RendererTest, FullScreenGeometryIsMadeOnceAndRemovedThroughTheQueue)
{
    gw::FullScreenQuad quad;
    quad.Setup(*m_renderer);
    EXPECT_EQ(m_log.CountContaining("FullScreenQuad not yet initialized!", qs::LogLevelAssertion), 1u);
    m_log.Clear();
    ASSERT_TRUE(quad.Init(SHADER_NONE, false, nullptr));
    ASSERT_TRUE(quad.Init(SHADER_NONE, false, nullptr));
    quad.Destroy(nullptr);
    EXPECT_EQ(m_immediate.GetCount(), 2u);
    EXPECT_EQ(m_immediate.ExecuteAll(), 2u);
    quad.Destroy(nullptr);
    EXPECT_EQ(m_immediate.GetCount(), 0u);
    ASSERT_TRUE(quad.Init(SHADER_NONE, true, nullptr));
    quad.Destroy(nullptr);

    gw::FullScreenTriangle triangle;
    triangle.Setup(*m_renderer);
    EXPECT_EQ(m_log.CountContaining("FullScreenTriangle not yet initialized!", qs::LogLevelAssertion), 1u);
    m_log.Clear();
    ASSERT_TRUE(triangle.Init(SHADER_NONE, false, nullptr));
    triangle.Destroy(nullptr);
    EXPECT_EQ(m_immediate.ExecuteAll(), 3u);
}
