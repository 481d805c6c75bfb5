// The life of textures behind their creation: removal with its delay, resizing, dropped mips, views by owner.
#include "BackendFixture.h"

#include <d3d11.h>
#include <thread>

namespace {

class TextureLife : public BackendTest
{
protected:
    void SetUp() override { StartDevice("null"); }

    /// References on a device object beside the one this test takes.
    static ULONG References(IUnknown* object)
    {
        object->AddRef();
        return object->Release();
    }
};

constexpr TextureSpec PLAIN = {"plain", gw::FORMAT_RGBA8, 8, 8};

} // namespace

TEST_F(TextureLife, BoundTexturesOutliveTheirRemovalByFourFrames)
{
    const qs::ObjectHandle handle = Make(PLAIN);
    ID3D11Resource* resource = m_renderer->GetTextureById(handle)->resource;
    m_renderer->EndFrame(true);
    ID3D11ShaderResourceView* view = Bind(handle);
    ASSERT_NE(view, nullptr);
    const std::uint32_t boundIn = Frame();
    view->AddRef();
    resource->AddRef();
    const ULONG viewReferences = References(view);
    m_renderer->RemoveTexture(handle, true, false);
    EXPECT_FALSE(m_renderer->IsAlive(handle));
    EXPECT_EQ(m_renderer->GetSRV(handle), nullptr);
    while (Frame() < boundIn + 4) {
        m_renderer->EndFrame(false);
        EXPECT_EQ(References(view), viewReferences) << Frame() - boundIn;
        EXPECT_EQ(DelayedCount(), 1u);
    }
    m_renderer->EndFrame(false);
    EXPECT_EQ(References(view), viewReferences - 1);
    EXPECT_EQ(DelayedCount(), 0u);
    view->Release();
    EXPECT_EQ(resource->Release(), 0u);

    const std::uint32_t frame = Frame();
    m_renderer->ClearTextures(false); // an empty list is a frame as well
    EXPECT_EQ(Frame(), frame + 1);
}

TEST_F(TextureLife, ForceAndUnboundTexturesDieAtOnce)
{
    const qs::ObjectHandle unbound = Make(PLAIN);
    const qs::ObjectHandle forced = Make(PLAIN);
    const qs::ObjectHandle delayed = Make(PLAIN);
    Bind(forced);
    Bind(delayed);
    m_renderer->RemoveTexture(unbound, true, false);
    m_renderer->RemoveTexture(forced, true, true);
    EXPECT_EQ(DelayedCount(), 0u);
    m_renderer->RemoveTexture(delayed, true, false);
    m_renderer->RemoveTexture(TEXTURE_NONE, true, true);
    EXPECT_EQ(DelayedCount(), 1u);
    m_renderer->ClearTextures(true);
    EXPECT_EQ(DelayedCount(), 0u);
    EXPECT_EQ(m_renderer->GetTextureCount(), 0u);
    EXPECT_EQ(qs::MemoryManager::GetUsage("DX11 Texture").thirdPartyBlocks, 0);
}

TEST_F(TextureLife, RemovalsBeyondTheTableWaitAsWell)
{
    constexpr unsigned COUNT = 512 * 16 + 3;
    for (unsigned i = 0; i < COUNT; ++i) {
        const qs::ObjectHandle handle = Make({"tiny", gw::FORMAT_R8, 1, 1});
        m_renderer->GetTextureById(handle)->keepUntilFrame = Frame() + 4;
        m_renderer->RemoveTexture(handle, true, false);
    }
    EXPECT_EQ(DelayedCount(), COUNT - 3);
    EXPECT_EQ(m_log.CountContaining("no more free pages", qs::LogLevelAssertion), 3u);
    m_log.Clear();
    for (int frame = 0; frame < 5; ++frame) {
        m_renderer->EndFrame(false);
    }
    EXPECT_EQ(DelayedCount(), 0u);
}

TEST_F(TextureLife, RecordsCanBeCreatedAnew)
{
    const qs::ObjectHandle handle = Make(PLAIN);
    Bind(handle);
    m_renderer->RemoveTexture(handle, false, false);
    EXPECT_TRUE(m_renderer->IsAlive(handle));
    EXPECT_EQ(m_renderer->GetTextureSize(handle), 0u);
    EXPECT_TRUE(Create(handle, {"larger", gw::FORMAT_R8, 32, 16}));
    EXPECT_EQ(m_renderer->GetTextureSize(handle), 32u * 16);
    EXPECT_TRUE(Create(handle, {"created over a live one", gw::FORMAT_R8, 4, 4}));
    EXPECT_EQ(m_renderer->GetTextureSize(handle), 16u);
    m_renderer->RemoveTexture(handle, true, false);
    EXPECT_FALSE(Create(handle, PLAIN)); // a dead handle
    EXPECT_EQ(m_log.Count(qs::LogLevelAssertion), 1u);
    m_log.Clear();
}

TEST_F(TextureLife, TargetsResizeInPlace)
{
    const unsigned cubeTarget = gw::eTextureUsageFlag_CubeMap | gw::eTextureUsageFlag_RenderTarget |
                                gw::eTextureUsageFlag_RenderTargetSlices | gw::eTextureUsageFlag_RenderTargetMips;
    const qs::ObjectHandle cube = Make({"cube", gw::FORMAT_RGBA8, 8, 8, 0, 2, 1, 1, cubeTarget});
    m_renderer->ResizeRenderTarget(cube, 32, 32, 0, 1);
    EXPECT_EQ(m_renderer->GetTextureById(cube)->arraySize, 6);
    EXPECT_EQ(m_renderer->GetNumMipMaps(cube), 6);
    const qs::ObjectHandle samples =
        Make({"samples", gw::FORMAT_RGBA8, 8, 8, 0, 1, 1, 4, gw::eTextureUsageFlag_RenderTarget});
    m_renderer->ResizeRenderTarget(samples, 16, 4, 0, 1);
    unsigned width = 0;
    unsigned height = 0;
    unsigned depth = 1;
    m_renderer->GetTextureDimensions(samples, width, height, depth);
    EXPECT_EQ(width * 100 + height * 10 + depth, 1640u);
    EXPECT_EQ(m_renderer->GetTextureById(samples)->msaaSamples, 4u);
    m_renderer->ResizeRenderTarget(samples, -1, 4, 0, 1);
    ExpectAssert("2D texture dimensions must be in range [1, 16384] (was 4294967295, 4)");
    m_renderer->RemoveTexture(cube, true, false);
    m_renderer->RemoveTexture(samples, true, false);
}

TEST_F(TextureLife, DroppedMipsKeepTheRest)
{
    struct Case
    {
        TextureSpec wanted;
        int mip;
        unsigned keptMips;
        unsigned width;
    };
    const Case cases[] = {
        {{"2D", gw::FORMAT_RGBA8, 16, 16, 0, 5, 1, 1, 4, 4}, 2, 3, 4},
        {{"cube", gw::FORMAT_RGBA8, 8, 8, 0, 4, 1, 1, 4 | 2, 4}, 1, 3, 4},
        {{"array", gw::FORMAT_R8, 8, 4, 0, 3, 3, 1, 4, 4}, 1, 2, 4},
        {{"blocks stop at four texels", gw::FORMAT_DXT1, 16, 16, 0, 5, 1, 1, 4, 4}, 4, 3, 4},
        {{"no mip number keeps one", gw::FORMAT_R8, 8, 8, 0, 4, 1, 1, 4, 4}, -1, 1, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.wanted.name);
        const std::vector<std::uint8_t> bytes = MakeContents(c.wanted);
        const qs::ObjectHandle handle = Make(c.wanted, bytes);
        m_renderer->DecreaseMip(handle, c.mip);
        ExpectQuiet();
        const Texture& texture = *m_renderer->GetTextureById(handle);
        EXPECT_EQ(texture.handle, handle);
        EXPECT_EQ(texture.width, c.width);
        EXPECT_EQ(texture.mipCount, int(c.keptMips));
        EXPECT_EQ(texture.originalMipCount, int(c.wanted.mips));
        EXPECT_EQ(texture.access, 12);
        std::vector<std::uint8_t> kept;
        std::uint64_t offset = 0;
        for (unsigned i = 0; i < SliceCount(c.wanted) * c.wanted.mips; ++i) {
            const unsigned mip = i % c.wanted.mips;
            const std::uint64_t size = MipBytes(c.wanted, mip);
            if (mip >= c.wanted.mips - c.keptMips) {
                kept.insert(kept.end(), bytes.begin() + offset, bytes.begin() + offset + size);
            }
            offset += size;
        }
        EXPECT_EQ(ReadAll(handle), kept);
        EXPECT_EQ(qs::MemoryManager::GetUsage("DX11 Texture").thirdPartyBytes, std::int64_t(texture.sizeInBytes));
        EXPECT_EQ(DelayedCount(), 1u);
        ASSERT_NE(m_renderer->GetSRV(handle), nullptr);
        ID3D11Resource* viewed = nullptr;
        m_renderer->GetSRV(handle)->views[0]->GetResource(&viewed);
        EXPECT_EQ(viewed, texture.resource);
        viewed->Release();
        m_renderer->RemoveTexture(handle, true, true);
        m_renderer->ClearTextures(true);
    }
}

TEST_F(TextureLife, DropsOfMipsThatCannotBeAreReported)
{
    const qs::ObjectHandle single = Make({"single", gw::FORMAT_RGBA8, 8, 8});
    m_renderer->DecreaseMip(single, 0);
    ExpectAssert("Can't increase mip in the CalculateMipDelta function?");
    m_renderer->DecreaseMip(TEXTURE_NONE, 1);
    ExpectAssert("[D3D11Renderer::DecreaseMip] Texture no longer found");
    const qs::ObjectHandle target = MakeDepth(8, 8);
    m_renderer->DecreaseMip(target, 1);
    ExpectAssert("SRV no longer found - is this texture being removed?");
    m_renderer->RemoveTexture(single, true, false);
    m_renderer->RemoveTexture(target, true, false);
}

TEST_F(TextureLife, ViewsAreFiledByOwner)
{
    const qs::ObjectHandle owner(200, 7, 1);
    SRV srv;
    srv.format = 5;
    m_renderer->AddSRV(srv, owner);
    srv.format = 6;
    m_renderer->AddSRV(srv, owner);
    ExpectAssert("already exists in map! This will cause a mem leak.");
    EXPECT_EQ(m_renderer->GetSRV(owner)->format, 6u);
    m_renderer->RemoveSRV(TEXTURE_NONE);
    m_renderer->RemoveSRV(owner);
    m_renderer->RemoveSRV(owner);
    EXPECT_EQ(m_renderer->GetSRV(owner), nullptr);

    const auto addAndRemove = [this](unsigned type) {
        for (unsigned i = 1; i < 3000; ++i) {
            SRV own;
            own.format = i;
            m_renderer->AddSRV(own, qs::ObjectHandle(type, i, 1));
            EXPECT_EQ(m_renderer->GetSRV(qs::ObjectHandle(type, i, 1))->format, i);
            if (i > 100) {
                m_renderer->RemoveSRV(qs::ObjectHandle(type, i - 100, 1));
            }
        }
        for (unsigned i = 2900; i < 3000; ++i) {
            m_renderer->RemoveSRV(qs::ObjectHandle(type, i, 1));
        }
    };
    std::thread other([&] { addAndRemove(201); });
    addAndRemove(202);
    other.join();
}
