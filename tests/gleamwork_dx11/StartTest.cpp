// Start and stop of an API: display modes, windows, settings, and what is left over at the end.
#include "BackendFixture.h"
#include "Gleamwork/Display.h"
#include "Gleamwork/image/GraphicsBuffer.h"

#include <cstdlib>
#include <qs/Memory.h>
#include <qs/Settings.h>
#include <string>

namespace {

struct OpenCall
{
    std::string name;
    int x, y, width, height, style, displayIndex, numerator, denominator;
};

class ScriptedWindow : public gw::HiddenWindow
{
public:
    bool Open(const char* name, int x, int y, int width, int height, int style, int displayIndex, int numerator,
              int denominator) override
    {
        m_opened.push_back({name, x, y, width, height, style, displayIndex, numerator, denominator});
        return true;
    }

    std::vector<OpenCall> m_opened;
};

class ScriptedManager : public gw::WindowManager
{
public:
    bool Initialize() override { return true; }
    void Shutdown() override {}
    gw::Window* NewWindow() override
    {
        if (m_losesDevice) {
            setenv("GLEAM_DEVICE", "999", 1);
        }
        return m_next;
    }
    void DestroyWindow(gw::Window* window) override { m_destroyed.push_back(window); }
    void ProcessEvents() override {}
    gw::Window* GetWindow(int) override { return nullptr; }
    int GetWindowCount() const override { return 0; }
    gw::Window* GetFocusWindow() override { return nullptr; }
    void SetCursorVisible(bool) override {}
    bool IsCursorVisible() const override { return false; }
    void SetCursorPosition(int, int) override {}
    void GetCursorPosition(int&, int&) const override {}
    void SetClipboardText(const char*) override {}
    const char* GetClipboardText() override { return ""; }
    void ShowVirtualKeyboard(gw::Window*) override {}
    void HideVirtualKeyboard() override {}

    gw::Window* m_next = nullptr;
    bool m_losesDevice = false; ///< the device goes between the list of displays and the start
    std::vector<gw::Window*> m_destroyed;
};

class ScriptedApp : public TestApp
{
public:
    gw::WindowManager* GetWindowManager(bool) override { return &m_manager; }

    ScriptedManager m_manager;
    ScriptedWindow m_made;
};

class Start : public testing::Test
{
protected:
    Start()
    {
        setenv("GLEAM_DEVICE", "null", 1);
        setenv("GLEAM_DEBUG", "virtual-output,no-message-box", 1);
        m_app.m_manager.m_next = &m_app.m_made;
        m_api.reset(api::CreateAPI(&m_app));
    }
    ~Start() override { unsetenv("GLEAM_DEBUG"); }

    AppStartupDesc& Desc() { return m_app.m_desc; }

    ScriptedApp m_app;
    std::unique_ptr<api::IAPI> m_api;
    qs::LogCapture m_log;
};

struct Mode
{
    std::int32_t display;
    std::uint32_t width, height, numerator, denominator;

    bool operator==(const Mode&) const = default;
};

void Set(AppStartupDesc& desc, const Mode& mode)
{
    desc.displayIndex = mode.display;
    desc.width = mode.width;
    desc.height = mode.height;
    desc.refreshNumerator = mode.numerator;
    desc.refreshDenominator = mode.denominator;
}

Mode Get(const AppStartupDesc& desc)
{
    return {desc.displayIndex, desc.width, desc.height, desc.refreshNumerator, desc.refreshDenominator};
}

} // namespace

TEST_F(Start, SettlesTheModeAndOpensTheWindow)
{
    constexpr Mode DESKTOP = {0, 1920, 1080, 60, 1};
    struct Case
    {
        const char* name;
        bool fullscreen;
        bool fake;
        Mode asked;
        Mode settled;
        int style;
    };
    const Case cases[] = {
        {"no width asks for the default size", false, false, {0, 0, 600, 50, 2}, {0, 1280, 720, 50, 2}, 36},
        {"a display that is not there", false, true, {7, 800, 600, 0, 0}, {0, 800, 600, 0, 0}, 38},
        {"a negative display", false, false, {-1, 800, 600, 0, 0}, {0, 800, 600, 0, 0}, 36},
        {"a listed mode", true, false, {0, 1280, 720, 60, 1}, {0, 1280, 720, 60, 1}, 37},
        {"no refresh rate", true, true, {0, 1280, 720, 0, 1}, DESKTOP, 37},
        {"a size that is not listed", true, false, {0, 1234, 77, 60, 1}, DESKTOP, 37},
        {"a listed mode on a missing display", true, false, {3, 1280, 720, 60, 1}, DESKTOP, 37},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Set(Desc(), c.asked);
        Desc().fullscreen = c.fullscreen;
        Desc().fakeFullscreen = c.fake;
        ASSERT_TRUE(m_api->Init());
        EXPECT_EQ(Get(Desc()), c.settled);
        EXPECT_EQ(Desc().window, &m_app.m_made);
        EXPECT_TRUE(Desc().hdrSupported);
        EXPECT_EQ(GraphicSettings->screenWidth, c.settled.width);
        EXPECT_EQ(GraphicSettings->refreshNumerator, c.settled.numerator);
        EXPECT_EQ(GraphicSettings->fullscreen != 0, c.fullscreen);
        ASSERT_EQ(m_app.m_made.m_opened.size(), 1u);
        const OpenCall& call = m_app.m_made.m_opened[0];
        EXPECT_EQ(call.name, "Window");
        EXPECT_EQ(call.x, c.settled.display | 0x2fff0000);
        EXPECT_EQ(call.y, call.x);
        EXPECT_EQ(call.style, c.style);
        EXPECT_EQ((Mode{call.displayIndex, std::uint32_t(call.width), std::uint32_t(call.height),
                        std::uint32_t(call.numerator), std::uint32_t(call.denominator)}),
                  c.settled);
        m_api->Exit();
        EXPECT_EQ(m_app.m_manager.m_destroyed, std::vector<gw::Window*>{&m_app.m_made});
        EXPECT_EQ(Desc().window, nullptr);
        m_app.m_made.m_opened.clear();
        m_app.m_manager.m_destroyed.clear();
    }
    EXPECT_EQ(m_log.Count(qs::LogLevelError) + m_log.Count(qs::LogLevelAssertion), 0u) << m_log.GetLast();
}

TEST_F(Start, LeavesForeignWindowsAndSettingsAlone)
{
    GraphicSettings->screenWidth = 77;
    Set(Desc(), {0, 320, 200, 0, 0});
    Desc().keepGraphicSettings = true;
    Desc().window = &m_app.m_window;
    EXPECT_TRUE(m_api->IsDeviceLost(false));
    ASSERT_TRUE(m_api->InitCaps());
    ASSERT_TRUE(m_api->Init());
    EXPECT_FALSE(m_api->IsDeviceLost(true));
    EXPECT_EQ(GraphicSettings->screenWidth, 77u);
    EXPECT_STREQ(m_api->GetTitleInfo(), "(DX11)");
    EXPECT_EQ(m_api->GetApp(), &m_app);
    EXPECT_EQ(m_api->GetAPIData()->featureLevel, 0xb100u);
    EXPECT_EQ(m_api->GetAPIData()->dxgiVersion, api::eDxgiVersion_1_6);
    EXPECT_TRUE(api::IAPI::TestRenderSupport(1));
    EXPECT_FALSE(api::IAPI::TestRenderSupport(16));
    m_api->ResizeRenderFrameWindow(nullptr, 8, 4, 60, 1, 0, false, false, false, false, 0);
    EXPECT_TRUE(m_log.Contains("api::D3D11API::ResizeRenderFrameWindow(8, 4)", qs::LogLevelTrace));
    EXPECT_EQ(m_log.GetLast(), "RenderFrame is nullptr!");
    m_api->Exit();
    EXPECT_TRUE(m_api->IsDeviceLost(false));
    EXPECT_TRUE(m_app.m_manager.m_destroyed.empty());
}

TEST_F(Start, FailsWithoutAWindow)
{
    m_app.m_manager.m_next = nullptr;
    EXPECT_FALSE(m_api->Init());
    EXPECT_EQ(m_log.GetLast(), "Couldn't create window.");
    m_api->Exit();
    EXPECT_EQ(gw::Renderer::GetInstance(), nullptr);
}

TEST_F(Start, ListsDisplaysWithTheirModes)
{
    qs::ObjectSet<gw::Display, qs::DefaultComparator<gw::Display>> displays;
    m_api->CollectDisplays(displays);
    m_api->CollectDisplays(displays); // replaces what is there
    ASSERT_EQ(displays.GetSize(), 1u);
    const gw::Display& display = displays[0];
    EXPECT_GT(display.modes.GetSize(), 1u);
    EXPECT_TRUE(display.modes.Contains(display.currentMode));
    EXPECT_EQ(display.recommendedMode, display.currentMode);
    EXPECT_FALSE(display.adapterName.IsEmpty());
    EXPECT_FALSE(display.deviceName.IsEmpty());
}

TEST_F(Start, ReportsAndReleasesWhatIsLeftAtTheEnd)
{
    ASSERT_TRUE(m_api->Init());
    gw::Renderer& renderer = *gw::Renderer::GetInstance();
    renderer.CreateVertexBuffer(renderer.AddVertexBuffer(), 64, gw::eResourceUsage_Default, nullptr);
    renderer.CreateIndexBuffer(renderer.AddIndexBuffer(), 16, 2, gw::eResourceUsage_Dynamic, nullptr);
    renderer.CreateStructuredBuffer(renderer.AddStructuredBuffer(), 4, 16, gw::eResourceUsage_Default, false, nullptr);
    const qs::ObjectHandle texture = renderer.AddTexture();
    ASSERT_TRUE(renderer.CreateTexture(texture, gw::GraphicsBuffer::Empty, gw::FORMAT_RGBA8, 8, 8, 0, 1, 1, nullptr, 1,
                                       1, gw::eTextureUsageFlag_ShaderResource, gw::ETextureAccessFlag(12)));
    const qs::ObjectHandle bound = renderer.AddTexture();
    ASSERT_TRUE(renderer.CreateTexture(bound, gw::GraphicsBuffer::Empty, gw::FORMAT_RGBA8, 8, 8, 0, 1, 1, nullptr, 1, 1,
                                       gw::eTextureUsageFlag_ShaderResource, gw::ETextureAccessFlag(12)));
    renderer.GetTextureById(bound)->keepUntilFrame = 4;
    renderer.RemoveTexture(bound, true, false);
    renderer.AddSRV(SRV(), qs::ObjectHandle(200, 1, 1));
    m_api->Exit();
    const char* order[] = {"Index buffer with handle ", "Vertex buffer with handle ", "Strucutred buffer with handle ",
                           "Texture with handle ", "Structured Resource View still alive at shutdown!"};
    const std::vector<qs::LogCapture::Entry> entries = m_log.GetEntries();
    ASSERT_EQ(entries.size(), std::size(order)) << m_log.GetLast();
    for (std::size_t i = 0; i < std::size(order); ++i) {
        EXPECT_EQ(entries[i].text.rfind(order[i], 0), 0u) << entries[i].text;
        EXPECT_EQ(entries[i].level, qs::LogLevelAssertion);
    }
    for (const char* scope : {"DX11 Texture", "DX11 VB", "DX11 IB", "DX11 SB"}) {
        EXPECT_EQ(qs::MemoryManager::GetUsage(scope).thirdPartyBlocks, 0) << scope;
    }
}

TEST_F(Start, NeedsADisplayAndADevice)
{
    Set(Desc(), {0, 64, 64, 0, 0});
    setenv("GLEAM_DEVICE", "999", 1);
    EXPECT_FALSE(m_api->Init());
    EXPECT_EQ(m_log.GetLast(), "No adapters found!");
    m_api->Exit();
    setenv("GLEAM_DEVICE", "null", 1);
    m_app.m_manager.m_losesDevice = true;
    EXPECT_EXIT(m_api->Init(), testing::ExitedWithCode(1), "Failed to create rendering device!");
}
