// A renderer without a window, for benchmarks that need one.
#pragma once

#include "Gleamwork/App.h"
#include "Gleamwork/GWDataLoader.h"
#include "Gleamwork/IAPI.h"
#include "Gleamwork/Renderer.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace bench {

/// A program without a window of its own: what stands in `window` is only ever compared with null here.
class BenchApp : public IApp
{
public:
    BenchApp()
    {
        m_desc.keepGraphicSettings = true;
        m_desc.window = reinterpret_cast<gw::Window*>(this);
    }
    gw::WindowManager* GetWindowManager(bool) override { return nullptr; }
    AppStartupDesc* GetStartupDesc() override { return &m_desc; }
    void NotifyWindowResize(int, int, HWND__*, bool, int, int) override {}
    gw::Window* GetMainWindow(bool, std::uint32_t, std::uint32_t) override { return nullptr; }

private:
    AppStartupDesc m_desc;
};

/// The renderer and its two queues. One at a time in a program, which holds a GleamworkSDM.
class BenchRenderer
{
public:
    /// `device` as in GLEAM_DEVICE; null leaves the choice to the environment.
    bool Open(const char* device)
    {
        if (device)
            setenv("GLEAM_DEVICE", device, 1);
        gw::DataLoader::InitImmediateCommandManager(&immediate);
        gw::DataLoader::InitRelaxedCommandManager(&relaxed);
        m_api.reset(api::CreateAPI(&m_app));
        return m_api->InitCaps() && m_api->Init();
    }

    ~BenchRenderer()
    {
        if (m_api)
            m_api->Exit();
        gw::DataLoader::DestroyCommandManager();
    }

    api::IAPI& GetAPI() { return *m_api; }
    static gw::Renderer& Get() { return *gw::Renderer::GetInstance(); }

    static qs::ObjectHandle MakeShader(const char* vertex, const char* fragment)
    {
        const gw::ShaderData none;
        const qs::ObjectHandle shader =
            Get().AddShader({vertex, std::strlen(vertex)}, none, {fragment, std::strlen(fragment)}, none,
                            qs::FixedString::Empty, qs::FixedString::Empty, true, nullptr, nullptr, 0);
        Get().CreateShader(shader);
        return shader;
    }

    /// RGBA8; `pixels` may be null.
    static qs::ObjectHandle MakeTexture(unsigned side, const void* pixels, gw::ETextureUsageFlag usage,
                                        gw::ETextureAccessFlag access)
    {
        unsigned size = side * side * 4;
        return gw::DataLoader::InvokeAddTextureFromMemory(const_cast<void*>(pixels), gw::FORMAT_RGBA8, side, side, 0, 1,
                                                          pixels ? &size : nullptr, 1, 1, usage, access);
    }

    qs::CommandBuffer immediate, relaxed;

private:
    BenchApp m_app;
    std::unique_ptr<api::IAPI> m_api;
};

} // namespace bench
