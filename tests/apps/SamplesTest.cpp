// The samples, each run as a reader would run it, under the validation layer; some pixels of every picture are known.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <stb/stb_image.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int PLACES[5][2] = {{120, 240}, {258, 150}, {205, 262}, {480, 63}, {258, 9}};

struct Sample
{
    const char* name;
    std::array<std::array<int, 3>, 5> colors; ///< at the places above
    double drawn;                             ///< percent of the pixels that are unlike the upper left corner's
};

void PrintTo(const Sample& sample, std::ostream* out)
{
    *out << sample.name;
}

struct Picture
{
    explicit Picture(const fs::path& path)
    {
        stbi_uc* read = stbi_load(path.c_str(), &width, &height, nullptr, 4);
        if (read)
            pixels.assign(read, read + std::size_t(width) * height * 4);
        stbi_image_free(read);
    }
    const stbi_uc* At(const int (&place)[2]) const { return &pixels[std::size_t(place[1] * width + place[0]) * 4]; }

    int width = 0;
    int height = 0;
    std::vector<stbi_uc> pixels;
};

class SampleTest : public testing::Test
{
protected:
    void SetUp() override { fs::create_directories(m_folder); }
    void TearDown() override { fs::remove_all(m_folder); }

    /// The sample's picture; what it has to say on its error stream fails the test.
    Picture Run(const std::string& name) const
    {
        const fs::path errors = m_folder / "errors.txt";
        const std::string command = std::string(SAMPLES) + "/" + name + " " + (m_folder / "picture.png").string() +
                                    " >/dev/null 2>" + errors.string();
        EXPECT_EQ(std::system(command.c_str()), 0);
        std::ostringstream said;
        said << std::ifstream(errors).rdbuf();
        EXPECT_EQ(said.str(), "");
        return Picture(m_folder / "picture.png");
    }

    const fs::path m_folder = fs::temp_directory_path() / ("samples-test-" + std::to_string(getpid()));
};

class Samples : public SampleTest, public testing::WithParamInterface<Sample>
{
};

TEST_P(Samples, DrawWhatTheyPromise)
{
    const Picture picture = Run(GetParam().name);
    ASSERT_EQ(std::make_pair(picture.width, picture.height), std::make_pair(512, 320));
    for (int i = 0; i < 5; ++i)
        for (int channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(picture.At(PLACES[i])[channel], GetParam().colors[i][channel], 3)
                << "place " << i << ", channel " << channel;
    std::size_t drawn = 0;
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4)
        drawn += !std::equal(&picture.pixels[i], &picture.pixels[i] + 4, picture.pixels.data());
    EXPECT_NEAR(double(drawn) * 400.0 / double(picture.pixels.size()), GetParam().drawn, 0.5);
}

TEST_F(SampleTest, CapturedFilesShowTheSame)
{
    const Picture picture = Run("10_capture");
    ASSERT_FALSE(picture.pixels.empty());
    EXPECT_EQ(Picture(m_folder / "picture.bmp").pixels, picture.pixels);
    EXPECT_EQ(Picture(m_folder / "picture.tga").pixels, picture.pixels);
    const Picture lossy(m_folder / "picture.jpg");
    ASSERT_EQ(lossy.pixels.size(), picture.pixels.size());
    for (const auto& place : PLACES)
        EXPECT_NEAR(lossy.At(place)[0], picture.At(place)[0], 4);
    EXPECT_EQ(fs::file_size(m_folder / "picture.dds"), 148u - 20u + 512u * 320u * 4u);
    // Blocks of half a byte a pixel, and a third more for the mips.
    EXPECT_NEAR(double(fs::file_size(m_folder / "picture.bc1.dds")), 512.0 * 320.0 / 2.0 * 4.0 / 3.0, 300.0);
}

INSTANTIATE_TEST_SUITE_P(
    All, Samples,
    testing::Values(
        Sample{"01_clear", {{{33, 51, 84}, {211, 165, 67}, {33, 51, 84}, {33, 51, 84}, {33, 51, 84}}}, 31.25},
        Sample{"02_triangle", {{{70, 75, 195}, {139, 98, 90}, {53, 122, 160}, {20, 23, 28}, {20, 23, 28}}}, 26.25},
        Sample{"03_texture", {{{207, 213, 214}, {151, 145, 116}, {214, 223, 230}, {41, 41, 46}, {41, 41, 46}}}, 53.2},
        Sample{"04_recording", {{{64, 140, 204}, {235, 168, 64}, {20, 23, 28}, {143, 97, 184}, {20, 23, 28}}}, 38.2},
        Sample{"05_frame", {{{26, 31, 38}, {207, 165, 64}, {26, 31, 38}, {26, 31, 38}, {26, 31, 38}}}, 19.9},
        Sample{"06_lines", {{{26, 31, 38}, {56, 56, 69}, {26, 31, 38}, {26, 31, 38}, {250, 204, 64}}}, 8.2},
        Sample{"07_text", {{{26, 31, 38}, {26, 31, 38}, {96, 85, 46}, {26, 31, 38}, {26, 31, 38}}}, 10.3},
        Sample{"08_cloth", {{{26, 31, 38}, {85, 35, 24}, {26, 31, 38}, {26, 31, 38}, {26, 31, 38}}}, 24.5},
        Sample{"09_image_formats",
               {{{148, 147, 128}, {71, 116, 165}, {182, 190, 191}, {165, 150, 107}, {235, 177, 82}}},
               86.7},
        Sample{"10_capture", {{{140, 128, 128}, {230, 128, 51}, {110, 128, 153}, {51, 128, 204}, {26, 31, 38}}}, 85.3}),
    testing::PrintToStringParamName());

} // namespace
