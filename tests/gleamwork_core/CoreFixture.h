// A renderer on a device of choice, with queues that the test drains, for every test that needs one.
#pragma once

#include "Gleamwork/App.h"
#include "Gleamwork/GWDataLoader.h"
#include "Gleamwork/HiddenWindow.h"
#include "Gleamwork/Renderer.h"

#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <qs/Log.h>
#include <vector>

class TestApp : public IApp
{
public:
    gw::WindowManager* GetWindowManager(bool) override { return nullptr; }
    AppStartupDesc* GetStartupDesc() override { return &m_desc; }
    void NotifyWindowResize(int, int, HWND__*, bool, int, int) override {}
    gw::Window* GetMainWindow(bool, std::uint32_t, std::uint32_t) override { return &m_window; }

    gw::HiddenWindow m_window;
    AppStartupDesc m_desc;
};

using Pixel = std::array<unsigned char, 4>;

/// Every error and assertion of a test must be taken by one of the Expect calls; what is left fails the test, and so
/// does anything that the validation layer or the renderer's end has to say.
class DeviceTest : public testing::Test
{
protected:
    void StartDevice(const char* device);
    void TearDown() override;

    /// Exactly one message, which contains the text; it is taken off.
    void ExpectOne(std::uint32_t level, const char* part);
    void ExpectAssert(const char* part) { ExpectOne(qs::LogLevelAssertion, part); }
    void ExpectError(const char* part) { ExpectOne(qs::LogLevelError, part); }
    void ExpectQuiet();

    /// A texture that can be drawn into, or a depth buffer, RGBA8 and D24S8.
    qs::ObjectHandle MakeTarget(unsigned width, unsigned height);
    qs::ObjectHandle MakeDepth(unsigned width, unsigned height);
    qs::ObjectHandle MakeTexture(unsigned width, unsigned height, const void* pixels,
                                 gw::ETextureAccessFlag access = gw::eTextureAccessFlag_GPURead);
    /// Copies an RGBA8 texture back, row after row.
    std::vector<Pixel> ReadPixels(qs::ObjectHandle texture);

    gw::Renderer* m_renderer = nullptr;
    qs::CommandBuffer m_immediate;
    qs::CommandBuffer m_relaxed;
    qs::LogCapture m_log;
    TestApp m_app;
    std::unique_ptr<api::IAPI> m_api;
};
