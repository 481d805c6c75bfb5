// What textures hold: every shape there and back on both devices, copies, locks, mips and clears, under validation.
#include "BackendFixture.h"

#include <cstring>
#include <thread>

namespace {

class Contents : public BackendTest, public testing::WithParamInterface<const char*>
{
protected:
    void SetUp() override { StartDevice(GetParam()); }
    bool Draws() const { return std::string(GetParam()) != "null"; }
};

constexpr unsigned TARGET = gw::eTextureUsageFlag_ShaderResource | gw::eTextureUsageFlag_RenderTarget;

} // namespace

INSTANTIATE_TEST_SUITE_P(Devices, Contents, testing::Values("null", "software"), DeviceName);

TEST_P(Contents, ComeBackAsTheyWent)
{
    const unsigned cube = gw::eTextureUsageFlag_ShaderResource | gw::eTextureUsageFlag_CubeMap;
    const TextureSpec cases[] = {
        {"odd sizes", gw::FORMAT_RGBA8, 5, 7, 0, 3, 3, 1, 4, 4},
        {"sRGB", gw::FORMAT_BGRA8, 8, 8, 0, 4, 1, 1, 4 | 1, 4},
        {"block cube", gw::FORMAT_DXT1, 16, 16, 0, 3, 1, 1, cube, 4},
        {"blocks of sixteen", gw::FORMAT_BC7, 12, 8, 0, 2, 1, 1, 4, 4},
        {"blocks with a remainder", gw::FORMAT_DXT5, 12, 12, 0, 4, 1, 1, 4, 4},
        {"volume", gw::FORMAT_R8, 8, 4, 4, 3, 1, 1, 4, 4},
        {"line array", gw::FORMAT_RGBA16F, 16, 0, 0, 5, 2, 1, 4, 4},
        {"wide texels", gw::FORMAT_RGBA32F, 3, 3, 0, 2, 1, 1, 4, 12},
        {"two bytes", gw::FORMAT_R16UI, 9, 9, 0, 1, 2, 1, 4, 12},
        {"cube array", gw::FORMAT_RGBA8, 4, 4, 0, 3, 2, 1, cube, 4},
    };
    for (const TextureSpec& wanted : cases) {
        SCOPED_TRACE(wanted.name);
        const std::vector<std::uint8_t> bytes = MakeContents(wanted);
        const qs::ObjectHandle handle = Make(wanted, bytes);
        EXPECT_EQ(m_renderer->GetTextureSize(handle), bytes.size());
        EXPECT_EQ(ReadAll(handle), bytes);
        m_renderer->RemoveTexture(handle, true, false);
    }
}

TEST_P(Contents, AreMadeOnSeveralThreadsAtOnce)
{
    const TextureSpec wanted = {"threaded", gw::FORMAT_RGBA8, 16, 16, 0, 5, 1, 1, 4, 4};
    const std::vector<std::uint8_t> bytes = MakeContents(wanted);
    std::vector<qs::ObjectHandle> kept(3);
    std::vector<std::thread> threads;
    for (qs::ObjectHandle& mine : kept) {
        threads.emplace_back([&] {
            for (int i = 0; i < 40; ++i) {
                m_renderer->RemoveTexture(mine, true, false);
                mine = Make(wanted, bytes);
                EXPECT_NE(m_renderer->GetSRV(mine), nullptr);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(m_renderer->GetTextureCount(), kept.size());
    for (const qs::ObjectHandle handle : kept) {
        EXPECT_EQ(ReadAll(handle), bytes);
        m_renderer->RemoveTexture(handle, true, false);
    }
}

TEST_P(Contents, TooManyPiecesLeaveATextureWithoutContents)
{
    const TextureSpec most = {"512", gw::FORMAT_R8, 4, 4, 0, 2, 256, 1, 4, 12};
    const std::vector<std::uint8_t> bytes = MakeContents(most);
    const qs::ObjectHandle full = Make(most, bytes);
    EXPECT_EQ(ReadAll(full), bytes);
    ExpectQuiet();
    const TextureSpec more = {"513", gw::FORMAT_R8, 4, 4, 0, 3, 171, 1, 4, 12};
    const qs::ObjectHandle empty = Make(more, MakeContents(more));
    ExpectAssert("Num subresources (513) is larger than 512. Please investigate.");
    EXPECT_EQ(m_renderer->GetTextureSize(empty), 171u * (16 + 4 + 1));
    m_renderer->RemoveTexture(full, true, false);
    m_renderer->RemoveTexture(empty, true, false);
}

TEST_P(Contents, LocksWriteAndCopiesMove)
{
    const TextureSpec wanted = {"dynamic", gw::FORMAT_RGBA8, 5, 3, 0, 1, 1, 1, 4, 6};
    const std::vector<std::uint8_t> bytes = MakeContents(wanted);
    const qs::ObjectHandle dynamic = Make(wanted);
    EXPECT_GE(m_renderer->GetTexturePitch(dynamic, 0), 20);
    m_renderer->UpdateTextureData(dynamic, bytes.data(), 5, 3, 4);
    const std::vector<Pixel> pixels = ReadPixels(dynamic);
    EXPECT_EQ(std::memcmp(pixels.data(), bytes.data(), bytes.size()), 0);

    TextureSpec array = {"array", gw::FORMAT_RGBA8, 5, 3, 0, 1, 2, 1, 4, 12};
    const qs::ObjectHandle copy = Make(array, MakeContents(array));
    m_renderer->CopyTextureSlice(dynamic, 0, copy, 1);
    const std::vector<std::uint8_t> both = ReadAll(copy);
    EXPECT_EQ(std::memcmp(both.data() + bytes.size(), bytes.data(), bytes.size()), 0);
    m_renderer->CopyTextureSlice(dynamic, 1, copy, 0);
    ExpectAssert("Subresource index out of bounds.");
    m_renderer->CopyTextureSlice(TEXTURE_NONE, 9, copy, 9);

    void* data = nullptr;
    EXPECT_FALSE(m_renderer->LockTexture(dynamic, 1, &data, nullptr, gw::eResourceAccess_WriteDiscard));
    ExpectAssert("D3D11Renderer::LockTexture mipLevel not yet implemented!");
    EXPECT_FALSE(m_renderer->UnlockTexture(dynamic, 1));
    ExpectAssert("D3D11Renderer::UnlockTexture mipLevel not yet implemented!");
    EXPECT_FALSE(m_renderer->LockTexture(copy, 0, &data, nullptr, gw::eResourceAccess_Read));
    ExpectAssert("ID3D11DeviceContext::Map failed!\nError: E_INVALIDARG");
    EXPECT_FALSE(m_renderer->LockTexture(TEXTURE_NONE, 0, &data, nullptr, gw::eResourceAccess_Read));
    EXPECT_TRUE(m_renderer->UnlockTexture(TEXTURE_NONE, 0));
    EXPECT_EQ(m_renderer->GetTexturePitch(copy, 0), 0);
    EXPECT_EQ(m_renderer->GetTexturePitch(TEXTURE_NONE, 0), 0);
    m_renderer->RemoveTexture(dynamic, true, false);
    m_renderer->RemoveTexture(copy, true, false);
}

TEST_P(Contents, TargetsStartBlackAndMipsAreGenerated)
{
    const unsigned slices = gw::eTextureUsageFlag_RenderTargetSlices | gw::eTextureUsageFlag_RenderTargetMips;
    const qs::ObjectHandle target = Make({"target", gw::FORMAT_RGBA8, 8, 8, 0, 2, 3, 1, TARGET | slices});
    const std::vector<std::uint8_t> zeros(3 * (256 + 64), 0);
    EXPECT_EQ(ReadAll(target), zeros);

    const qs::ObjectHandle chain =
        Make({"chain", gw::FORMAT_RGBA8, 8, 8, 0, 4, 1, 1, TARGET | gw::eTextureUsageFlag_GenerateMips});
    m_renderer->ClearRenderTarget(chain, -1, Vector4f(1.0f, 0.0f, 1.0f, 1.0f));
    m_renderer->GenerateMips(chain);
    m_renderer->GenerateMips(TEXTURE_NONE);
    const std::vector<std::uint8_t> mips = ReadAll(chain);
    ASSERT_EQ(mips.size(), 4u * (64 + 16 + 4 + 1));
    if (Draws()) {
        const std::vector<std::uint8_t> magenta = {255, 0, 255, 255};
        EXPECT_EQ(std::vector<std::uint8_t>(mips.end() - 4, mips.end()), magenta);
    }
    m_renderer->RemoveTexture(target, true, false);
    m_renderer->RemoveTexture(chain, true, false);
}
