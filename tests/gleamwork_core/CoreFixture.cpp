// Start and stop of the device under test, and what its textures hold.
#include "CoreFixture.h"

#include "Gleamwork/GleamworkSDM.h"
#include "Gleamwork/image/GraphicsBuffer.h"

#include <cstdlib>

extern "C" unsigned GleamPlatformTakeValidationMessages(char* text, unsigned capacity);

// What every program that links the library has.
static GleamworkSDM s_gleamwork;

void DeviceTest::StartDevice(const char* device)
{
    setenv("GLEAM_DEVICE", device, 1);
    setenv("GLEAM_DEBUG", "validation", 0);
    m_app.m_desc.width = 64;
    m_app.m_desc.height = 64;
    m_app.m_desc.keepGraphicSettings = true;
    m_app.m_desc.window = &m_app.m_window;
    m_api.reset(api::CreateAPI(&m_app));
    ASSERT_TRUE(m_api->InitCaps());
    ASSERT_TRUE(m_api->Init());
    m_renderer = gw::Renderer::GetInstance();
    ASSERT_NE(m_renderer, nullptr);
    gw::DataLoader::InitImmediateCommandManager(&m_immediate);
    gw::DataLoader::InitRelaxedCommandManager(&m_relaxed);
    ExpectQuiet();
}

void DeviceTest::TearDown()
{
    ExpectQuiet();
    if (m_api) {
        m_immediate.ExecuteAll();
        m_relaxed.ExecuteAll();
        gw::DataLoader::DestroyCommandManager();
        gw::DataLoader::s_ImmediateRenderCommandManager = nullptr;
        gw::DataLoader::s_RelaxedRenderCommandManager = nullptr;
        m_api->Exit();
        EXPECT_EQ(gw::Renderer::GetInstance(), nullptr);
    }
    ExpectQuiet();
}

void DeviceTest::ExpectOne(std::uint32_t level, const char* part)
{
    EXPECT_EQ(m_log.CountContaining(part, level), 1u) << part << "\nlast: " << m_log.GetLast();
    EXPECT_EQ(m_log.Count(qs::LogLevelError) + m_log.Count(qs::LogLevelAssertion), 1u) << "beside: " << part;
    m_log.Clear();
}

void DeviceTest::ExpectQuiet()
{
    for (const qs::LogCapture::Entry& entry : m_log.GetEntries()) {
        EXPECT_EQ(entry.level & (qs::LogLevelError | qs::LogLevelAssertion), 0u)
            << entry.function << ": " << entry.text;
    }
    m_log.Clear();
    char messages[4096];
    EXPECT_EQ(GleamPlatformTakeValidationMessages(messages, sizeof(messages)), 0u) << messages;
}

static qs::ObjectHandle MakeEmpty(gw::Renderer& renderer, gw::EFormat format, unsigned width, unsigned height,
                                  gw::ETextureUsageFlag usage, gw::ETextureAccessFlag access)
{
    const qs::ObjectHandle handle = renderer.AddTexture();
    EXPECT_TRUE(renderer.CreateTexture(handle, gw::GraphicsBuffer::Empty, format, width, height, 0, 1, 1, nullptr, 1, 1,
                                       usage, access));
    return handle;
}

qs::ObjectHandle DeviceTest::MakeTarget(unsigned width, unsigned height)
{
    return MakeEmpty(*m_renderer, gw::FORMAT_RGBA8, width, height,
                     gw::eTextureUsageFlag_RenderTarget | gw::eTextureUsageFlag_ShaderResource,
                     gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_GPUWrite);
}

qs::ObjectHandle DeviceTest::MakeDepth(unsigned width, unsigned height)
{
    return MakeEmpty(*m_renderer, gw::FORMAT_D24S8, width, height, gw::eTextureUsageFlag_DepthStencil,
                     gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_GPUWrite);
}

qs::ObjectHandle DeviceTest::MakeTexture(unsigned width, unsigned height, const void* pixels,
                                         gw::ETextureAccessFlag access)
{
    unsigned size = width * height * 4;
    return gw::DataLoader::InvokeAddTextureFromMemory(const_cast<void*>(pixels), gw::FORMAT_RGBA8, width, height, 0, 1,
                                                      &size, 1, 1, gw::eTextureUsageFlag_ShaderResource, access);
}

std::vector<Pixel> DeviceTest::ReadPixels(qs::ObjectHandle texture)
{
    unsigned width = 0;
    unsigned height = 0;
    unsigned depth = 0;
    m_renderer->GetTextureDimensions(texture, width, height, depth);
    const qs::ObjectHandle staging = MakeEmpty(*m_renderer, gw::FORMAT_RGBA8, width, height, gw::eTextureUsageFlag_None,
                                               gw::eTextureAccessFlag_CPURead);
    m_renderer->CopyTexture(texture, staging);
    void* data = nullptr;
    int pitch = 0;
    std::vector<Pixel> pixels(std::size_t(width) * height);
    EXPECT_TRUE(m_renderer->LockTexture(staging, 0, &data, &pitch, gw::eResourceAccess_Read));
    for (unsigned y = 0; data && y < height; ++y) {
        std::memcpy(&pixels[y * width], static_cast<char*>(data) + std::size_t(y) * pitch, width * sizeof(Pixel));
    }
    m_renderer->UnlockTexture(staging, 0);
    m_renderer->RemoveTexture(staging, true, true);
    return pixels;
}
