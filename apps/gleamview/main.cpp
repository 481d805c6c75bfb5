// gleamview: models and images in, one picture out, drawn by the library's own renderer.
#include "Options.h"
#include "Viewer.h"
#include "scene/ImportProcess.h"

#include <Gleamwork/GleamworkSDM.h>

#include <cstdio>
#include <cstdlib>

namespace {
/// Registers the library with the foundation's start-up.
GleamworkSDM s_gleamwork;
} // namespace

int main(int argc, char** argv)
{
    if (gleamview::IsImportChild(argc, argv))
        return gleamview::RunImportChild(argv);
    std::string error;
    const auto options = gleamview::ParseOptions({argv + 1, argv + argc}, error);
    if (!options) {
        std::fprintf(stderr, "gleamview: %s\nTry 'gleamview --help'.\n", error.c_str());
        return 2;
    }
    if (options->help) {
        std::fputs(gleamview::HelpText().c_str(), stdout);
        return 0;
    }
    if (!options->device.empty())
        setenv("GLEAM_DEVICE", options->device.c_str(), 1);
    return gleamview::Run(*options);
}
