// Starts a display and the renderer, and runs the rows.
#include "bench/common/BenchRenderer.h"
#include "bench/common/Ratio.h"
#include "bench/window/Rows.h"
#include "tests/common/VirtualDisplay.h"

#include "Gleamwork/GleamworkSDM.h"

#include <SDL.h>
#include <cstdio>
#include <qs/Settings.h>

namespace {

GleamworkSDM s_gleamwork;

} // namespace

int main(int argc, char** argv)
{
    VirtualDisplay display;
    SDL_SetHint(SDL_HINT_VIDEODRIVER, "x11");
    if (!display.Problem().empty() || SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
        std::fprintf(stderr, "bench_window: no virtual display: %s\n",
                     display.Problem().empty() ? SDL_GetError() : display.Problem().c_str());
        return 1;
    }
    int status = 1;
    {
        bench::BenchRenderer renderer;
        if (renderer.Open("software")) {
            GraphicSettings->verticalSync = 0;
            bench::AddWindowRows(renderer);
            bench::AddTrackerRow(renderer);
            status = bench::Run(argc, argv);
            renderer.relaxed.ExecuteAll();
        } else {
            std::fprintf(stderr, "bench_window: the renderer does not start\n");
        }
    }
    SDL_Quit();
    return status;
}
