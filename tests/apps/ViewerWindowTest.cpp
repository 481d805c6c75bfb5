// gleamview with a window, on a virtual display with a window manager.
#include "FileDrop.h"
#include "GleamviewFixture.h"
#include "LiveViewer.h"
#include "common/VirtualDisplay.h"

#include <algorithm>
#include <csignal>
#include <memory>
#include <thread>

namespace {

class ViewerWindow : public Gleamview
{
protected:
    void SetUp() override
    {
        Gleamview::SetUp();
        m_display = std::make_unique<VirtualDisplay>();
        if (!m_display->Problem().empty()) {
            GTEST_SKIP() << "no virtual display: " << m_display->Problem();
        }
        // A face that looks different from every side.
        WriteText("face.obj", "v -1 0 0\nv 1 0 0\nv 1 2 0\nv -1 1 0\nf 1 2 3 4\n");
    }

    void TearDown() override
    {
        if (m_viewer) {
            EXPECT_EQ(m_viewer->Errors().find("VUID"), std::string::npos) << m_viewer->Errors();
        }
        m_viewer.reset();
        Gleamview::TearDown();
    }

    void Open(std::vector<std::string> arguments, const std::string& device = "software")
    {
        arguments.insert(arguments.end(), {"--size", "320x240", "--device", device});
        m_viewer = std::make_unique<LiveViewer>(arguments, m_folder.string());
    }

    void OpenFace()
    {
        Open({File("face.obj")});
        ASSERT_TRUE(m_viewer->WaitForWindow("face.obj")) << m_viewer->Errors();
    }

    Picture Shoot()
    {
        const std::filesystem::path path = m_folder / m_viewer->Screenshot();
        EXPECT_EQ(path.parent_path(), m_folder);
        EXPECT_TRUE(std::filesystem::is_regular_file(path)) << m_viewer->Errors();
        return std::filesystem::is_regular_file(path) ? Read(path.filename()) : Picture{};
    }

    /// Resizes and waits until the screenshots have that size.
    bool Resize(int width, int height)
    {
        m_viewer->Tool("windowsize --sync WINDOW " + std::to_string(width) + " " + std::to_string(height));
        return WaitForSize(width, height);
    }

    bool WaitForSize(int width, int height)
    {
        return LiveViewer::WaitUntil([&] {
            const Picture picture = Shoot();
            return picture.width == width && picture.height == height;
        });
    }

    /// The window as the screen shows it.
    Picture Look()
    {
        std::filesystem::remove(File("seen.png"));
        m_viewer->Shell("import -window WINDOW png32:" + File("seen.png"));
        return std::filesystem::exists(File("seen.png")) ? Read("seen.png") : Picture{};
    }

    /// True once the screen shows that.
    bool WaitForPicture(const Picture& wanted)
    {
        return LiveViewer::WaitUntil([&] { return Look().rgba == wanted.rgba; });
    }

    std::unique_ptr<VirtualDisplay> m_display;
    std::unique_ptr<LiveViewer> m_viewer;
};

/// Clock ticks of processor time that a process has taken.
long ReadTicks(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text((std::istreambuf_iterator<char>(file)), {});
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skipped;
    for (int i = 0; i < 11; ++i) {
        fields >> skipped;
    }
    long user = 0, system = 0;
    fields >> user >> system;
    return user + system;
}

TEST_F(ViewerWindow, FollowsThePointerAndTheKeys)
{
    ASSERT_NO_FATAL_FAILURE(OpenFace());
    const Picture first = Shoot();
    ASSERT_EQ(first.width, 320);
    ASSERT_EQ(first.height, 240);
    EXPECT_TRUE(LiveViewer::WaitUntil([&] { return m_viewer->Title().find("saved face-") == 0; })) << m_viewer->Title();
    // Once the line of news is gone, the screen shows what the screenshot does.
    EXPECT_TRUE(WaitForPicture(first));

    std::vector<Picture> seen = {first};
    const auto changes = [&](const char* what, const std::function<void()>& act) {
        act();
        // The window manager looks at the pointer's events first, so that a key may overtake them.
        EXPECT_TRUE(LiveViewer::WaitUntil([&] {
            const Picture next = Shoot();
            const bool isNew =
                std::all_of(seen.begin(), seen.end(), [&](const Picture& before) { return next.rgba != before.rgba; });
            if (isNew) {
                seen.push_back(next);
            }
            return isNew;
        })) << what;
    };
    changes("turned", [&] { m_viewer->Drag(1, 60, 10); });
    changes("shifted", [&] { m_viewer->Drag(3, 30, -20); });
    changes("zoomed", [&] { m_viewer->Tool("click 4"); });
    changes("wireframe", [&] { m_viewer->Press("w"); });
    changes("boxes", [&] { m_viewer->Press("b"); });
    changes("no ground", [&] { m_viewer->Press("g"); });
    changes("times", [&] { m_viewer->Press("t"); });
    for (const char* key : {"w", "b", "g", "t", "r"}) {
        m_viewer->Press(key);
    }
    EXPECT_EQ(Shoot().rgba, first.rgba);
    m_viewer->Press("alt+F4");
    EXPECT_EQ(m_viewer->WaitForEnd(), 0) << m_viewer->Errors();
}

TEST_F(ViewerWindow, SurvivesWhatWindowManagersDo)
{
    ASSERT_NO_FATAL_FAILURE(OpenFace());
    const Picture first = Shoot();
    for (int i = 0; i < 30; ++i) {
        m_viewer->Tool("windowsize WINDOW " + std::to_string(200 + i * 17 % 301) + " " +
                       std::to_string(150 + i * 29 % 201));
    }
    EXPECT_TRUE(Resize(500, 200));
    EXPECT_TRUE(Resize(200, 500));
    EXPECT_TRUE(Resize(320, 240));
    EXPECT_EQ(Shoot().rgba, first.rgba);

    m_viewer->Tool("windowminimize --sync WINDOW");
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    m_viewer->Tool("windowmap --sync WINDOW windowactivate --sync WINDOW");
    EXPECT_TRUE(WaitForPicture(first));

    m_viewer->Press("f");
    EXPECT_TRUE(WaitForSize(VirtualDisplay::Width, VirtualDisplay::Height));
    m_viewer->Press("Escape");
    EXPECT_TRUE(WaitForSize(320, 240));
    EXPECT_EQ(Shoot().rgba, first.rgba);
    m_viewer->Press("Escape");
    EXPECT_EQ(m_viewer->WaitForEnd(), 0) << m_viewer->Errors();
}

TEST_F(ViewerWindow, SleepsWhileNothingChangesAndStopsWithCtrlC)
{
    ASSERT_NO_FATAL_FAILURE(OpenFace());
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    const long before = ReadTicks(m_viewer->GetProcess());
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    EXPECT_LE(ReadTicks(m_viewer->GetProcess()) - before, 1);
    kill(m_viewer->GetProcess(), SIGINT);
    EXPECT_EQ(m_viewer->WaitForEnd(), 130) << m_viewer->Errors();
}

TEST_F(ViewerWindow, WhatMovesIsDrawnUntilItIsPaused)
{
    Open({}, "null");
    ASSERT_TRUE(m_viewer->WaitForWindow("own scene")) << m_viewer->Errors();
    const auto says = [&](bool moves, bool isPaused) {
        return LiveViewer::WaitUntil([&] {
            const std::string title = m_viewer->Title();
            return (title.find(" fps - ") != std::string::npos) == moves &&
                   (title.find("paused") != std::string::npos) == isPaused;
        });
    };
    EXPECT_TRUE(says(true, false)) << m_viewer->Title();
    m_viewer->Press("space");
    EXPECT_TRUE(says(false, true)) << m_viewer->Title();
    m_viewer->Press("space");
    EXPECT_TRUE(says(true, false)) << m_viewer->Title();
    m_viewer->Press("q");
    EXPECT_EQ(m_viewer->WaitForEnd(), 0) << m_viewer->Errors();
}

TEST_F(ViewerWindow, DroppedFilesAreOpenedAndBrokenOnesLeaveWhatIsShown)
{
    ASSERT_NO_FATAL_FAILURE(OpenFace());
    const Picture face = Shoot();
    WriteText("broken.obj", "f 1 2 3\n");
    ASSERT_TRUE(DropFile(m_viewer->GetWindow(), File("broken.obj")));
    EXPECT_TRUE(LiveViewer::WaitUntil([&] { return m_viewer->Title().find("cannot open broken.obj") == 0; }));
    EXPECT_NE(m_viewer->Errors().find("broken.obj"), std::string::npos);
    EXPECT_EQ(Shoot().rgba, face.rgba);

    WriteText("other.obj", "v -1 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    ASSERT_TRUE(DropFile(m_viewer->GetWindow(), File("other.obj")));
    EXPECT_TRUE(LiveViewer::WaitUntil([&] { return m_viewer->Title().find("other.obj") == 0; })) << m_viewer->Title();
    EXPECT_NE(Shoot().rgba, face.rgba);

    // From a scene to a flat image, whose screenshot lies beside it.
    ASSERT_TRUE(DropFile(m_viewer->GetWindow(), WriteImage("grey.png", 320, 240, DXGI_FORMAT_R8_UNORM)));
    EXPECT_TRUE(LiveViewer::WaitUntil([&] { return m_viewer->Title().find("grey.png") == 0; })) << m_viewer->Title();
    EXPECT_EQ(m_viewer->Screenshot(), File("grey-1.png"));
    m_viewer->Press("q");
    EXPECT_EQ(m_viewer->WaitForEnd(), 0) << m_viewer->Errors();
}

TEST_F(ViewerWindow, ImagesAreFlatAndExactAndShadersMove)
{
    std::vector<std::uint8_t> bytes;
    const std::string image = WriteImage("grey.png", 320, 240, DXGI_FORMAT_R8_UNORM, &bytes);
    Open({image});
    ASSERT_TRUE(m_viewer->WaitForWindow("grey.png")) << m_viewer->Errors();
    const Picture whole = Shoot();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        ASSERT_EQ(whole.rgba.at(i * 4), bytes[i]) << i;
    }
    m_viewer->Press("plus");
    const Picture near = Shoot();
    EXPECT_NE(near.rgba, whole.rgba);
    EXPECT_TRUE(Resize(200, 260));
    EXPECT_TRUE(Resize(320, 240));
    EXPECT_EQ(Shoot().rgba, near.rgba);
    m_viewer->Press("r");
    EXPECT_EQ(Shoot().rgba, whole.rgba);
    m_viewer->Press("q");
    EXPECT_EQ(m_viewer->WaitForEnd(), 0) << m_viewer->Errors();

    WriteText("turn.shader", "[Fragment shader]\nfloat time;\nfloat4 main(float4 position : SV_Position, float2 uv : "
                             "TEXCOORD0) : SV_Target0\n{ return frac(time + uv.xyxy); }\n");
    Open({image, "--shader", File("turn.shader")});
    ASSERT_TRUE(m_viewer->WaitForWindow("grey.png")) << m_viewer->Errors();
    const Picture early = Shoot();
    EXPECT_NE(Shoot().rgba, early.rgba);
    m_viewer->Press("q");
    EXPECT_EQ(m_viewer->WaitForEnd(), 0) << m_viewer->Errors();
}

TEST_F(Gleamview, WithoutADisplayItNamesTheWayOut)
{
    WriteText("face.obj", "v -1 0 0\nv 1 0 0\nv 1 2 0\nf 1 2 3\n");
    const Outcome outcome = Run(File("face.obj") + " --trace " + File("t.json"), "env -u DISPLAY -u WAYLAND_DISPLAY");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.errors.find("--out"), std::string::npos) << outcome.errors;
}

} // namespace
