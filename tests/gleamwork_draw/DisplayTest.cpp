// Displays: sorting, and the mode that is offered first.
#include "Gleamwork/Display.h"
#include "Gleamwork/GWFS.h"
#include "Gleamwork/GleamworkSDM.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <qs/FileSystem.h>
#include <qs/Log.h>
#include <string>
#include <unistd.h>

namespace {

class Displays : public testing::Test
{
protected:
    void SetUp() override
    {
        GWFS::Init();
        m_folder = std::filesystem::temp_directory_path() / ("displays-" + std::to_string(getpid()));
        std::filesystem::create_directories(m_folder / "Engine");
        m_root = std::string(qs::Path::GetPrefixForRoot(qs::PATH_ROOT_DATA).GetData());
        qs::FileSystem::SetRoot(qs::PATH_ROOT_DATA, m_folder.c_str());
    }
    void TearDown() override
    {
        qs::FileSystem::SetRoot(qs::PATH_ROOT_DATA, m_root.c_str());
        std::filesystem::remove_all(m_folder);
    }
    void WriteTable(const std::string& nodes)
    {
        std::ofstream(m_folder / "Engine/GfxDevices.qsx") << "<objects version=\"1\"><GfxDeviceData><KnownGfxDevices>"
                                                          << nodes << "</KnownGfxDevices></GfxDeviceData></objects>";
    }
    static gw::Display Make(std::uint64_t memory, unsigned width, unsigned height)
    {
        gw::Display display;
        display.vendorId = 0x10de;
        display.deviceId = 7;
        display.dedicatedVideoMemory = memory;
        display.currentMode = {0, width, height, 60, 1};
        return display;
    }

    std::filesystem::path m_folder;
    std::string m_root;
    qs::LogCapture m_log;
};

TEST_F(Displays, ModesSortByWidthHeightAndRate)
{
    gw::Display display;
    for (const gw::DisplayMode& mode :
         {gw::DisplayMode{0, 1280, 720, 60, 1}, gw::DisplayMode{0, 640, 480, 60, 1},
          gw::DisplayMode{0, 1280, 720, 30000, 1001}, gw::DisplayMode{0, 1280, 600, 9, 0}}) {
        display.modes.Add(mode);
    }
    display.SortDisplayModes();
    EXPECT_EQ(display.modes[0].width, 640u);
    EXPECT_EQ(display.modes[1].height, 600u);
    EXPECT_EQ(display.modes[2].refreshNumerator, 30000u);
    EXPECT_EQ(display.modes[1].GetRefreshRate(), 0.0f);
}

TEST_F(Displays, MemoryDecidesForUnknownDevices)
{
    struct Case
    {
        std::uint64_t memory;
        unsigned width, height, expectedWidth;
    };
    for (const Case& c : {Case{2000000000, 3840, 2160, 3840}, Case{1999999999, 3840, 2160, 2560},
                          Case{999999999, 1920, 1200, 1920}, Case{999999999, 3840, 2160, 1920}}) {
        gw::Display display = Make(c.memory, c.width, c.height);
        for (const unsigned width : {1280u, 1920u, 2560u, 3840u}) {
            display.modes.Add({0, width, width * 9 / 16, 60, 1});
        }
        display.CalculateRecommendedDisplayMode();
        EXPECT_EQ(display.recommendedMode.width, c.expectedWidth) << c.memory;
    }
    gw::Display square = Make(0, 3000, 3000);
    square.modes.Add({0, 1920, 1080, 60, 1});
    square.CalculateRecommendedDisplayMode();
    EXPECT_EQ(square.recommendedMode.width, 0u);
    EXPECT_TRUE(m_log.Contains("Failed to find recommended display settings!", qs::LogLevelWarning));
}

TEST_F(Displays, KnownDevicesAskForTheirSizeAndFasterModesWin)
{
    WriteTable("<GfxDeviceInfo VendorID=\"1\" DeviceID=\"7\"/>"
               "<GfxDeviceInfo VendorID=\"0x10de\" DeviceID=\"7\" RecommendedQualityPreset=\"3\" "
               "RecommendedScreenWidth=\"1280\" RecommendedScreenHeight=\"720\"/>");
    gw::Display display = Make(4000000000, 1920, 1080);
    for (const unsigned rate : {30u, 60u}) {
        display.modes.Add({0, 1280, 720, rate, 1});
    }
    display.modes.Add({0, 1280, 719, 120, 1}); // nearer to nothing: other proportions
    display.CalculateRecommendedDisplayMode();
    EXPECT_EQ(display.recommendedMode, (gw::DisplayMode{0, 1280, 720, 60, 1}));
    EXPECT_EQ(display.recommendedQualityPreset, 3u);

    WriteTable("<GfxDeviceInfo VendorID=\"0x10de\" DeviceID=\"7\" RecommendedQualityPreset=\"2\"/>");
    display.CalculateRecommendedDisplayMode();
    EXPECT_EQ(display.recommendedMode.width, 1920u); // no size: memory decides
    EXPECT_EQ(display.recommendedQualityPreset, 2u);
    EXPECT_EQ(m_log.Count(qs::LogLevelAssertion), 0u);

    WriteTable("<GfxDeviceInfo VendorID=\"many\"/>");
    display.CalculateRecommendedDisplayMode();
    EXPECT_TRUE(m_log.Contains("Failed to load known GfxDevices! Failed to visit file: "));
    std::ofstream(m_folder / "Engine/GfxDevices.qsx") << "<objects";
    display.CalculateRecommendedDisplayMode();
    EXPECT_TRUE(m_log.Contains("Failed to load known GfxDevices! Failed to load file: "));
}

} // namespace
