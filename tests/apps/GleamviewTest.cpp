// gleamview with images: pictures in, pictures out, exit statuses and messages.
#include "GleamviewFixture.h"

#include <cstring>

namespace {

TEST_F(Gleamview, APictureAtItsOwnSizeKeepsEveryPixel)
{
    std::vector<std::uint8_t> bytes;
    const std::string color = WriteImage("color.png", 61, 47, DXGI_FORMAT_R8G8B8A8_UNORM, &bytes);
    for (const char* out : {"out.png", "out.bmp", "out.tga"}) {
        const Outcome outcome = Run(color + " --out " + File(out));
        ASSERT_EQ(outcome.status, 0) << outcome.errors;
        EXPECT_EQ(Read(out).rgba, bytes) << out;
    }

    const std::string grey = WriteImage("grey.png", 9, 5, DXGI_FORMAT_R8_UNORM, &bytes);
    ASSERT_EQ(Run(grey + " --out " + File("grey-out.png")).status, 0);
    const Picture picture = Read("grey-out.png");
    for (int i = 0; i < 9 * 5; ++i)
        for (int channel = 0; channel < 3; ++channel)
            ASSERT_EQ(picture.rgba[static_cast<std::size_t>(i * 4 + channel)], bytes[static_cast<std::size_t>(i)]);

    const std::string deep = WriteImage("deep.png", 8, 8, DXGI_FORMAT_R16G16B16A16_UNORM, &bytes);
    ASSERT_EQ(Run(deep + " --out " + File("deep-out.png")).status, 0);
    int width, height, channels;
    stbi_us* samples = stbi_load_16(File("deep-out.png").c_str(), &width, &height, &channels, 4);
    ASSERT_NE(samples, nullptr);
    EXPECT_EQ(std::memcmp(samples, bytes.data(), bytes.size()), 0);
    stbi_image_free(samples);
}

// The same picture as other programs wrote it, and one in blocks.
TEST_F(Gleamview, EveryImageFormatShowsTheSamePicture)
{
    const std::string folder = IMAGE_FILES;
    std::filesystem::copy(folder + "/colour.png", File("colour.png"));
    const std::vector<std::uint8_t> bytes = Read("colour.png").rgba;
    for (const char* name : {"magick_24.bmp", "pillow_24_top.tga", "magick_24_runs.tga", "icotool_24.cur"}) {
        const Outcome outcome = Run(folder + "/" + name + " --out " + File("out.png"));
        ASSERT_EQ(outcome.status, 0) << outcome.errors;
        EXPECT_EQ(Read("out.png").rgba, bytes) << name;
    }
    for (const auto& [out, tolerance] : {std::pair("again.dds", 0), std::pair("again.jpg", 40)}) {
        ASSERT_EQ(Run(File("colour.png") + " --out " + File(out)).status, 0);
        ASSERT_EQ(Run(File(out) + " --out " + File("out.png")).status, 0) << out;
        const std::vector<std::uint8_t> found = Read("out.png").rgba;
        ASSERT_EQ(found.size(), bytes.size()) << out;
        for (std::size_t i = 0; i < bytes.size(); ++i)
            ASSERT_LE(std::abs(found[i] - bytes[i]), tolerance) << out << " at " << i;
    }
    // Pixels in blocks stay as they are, on boards beside a model too; other sizes have no whole blocks.
    WriteBlocks("blocks.dds", 8, 8);
    ASSERT_EQ(Run(File("blocks.dds") + " --out " + File("out.png")).status, 0);
    for (std::size_t i = 0; i < 8 * 8 * 4; i += 4)
        ASSERT_EQ(std::memcmp(&Read("out.png").rgba[i], "\xff\x00\x00\xff", 4), 0) << i;
    WriteText("model.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    const Outcome boards =
        Run(File("model.obj") + " " + File("blocks.dds") + " " + folder + "/icotool_8.cur --out " + File("boards.png"));
    EXPECT_EQ(boards.status, 0);
    EXPECT_EQ(boards.errors.find("stands in"), std::string::npos) << boards.errors;
    EXPECT_EQ(boards.errors.find("damaged"), std::string::npos) << boards.errors;
    WriteBlocks("odd.dds", 8, 6);
    const Outcome odd = Run(File("odd.dds") + " --out " + File("out.png"));
    EXPECT_EQ(odd.status, 1);
    EXPECT_NE(odd.errors.find("whole blocks of 4 by 4"), std::string::npos) << odd.errors;
}

TEST_F(Gleamview, SizesAndGridsKeepProportions)
{
    const std::string wide = WriteImage("wide.png", 64, 32, DXGI_FORMAT_R8G8B8A8_UNORM);
    ASSERT_EQ(Run(wide + " --size 40x40 --out " + File("boxed.png")).status, 0);
    const Picture boxed = Read("boxed.png");
    EXPECT_EQ(boxed.width, 40);
    EXPECT_EQ(boxed.height, 40);
    EXPECT_EQ(boxed.At(20, 5)[3], 0);  // above the image
    EXPECT_GT(boxed.At(20, 20)[3], 0); // inside

    const std::string small = WriteImage("small.png", 10, 10, DXGI_FORMAT_R8G8B8A8_UNORM);
    ASSERT_EQ(Run(wide + " " + small + " " + small + " --out " + File("grid.png")).status, 0);
    const Picture grid = Read("grid.png");
    EXPECT_EQ(grid.width, 128);
    EXPECT_EQ(grid.height, 64);
    EXPECT_EQ(grid.At(120, 60)[3], 0); // the fourth cell is empty
}

TEST_F(Gleamview, AShaderSeesTimeResolutionAndImagesInLinearLight)
{
    const std::string image = WriteImage("image.png", 16, 16, DXGI_FORMAT_R8G8B8A8_UNORM);
    WriteText("half.shader", "[Fragment shader]\nfloat4 resolution; float time;\n"
                             "float4 main(float4 position : SV_Position, float2 uv : TEXCOORD0) : SV_Target0\n"
                             "{ return float4(uv.x > 0.5 ? 0.5 : 0.0, resolution.x / 64.0, time, 1.0); }\n");
    const Outcome outcome =
        Run(image + " --shader " + File("half.shader") + " --time 1 --size 32x16 --out " + File("half.png"));
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    const Picture picture = Read("half.png");
    EXPECT_EQ(picture.At(2, 2)[0], 0);
    EXPECT_NEAR(picture.At(30, 2)[0], 188, 1); // half the light
    EXPECT_NEAR(picture.At(30, 2)[1], 188, 1); // 32 pixels wide
    EXPECT_EQ(picture.At(30, 2)[2], 255);
}

TEST_F(Gleamview, FailedJobsNameTheFileAndWrongUsageIsTold)
{
    const std::string image = WriteImage("image.png", 4, 4, DXGI_FORMAT_R8G8B8A8_UNORM);
    WriteText("broken.png", "\x89PNG\r\n\x1a\n and then nothing");
    WriteText("bad.shader", "[Fragment shader]\n\nfloat4 main() : SV_Target0\n{ return missing; }\n");
    WriteText("none.shader", "float4 main() : SV_Target0 { return 1; }\n");
    struct Case
    {
        std::string arguments;
        int status;
        std::vector<std::string> said;
    };
    const Case cases[] = {
        {"--shader x.shader", 2, {"no image given"}},
        {"--nonsense", 2, {"--nonsense"}},
        {File("missing.png"), 1, {"missing.png"}},
        {m_folder.string(), 1, {m_folder.string()}},
        {File("broken.png"), 1, {"broken.png"}},
        {File("bad.shader"), 1, {"bad.shader"}},
        {image + " --out " + File("out.gif"), 1, {"out.gif", "unknown extension"}},
        {image + " --out " + File("no/folder/out.png"), 1, {"no/folder/out.png"}},
        {image + " --shader " + File("missing.shader"), 1, {"missing.shader"}},
        {image + " --shader " + File("none.shader"), 1, {"none.shader", "[Fragment shader]"}},
        {image + " --shader " + File("bad.shader"), 1, {"bad.shader", "missing", "(4"}},
    };
    for (const Case& c : cases) {
        const bool isNamed = c.arguments.find("--out") != std::string::npos;
        const Outcome outcome = Run(c.arguments + (isNamed ? "" : " --out " + File("failed.png")));
        EXPECT_EQ(outcome.status, c.status) << c.arguments << "\n" << outcome.errors;
        for (const std::string& part : c.said)
            EXPECT_NE(outcome.errors.find(part), std::string::npos) << c.arguments << "\n" << outcome.errors;
    }
    EXPECT_EQ(Run("--help").status, 0);
}

} // namespace
