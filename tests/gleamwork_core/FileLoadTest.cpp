// Loads from files: textures, arrays, streamed textures, fonts and shaders, with sound files and with bad ones.
#include "CoreFixture.h"

#include "Gleamwork/TextShader.h"

#include <filesystem>
#include <fstream>
#include <png.h>
#include <qs/FileSystem.h>
#include <string>
#include <unistd.h>

namespace {

using gw::DataLoader;

constexpr char VERTEX[] = "float4 main(float3 p : POSITION) : SV_Position { return float4(p, 1); }";
constexpr char FRAGMENT[] = "float4 tint; float4 main() : SV_Target0 { return tint; }";

class FileLoads : public DeviceTest
{
protected:
    void SetUp() override
    {
        StartDevice("null");
        m_folder = std::filesystem::temp_directory_path() / ("loads-" + std::to_string(getpid()));
        std::filesystem::create_directories(m_folder);
    }
    void TearDown() override
    {
        std::filesystem::remove_all(m_folder);
        DeviceTest::TearDown();
    }

    qs::Path File(const std::string& name) const { return qs::Path(qs::PATH_ROOT_NONE, (m_folder / name).c_str()); }

    /// A picture of one colour.
    qs::Path WritePng(const std::string& name, unsigned width, unsigned height, unsigned char red) const
    {
        png_image png = {};
        png.version = PNG_IMAGE_VERSION;
        png.width = width;
        png.height = height;
        png.format = PNG_FORMAT_RGBA;
        std::vector<unsigned char> pixels(std::size_t(width) * height * 4, 255);
        for (std::size_t i = 0; i < pixels.size(); i += 4) {
            pixels[i] = red;
            pixels[i + 1] = 20;
        }
        EXPECT_TRUE(png_image_write_to_file(&png, (m_folder / name).c_str(), 0, pixels.data(), 0, nullptr));
        return File(name);
    }

    qs::Path WriteText(const std::string& name, const std::string& text) const
    {
        std::ofstream(m_folder / name, std::ios::binary) << text;
        return File(name);
    }

    std::array<unsigned, 3> Dimensions(qs::ObjectHandle texture) const
    {
        std::array<unsigned, 3> size = {};
        m_renderer->GetTextureDimensions(texture, size[0], size[1], size[2]);
        return size;
    }

    std::filesystem::path m_folder;
};

TEST_F(FileLoads, TexturesTellTheirSizeOnlyWhenTheyExist)
{
    const qs::Path path = WritePng("a.png", 5, 3, 200);
    int width = -1;
    int height = -1;
    std::int64_t original = -1;
    std::int64_t mips = -1;
    const qs::ObjectHandle texture =
        DataLoader::InvokeAddTexture(path, false, false, -1, &width, &height, &original, &mips);
    EXPECT_EQ(std::make_tuple(width, height), std::make_tuple(5, 3));
    EXPECT_EQ(mips, 1);
    EXPECT_EQ(ReadPixels(texture)[14], (Pixel{200, 20, 255, 255}));
    const qs::ObjectHandle silent =
        DataLoader::InvokeAddTexture(path, false, true, 0, nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(m_renderer->IsAlive(silent));
    ExpectQuiet();

    width = height = 77;
    EXPECT_FALSE(
        DataLoader::InvokeAddTexture(File("none.png"), false, false, 0, &width, &height, &original, &mips).IsValid());
    EXPECT_EQ(std::make_tuple(width, height), std::make_tuple(77, 77));
    EXPECT_TRUE(m_log.Contains("Load image failed! \"", qs::LogLevelError));
    m_log.Clear();
    EXPECT_FALSE(DataLoader::InvokeAddTexture(WriteText("b.png", "not a picture"), false, false, 0, &width, &height,
                                              &original, &mips)
                     .IsValid());
    EXPECT_TRUE(m_log.Contains("b.png", qs::LogLevelError));
    m_log.Clear();
    m_renderer->RemoveTexture(texture, true, true);
    m_renderer->RemoveTexture(silent, true, true);
}

TEST_F(FileLoads, WhatIsTooWideFor2DIsSentForRemoval)
{
    int width = 0;
    int height = 0;
    const qs::ObjectHandle fits =
        DataLoader::InvokeAdd2DTexture(WritePng("fits.png", 16384, 1, 1), false, false, 0, width, height);
    EXPECT_EQ(Dimensions(fits)[0], 16384u);
    EXPECT_FALSE(
        DataLoader::InvokeAdd2DTexture(WritePng("wide.png", 16385, 2, 1), false, false, 0, width, height).IsValid());
    EXPECT_EQ(std::make_tuple(width, height), std::make_tuple(16385, 2));
    EXPECT_EQ(m_relaxed.ExecuteAll(), 1u);
    ExpectQuiet();
    m_renderer->RemoveTexture(fits, true, true);
}

TEST_F(FileLoads, ArraysKeepTheirPlacesWhenAnImageIsMissingOrDiffers)
{
    const qs::Path paths[] = {WritePng("0.png", 4, 2, 10), WritePng("1.png", 4, 4, 20), File("none.png"),
                              WritePng("3.png", 4, 2, 40)};
    const qs::ObjectHandle array = DataLoader::InvokeAddTextureArray(paths, 4, false, false, 0);
    ASSERT_TRUE(m_renderer->IsAlive(array));
    EXPECT_EQ(m_log.CountContaining("Image doesn't match first image format and size.", qs::LogLevelAssertion), 1u);
    EXPECT_EQ(m_log.CountContaining(("Couldn't open \"" + (m_folder / "none.png").string()).c_str(), qs::LogLevelError),
              1u);
    m_log.Clear();
    EXPECT_EQ(m_renderer->GetTextureSize(array), 4u * 2 * 4 * 4);
    const qs::ObjectHandle copy = MakeTarget(4, 2);
    for (const int place : {0, 3}) {
        m_renderer->CopyTextureSlice(array, place, copy, 0);
        EXPECT_EQ(ReadPixels(copy)[7][0], place * 10 + 10);
    }
    m_renderer->RemoveTexture(copy, true, true);
    EXPECT_EQ(qs::MemoryManager::GetUsage("\"TexArrayMem\"").blocks, 0);

    const qs::Path missing[] = {File("none.png")};
    const qs::ObjectHandle empty = DataLoader::InvokeAddTextureArray(missing, 1, false, false, 0);
    EXPECT_TRUE(m_renderer->IsAlive(empty)) << "an array gets its handle whatever its files are";
    EXPECT_EQ(m_renderer->GetTextureSize(empty), 0u);
    m_log.Clear();
    m_renderer->RemoveTexture(array, true, true);
    m_renderer->RemoveTexture(empty, true, true);
}

TEST_F(FileLoads, StreamingReplacesOrShrinksWhenTheQueueIsDrained)
{
    unsigned char grey[4 * 4 * 4 + 2 * 2 * 4 + 4] = {};
    unsigned sizes[3] = {64, 16, 4};
    const qs::ObjectHandle texture =
        DataLoader::InvokeAddTextureFromMemory(grey, gw::FORMAT_RGBA8, 4, 4, 0, 3, sizes, 1, 1,
                                               gw::eTextureUsageFlag_ShaderResource, gw::eTextureAccessFlag_GPURead);
    const qs::Path path = WritePng("s.png", 8, 6, 90);
    std::int64_t original = -1;
    std::int64_t mips = -1;

    // Without a file: the mip level falls, and the numbers stay as they were.
    DataLoader::InvokeStreamTexture(texture, path, false, 1, {}, original, mips);
    EXPECT_EQ(Dimensions(texture)[0], 4u);
    EXPECT_EQ(m_relaxed.ExecuteAll(), 1u);
    EXPECT_EQ(m_renderer->GetNumMipMaps(texture), 2);
    EXPECT_EQ(original, -1);

    // Bytes that are no picture are told of, and nothing is queued.
    const unsigned char junk[32] = {1, 2, 3};
    DataLoader::InvokeStreamTexture(texture, path, false, 0, {junk, sizeof junk}, original, mips);
    EXPECT_EQ(m_relaxed.ExecuteAll(), 0u);
    EXPECT_EQ(std::make_tuple(original, mips), std::make_tuple(std::int64_t(-1), std::int64_t(-1)));
    m_log.Clear();

    qs::FileReader reader(path, qs::FileReader::TYPE_MEMORY);
    DataLoader::InvokeStreamTexture(texture, path, false, 0, reader.GetMemory(), original, mips);
    reader = {};
    EXPECT_EQ(mips, 1);
    EXPECT_EQ(m_relaxed.ExecuteAll(), 1u);
    EXPECT_EQ(Dimensions(texture), (std::array<unsigned, 3>{8, 6, 0}));
    EXPECT_EQ(ReadPixels(texture)[47], (Pixel{90, 20, 255, 255}));
    ExpectQuiet();

    // The texture dies while its pixels wait.
    qs::FileReader again(path, qs::FileReader::TYPE_MEMORY);
    DataLoader::InvokeStreamTexture(texture, path, false, 0, again.GetMemory(), original, mips);
    m_renderer->RemoveTexture(texture, true, true);
    m_relaxed.ExecuteAll();
    EXPECT_FALSE(m_renderer->IsAlive(texture));
    m_log.Clear();
}

TEST_F(FileLoads, FontsNeedBothTheirFiles)
{
    const qs::Path image = WritePng("font.png", 16, 16, 255);
    const qs::Path description(qs::PATH_ROOT_NONE, FONT_SEED);
    const qs::ObjectHandle font = DataLoader::InvokeAddFont(image, description);
    ASSERT_NE(m_renderer->GetFont(font), nullptr);
    EXPECT_GT(m_renderer->GetFont(font)->GetLineSpacing(), 0.0f);
    ExpectQuiet();
    EXPECT_FALSE(DataLoader::InvokeAddFont(File("none.png"), description).IsValid());
    EXPECT_TRUE(m_log.Contains("Load image failed! \"", qs::LogLevelError));
    EXPECT_FALSE(DataLoader::InvokeAddFont(image, File("none.fnt")).IsValid());
    EXPECT_TRUE(m_log.Contains("none.fnt", qs::LogLevelError));
    m_log.Clear();
    EXPECT_EQ(m_relaxed.ExecuteAll(), 1u) << "the picture of a font without description goes";
    m_renderer->RemoveFont(font);
}

TEST_F(FileLoads, ShadersComeFromTextsTextFilesAndBinaryFiles)
{
    const qs::FixedString tint = qs::FixedString::Create("tint", -1);
    const qs::ObjectHandle texts = DataLoader::InvokeAddShader(VERTEX, nullptr, FRAGMENT, nullptr);
    EXPECT_TRUE(m_renderer->ValidateShaderConstant(tint, texts));

    const qs::Path text =
        WriteText("a.shader", std::string("[Vertex shader]\n") + VERTEX + "\n[Fragment shader]\n" + FRAGMENT);
    const qs::ObjectHandle file =
        DataLoader::InvokeAddShader(text, false, qs::FixedString::Empty, qs::FixedString::Empty, nullptr);
    EXPECT_TRUE(m_renderer->ValidateShaderConstant(tint, file));

    ASSERT_TRUE(gw::details::RendererBase::createBinaryShaderFromText(text, File("a.bin")));
    const qs::ObjectHandle binary =
        DataLoader::InvokeAddShader(File("a.bin"), true, qs::FixedString::Empty, qs::FixedString::Empty, nullptr);
    EXPECT_TRUE(m_renderer->ValidateShaderConstant(tint, binary));
    ExpectQuiet();
    for (const qs::ObjectHandle& shader : {texts, file, binary}) {
        DataLoader::InvokeRemoveShader(shader);
    }
    m_immediate.ExecuteAll();

    EXPECT_FALSE(
        DataLoader::InvokeAddShader(File("none.bin"), true, qs::FixedString::Empty, qs::FixedString::Empty, nullptr)
            .IsValid());
    ExpectError("Couldn't load Shader: \"");
    EXPECT_FALSE(
        DataLoader::InvokeAddShader(text, true, qs::FixedString::Empty, qs::FixedString::Empty, nullptr).IsValid());
    EXPECT_TRUE(m_log.Contains("Failed to read binary shader info!", qs::LogLevelAssertion));
    m_log.Clear();
}

} // namespace
