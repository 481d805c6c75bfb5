// The shared records.
#include <qs/Settings.h>

namespace {
constinit qs::GraphicOptions s_graphicOptions;
constinit qs::GlobalSwitches s_globalSwitches;
} // namespace

constinit qs::GraphicOptions* GraphicSettings = &s_graphicOptions;
constinit qs::GlobalSwitches* Global = &s_globalSwitches;
constinit CoreGlobals gCore;
