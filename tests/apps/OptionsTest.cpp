// The command line of gleamview.
#include "Options.h"

#include <gtest/gtest.h>

using gleamview::ParseOptions;

namespace {

TEST(Options, ReadsWhatItIsGiven)
{
    std::string error;
    const auto options = ParseOptions({"a.png", "--size", "640x480", "--out", "o.dds", "--shader", "s.shader",
                                       "--device", "2", "--time", "1.5", "--", "--b.png"},
                                      error);
    ASSERT_TRUE(options) << error;
    EXPECT_EQ(options->files, (std::vector<std::string>{"a.png", "--b.png"}));
    EXPECT_EQ(options->size->width, 640u);
    EXPECT_EQ(options->size->height, 480u);
    EXPECT_EQ(options->out, "o.dds");
    EXPECT_EQ(options->shader, "s.shader");
    EXPECT_EQ(options->device, "2");
    EXPECT_FLOAT_EQ(options->time, 1.5f);
    EXPECT_TRUE(ParseOptions({"--help", "--nonsense"}, error)->help);
    EXPECT_TRUE(ParseOptions({}, error)->files.empty()); // the own scene
}

TEST(Options, ReadsWhatModelsTake)
{
    std::string error;
    const auto options = ParseOptions({"--frames", "10", "--threads", "4", "--trace", "t.json", "--split", "--bounds",
                                       "--wireframe", "--no-ground", "--up", "z", "--camera", "-90,12.5"},
                                      error);
    ASSERT_TRUE(options) << error;
    EXPECT_EQ(options->frames, 10u);
    EXPECT_EQ(options->threads, 4u);
    EXPECT_EQ(options->trace, "t.json");
    EXPECT_TRUE(options->split && options->bounds && options->wireframe && !options->ground);
    EXPECT_EQ(options->up, gleamview::UpAxis::Z);
    EXPECT_FLOAT_EQ(options->camera.yaw, -90.0f);
    EXPECT_FLOAT_EQ(options->camera.pitch, 12.5f);
    EXPECT_FLOAT_EQ(options->camera.zoom, 1.0f);
    EXPECT_FLOAT_EQ(ParseOptions({"--camera", "1,2,3"}, error)->camera.zoom, 3.0f);
    EXPECT_EQ(ParseOptions({"--camera", "Camera.001"}, error)->cameraName, "Camera.001");
}

TEST(Options, SaysWhatIsWrong)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--shader", "s.shader"}, "no image given"},
        {{"a.png", "--siez", "1x1"}, "'--siez'"},
        {{"a.png", "--out"}, "'--out' needs a value"},
        {{"a.png", "--size", "0x5"}, "'0x5'"},
        {{"a.png", "--size", "16385x1"}, "16384x16384"},
        {{"a.png", "--size", "10x10x10"}, "'10x10x10'"},
        {{"a.png", "--size", "99999999999x1"}, "'99999999999x1'"},
        {{"a.png", "--device", "gpu"}, "'gpu'"},
        {{"a.png", "--time", "nan"}, "'nan'"},
        {{"--flag", "a.obj"}, "--flag takes no file"},
        {{"--frames", "0"}, "from 1 to 1000000"},
        {{"--threads", "65"}, "from 1 to 64"},
        {{"--camera", "10"}, "YAW,PITCH"},
        {{"--camera", "1,2,3,4"}, "'1,2,3,4'"},
        {{"--camera", "0,90"}, "within 89"},
        {{"--camera", "0,0,0"}, "ZOOM"},
        {{"--camera", ""}, "''"},
        {{"--up", "w"}, "-y or -z"},
    };
    for (const auto& [arguments, part] : cases) {
        std::string error;
        EXPECT_FALSE(ParseOptions(arguments, error)) << part;
        EXPECT_NE(error.find(part), std::string::npos) << error;
    }
}

} // namespace
