// The frame against a scripted display system: how it makes its chain, presents, resizes and follows its output.
#include "FrameFixture.h"
#include "ScriptedDxgi.h"

#include "Gleamwork/dx11/D3D11API.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr DXGI_COLOR_SPACE_TYPE Hdr10 = DXGI_COLOR_SPACE_RGB_FULL_G2084_NONE_P2020;

class ScriptedFrame : public FrameTest
{
protected:
    void SetUp() override
    {
        Start(EStage::Null);
        m_script.Take(m_api->GetAPIData()->device);
        m_api->GetAPIData()->dxgiVersion = api::eDxgiVersion_1_6;
    }
    void TearDown() override
    {
        m_frame.reset();
        FrameTest::TearDown();
    }

    /// Makes a frame and forgets the calls that this took.
    void Make(const gw::RenderFrameDesc& desc)
    {
        m_script.TakeCalls();
        MakeFrame(desc);
        m_made = m_script.TakeCalls();
    }
    gw::RenderFrameDesc Hdr() const
    {
        gw::RenderFrameDesc desc = Describe();
        desc.hdr = true;
        return desc;
    }

    ScriptedDxgi m_script;
    std::vector<std::string> m_made;
};

TEST_F(ScriptedFrame, SampleCountsComeDownToWhatTheDeviceCan)
{
    for (const auto& [asked, most, reached] : {std::array<UINT, 3>{8, 4, 4}, {6, 4, 4}, {4, 1, 0}, {1, 1, 1}}) {
        m_script.mostSamples = most;
        gw::RenderFrameDesc desc = Describe();
        desc.sampleCount = std::uint16_t(asked);
        Make(desc);
        EXPECT_EQ(m_frame->GetDesc().sampleCount, reached) << asked;
        EXPECT_EQ(m_script.flip.SampleDesc.Count, reached) << asked;
        m_frame.reset();
    }
}

struct RouteCase
{
    const char* name;
    api::DxgiVersion version;
    bool hasFactory2;
    bool isOldSystem;
    bool tripleBuffering;
    bool fullscreen;
    std::vector<std::string> calls;
    UINT buffers;
    UINT effect;
    UINT flags;
};

TEST_F(ScriptedFrame, ChainsAreMadeByTheNewestMeans)
{
    const std::vector<std::string> flip = {"flip", "association 3"};
    const std::vector<std::string> blit = {"blit", "association 3"};
    const RouteCase cases[] = {
        {"newest", api::eDxgiVersion_1_6, true, false, false, false, flip, 2, DXGI_SWAP_EFFECT_FLIP_DISCARD, 2050},
        {"version 5", api::eDxgiVersion_1_4, true, false, true, false, flip, 3, DXGI_SWAP_EFFECT_FLIP_DISCARD, 2050},
        {"version 4", api::eDxgiVersion_1_3, true, false, false, false, flip, 2, DXGI_SWAP_EFFECT_FLIP_SEQUENTIAL, 2},
        {"no newer factory", api::eDxgiVersion_1_6, false, false, true, false, blit, 2, 0, 2},
        {"old system", api::eDxgiVersion_1_1, true, true, false, false, blit, 1, 0, 2},
        {"all buffers",
         api::eDxgiVersion_1_1,
         true,
         true,
         true,
         true,
         {"blit", "fullscreen", "buffers 320x200", "association 3"},
         3,
         0,
         2},
        {"full screen",
         api::eDxgiVersion_1_6,
         true,
         false,
         true,
         true,
         {"flip", "fullscreen", "buffers 320x200", "association 3"},
         3,
         DXGI_SWAP_EFFECT_FLIP_DISCARD,
         2050},
    };
    for (const RouteCase& c : cases) {
        SCOPED_TRACE(c.name);
        m_api->GetAPIData()->dxgiVersion = c.version;
        m_script.hasFactory2 = c.hasFactory2;
        m_script.isOldSystem = c.isOldSystem;
        GraphicSettings->tripleBuffering = c.tripleBuffering;
        gw::RenderFrameDesc desc = Describe();
        desc.fullscreen = c.fullscreen;
        Make(desc);
        EXPECT_EQ(m_made, c.calls);
        const bool isFlip = c.calls[0] == "flip";
        EXPECT_EQ(isFlip ? m_script.flip.BufferCount : m_script.blit.BufferCount, c.buffers);
        EXPECT_EQ(UINT(isFlip ? m_script.flip.SwapEffect : m_script.blit.SwapEffect), c.effect);
        EXPECT_EQ(isFlip ? m_script.flip.Flags : m_script.blit.Flags, c.flags);
        EXPECT_EQ(isFlip ? m_script.flip.BufferUsage : m_script.blit.BufferUsage, 48u);
        EXPECT_EQ(m_frame->GetNumFrameBuffers(), c.buffers);
        m_frame.reset();
        m_script.isFullscreen = FALSE;
    }
    GraphicSettings->tripleBuffering = 0;
}

TEST_F(ScriptedFrame, ARefusedChainIsTriedOnceMore)
{
    m_script.createChain = {E_ACCESSDENIED};
    Make(Describe());
    EXPECT_THAT(m_made, ElementsAre("flip", "sleep 1000", "flip", "association 3"));
    m_frame->ReleaseFrameBufferSurfaces();
    m_script.TakeCalls();
    m_script.createChain = {E_ACCESSDENIED, E_ACCESSDENIED, E_ACCESSDENIED};
    EXPECT_EQ(HRESULT(m_frame->CreateSwapChain(8, 8)), E_ACCESSDENIED);
    EXPECT_THAT(m_script.TakeCalls(), ElementsAre("flip", "sleep 1000", "flip"));
    m_script.createChain = {E_OUTOFMEMORY};
    EXPECT_EQ(HRESULT(m_frame->CreateSwapChain(8, 8)), E_OUTOFMEMORY);
    EXPECT_FALSE(m_frame->CreateFrameBufferTextures());
}

TEST_F(ScriptedFrame, PresentsByTypeSynchronisationAndTearing)
{
    struct Case
    {
        gw::RenderFrameDesc::EType type;
        bool verticalSync, tearing, fullscreen;
        UINT interval, flags;
    };
    constexpr auto main = gw::RenderFrameDesc::eType_Default;
    constexpr auto other = gw::RenderFrameDesc::eType_Additional;
    const Case cases[] = {{main, true, true, false, 1, 0},    {main, false, true, false, 0, 512},
                          {main, false, false, false, 0, 0},  {main, false, true, true, 0, 0},
                          {other, true, true, false, 0, 512}, {other, true, false, false, 0, 0}};
    for (const Case& c : cases) {
        m_script.tearing = c.tearing;
        gw::RenderFrameDesc desc = Describe();
        desc.type = c.type;
        Make(desc);
        m_frame->SetProperties(c.fullscreen, 60, 1, c.verticalSync, false);
        m_frame->FlipBuffers(true);
        EXPECT_EQ(m_script.interval, c.interval) << &c - cases;
        EXPECT_EQ(m_script.presentFlags, c.flags) << &c - cases;
        m_frame.reset();
    }
    Make(Describe());
    m_script.interval = 77;
    m_frame->FlipBuffers(false);
    EXPECT_EQ(m_script.interval, 77u);
    m_script.present = DXGI_ERROR_INVALID_CALL;
    m_frame->FlipBuffers(true); // logged, and the frame goes on
    EXPECT_EQ(m_log.CountContaining("IDXGISwapChain::Present failed!\nError: DXGI_ERROR_INVALID_CALL\nDescription : ",
                                    qs::LogLevelFatalAssertion),
              1u);
    m_log.Clear();
}

TEST_F(ScriptedFrame, ResizesInAFixedOrder)
{
    Make(Describe());
    EXPECT_TRUE(m_frame->Resize(64, 32, false, 0, 0));
    EXPECT_THAT(m_script.TakeCalls(), ElementsAre("buffers 64x32"));
    // Into full screen with another mode: first the target, then the state, then the buffers.
    m_frame->SetProperties(true, 75, 1, false, false);
    EXPECT_TRUE(m_frame->Resize(80, 40, false, 96, 48));
    EXPECT_THAT(m_script.TakeCalls(), ElementsAre("buffers 96x48", "target 96x48@75", "fullscreen", "buffers 96x48"));
    EXPECT_TRUE(m_frame->Resize(88, 44, false, 0, 0)); // is in full screen: no target
    EXPECT_THAT(m_script.TakeCalls(), ElementsAre("buffers 88x44"));
    EXPECT_TRUE(m_frame->Resize(88, 44, true, 0, 0));
    EXPECT_THAT(m_script.TakeCalls(), ElementsAre("windowed", "buffers 88x44"));
    // A view that somebody kept makes the chain refuse; the frame still has its old picture.
    ID3D11Texture2D* kept = nullptr;
    m_frame->GetSwapChain()->GetBuffer(0, IID_ID3D11Texture2D, reinterpret_cast<void**>(&kept));
    m_frame->SetProperties(false, 60, 1, false, false);
    EXPECT_TRUE(m_frame->Resize(16, 16, false, 0, 0));
    EXPECT_THAT(m_script.TakeCalls(), ElementsAre("refused buffers 16x16"));
    kept->Release();
    m_frame.reset();
    EXPECT_THAT(m_script.TakeCalls(), ElementsAre("buffers 88x44"));
}

TEST_F(ScriptedFrame, FollowsTheOutputThatShowsMostOfTheWindow)
{
    const auto side = [](LONG from, LONG to, bool isHdr) {
        ScriptedOutput output;
        output.desktop = {from, 0, to, 1000};
        output.colorSpace = isHdr ? Hdr10 : DXGI_COLOR_SPACE_RGB_FULL_G22_NONE_P709;
        return output;
    };
    m_script.outputs = {side(0, 1000, true), side(1000, 2000, false)};
    m_script.window = {900, 0, 1100, 100};
    Make(Hdr());
    EXPECT_EQ(m_frame->GetBackBufferFormat(), gw::FORMAT_RGB10A2);
    EXPECT_TRUE(m_frame->GetDesc().hdrActive); // equal shares: the first
    EXPECT_THAT(m_made, ElementsAre("flip", "space 12", "metadata 1 28", "association 3"));
    const DXGI_HDR_METADATA_HDR10& sent = m_script.metadata;
    EXPECT_THAT(sent.RedPrimary, ElementsAre(35400, 14600));
    EXPECT_THAT(sent.GreenPrimary, ElementsAre(8500, 39850));
    EXPECT_THAT(sent.BluePrimary, ElementsAre(6550, 2300));
    EXPECT_THAT(sent.WhitePoint, ElementsAre(15635, 16450));
    EXPECT_EQ(sent.MaxMasteringLuminance, 10000000u);
    EXPECT_EQ(sent.MinMasteringLuminance, 1u);
    m_script.window = {901, 0, 1101, 100};
    EXPECT_TRUE(m_frame->CheckDisplayHDRSupport(false));
    EXPECT_FALSE(m_frame->GetDesc().hdrActive);
    EXPECT_THAT(m_script.TakeCalls(), ElementsAre("space 0", "metadata 0 0"));
    EXPECT_TRUE(m_frame->CheckDisplayHDRSupport(false)); // nothing changed, nothing is sent
    EXPECT_THAT(m_script.TakeCalls(), ElementsAre());
    EXPECT_TRUE(m_frame->CheckDisplayHDRSupport(true));
    EXPECT_THAT(m_script.TakeCalls(), ElementsAre("space 0", "metadata 0 0"));
    m_script.window = {-50, -50, -10, -10}; // on no output: areas of 0 tie as well
    EXPECT_TRUE(m_frame->CheckDisplayHDRSupport(false));
    EXPECT_TRUE(m_frame->GetDesc().hdrActive);
    m_frame.reset();
    Make(Describe());
    EXPECT_TRUE(m_frame->CheckDisplayHDRSupport(true));
    EXPECT_THAT(m_script.TakeCalls(), ElementsAre());
}

TEST_F(ScriptedFrame, FailuresTurnHighDynamicRangeOff)
{
    ScriptedOutput bright;
    bright.desktop = {0, 0, 1000, 1000};
    bright.colorSpace = Hdr10;
    struct Case
    {
        const char* name;
        std::function<void(ScriptedDxgi&)> spoil;
        bool result;
        const char* error; ///< null for none
    };
    const Case cases[] = {
        {"no factory", [](auto& s) { s.createFactory = E_FAIL; }, false, "CreateDXGIFactory Failed!\nError: E_FAIL\n"},
        {"no adapter", [](auto& s) { s.enumAdapters = E_FAIL; }, false, "EnumAdapters1 Failed!\nError: E_FAIL\n"},
        {"no output", [](auto& s) { s.outputs.clear(); }, false, nullptr},
        {"no description", [](auto& s) { s.outputs[0].getDesc = E_FAIL; }, false, "IDXGIOutput::GetDesc Failed!\n"},
        {"old output", [](auto& s) { s.outputs[0].hasOutput6 = false; }, false, nullptr},
        {"no colours", [](auto& s) { s.outputs[0].getDesc1 = E_FAIL; }, false, "IDXGIOutput6::GetDesc1 Failed!\n"},
        {"no present", [](auto& s) { s.colorSpaceSupport = 2; }, true, nullptr},
        {"space refused", [](auto& s) { s.setColorSpace = E_FAIL; }, true, nullptr},
        {"metadata refused", [](auto& s) { s.setMetadata = E_FAIL; }, true, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        m_script.outputs = {bright};
        Make(Hdr());
        ASSERT_TRUE(m_frame->GetDesc().hdrActive);
        c.spoil(m_script);
        EXPECT_EQ(m_frame->CheckDisplayHDRSupport(true), c.result);
        EXPECT_FALSE(m_frame->GetDesc().hdrActive);
        const std::vector<std::string> calls = m_script.TakeCalls();
        ASSERT_GE(calls.size(), 2u);
        EXPECT_EQ(calls[calls.size() - 2], "space 0"); // the standard space is set in the end
        EXPECT_EQ(calls.back(), "metadata 0 0");
        if (c.error) {
            ExpectError(c.error);
        }
        m_script.createFactory = m_script.enumAdapters = m_script.setColorSpace = m_script.setMetadata = S_OK;
        m_script.colorSpaceSupport = 1;
        m_frame.reset();
        ExpectQuiet();
    }
    m_script.outputs = {bright};
    m_script.hasChain4 = false;
    Make(Hdr());
    EXPECT_FALSE(m_frame->GetDesc().hdrActive); // an old chain is left alone
    EXPECT_THAT(m_made, ElementsAre("flip", "association 3"));
}

// The window is changed through the application, in an order that depends on where it comes from.
TEST_F(ScriptedFrame, TheApiMovesTheApplicationsWindow)
{
    struct App : TestApp
    {
        void NotifyWindowResize(int width, int, HWND__* window, bool changing, int, int) override
        {
            target->calls +=
                std::string(window ? "" : "lost ") + (changing ? "begin " : "end ") + std::to_string(width) + " ";
        }
        gw::Window* GetMainWindow(bool, std::uint32_t, std::uint32_t) override { return target; }
        SdlWindow* target = nullptr;
    };
    App app;
    app.target = &m_window;
    const std::unique_ptr<api::IAPI> api(api::CreateAPI(&app));
    Make(Describe());
    struct Case
    {
        bool fullscreen, fake;
        const char* calls;
    };
    const Case cases[] = {{false, false, "leave size 64x32 display -1 "},
                          {false, true, "leave display 1 fake size 64x32 "},
                          {true, false, "mode 64x32 enter "},
                          {true, false, "begin 64 mode 64x32 enter end 64 "},
                          {false, true, "begin 64 leave display 1 fake size 64x32 "},
                          {true, true, "mode 64x32 enter "},
                          {false, false, "begin 64 leave size 64x32 display -1 end 64 "}};
    for (const Case& c : cases) {
        m_window.calls.clear();
        api->ResizeRenderFrameWindow(m_frame.get(), 64, 32, 50, 1, 1, c.fullscreen, c.fake, true, true, 0);
        EXPECT_EQ(m_window.calls, c.calls) << &c - cases;
        EXPECT_EQ(m_frame->GetDesc().fullscreen, c.fullscreen);
        EXPECT_EQ(m_frame->GetDesc().refreshNumerator, 50u);
    }
    EXPECT_THAT(m_script.TakeCalls(), ElementsAre());
}

} // namespace
