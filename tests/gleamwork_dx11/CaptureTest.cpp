// Textures as picture files in all formats, there and back.
#include "BackendFixture.h"
#include "Gleamwork/image/Image.h"

#include <DirectXTex.h>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <qs/Path.h>

namespace {

class Captures : public BackendTest, public testing::WithParamInterface<const char*>
{
protected:
    void SetUp() override { StartDevice(GetParam()); }
    void TearDown() override
    {
        for (const qs::ObjectHandle handle : m_textures) {
            m_renderer->RemoveTexture(handle, true, true);
        }
        BackendTest::TearDown();
    }

    qs::ObjectHandle Keep(qs::ObjectHandle handle)
    {
        m_textures.push_back(handle);
        return handle;
    }
    bool Save(qs::ObjectHandle texture, const char* extension, qs::ScratchBuffer& buffer, bool compress = false,
              bool mips = false)
    {
        return m_renderer->SaveRenderTargetData(texture, &buffer, compress, mips, qs::FixedString::Create(extension));
    }
    static std::vector<Pixel> Gradient(unsigned width, unsigned height)
    {
        std::vector<Pixel> pixels;
        for (unsigned i = 0; i < width * height; ++i) {
            pixels.push_back({std::uint8_t(i % width * 8), std::uint8_t(i / width * 16), std::uint8_t(i), 255});
        }
        return pixels;
    }

    std::vector<qs::ObjectHandle> m_textures;
};

qs::MemView<const unsigned char> View(const qs::ScratchBuffer& buffer, std::size_t skip = 0)
{
    return {reinterpret_cast<const unsigned char*>(buffer.GetReadData()) + skip, buffer.GetSize() - skip};
}

std::vector<Pixel> PixelsOf(gw::Image& image)
{
    std::vector<Pixel> pixels(image.GetWidth() * image.GetHeight());
    EXPECT_GE(image.GetBufferSize(), pixels.size() * 4);
    std::memcpy(pixels.data(), image.GetPixels(), pixels.size() * 4);
    return pixels;
}

gw::ImageLoadParams WidenToRGBA8()
{
    static const gw::image::FormatReplacement WIDEN[] = {{gw::FORMAT_RGB8, gw::FORMAT_RGBA8}};
    gw::ImageLoadParams params;
    params.formatReplacements = gw::image::FormatReplacements(WIDEN, 1);
    return params;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Devices, Captures, testing::Values("null", "software"), DeviceName);

TEST_P(Captures, EveryFormatHoldsThePicture)
{
    const std::vector<Pixel> pixels = Gradient(20, 10);
    const qs::ObjectHandle texture = Keep(MakeTexture(20, 10, pixels.data()));
    qs::ScratchBuffer png;
    png.Write("head", 4); // what is there stays
    ASSERT_TRUE(Save(texture, "png", png, true, true));
    gw::Image image;
    ASSERT_TRUE(image.Load(gw::IMAGE_FILE_PNG, View(png, 4), WidenToRGBA8()));
    EXPECT_EQ(image.GetWidth(), 20);
    EXPECT_EQ(PixelsOf(image), pixels);
    image.FreePixelData();

    qs::ScratchBuffer jpg;
    ASSERT_TRUE(Save(texture, "Jpg", jpg));
    ASSERT_TRUE(image.Load(gw::IMAGE_FILE_JPEG, View(jpg), WidenToRGBA8()));
    const std::vector<Pixel> lossy = PixelsOf(image);
    image.FreePixelData();
    ASSERT_EQ(lossy.size(), pixels.size());
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        EXPECT_NEAR(lossy[i][1], pixels[i][1], 24) << i;
    }
    qs::ScratchBuffer bmp;
    ASSERT_TRUE(Save(texture, "BMP", bmp));
    EXPECT_EQ(std::memcmp(bmp.GetReadData(), "BM", 2), 0);
    EXPECT_EQ(bmp.GetReadData()[18], 20);
    qs::ScratchBuffer tga;
    ASSERT_TRUE(Save(texture, "tga", tga));
    EXPECT_EQ(tga.GetReadData()[12], 20);
    EXPECT_EQ(tga.GetReadData()[14], 10);
    qs::ScratchBuffer silent;
    ASSERT_TRUE(m_renderer->SaveRenderTargetDataJiraUtility(texture, &silent));
    EXPECT_EQ(silent.GetSize(), png.GetSize() - 4);
}

TEST_P(Captures, DDSTakesMipsAndCompression)
{
    struct Case
    {
        bool compress, mips, srgb;
        DXGI_FORMAT format;
        std::size_t levels;
    };
    const std::vector<Pixel> pixels = Gradient(16, 16);
    std::vector<std::uint8_t> bytes(16 * 16 * 4);
    std::memcpy(bytes.data(), pixels.data(), bytes.size());
    for (const Case& c :
         {Case{false, false, false, DXGI_FORMAT_R8G8B8A8_UNORM, 1},
          Case{false, true, true, DXGI_FORMAT_R8G8B8A8_UNORM_SRGB, 5},
          Case{true, true, false, DXGI_FORMAT_BC1_UNORM, 5}, Case{true, true, true, DXGI_FORMAT_BC1_UNORM, 5}}) {
        TextureSpec wanted = {"source", gw::FORMAT_RGBA8, 16, 16};
        wanted.usage |= c.srgb ? gw::eTextureUsageFlag_SRGB : 0;
        const qs::ObjectHandle texture = Keep(Make(wanted, bytes));
        qs::ScratchBuffer buffer;
        ASSERT_TRUE(Save(texture, "dds", buffer, c.compress, c.mips));
        DirectX::ScratchImage image;
        ASSERT_EQ(
            DirectX::LoadFromDDSMemory(buffer.GetReadData(), buffer.GetSize(), DirectX::DDS_FLAGS_NONE, nullptr, image),
            S_OK);
        EXPECT_EQ(image.GetMetadata().format, c.format);
        EXPECT_EQ(image.GetMetadata().mipLevels, c.levels);
        if (!c.compress) {
            EXPECT_EQ(std::memcmp(image.GetPixels(), bytes.data(), bytes.size()), 0);
        }
    }
}

TEST_P(Captures, ArraysGiveTheirFirstSliceAndDDSAllOfThem)
{
    const TextureSpec wanted = {"cube",
                                gw::FORMAT_RGBA8,
                                4,
                                4,
                                0,
                                2,
                                1,
                                1,
                                gw::eTextureUsageFlag_ShaderResource | gw::eTextureUsageFlag_CubeMap,
                                4};
    const std::vector<std::uint8_t> bytes = MakeContents(wanted);
    const qs::ObjectHandle cube = Keep(Make(wanted, bytes));
    qs::ScratchBuffer dds;
    ASSERT_TRUE(Save(cube, "DDS", dds));
    qs::ScratchBuffer tga;
    EXPECT_TRUE(Save(cube, "TGA", tga));
    EXPECT_LT(tga.GetSize(), 200u);
    const qs::ObjectHandle again = Keep(m_renderer->AddTexture());
    m_renderer->CreateTexture(again, dds, gw::ETextureUsageFlag(wanted.usage), gw::eTextureAccessFlag_GPURead);
    EXPECT_EQ(m_renderer->GetTextureById(again)->arraySize, 6);
    EXPECT_EQ(ReadAll(again), bytes);

    qs::ScratchBuffer damaged;
    damaged.Write(dds.GetReadData(), 100);
    const auto create = [&] {
        m_renderer->CreateTexture(again, damaged, gw::eTextureUsageFlag_ShaderResource, gw::eTextureAccessFlag_GPURead);
    };
    create();
    ExpectError("Can't get metadata for dds in memory!");
    damaged.Write(dds.GetReadData() + 100, 60);
    create();
    ExpectError("Can't get image for dds in memory!");
}

TEST_P(Captures, FilesAreWrittenOrTheReasonIsLogged)
{
    const std::vector<Pixel> pixels = Gradient(20, 10);
    const qs::ObjectHandle texture = Keep(MakeTexture(20, 10, pixels.data()));
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("captures-" + std::to_string(std::rand()));
    std::filesystem::create_directories(folder);
    const auto path = [&](const char* name) { return qs::Path(qs::PATH_ROOT_NONE, (folder / name).string().c_str()); };
    for (const char* name : {"a.dds", "b.TGA", "c.jpg", "d.png", "e.bmp"}) {
        EXPECT_TRUE(m_renderer->SaveRenderTargetData(texture, path(name), false, false, 0, 0)) << name;
        EXPECT_GT(std::filesystem::file_size(folder / name), 60u) << name;
    }
    EXPECT_TRUE(m_renderer->SaveRenderTargetDataJiraUtility(texture, path("picture")));
    gw::Image image;
    EXPECT_TRUE(image.Load(path("d.png"), {}, WidenToRGBA8()));
    EXPECT_EQ(PixelsOf(image), pixels);
    image.FreePixelData();
    ExpectQuiet();

    EXPECT_FALSE(m_renderer->SaveRenderTargetData(texture, path("f.jpeg"), false, false, 0, 0));
    ExpectError("api::D3D11Renderer::SaveRenderTargetData: Unsupported extension (jpeg)!");
    EXPECT_FALSE(m_renderer->SaveRenderTargetData(texture, path("g"), false, false, 0, 0));
    ExpectError("Unsupported extension ()!");
    EXPECT_FALSE(m_renderer->SaveRenderTargetData(texture, path("no/h.png"), false, false, 0, 0));
    ExpectError("DirectX::SaveToWICFile failed!\nError: ERROR_PATH_NOT_FOUND");
    std::filesystem::create_symlink("/dev/full", folder / "full.dds");
    EXPECT_FALSE(m_renderer->SaveRenderTargetData(texture, path("full.dds"), false, false, 0, 0));
    ExpectError("DirectX::SaveToDDSFile failed!\nError: ERROR_DISK_FULL");
    EXPECT_FALSE(m_renderer->SaveRenderTargetDataJiraUtility(texture, path("no/i.png")));
    ExpectQuiet();
    qs::ScratchBuffer none;
    EXPECT_FALSE(Save(TEXTURE_NONE, "png", none));
    ExpectError("DirectX::CaptureTexture failed!\nError: E_INVALIDARG");
    EXPECT_EQ(none.GetSize(), 0u);
    EXPECT_FALSE(m_renderer->SaveRenderTargetData(texture, static_cast<gw::RenderFrameCopyBuffer*>(nullptr)));
    EXPECT_EQ(m_log.Count(qs::LogLevelAssertion), 1u);
    m_log.Clear();
    std::filesystem::remove_all(folder);
}
