// The application object of gleamview and the order of its job.
#include "Viewer.h"

#include "ImageFile.h"
#include "ImageScene.h"

#include <Gleamwork/App.h>
#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/IAPI.h>
#include <Gleamwork/Renderer.h>
#include <Gleamwork/Window.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <qs/CommandManager.h>
#include <qs/Path.h>

namespace gleamview {

namespace {

/// Stands where an editor has its main window: the viewer draws into a texture and shows nothing.
class OffscreenWindow final : public gw::Window
{
public:
    bool Open(const char*, int, int, int width, int height, int, int, int, int) override
    {
        SetSize(width, height);
        return true;
    }
    void Close() override {}
    void Show() override {}
    void Hide() override {}
    void SetTitle(const char*) override {}
    void SetPosition(int, int) override {}
    void GetPosition(int& x, int& y) const override { x = y = 0; }
    void SetSize(int width, int height) override
    {
        m_width = width;
        m_height = height;
    }
    void GetSize(int& width, int& height) const override
    {
        width = m_width;
        height = m_height;
    }
    void SetDisplay(int) override {}
    void SetFullscreenMode(const gw::DisplayMode&, int) override {}
    void EnterFullscreen(int) override {}
    void ApplyFakeFullscreenStyle() override {}
    void LeaveFullscreen(int) override {}
    bool IsFullscreen() const override { return false; }
    bool IsVisible() const override { return false; }
    bool HasFocus() const override { return false; }
    void Focus() override {}
    void Minimize() override {}
    void Restore() override {}
    void Update() override {}
    HWND GetNativeHandle() override { return nullptr; }

private:
    int m_width = 0;
    int m_height = 0;
};

class ViewerApp final : public IApp
{
public:
    ViewerApp()
    {
        m_startup.keepGraphicSettings = true;
        m_startup.window = &m_window;
    }

    gw::WindowManager* GetWindowManager(bool) override { return nullptr; }
    AppStartupDesc* GetStartupDesc() override { return &m_startup; }
    void NotifyWindowResize(int, int, HWND__*, bool, int, int) override {}
    gw::Window* GetMainWindow(bool, std::uint32_t, std::uint32_t) override { return &m_window; }

private:
    AppStartupDesc m_startup;
    OffscreenWindow m_window;
};

/// The library, started: device, renderer and the two command queues, which this one thread drains.
class Library
{
public:
    ~Library()
    {
        if (!m_started)
            return;
        Drain();
        m_api->Exit();
        // Stopping the renderer queues the removal of its own geometry; nothing is left to remove it from.
        gw::DataLoader::DestroyCommandManager();
    }

    bool Start()
    {
        gw::DataLoader::InitImmediateCommandManager(&m_immediate);
        gw::DataLoader::InitRelaxedCommandManager(&m_relaxed);
        m_api.reset(api::CreateAPI(&m_app));
        m_started = true;
        return m_api && m_api->InitCaps() && m_api->Init();
    }

    void Drain()
    {
        m_immediate.ExecuteAll();
        m_relaxed.ExecuteAll();
    }

private:
    ViewerApp m_app;
    qs::CommandBuffer m_immediate;
    qs::CommandBuffer m_relaxed;
    std::unique_ptr<api::IAPI> m_api;
    bool m_started = false;
};

bool Fail(const std::string& what)
{
    std::fprintf(stderr, "gleamview: %s\n", what.c_str());
    return false;
}

bool LoadImages(const Options& options, std::vector<std::unique_ptr<ImageFile>>& images)
{
    for (const std::string& path : options.images) {
        auto image = std::make_unique<ImageFile>();
        std::string error;
        if (!image->Load(path, error))
            return Fail(error);
        images.push_back(std::move(image));
    }
    return true;
}

/// Known before anything is decoded or drawn, so that a long job does not end in a name that cannot be written.
bool CheckPicturePath(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& letter : extension)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    for (const char* known : {".png", ".jpg", ".bmp", ".tga", ".dds"})
        if (extension == known)
            return true;
    return Fail(path + ": unknown extension; pictures are written as png, jpg, bmp, tga or dds");
}

bool DrawAndWrite(const Options& options, std::vector<std::unique_ptr<ImageFile>>& images)
{
    ImageScene scene;
    std::string error;
    if (!scene.Create(options, images, error))
        return Fail(error);
    scene.Draw();
    return scene.Write(options.out) || Fail(options.out + ": the picture could not be written");
}

} // namespace

int Run(const Options& options)
{
    const auto started = std::chrono::steady_clock::now();
    if (!CheckPicturePath(options.out))
        return 1;
    std::vector<std::unique_ptr<ImageFile>> images;
    if (!LoadImages(options, images))
        return 1;

    Library library;
    if (!library.Start()) {
        Fail("the renderer could not be started");
        return 1;
    }
    if (!DrawAndWrite(options, images))
        return 1;
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - started;
    std::printf("%s: written in %.2f s\n", options.out.c_str(), seconds.count());
    return 0;
}

} // namespace gleamview
