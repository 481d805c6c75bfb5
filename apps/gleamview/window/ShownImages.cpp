// The frame of flat images: the picture into a target, the target into the window, the overlay over it.
#include "window/ShownImages.h"

#include "TextShader.h"
#include "draw/OverlayPanel.h"

#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/IAPI.h>
#include <Gleamwork/Renderer.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <qs/Profile.h>

namespace gleamview {

namespace {

constexpr float s_smallest = 0.05f;
constexpr float s_largestSide = 16384.0f; ///< of a picture on the screen, in pixels

gw::Renderer& GetRenderer()
{
    return *gw::details::RendererBase::GetInstance();
}

/// A shader without the name of the time cannot move.
bool KnowsTime(const std::string& path)
{
    std::ifstream file(path);
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    return text.find("time") != std::string::npos;
}

} // namespace

ShownImages::ShownImages(apps::Library& library, gw::RenderFrame& frame, const Options& options)
    : m_library(library), m_frame(frame), m_options(options),
      m_timer(*library.GetApi().GetAPIData(), library.GetImmediateQueue()),
      m_picture(qs::FixedString::Create("Picture", -1)), m_present(qs::FixedString::Create("present", -1)),
      m_draw(qs::FixedString::Create("draw", -1))
{
    const std::size_t count = options.files.size();
    m_name = count == 1 ? std::filesystem::path(options.files.front()).filename().string()
                        : std::to_string(count) + " images";
}

ShownImages::~ShownImages()
{
    m_triangle.Destroy(nullptr);
    if (m_show.IsValid()) {
        GetRenderer().RemoveShader(m_show);
    }
    m_scene.reset();
    m_library.Drain();
}

bool ShownImages::Load(std::string& error)
{
    for (const std::string& path : m_options.files) {
        auto image = std::make_unique<ImageFile>();
        if (!image->Load(path, error)) {
            return false;
        }
        m_images.push_back(std::move(image));
    }
    m_size = {m_frame.GetDesc().width, m_frame.GetDesc().height};
    m_scene = std::make_unique<ImageScene>();
    const bool isMade = m_scene->CreateForWindow(m_options, m_images, m_size, error);
    m_images.clear();
    m_isMoving = KnowsTime(m_options.shader);
    return isMade;
}

bool ShownImages::Attach(std::string& error)
{
    m_show = AddShowShader(GetRenderer(), m_scene->IsLinear());
    if (!m_show.IsValid() || !m_triangle.Init(m_show, false, nullptr)) {
        error = "the viewer's own shader could not be made";
        return false;
    }
    m_font = std::make_unique<OverlayFont>(GetRenderer());
    m_overlay.font = m_font.get();
    return true;
}

void ShownImages::Pan(float right, float up)
{
    // The view goes one way, the picture the other.
    m_right -= right;
    m_down += up;
}

void ShownImages::Zoom(float factor)
{
    const float side = static_cast<float>(std::max(m_size.width, m_size.height));
    const float before = m_zoom;
    m_zoom = std::clamp(m_zoom * factor, s_smallest, std::max(1.0f, s_largestSide / side));
    m_right *= m_zoom / before;
    m_down *= m_zoom / before;
}

void ShownImages::ResetCamera()
{
    m_zoom = 1.0f;
    m_right = m_down = 0.0f;
}

void ShownImages::DrawPicture()
{
    using gw::details::RendererBase;
    gw::Renderer& renderer = GetRenderer();
    const Size size{m_frame.GetDesc().width, m_frame.GetDesc().height};
    if (size.width != m_size.width || size.height != m_size.height) {
        m_size = size;
        m_scene->Resize(size);
    }
    const float height = static_cast<float>(size.height);
    m_scene->SetView(m_zoom, m_right * height, m_down * height);
    m_scene->Draw();
    m_frame.ChangeToMainFramebuffer(renderer, false);
    renderer.SetViewport(Vector4i(static_cast<int>(size.width), static_cast<int>(size.height), 0, 0));
    m_triangle.BeginRenderFullScreen(renderer, m_show, RendererBase::DS(gw::DS_NONE), 0,
                                     RendererBase::BS(gw::BS_OPAQUE));
    renderer.SetTexture(m_picture, m_scene->GetTarget(), -1);
    m_triangle.EndRenderFullScreen(renderer);
}

void ShownImages::RecordOverlay()
{
    const float width = static_cast<float>(m_size.width);
    const float height = static_cast<float>(m_size.height);
    m_overlayCommands.Setup2DMode(0.0f, width, 0.0f, height);
    OverlayPanel(m_overlayCommands, m_overlay.font, width, height).Draw(m_overlay);
    gw::DataLoader::InvokeExecuteRCB(&m_overlayCommands);
}

bool ShownImages::Draw(double time, bool present)
{
    qs::HProfileSample sample("gleamview::Frame");
    m_scene->SetTime(static_cast<float>(time));
    m_timer.SetEnabled(m_overlay.showsTimes || qs::Profiler::IsTracing());
    m_timer.BeginFrame();
    m_timer.Begin(m_draw);
    m_frame.BeginFrame();
    DrawPicture();
    RecordOverlay();
    m_library.Drain();
    m_timer.End(m_draw);
    m_timer.Begin(m_present);
    m_frame.EndFrame(present);
    m_timer.End(m_present);
    m_timer.EndFrame();
    m_overlay.times = m_timer.GetTimes().GetMeans();
    return m_isMoving;
}

} // namespace gleamview
