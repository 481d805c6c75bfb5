// A device that goes, and a chain that cannot be made, end the process: shown by child processes.
#include "FrameFixture.h"
#include "ScriptedDxgi.h"

#include <cstdlib>

namespace {

// The whole text that the user sees; the parts between name and line end differ by code.
constexpr char Suggestions[] =
    "This error may be triggered by reasons that are not related to Ashen Reach.\n\n"
    "Please try the following before restarting:\n"
    "- Disable any screen recording software you may be running\n"
    "- Make sure all your Windows updates have been installed\n"
    "- Make sure you have the latest graphics drivers installed\n"
    "- Disable SLI/CrossFireX\n\n"
    "You could also try contacting developer support with your gold.log and your DxDiag.txt.\n"
    "If you make significant changes to your system \\(like installing updates or drivers\\), please send us before "
    "and after\n"
    "versions of those files. We are sorry for the inconvenience.\n\n";

class ErrorStream : public qs::LogSink
{
public:
    void Write(const qs::LogMessage& message) override { std::fputs(message.text, stderr); }
};

class DeviceLoss : public FrameTest
{
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    void TearDown() override
    {
        if (m_api) {
            FrameTest::TearDown();
        }
    }

    /// Draws until the device is gone. Returns when it is not.
    void DrawUntilLost(const char* reason)
    {
        const std::string debug = std::string("no-message-box,lose-device=8,lose-reason=") + reason;
        setenv("GLEAM_DEBUG", debug.c_str(), 1);
        setenv("GLEAM_LOG", "trace", 1);
        Start(EStage::Memory);
        MakeFrame(Describe());
        for (int i = 0; i < 40; ++i) {
            DrawFrame(0, 0, 0);
        }
    }

    /// The log goes to the error stream.
    void LoseScripted()
    {
        ScriptedDxgi script;
        Start(EStage::Null);
        setenv("GLEAM_DEBUG", "no-message-box", 1);
        script.Take(m_api->GetAPIData()->device);
        MakeFrame(Describe());
        script.removedReason = DXGI_ERROR_DEVICE_HUNG;
        script.present = DXGI_ERROR_DEVICE_RESET;
        m_log.Clear();
        qs::LogManager::GetInstance()->AddSink(std::make_shared<ErrorStream>());
        m_frame->FlipBuffers(true);
    }

    void MakeRefusedFrame()
    {
        ScriptedDxgi script;
        Start(EStage::Null);
        setenv("GLEAM_DEBUG", "no-message-box", 1);
        script.Take(m_api->GetAPIData()->device);
        script.createChain = {E_ACCESSDENIED, E_ACCESSDENIED};
        gw::RenderFrameDesc desc = Describe();
        desc.fullscreen = true;
        MakeFrame(desc);
    }
};

TEST_F(DeviceLoss, TellsTheUserAndEndsByTheReason)
{
    struct Case
    {
        const char* code;
        const char* name;
        int exitCode;
    };
    constexpr Case cases[] = {{"887A0006", "DXGI_ERROR_DEVICE_HUNG", 1},
                              {"887A0001", "DXGI_ERROR_INVALID_CALL", 1},
                              {"887A0005", "DXGI_ERROR_DEVICE_REMOVED", 0},
                              {"887A0020", "DXGI_ERROR_DRIVER_INTERNAL_ERROR", 0}};
    for (const Case& c : cases) {
        const std::string text =
            std::string(
                "DirectX Error: The game has encountered an unrecoverable DirectX error and will shut down.\n") +
            Suggestions + "Error: DXGI_ERROR_DEVICE_REMOVED\nDescription: [^\n]+\nReason: " + c.name + "\n$";
        EXPECT_EXIT(DrawUntilLost(c.code), testing::ExitedWithCode(c.exitCode), text) << c.name;
    }
}

TEST_F(DeviceLoss, LogsBothCodesWithTheirDescriptions)
{
    const char* text = "IDXGISwapChain::Present failed! Device was removed or reset!\nError: DXGI_ERROR_DEVICE_RESET\n"
                       "Description : [^\n]+\n\nDeviceRemovedReason:\nDXGI_ERROR code: 0x887A0006\n"
                       "Error: DXGI_ERROR_DEVICE_HUNG\nDescription: [^\n]+\n";
    EXPECT_EXIT(LoseScripted(), testing::ExitedWithCode(1), text);
}

TEST_F(DeviceLoss, ARefusedSwapChainTellsWhatWasAsked)
{
    const std::string text =
        std::string("DirectX Error: The game has failed to initialize DirectX and will shut down.\n") + Suggestions +
        "Error: E_ACCESSDENIED\nDescription: [^\n]+\nBufferDesc.Width: 320\nBufferDesc.Height: 200\n"
        "BufferDesc.Format: 28\nBufferDesc.RefreshRate.Numerator: 60\nBufferDesc.RefreshRate.Denominator: 1\n"
        "BufferCount: 2\nOutputWindow: [1-9][0-9]*\n";
    EXPECT_EXIT(MakeRefusedFrame(), testing::ExitedWithCode(1), text);
}

} // namespace
