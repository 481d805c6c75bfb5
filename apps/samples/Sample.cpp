// Start, picture and end of a sample.
#include "Sample.h"

#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/GleamworkSDM.h>

#include <cstdio>
#include <cstdlib>
#include <qs/FileSystem.h>

namespace samples {
namespace {

/// Registers the library with the foundation's start-up.
GleamworkSDM s_gleamwork;

qs::ObjectHandle AddTarget(gw::EFormat format, unsigned width, unsigned height, int usage)
{
    return gw::DataLoader::InvokeAddTextureFromMemory(nullptr, format, int(width), int(height), 0, 1, nullptr, 1, 1,
                                                      gw::ETextureUsageFlag(usage),
                                                      gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_GPUWrite);
}

} // namespace

Sample::Sample(int argc, char** argv, const char* name, unsigned width, unsigned height)
    : m_library(m_app), m_picture(argc > 1 ? argv[1] : std::string(name) + ".png"), m_width(width), m_height(height)
{
}

Sample::~Sample()
{
    if (m_renderer) {
        m_renderer->RemoveTexture(m_target, true, true);
        m_renderer->RemoveTexture(m_depth, true, true);
    }
}

bool Sample::Start()
{
    if (!std::getenv("GLEAM_DATA")) {
        qs::FileSystem::SetRoot(qs::PATH_ROOT_DATA, SAMPLES_FOLDER);
    }
    if (!m_library.Start()) {
        std::fprintf(stderr, "The renderer could not be started.\n");
        return false;
    }
    m_renderer = gw::details::RendererBase::GetInstance();
    m_target = AddTarget(gw::FORMAT_RGBA8, m_width, m_height,
                         gw::eTextureUsageFlag_RenderTarget | gw::eTextureUsageFlag_ShaderResource);
    m_depth = AddTarget(gw::FORMAT_D24S8, m_width, m_height, gw::eTextureUsageFlag_DepthStencil);
    return true;
}

int Sample::Finish(qs::ObjectHandle texture)
{
    if (!m_renderer->SaveRenderTargetData(texture, qs::Path(qs::PATH_ROOT_NONE, m_picture.c_str()), false, false, 0,
                                          0)) {
        std::fprintf(stderr, "%s: the picture could not be written\n", m_picture.c_str());
        return 1;
    }
    std::printf("%s\n", m_picture.c_str());
    return 0;
}

qs::ObjectHandle Sample::LoadShader(const char* file)
{
    const qs::ObjectHandle shader = m_renderer->AddAndCreateTextShader(qs::Path(qs::PATH_ROOT_DATA, file), nullptr);
    if (!shader.IsValid()) {
        std::fprintf(stderr, "%s: the shader could not be loaded\n", file);
    }
    return shader;
}

} // namespace samples
