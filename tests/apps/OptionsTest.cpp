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
    EXPECT_EQ(options->images, (std::vector<std::string>{"a.png", "--b.png"}));
    EXPECT_EQ(options->size->width, 640u);
    EXPECT_EQ(options->size->height, 480u);
    EXPECT_EQ(options->out, "o.dds");
    EXPECT_EQ(options->shader, "s.shader");
    EXPECT_EQ(options->device, "2");
    EXPECT_FLOAT_EQ(options->time, 1.5f);
    EXPECT_TRUE(ParseOptions({"--help", "--nonsense"}, error)->help);
}

TEST(Options, SaysWhatIsWrong)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{}, "no image given"},
        {{"a.png", "--siez", "1x1"}, "'--siez'"},
        {{"a.png", "--out"}, "'--out' needs a value"},
        {{"a.png", "--size", "0x5"}, "'0x5'"},
        {{"a.png", "--size", "16385x1"}, "16384x16384"},
        {{"a.png", "--size", "10x10x10"}, "'10x10x10'"},
        {{"a.png", "--size", "99999999999x1"}, "'99999999999x1'"},
        {{"a.png", "--device", "gpu"}, "'gpu'"},
        {{"a.png", "--time", "nan"}, "'nan'"},
    };
    for (const auto& [arguments, part] : cases) {
        std::string error;
        EXPECT_FALSE(ParseOptions(arguments, error)) << part;
        EXPECT_NE(error.find(part), std::string::npos) << error;
    }
}

} // namespace
