// Start and stop of the libraries' static data.
#pragma once

#include <qs/Export.h>
#include <qs/Types.h>

namespace qs {

/// Libraries register a pair of functions; the process runs the start functions of all when its static objects exist,
/// and each library takes itself out when it is unloaded. Used by the thread that loads and unloads libraries.
class QS_API StaticDataManager
{
public:
    using Function = void (*)();

    /// Registers a library. Its `init` waits for ProcessAccumulatedLibraries. Libraries of a lower `order` start
    /// first, those of equal order as they were added. A pair that is registered already is not added again.
    static void AddLibrary(Function init, Function shutdown, i32 order);
    /// Takes a library out and, when its init ran, runs its shutdown. A pair that is not registered is ignored.
    static void RemoveLibrary(Function init, Function shutdown);
    /// Runs the init of every library that was added and not started yet.
    static void ProcessAccumulatedLibraries();
};

} // namespace qs
