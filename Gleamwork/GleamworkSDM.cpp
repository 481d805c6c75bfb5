// Start and stop of the library.
#include "Gleamwork/GleamworkSDM.h"

#include "Gleamwork/APIEventManager.h"
#include "Gleamwork/CameraManager.h"
#include "Gleamwork/GWFS.h"
#include "Gleamwork/LineMan.h"
#include "Gleamwork/WindowEventManager.h"
#include "Gleamwork/dx11/D3D11Module.h"

#include <qs/Memory.h>
#include <qs/StaticDataManager.h>

// The loader's handle of this library, an address that only this library has.
extern "C" void* __dso_handle __attribute__((visibility("hidden")));

namespace {

// Handle of the library while it is attached, else null.
void* s_module = nullptr;

} // namespace

bool GleamworkSDM::ms_bInitialized = false;
std::uint32_t GleamworkSDM::ms_registrations = 0;

GleamworkSDM::GleamworkSDM()
{
    if (ms_registrations++ != 0) {
        return;
    }
    qs::StaticDataManager::AddLibrary(Init, Shutdown, 1);
    // A program's statics are constructed behind the library's: its attach has passed and would not see them.
    if (s_module) {
        qs::StaticDataManager::ProcessAccumulatedLibraries();
    }
}

void GleamworkSDM::Init()
{
    if (ms_bInitialized) {
        return;
    }
    ms_bInitialized = true;
    qs::MemoryTrackerSample sample("GleamworkSDM");
    api::BindGraphicsSystem();
    GWFS::Init();
    gw::LineMan::_SDMInit();
    gw::APIEventManager::_SDMInit();
    gw::WindowEventManager::_SDMInit();
    gw::CameraManager::_SDMInit();
}

void GleamworkSDM::Shutdown()
{
    if (!ms_bInitialized) {
        return;
    }
    ms_bInitialized = false;
    qs::MemoryTrackerSample sample("GleamworkSDM");
    gw::CameraManager::_SDMShutdown();
    gw::WindowEventManager::_SDMShutdown();
    gw::APIEventManager::_SDMShutdown();
    gw::LineMan::_SDMShutdown();
    GWFS::Shutdown();
    api::UnbindGraphicsSystem();
}

namespace {

// The library's entry point. An object rather than a pair of functions in the loader's tables: at the end of the
// process the loader calls those only after the statics of every library are gone, the foundation's included, while
// this object's destructor runs in order, behind the program's statics and before the foundation's.
class Module
{
public:
    Module()
    {
        s_module = &__dso_handle;
        qs::StaticDataManager::ProcessAccumulatedLibraries();
    }

    ~Module()
    {
        s_module = nullptr;
        qs::StaticDataManager::RemoveLibrary(GleamworkSDM::Init, GleamworkSDM::Shutdown);
    }
};

const Module s_entryPoint;

} // namespace
