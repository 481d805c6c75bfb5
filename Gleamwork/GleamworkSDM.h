// Start and stop of the library.
#pragma once

#include "Gleamwork/Export.h"

#include <cstdint>

/// The library's static data manager.
///
/// A program that links the library holds one object of this class as a static of its own:
///
///     static GleamworkSDM s_gleamwork;
///
/// The first object registers the library with qs::StaticDataManager. When the library is attached already, which is
/// the case for every static of a program that links it, the constructor also has the accumulated libraries processed,
/// so that the library is up when the constructor returns. (A loader that constructs the object before the library's
/// own static constructors ran gets the same at attach.) The library stops when it is detached: after the program's own
/// statics are gone, or at dlclose.
///
/// Init and Shutdown run on the thread that loads or unloads the library and take no lock.
class GW_API GleamworkSDM
{
public:
    GleamworkSDM();

    /// Makes sure that the graphics system can be called (or ends the process with a message box), fills GWFS, and
    /// makes those of the library's singletons that nobody made before. Does nothing when already initialised.
    static void Init();
    /// Undoes Init in reverse. Does nothing when not initialised; Init may follow.
    static void Shutdown();

    static bool ms_bInitialized;

private:
    static std::uint32_t ms_registrations; ///< objects constructed in the process; only grows
};
