// Start and stop of the device, and what windows do with it.
#include "Gleamwork/dx11/D3D11API.h"

#include "Gleamwork/App.h"
#include "Gleamwork/Display.h"
#include "Gleamwork/Renderer.h"
#include "Gleamwork/Window.h"
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11RenderFrame.h"
#include "Gleamwork/dx11/TypeIndices.h"
#include "Gleamwork/dx11/ViewArray.h"

#include <qs/Log.h>
#include <qs/MessageBox.h>
#include <qs/Settings.h>
#include <qs/TranslatedString.h>

#include <cstdlib>
#include <d3d11.h>
#include <windows.h>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11API";
constexpr char TRACKER_SCOPE[] = "api::D3D11API";

enum EWindowStyle : int
{
    eWindowStyle_Windowed = 36,
    eWindowStyle_Fullscreen = 37,
    eWindowStyle_FakeFullscreen = 38,
};

/// Marks a window position that is a display index instead.
constexpr std::uint32_t CENTERED_ON_DISPLAY = 0x2fff0000;
constexpr std::uint32_t DEFAULT_WIDTH = 1280;
constexpr std::uint32_t DEFAULT_HEIGHT = 720;

bool IsListedMode(const gw::Display& display, const AppStartupDesc& desc)
{
    if (desc.width == 0 || desc.height == 0 || desc.refreshNumerator == 0 || desc.refreshDenominator == 0) {
        return false;
    }
    gw::DisplayMode wanted;
    wanted.displayIndex = std::uint32_t(desc.displayIndex);
    wanted.width = desc.width;
    wanted.height = desc.height;
    wanted.refreshNumerator = desc.refreshNumerator;
    wanted.refreshDenominator = desc.refreshDenominator;
    return display.modes.Contains(wanted);
}

void TakeMode(AppStartupDesc& desc, const gw::DisplayMode& mode)
{
    desc.displayIndex = std::int32_t(mode.displayIndex);
    desc.width = mode.width;
    desc.height = mode.height;
    desc.refreshNumerator = mode.refreshNumerator;
    desc.refreshDenominator = mode.refreshDenominator;
}

template <class Displays>
void SettleMode(AppStartupDesc& desc, const Displays& displays)
{
    const bool isValidIndex = desc.displayIndex >= 0 && std::uint32_t(desc.displayIndex) < displays.GetSize();
    if (!isValidIndex) {
        desc.displayIndex = 0;
    }
    if (desc.fullscreen) {
        const gw::Display& display = displays[std::uint32_t(desc.displayIndex)];
        if (!isValidIndex || !IsListedMode(display, desc)) {
            TakeMode(desc, display.recommendedMode);
        }
    } else if (desc.width == 0 || desc.height == 0) {
        desc.width = DEFAULT_WIDTH;
        desc.height = DEFAULT_HEIGHT;
    }
}

void PublishSettings(const AppStartupDesc& desc)
{
    GraphicSettings->fullscreen = desc.fullscreen;
    GraphicSettings->screenWidth = desc.width;
    GraphicSettings->screenHeight = desc.height;
    GraphicSettings->refreshNumerator = desc.refreshNumerator;
    GraphicSettings->refreshDenominator = desc.refreshDenominator;
    GraphicSettings->displayIndex = desc.displayIndex;
}

void LeaveFullscreen(gw::Window& window, int width, int height, int displayIndex, bool fake)
{
    window.LeaveFullscreen(0);
    if (fake) {
        window.SetDisplay(displayIndex);
        window.ApplyFakeFullscreenStyle();
        window.SetSize(width, height);
    } else {
        window.SetSize(width, height);
        window.SetDisplay(-1);
    }
}

qs::STDString Translate(const char* key, const char* english)
{
    const qs::RuntimeStringHandle handle(key);
    const qs::TranslatedString text =
        qs::TranslatedStringRepository::GetInstance()->GetTranslatedString(handle, english);
    const qs::STDWString& wide = text.Get(qs::EGender::Neutral, qs::EGender::Neutral, false);
    return qs::STDString(qs::Localization::ConvertWideToMultiByte(wide.ToWChar(), wide.GetLength()).Get());
}

} // namespace

IAPI* CreateAPI(IApp* app)
{
    return D3D11API::CreateAPI(app);
}

D3D11API* D3D11API::CreateAPI(IApp* app)
{
    return new D3D11API(app);
}

D3D11API::D3D11API(IApp* application) : IAPI(application, nullptr), data(new D3D11APIData)
{
    apiData = data;
    s_Properties = 15;
}

D3D11API::~D3D11API()
{
    delete data;
}

bool D3D11API::InitCaps()
{
    if (LoadLibraryW(L"d3dcompiler_47.dll")) {
        HMODULE pinned = nullptr;
        GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN, "d3dcompiler_47.dll", &pinned);
    }
    return true;
}

bool D3D11API::Init()
{
    qs::MemoryTrackerSample scope(TRACKER_SCOPE);
    RegisterObjectTypes();
    AppStartupDesc* desc = app->GetStartupDesc();
    DisplaySet displays;
    CollectDisplays(displays);
    if (displays.GetSize() == 0) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11API::Init", "No adapters found!");
        return false;
    }
    SettleMode(*desc, displays);
    if (!desc->keepGraphicSettings) {
        PublishSettings(*desc);
    }
    if (!desc->window && !OpenWindow()) {
        QS_LOG_ERROR(FILE_NAME, "api::D3D11API::Init", "Couldn't create window.");
        return false;
    }
    const HRESULT hr = HRESULT(StartDevice());
    if (FAILED(hr)) {
        FailDeviceStart(hr);
    }
    data->dxgiVersion = GetSupportedDxgiVersion();
    desc->hdrSupported = data->dxgiVersion >= eDxgiVersion_1_6;
    return CreateRenderer();
}

bool D3D11API::OpenWindow()
{
    AppStartupDesc* desc = app->GetStartupDesc();
    gw::WindowManager* manager = app->GetWindowManager(desc->fullscreen);
    gw::Window* window = manager ? manager->NewWindow() : nullptr;
    if (!window) {
        return false;
    }
    int style = eWindowStyle_Windowed;
    if (desc->fullscreen) {
        style = eWindowStyle_Fullscreen;
    } else if (desc->fakeFullscreen) {
        style = eWindowStyle_FakeFullscreen;
    }
    const int position = int(std::uint32_t(desc->displayIndex) | CENTERED_ON_DISPLAY);
    window->Open("Window", position, position, int(desc->width), int(desc->height), style, desc->displayIndex,
                 int(desc->refreshNumerator), int(desc->refreshDenominator));
    desc->window = window;
    ownsWindow = true;
    return true;
}

// One feature level at a time: a system that does not know 11.1 refuses any list that holds it.
long D3D11API::StartDevice()
{
    HRESULT hr = E_FAIL;
    for (const D3D_FEATURE_LEVEL wanted : {D3D_FEATURE_LEVEL_11_1, D3D_FEATURE_LEVEL_11_0}) {
        D3D_FEATURE_LEVEL reached = wanted;
        hr = D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, &wanted, 1, D3D11_SDK_VERSION,
                               &data->device, &reached, &data->context);
        if (SUCCEEDED(hr)) {
            data->featureLevel = std::uint32_t(reached);
            return hr;
        }
        data->device = nullptr;
        data->context = nullptr;
    }
    return hr;
}

void D3D11API::FailDeviceStart(long hr)
{
    constexpr char FORMAT[] = "D3D11CreateDevice failed!\nError: %s\nDescription: %s";
    GW_LOG_DEVICE_ERROR(FILE_NAME, "api::D3D11API::Init", FORMAT, hr);
    char text[1024];
    qssprintf(text, 1023, FORMAT, GetErrorName(hr), GetErrorDescription(hr));
    TraceError(FILE_NAME, __LINE__, hr, text, false);
    const qs::STDString title =
        Translate("h69adc82bg5764g4ccbg879fgd4c89f180224", "Failed to create rendering device!");
    const qs::STDString message =
        Translate("h0298fdfcga5abg4608g9ad0gec9c99107c31",
                  "The application failed to create the rendering device. Please make sure you meet the minimum "
                  "specifications! (DX11 compatible GPU with the latest drivers installed)");
    qsMessageBox(title.ToChar(), message.ToChar(), QS_MESSAGE_ERROR);
    std::exit(1);
}

void D3D11API::Exit()
{
    qs::MemoryTrackerSample scope(TRACKER_SCOPE);
    DestroyRenderer();
    ReleaseObject(data->context);
    ReleaseObject(data->device);
    AppStartupDesc* desc = app->GetStartupDesc();
    if (ownsWindow) {
        if (gw::WindowManager* manager = app->GetWindowManager(desc->fullscreen)) {
            manager->DestroyWindow(desc->window);
        }
        ownsWindow = false;
    }
    desc->window = nullptr;
    UnregisterObjectTypes();
}

gw::RenderFrame* D3D11API::CreateRenderFrame(const gw::RenderFrameDesc& desc)
{
    return new D3D11RenderFrame(data, gw::Renderer::GetInstance(), desc,
                                desc.hdr ? gw::FORMAT_RGB10A2 : gw::FORMAT_RGBA8, gw::FORMAT_D24S8);
}

void D3D11API::ResizeRenderFrameWindow(gw::RenderFrame* frame, unsigned width, unsigned height,
                                       unsigned refreshNumerator, unsigned refreshDenominator, int displayIndex,
                                       bool fullscreen, bool fakeFullscreen, bool tripleBuffering, bool verticalSync,
                                       int)
{
    constexpr char FUNCTION[] = "api::D3D11API::ResizeRenderFrameWindow";
    QS_LOG_TRACE(FILE_NAME, FUNCTION, "api::D3D11API::ResizeRenderFrameWindow(%d, %d)\n", int(width), int(height));
    if (!frame) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "RenderFrame is nullptr!");
        return;
    }
    if (!frame->GetDesc().window) {
        return;
    }
    const bool wasFullscreen = frame->GetDesc().fullscreen;
    static_cast<D3D11RenderFrame*>(frame)->SetProperties(fullscreen, refreshNumerator, refreshDenominator, verticalSync,
                                                         tripleBuffering);
    gw::Window* window = app->GetMainWindow(fullscreen, refreshNumerator, refreshDenominator);
    if (!window) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "The application has no main window for this mode.");
        return;
    }
    const auto notify = [&](bool changing) {
        app->NotifyWindowResize(int(width), int(height), window->GetNativeHandle(), changing, 0, 0);
    };
    if (wasFullscreen) {
        notify(true);
    }
    if (fullscreen) {
        gw::DisplayMode mode;
        mode.displayIndex = std::uint32_t(displayIndex);
        mode.width = width;
        mode.height = height;
        mode.refreshNumerator = refreshNumerator;
        mode.refreshDenominator = refreshDenominator;
        window->SetFullscreenMode(mode, 0);
        window->EnterFullscreen(0);
    } else {
        LeaveFullscreen(*window, int(width), int(height), displayIndex, fakeFullscreen);
    }
    if (wasFullscreen && !fakeFullscreen) {
        notify(false);
    }
}

bool D3D11API::IsDeviceLost(bool) const
{
    return !data->device || !data->context;
}

} // namespace api
