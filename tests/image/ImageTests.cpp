// The image container: its layout, the choice of a reader, cursors, and the way through a command.
#include "Gleamwork/image/ImageUtils.h"
#include "PngWriter.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <qs/Event.h>
#include <qs/Log.h>
#include <qs/Path.h>

using namespace gw;

namespace {

constexpr qs::MemView<const unsigned char> noView;

ByteVector SmallPng()
{
    return WritePng({.width = 3, .height = 2, .samples = ByteVector(18, 9)});
}

qs::Path PathOf(const std::string& text)
{
    return qs::Path(qs::PATH_ROOT_NONE, text.c_str());
}

ByteVector CursorOf(const ByteVector& picture, uint16_t type, uint32_t offset)
{
    ByteVector file = BytesOf(std::vector<uint16_t>{0, type, 1, 0x2020, 0, 5, 6});
    const ByteVector entry = BytesOf(std::vector<uint32_t>{static_cast<uint32_t>(picture.size()), offset});
    file.insert(file.end(), entry.begin(), entry.end());
    file.resize(std::max<size_t>(offset, file.size()));
    file.insert(file.end(), picture.begin(), picture.end());
    return file;
}

} // namespace

TEST(Image, PixelsOfLevelsFacesAndElements)
{
    Image image;
    image.format = FORMAT_RG8;
    image.width = image.height = 4;
    image.depth = 1;
    image.mipCount = 3;
    image.arraySize = 2;
    image.GetBuffer().Alloc(2 * 6 * 42, 0);
    const auto offset = [&](const unsigned char* pixels) { return pixels - image.GetPixels(); };
    EXPECT_EQ(offset(image.GetPixels(2)), 40);
    EXPECT_EQ(offset(image.GetPixels(1, 1)), 42 + 32);
    EXPECT_EQ(image.GetPixels(3), nullptr);
    EXPECT_EQ(image.GetPixels(0, 2), nullptr);
    EXPECT_EQ(image.GetMipMapSize(0, 1, FORMAT_NONE), 32u);
    EXPECT_EQ(image.GetMipMapSize(1, 5, FORMAT_R8), 5u);
    image.flags = IMAGE_FLAG_CUBE;
    EXPECT_EQ(offset(image.GetPixels(1)), 32);
    EXPECT_EQ(offset(image.GetPixels(1, 1)), 6 * 42 + 32);
    EXPECT_TRUE(image.IsCube() && image.Is2D() && !image.Is1D() && !image.Is3D());
    image.FreePixelData();
}

TEST(Image, ReaderByExtension)
{
    const ByteVector png = SmallPng();
    qs::LogCapture log;
    for (const char* name : {"a.png", "dir.d/b.PNG", "c.tar.Png"}) {
        Image image;
        EXPECT_TRUE(image.Load(PathOf(name), ViewOf(png), {})) << name;
        image.FreePixelData();
    }
    for (const char* name : {"a.pn", "a.png2", "png", "a.", "", "a.gif", "a.jpeg,"}) {
        Image image;
        EXPECT_FALSE(image.Load(PathOf(name), ViewOf(png), {})) << name;
    }
    EXPECT_EQ(log.Count(), 0u) << log.GetLast();
    Image image;
    for (const char* name : {"folder/a.JPEG", "a.jpg"}) {
        log.Clear();
        EXPECT_FALSE(image.Load(PathOf(name), ViewOf(png), {}));
        EXPECT_TRUE(log.Contains((std::string("Couldn't read JPEG image \"") + name + "\"").c_str())) << log.GetLast();
    }
    EXPECT_FALSE(image.Load(IMAGE_FILE_UNKNOWN, ViewOf(png), {}));
    EXPECT_EQ(log.CountContaining("Can't load unknown image format, duh", qs::LogLevelAssertion), 1u);
}

TEST(Image, LoadsFilesAndReportsBadOnesByName)
{
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "gleamwork_image_test";
    std::filesystem::create_directories(folder / "folder.png");
    const ByteVector png = SmallPng();
    Image image;
    const auto load = [&](const char* name, size_t size) {
        const std::string path = (folder / name).string();
        if (size != ~size_t(0))
            std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(png.data()), size);
        return image.Load(PathOf(path), noView, {});
    };
    qs::LogCapture log;
    EXPECT_TRUE(load("whole.png", png.size()));
    for (const char* name : {"none.png", "folder.png"})
        EXPECT_FALSE(load(name, ~size_t(0))) << name;
    EXPECT_FALSE(load("empty.png", 0));
    EXPECT_EQ(log.Count(), 0u) << log.GetLast();
    EXPECT_EQ(image.GetBufferSize(), 18u) << "no reader ran, the image is as it was";
    EXPECT_FALSE(load("short.png", png.size() - 20));
    EXPECT_TRUE(log.Contains("short.png\": the file is truncated", qs::LogLevelError)) << log.GetLast();
    EXPECT_EQ(image.GetBufferSize(), 0u);
    std::filesystem::remove_all(folder);
}

TEST(Image, Cursors)
{
    unsigned short x = 0, y = 0;
    const auto load = [&](const ByteVector& file) {
        Image image;
        const bool good = image.LoadCursor(PathOf("pointer.cur"), ViewOf(file), {}, x, y);
        EXPECT_EQ(good, image.GetBufferSize() == 18u);
        image.FreePixelData();
        return good;
    };
    EXPECT_TRUE(load(CursorOf(SmallPng(), 2, 30)));
    EXPECT_EQ(x, 5);
    EXPECT_EQ(y, 6);
    const ByteVector sound = CursorOf(SmallPng(), 2, 22);
    EXPECT_FALSE(load(CursorOf(SmallPng(), 1, 22))) << "an icon";
    EXPECT_FALSE(load(ByteVector(sound.begin(), sound.begin() + 13)));
    EXPECT_FALSE(load(ByteVector(sound.begin(), sound.begin() + 21)));
    ByteVector beyond = sound;
    beyond[21] = 0x7f;
    EXPECT_FALSE(load(beyond));
}

TEST(Image, TravelsThroughACommand)
{
    const ByteVector png = SmallPng();
    Image sent, received;
    ASSERT_TRUE(sent.Load(IMAGE_FILE_PNG, ViewOf(png), {.flags = IMAGE_LOAD_SRGB}));
    sent.originalMipCount = 5;
    sent.tileMode = 3;
    const unsigned char* pixels = sent.GetPixels();
    qs::EventVisitor recorder(0), reader(0);
    recorder.BeginRecording(false);
    sent.Visit(&recorder);
    EXPECT_EQ(sent.GetPixels(), pixels) << "given up although the visitor only copies";
    recorder.BeginRecording(true);
    sent.Visit(&recorder);
    EXPECT_EQ(sent.GetPixels(), nullptr);
    sent.FreePixelData();
    reader.BeginReading(recorder.GetRecord());
    received.Visit(&reader);
    EXPECT_TRUE(reader.IsComplete());
    EXPECT_EQ(received.GetPixels(), pixels);
    EXPECT_EQ(received.GetFormat(), FORMAT_RGB8);
    EXPECT_EQ(received.GetWidth() * 10 + received.GetHeight(), 32);
    EXPECT_EQ(received.GetOriginalMipCount(), 5);
    EXPECT_EQ(received.flags, IMAGE_FLAG_SRGB);
    EXPECT_TRUE(received.IsTiled());
    const auto blocks = [] { return qs::MemoryManager::GetUsage("GraphicsBuffer").blocks; };
    const auto before = blocks();
    received.FreePixelData();
    EXPECT_EQ(blocks(), before - 1);
}
