// Display, window, library, frame, loop: made in this order, gone in the other.
#include "window/WindowRun.h"

#include "Messages.h"
#include "common/Library.h"
#include "window/InterruptWaker.h"
#include "window/WindowApp.h"
#include "window/WindowLoop.h"

#include <Gleamwork/IAPI.h>

namespace gleamview {

namespace {

constexpr Size s_windowSize{1280, 720};
constexpr int s_windowedStyle = 36;

int Failed(const std::string& sentence)
{
    PrintError(sentence);
    return 1;
}

gw::RenderFrameDesc DescribeFrame(ViewerWindow& window)
{
    int width = 0;
    int height = 0;
    window.GetSize(width, height);
    gw::RenderFrameDesc desc;
    desc.width = static_cast<std::uint32_t>(width);
    desc.height = static_cast<std::uint32_t>(height);
    desc.refreshNumerator = static_cast<std::uint32_t>(window.GetRefreshRate());
    desc.refreshDenominator = 1;
    desc.window = &window;
    return desc;
}

} // namespace

int RunWindow(const Options& options)
{
    const DisplaySystem display;
    if (!display.GetProblem().empty()) {
        return Failed("no window can be opened (" + display.GetProblem() +
                      "); with --out PICTURE the picture goes into a file instead");
    }
    const Size size = options.size.value_or(s_windowSize);
    ViewerWindow window;
    if (!window.Open("gleamview", 0, 0, static_cast<int>(size.width), static_cast<int>(size.height), s_windowedStyle, 0,
                     0, 0)) {
        return Failed("no window can be opened (" + window.GetProblem() +
                      "); with --out PICTURE the picture goes into a file instead");
    }
    const InterruptWaker waker;
    WindowApp app(window);
    apps::Library library(app);
    if (!library.Start()) {
        return Failed("the renderer could not be started");
    }
    const std::unique_ptr<gw::RenderFrame> frame(library.GetApi().CreateRenderFrame(DescribeFrame(window)));
    if (!frame) {
        return Failed("the device has no room for the window's pictures");
    }
    return WindowLoop(options, library, window, *frame).Run();
}

} // namespace gleamview
