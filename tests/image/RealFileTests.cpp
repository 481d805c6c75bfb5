// Files of other programs against decoders that are not ours: libpng's of the picture that the program was given, and
// stb_image's of the same file.
#include "LoadedImage.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <png.h>
#include <qs/Log.h>
#include <qs/Path.h>
#include <stb/stb_image.h>

using namespace gw;

namespace {

struct RealFile
{
    const char* name;
    const char* picture; // null where the file's format cannot hold all of it
};

constexpr RealFile files[] = {
    {"magick_24.bmp", "colour"},     {"magick_os2.bmp", "colour"},     {"magick_32.bmp", "alpha"},
    {"magick_8.bmp", "palette"},     {"gm_24.bmp", "colour"},          {"netpbm_24.bmp", "colour"},
    {"netpbm_8.bmp", "palette"},     {"netpbm_8_os2.bmp", "palette"},  {"ffmpeg_24.bmp", "colour"},
    {"ffmpeg_32.bmp", "alpha"},      {"ffmpeg_8.bmp", "palette"},      {"ffmpeg_grey.bmp", "grey"},
    {"pillow_24.bmp", "colour"},     {"pillow_32.bmp", "alpha"},       {"pillow_8.bmp", "palette"},
    {"pillow_grey.bmp", "grey"},     {"magick_24.tga", "colour"},      {"magick_24_runs.tga", "colour"},
    {"magick_32_runs.tga", "alpha"}, {"magick_8.tga", "grey"},         {"gm_32.tga", "alpha"},
    {"netpbm_24.tga", "colour"},     {"netpbm_24_runs.tga", "colour"}, {"netpbm_32_runs.tga", "alpha"},
    {"netpbm_8_runs.tga", "grey"},   {"ffmpeg_16.tga", nullptr},       {"ffmpeg_24.tga", "colour"},
    {"ffmpeg_32.tga", "alpha"},      {"ffmpeg_8.tga", "grey"},         {"pillow_24.tga", "colour"},
    {"pillow_24_top.tga", "colour"}, {"pillow_32.tga", "alpha"},       {"pillow_8.tga", "grey"},
    {"icotool_24.cur", "colour"},    {"icotool_32.cur", "alpha"},      {"icotool_8.cur", "palette"},
    {"icotool_png.cur", "alpha"},
};

constexpr image::FormatReplacement deviceFormats[] = {{FORMAT_RGB8, FORMAT_RGBA8}};

std::string PathOf(const std::string& name)
{
    return std::string(IMAGE_FILES) + "/" + name;
}

ByteVector ReadFile(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    return ByteVector((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
}

ByteVector DecodePng(const std::string& name)
{
    const ByteVector file = ReadFile(PathOf(name));
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    png_image_begin_read_from_memory(&png, file.data(), file.size());
    png.format = PNG_FORMAT_RGBA;
    ByteVector pixels(PNG_IMAGE_SIZE(png));
    png_image_finish_read(&png, nullptr, pixels.data(), 0, nullptr);
    return pixels;
}

ByteVector DecodeStb(const ByteVector& file)
{
    int width = 0, height = 0, channels = 0;
    unsigned char* decoded =
        stbi_load_from_memory(file.data(), static_cast<int>(file.size()), &width, &height, &channels, 4);
    const ByteVector pixels(decoded, decoded + (decoded != nullptr ? width * height * 4 : 0));
    stbi_image_free(decoded);
    return pixels;
}

// One channel stands for three, as the other decoders have it.
ByteVector PixelsOf(const Image& image)
{
    ByteVector pixels(image.GetPixels(), image.GetPixels() + image.GetBufferSize());
    if (image.GetFormat() != FORMAT_R8)
        return pixels;
    ByteVector wide;
    for (const unsigned char grey : pixels)
        wide.insert(wide.end(), {grey, grey, grey, 255});
    return wide;
}

bool IsCursor(const std::string& name)
{
    return name.ends_with(".cur");
}

struct Loaded
{
    Image image;
    unsigned short x = 0, y = 0;
    bool good;

    explicit Loaded(const char* name)
    {
        const ByteVector file = ReadFile(PathOf(name));
        const qs::Path path(qs::PATH_ROOT_NONE, name);
        const ImageLoadParams params{.formatReplacements = deviceFormats};
        good = IsCursor(name) ? image.LoadCursor(path, ViewOf(file), params, x, y)
                              : image.Load(path, ViewOf(file), params);
    }
    ~Loaded() { image.FreePixelData(); }
};

} // namespace

TEST(RealFiles, DecodeAsOthersDecodeThem)
{
    for (const RealFile& file : files) {
        SCOPED_TRACE(file.name);
        const Loaded loaded(file.name);
        ASSERT_TRUE(loaded.good);
        EXPECT_EQ(loaded.image.GetWidth(), 23);
        EXPECT_EQ(loaded.image.GetHeight(), 17);
        if (file.picture != nullptr) {
            EXPECT_EQ(PixelsOf(loaded.image), DecodePng(std::string(file.picture) + ".png"));
        }
        if (IsCursor(file.name)) {
            EXPECT_EQ(loaded.x * 100 + loaded.y, 304);
        } else {
            EXPECT_EQ(PixelsOf(loaded.image), DecodeStb(ReadFile(PathOf(file.name))));
        }
    }
}

TEST(RealFiles, UnsupportedKindsSayWhy)
{
    constexpr std::pair<const char*, const char*> refused[] = {
        {"ffmpeg_16.bmp", "16 bits a pixel are none of 8, 24 and 32"},
        {"magick_8_packed.bmp", "compression of kind 1"},
        {"magick_map.tga", "a colour map"}};
    for (const auto& [name, reason] : refused) {
        qs::LogCapture log;
        const Loaded loaded(name);
        EXPECT_FALSE(loaded.good);
        EXPECT_EQ(log.CountContaining(reason, qs::LogLevelError), 1u) << log.GetLast();
        EXPECT_TRUE(log.Contains((std::string("\"") + name + "\"").c_str())) << log.GetLast();
    }
    EXPECT_FALSE(Loaded("icotool_icon.cur").good) << "an icon";
}

// Where the program stands on this machine, pictures of many sizes that it makes now.
TEST(RealFiles, EveryWidthOfTheInstalledProgram)
{
    if (std::system("convert -version >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "ImageMagick's convert is not installed";
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "gleamwork_real_files";
    std::filesystem::create_directories(folder);
    constexpr std::pair<const char*, const char*> kinds[] = {
        {"24.bmp", "-alpha off -type TrueColor -compress none"},
        {"32.bmp", "-type TrueColorAlpha -compress none"},
        {"8.bmp", "-alpha off -colors 200 -type Palette -compress none"},
        {"24.tga", "-alpha off -type TrueColor -compress RLE"},
        {"32.tga", "-type TrueColorAlpha -compress none"}};
    constexpr int widths[] = {2, 3, 5, 16, 39};
    const auto target = [&](int width, const char* name) {
        return (folder / (std::to_string(width) + "_" + name)).string();
    };
    std::string command = "convert " + PathOf("alpha.png");
    for (const int width : widths) {
        for (const auto& [name, options] : kinds)
            command += " '(' +clone -resize " + std::to_string(width) + "x13! " + options + " -write " +
                       target(width, name) + " +delete ')'";
    }
    ASSERT_EQ(std::system((command + " null:").c_str()), 0);
    for (const int width : widths) {
        for (const auto& [name, options] : kinds) {
            const std::string path = target(width, name);
            Image image;
            const ImageLoadParams params{.formatReplacements = deviceFormats};
            EXPECT_TRUE(image.Load(qs::Path(qs::PATH_ROOT_NONE, path.c_str()), {}, params)) << path;
            EXPECT_EQ(image.GetWidth(), width);
            EXPECT_EQ(PixelsOf(image), DecodeStb(ReadFile(path))) << path;
            image.FreePixelData();
        }
    }
    std::filesystem::remove_all(folder);
}
