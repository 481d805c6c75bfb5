// gleamview with models: what its pictures show, what it says, and how it stops.
#include "GleamviewFixture.h"
#include "ProgressLine.h"

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <thread>

namespace {

class Models : public Gleamview
{
protected:
    /// A wall of 2 by 2 in front of the viewer, with a picture of four colours on it.
    std::string WriteWall()
    {
        DirectX::ScratchImage image;
        image.Initialize({64, 64, 1, 1, 1, 0, 0, DXGI_FORMAT_R8G8B8A8_UNORM, DirectX::TEX_DIMENSION_TEXTURE2D});
        static constexpr std::uint8_t colors[4][3] = {{220, 20, 20}, {20, 200, 20}, {20, 20, 220}, {200, 200, 200}};
        for (std::size_t i = 0; i < 64 * 64; ++i) {
            const std::size_t quarter = (i / 64 >= 32 ? 2 : 0) + (i % 64 >= 32 ? 1 : 0);
            for (std::size_t channel = 0; channel < 4; ++channel)
                image.GetPixels()[i * 4 + channel] = channel < 3 ? colors[quarter][channel] : 255;
        }
        const std::string file = File("wall.png");
        EXPECT_EQ(DirectX::SaveToWICFile(*image.GetImage(0, 0, 0), DirectX::WIC_FLAGS_NONE, GUID_ContainerFormatPng,
                                         std::wstring(file.begin(), file.end()).c_str()),
                  S_OK);
        WriteText("wall.mtl", "newmtl wall\nKd 1 1 1\nmap_Kd wall.png\n");
        WriteText("wall.obj", "mtllib wall.mtl\nv -1 0 0\nv 1 0 0\nv 1 2 0\nv -1 2 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
                              "usemtl wall\nf 1/1 2/2 3/3 4/4\n");
        return File("wall.obj");
    }

    Picture Draw(const std::string& arguments, const std::string& out = "model.png")
    {
        const Outcome outcome = Run(arguments + " --out " + File(out));
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        return Read(out);
    }

    /// A grid of triangles as binary PLY.
    std::string WriteGrid(unsigned side)
    {
        std::ofstream file(File("grid.ply"), std::ios::binary);
        file << "ply\nformat binary_little_endian 1.0\nelement vertex " << (side + 1) * (side + 1)
             << "\nproperty float x\nproperty float y\nproperty float z\nelement face " << side * side * 2
             << "\nproperty list uchar int vertex_indices\nend_header\n";
        for (unsigned i = 0; i < (side + 1) * (side + 1); ++i) {
            const unsigned x = i % (side + 1), z = i / (side + 1);
            const float point[3] = {float(x), float((x * 7 + z * 13) % 5), float(z)};
            file.write(reinterpret_cast<const char*>(point), sizeof point);
        }
        for (unsigned i = 0; i < side * side; ++i) {
            const int a = int(i / side * (side + 1) + i % side), b = a + int(side) + 1;
            const int corners[2][3] = {{a, b, a + 1}, {a + 1, b, b + 1}};
            for (const auto& triangle : corners) {
                file.put(3);
                file.write(reinterpret_cast<const char*>(triangle), sizeof triangle);
            }
        }
        return File("grid.ply");
    }
};

int Distance(const std::uint8_t* a, const std::uint8_t* b)
{
    return std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]);
}

TEST_F(Models, ATextureStandsUprightAndUnmirrored)
{
    const std::string wall = WriteWall();
    const Picture picture = Draw(wall + " --size 128x128 --camera 0,0 --no-ground");
    const std::uint8_t* corners[4] = {picture.At(40, 40), picture.At(88, 40), picture.At(40, 88), picture.At(88, 88)};
    for (int channel = 0; channel < 3; ++channel) {
        for (int other = 1; other < 3; ++other)
            EXPECT_GT(corners[channel][channel], corners[channel][(channel + other) % 3] + 60) << channel;
    }
    EXPECT_LT(std::abs(corners[3][0] - corners[3][2]), 40);
    // From behind it is the same wall, mirrored.
    const Picture behind = Draw(wall + " --size 128x128 --camera 180,0 --no-ground");
    EXPECT_GT(behind.At(88, 40)[0], behind.At(88, 40)[1] + 40);
}

TEST_F(Models, ThingsThrowShadowsAndStandOnTheirGround)
{
    WriteText("box.obj", "v -1 0 -1\nv 1 0 -1\nv 1 4 -1\nv -1 4 -1\nv -1 0 1\nv 1 0 1\nv 1 4 1\nv -1 4 1\n"
                         "f 1 2 3 4\nf 5 6 7 8\nf 1 2 6 5\nf 4 3 7 8\nf 2 3 7 6\nf 1 4 8 5\n");
    const Picture picture = Draw(File("box.obj") + " --size 320x180 --camera 0,30,0.6");
    // The key light comes from the left: the ground is darker to the right.
    const auto brightness = [&](int x, int y) {
        return picture.At(x, y)[0] + picture.At(x, y)[1] + picture.At(x, y)[2];
    };
    EXPECT_LT(brightness(190, 118), brightness(130, 118) - 60);
    const Picture bare = Draw(File("box.obj") + " --size 320x180 --camera 0,30,0.6 --no-ground", "bare.png");
    EXPECT_GT(Distance(picture.At(190, 118), bare.At(190, 118)), 20);
    EXPECT_EQ(bare.At(160, 90)[3], 255);
}

TEST_F(Models, TheOwnSceneIsTheSameHoweverManyRecordIt)
{
    const Picture one = Draw("--size 480x270 --threads 1");
    const Picture four = Draw("--size 480x270 --threads 4 --frames 3", "four.png");
    const Picture same = Draw("--size 480x270 --threads 4 --time 0.0333333333", "same.png");
    EXPECT_EQ(four.rgba, same.rgba); // three frames are two sixtieths of a second
    const Picture again = Draw("--size 480x270 --threads 4", "again.png");
    EXPECT_EQ(one.rgba, again.rgba);
    EXPECT_NE(one.rgba, four.rgba); // parts of it turn
    // It is a picture with light and dark and colour.
    std::size_t red = 0, dark = 0, bright = 0;
    for (std::size_t i = 0; i < one.rgba.size(); i += 4) {
        red += one.rgba[i] > one.rgba[i + 1] + 80 && one.rgba[i] > one.rgba[i + 2] + 80;
        dark += one.rgba[i + 1] < 60;
        bright += one.rgba[i + 1] > 220;
    }
    EXPECT_GT(red, 2000u);
    EXPECT_GT(dark, 500u);
    EXPECT_GT(bright, 500u);
}

TEST_F(Models, ASplitPictureHasTwoViews)
{
    const Picture whole = Draw(WriteWall() + " --size 128x128 --camera 0,0 --no-ground");
    const Picture split = Draw(WriteWall() + " --size 256x128 --camera 0,0 --no-ground --split", "split.png");
    // The left half is the view of half the width; the right one sees the wall's back, from above.
    EXPECT_EQ(Distance(split.At(40, 40), whole.At(40, 40)) < 6, true);
    EXPECT_GT(split.At(88, 40)[1], 80);
    EXPECT_GT(Distance(split.At(128 + 40, 50), split.At(40, 50)), 60);
    EXPECT_LT(split.At(128, 4)[1], 60); // the line between them
}

TEST_F(Models, SwitchesAndFileCamerasChangeThePicture)
{
    const std::string wall = WriteWall() + " --size 128x128 --camera 0,0 --no-ground";
    const Picture plain = Draw(wall);
    const Picture wire = Draw(wall + " --wireframe", "wire.png");
    EXPECT_GT(Distance(plain.At(40, 50), wire.At(40, 50)), 60);
    const Picture boxed = Draw(wall + " --bounds", "boxed.png");
    EXPECT_NE(boxed.rgba, plain.rgba);
    EXPECT_EQ(Distance(plain.At(40, 50), boxed.At(40, 50)), 0);

    const Outcome outcome = Run(WriteWall() + " --camera nowhere --out " + File("x.png"));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.errors.find("no camera 'nowhere'; there are: orbit"), std::string::npos) << outcome.errors;
}

TEST_F(Models, WhatIsMissingOrBrokenIsNamedAndTheRestIsDrawn)
{
    WriteText("lost.mtl", "newmtl a\nmap_Kd lost.png\nnewmtl b\nmap_Kd lost.png\nKd 1 1 1\nnewmtl c\nmap_Kd bad.png\n");
    WriteText("lost.obj", "mtllib lost.mtl\nv -1 0 0\nv 1 0 0\nv 1 2 0\nv -1 2 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
                          "usemtl a\nf 1/1 2/2 3/3\nusemtl b\nf 1/1 3/3 4/4\nusemtl c\nf 1/1 2/2 4/4\n");
    WriteText("bad.png", "\x89PNG\r\n\x1a\n and then nothing");
    WriteText("broken.obj", "f 1 2 3\n\n\n\n\n\n\n\n\n\n\n\n");
    const Outcome outcome =
        Run(File("broken.obj") + " " + File("lost.obj") + " --size 128x128 --camera 0,0 --out " + File("lost-out.png"));
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    const auto count = [&](const std::string& part) {
        std::size_t found = 0;
        for (auto at = outcome.errors.find(part); at != std::string::npos; at = outcome.errors.find(part, at + 1))
            ++found;
        return found;
    };
    EXPECT_EQ(count("broken.obj"), 1u) << outcome.errors;
    EXPECT_EQ(count("'lost.png'"), 1u) << outcome.errors;
    EXPECT_EQ(count("bad.png: not an image"), 1u) << outcome.errors;
    const Picture picture = Read("lost-out.png");
    std::size_t pink = 0;
    for (std::size_t i = 0; i < picture.rgba.size(); i += 4)
        pink += picture.rgba[i] > picture.rgba[i + 1] + 60 && picture.rgba[i + 2] > picture.rgba[i + 1] + 60;
    EXPECT_GT(pink, 1000u); // the stand-in shows

    const Outcome nothing = Run(File("broken.obj") + " --out " + File("none.png"));
    EXPECT_EQ(nothing.status, 1);
    EXPECT_FALSE(std::filesystem::exists(File("none.png")));

#ifndef GLEAM_SANITIZED
    // Thirteen gigabytes of vertices in a file of forty bytes.
    WriteText("huge.off", "OFF\n1100000000 1 0\n0 0 0\n1 0 0\n0 1 0\n");
    const Outcome huge = Run(File("huge.off") + " --out " + File("none.png"));
    EXPECT_EQ(huge.status, 1);
    EXPECT_NE(huge.errors.find("huge.off: needs more memory"), std::string::npos) << huge.errors;
#endif
}

TEST_F(Models, AnImageBesideAModelStandsAsABoard)
{
    const std::string wall = WriteWall();
    const Picture picture =
        Draw(wall + " " + File("wall.png") + " --size 256x128 --camera 0,0 --no-ground", "beside.png");
    // Two walls side by side: red at the upper left of both.
    std::size_t left = 0, right = 0;
    for (int y = 0; y < 128; ++y)
        for (int x = 0; x < 256; ++x)
            if (picture.At(x, y)[0] > picture.At(x, y)[1] + 80)
                ++(x < 128 ? left : right);
    EXPECT_GT(left, 500u);
    EXPECT_NEAR(double(left), double(right), 0.2 * double(left));
}

TEST_F(Models, ATraceTellsWhatWasDone)
{
    const Outcome outcome =
        Run("--size 64x64 --frames 3 --threads 2 --trace " + File("trace.json") + " --out " + File("traced.png"));
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    std::ostringstream text;
    text << std::ifstream(File("trace.json")).rdbuf();
    for (const char* span :
         {"gleamview::Frame", "gleamview::Cull", "gleamview::RecordShadow", "gleamview::RecordSolid",
          "apps::Library::Drain", "qs::ExecuteCommandDispatcher", "processor ms: replay", "GPU ms: scene"})
        EXPECT_NE(text.str().find(span), std::string::npos) << span;
    EXPECT_EQ(Run("--trace " + File("no/folder/t.json") + " --out " + File("x.png")).status, 1);
}

/// Starts gleamview, lets `during` act on it, and gives its status and the memory that it took at most.
int RunWith(const std::vector<std::string>& arguments, const std::function<void(pid_t)>& during, long& kilobytes)
{
    const pid_t process = fork();
    if (process == 0) {
        std::vector<char*> raw{const_cast<char*>(GLEAMVIEW)};
        for (const std::string& argument : arguments)
            raw.push_back(const_cast<char*>(argument.c_str()));
        raw.push_back(nullptr);
        const int quiet = open("/dev/null", O_WRONLY);
        dup2(quiet, 1);
        dup2(quiet, 2);
        execv(GLEAMVIEW, raw.data());
        _exit(127);
    }
    during(process);
    int status = 0;
    rusage usage = {};
    wait4(process, &status, 0, &usage);
    kilobytes = usage.ru_maxrss;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Models, ManyTrianglesTakeBoundedMemory)
{
    const std::string grid = WriteGrid(600); // 720,000 triangles
    long small = 0, large = 0;
    const std::vector<std::string> rest = {"--device", "null", "--size", "64x64", "--out", File("x.png")};
    std::vector<std::string> arguments = {WriteWall()};
    arguments.insert(arguments.end(), rest.begin(), rest.end());
    EXPECT_EQ(RunWith(
                  arguments, [](pid_t) {}, small),
              0);
    arguments[0] = grid;
    EXPECT_EQ(RunWith(
                  arguments, [](pid_t) {}, large),
              0);
    // 32 bytes a vertex and 6 a triangle, in the importer's result and on the device.
#ifdef GLEAM_SANITIZED
    constexpr long most = 400 * 1024; // the checkers keep what is freed, and marks for every byte
#else
    constexpr long most = 120 * 1024;
#endif
    EXPECT_LT(large - small, most) << "kilobytes: " << small << " and " << large;
}

TEST_F(Models, CtrlCStopsAtOnceAndLeavesNoPicture)
{
    const std::string grid = WriteGrid(1200);
    long kilobytes = 0;
    const auto started = std::chrono::steady_clock::now();
    const int status = RunWith(
        {grid, "--frames", "1000000", "--out", File("stopped.png")},
        [](pid_t process) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1500));
            kill(process, SIGINT);
        },
        kilobytes);
    EXPECT_EQ(status, 130);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(60));
    EXPECT_FALSE(std::filesystem::exists(File("stopped.png")));
}

TEST(Progress, LinesAreWrittenOverOnTerminalsAndRareElsewhere)
{
    const auto show = [](bool isTerminal, int milliseconds) {
        std::FILE* file = std::tmpfile();
        {
            gleamview::ProgressLine line(file, isTerminal);
            line.Show("m.obj", "reading", 0.1f);
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
            line.Show("m.obj", "reading", 0.5f);
            line.Show("m.obj", "reading", 0.6f); // too soon after the one before
        }
        std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
        std::rewind(file);
        EXPECT_EQ(std::fread(text.data(), 1, text.size(), file), text.size());
        std::fclose(file);
        return text;
    };
    const std::string terminal = show(true, 350);
    EXPECT_NE(terminal.find("\r[############............] 50% reading m.obj"), std::string::npos) << terminal;
    EXPECT_EQ(terminal.find('\n'), std::string::npos);
    EXPECT_EQ(terminal.back(), '\r'); // taken away at the end
    EXPECT_EQ(show(false, 10), "");
}

} // namespace
