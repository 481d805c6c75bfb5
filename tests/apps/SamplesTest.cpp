// The samples, each run as a reader would run it, under the validation layer; some pixels of every picture are known.
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <stb/stb_image.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr int PLACES[4][2] = {{120, 240}, {258, 150}, {205, 262}, {480, 63}};

struct Sample
{
    const char* name;
    std::array<std::array<int, 3>, 4> colors; ///< at the four places below
};

void PrintTo(const Sample& sample, std::ostream* out)
{
    *out << sample.name;
}

class Samples : public testing::TestWithParam<Sample>
{
protected:
    void TearDown() override { fs::remove_all(m_folder); }

    const fs::path m_folder = fs::temp_directory_path() / ("samples-test-" + std::to_string(getpid()));
};

TEST_P(Samples, DrawWhatTheyPromise)
{
    fs::create_directories(m_folder);
    const std::string picture = (m_folder / "picture.png").string();
    const std::string errors = (m_folder / "errors.txt").string();
    const std::string command =
        std::string(SAMPLES) + "/" + GetParam().name + " " + picture + " >/dev/null 2>" + errors;
    ASSERT_EQ(std::system(command.c_str()), 0);
    std::ostringstream said;
    said << std::ifstream(errors).rdbuf();
    EXPECT_EQ(said.str(), "");

    int width = 0;
    int height = 0;
    stbi_uc* pixels = stbi_load(picture.c_str(), &width, &height, nullptr, 4);
    ASSERT_NE(pixels, nullptr);
    ASSERT_EQ(std::make_pair(width, height), std::make_pair(512, 320));
    for (int i = 0; i < 4; ++i) {
        const stbi_uc* pixel = pixels + (PLACES[i][1] * width + PLACES[i][0]) * 4;
        for (int channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(pixel[channel], GetParam().colors[i][channel], 3) << "place " << i << ", channel " << channel;
    }
    stbi_image_free(pixels);
}

INSTANTIATE_TEST_SUITE_P(
    All, Samples,
    testing::Values(Sample{"01_clear", {{{33, 51, 84}, {211, 165, 67}, {33, 51, 84}, {33, 51, 84}}}},
                    Sample{"02_triangle", {{{70, 75, 195}, {139, 98, 90}, {53, 122, 160}, {20, 23, 28}}}},
                    Sample{"03_texture", {{{207, 213, 214}, {151, 145, 116}, {214, 223, 230}, {41, 41, 46}}}},
                    Sample{"04_recording", {{{64, 140, 204}, {235, 168, 64}, {20, 23, 28}, {143, 97, 184}}}},
                    Sample{"05_frame", {{{26, 31, 38}, {207, 165, 64}, {26, 31, 38}, {26, 31, 38}}}}),
    testing::PrintToStringParamName());

} // namespace
