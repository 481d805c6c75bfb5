// Start and stop of the libraries' static data.
#include <qs/StaticDataManager.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace qs {

namespace {

struct Library
{
    StaticDataManager::Function init;
    StaticDataManager::Function shutdown;
    i32 order;
    bool started;
};

struct Registry
{
    std::recursive_mutex lock; // an init function may add libraries
    std::vector<Library> libraries;
};

// Libraries are taken out while the process ends, behind the destructors of this one's objects.
Registry& GetRegistry()
{
    static Registry& registry = *new Registry;
    return registry;
}

auto Find(std::vector<Library>& libraries, StaticDataManager::Function init, StaticDataManager::Function shutdown)
{
    return std::find_if(libraries.begin(), libraries.end(),
                        [&](const Library& library) { return library.init == init && library.shutdown == shutdown; });
}

} // namespace

void StaticDataManager::AddLibrary(Function init, Function shutdown, i32 order)
{
    Registry& registry = GetRegistry();
    std::lock_guard guard(registry.lock);
    auto& libraries = registry.libraries;
    if (Find(libraries, init, shutdown) != libraries.end()) {
        return;
    }
    const auto behind =
        std::find_if(libraries.begin(), libraries.end(), [&](const Library& library) { return library.order > order; });
    libraries.insert(behind, Library{init, shutdown, order, false});
}

void StaticDataManager::RemoveLibrary(Function init, Function shutdown)
{
    Registry& registry = GetRegistry();
    std::lock_guard guard(registry.lock);
    const auto found = Find(registry.libraries, init, shutdown);
    if (found == registry.libraries.end()) {
        return;
    }
    const bool started = found->started;
    registry.libraries.erase(found);
    if (started && shutdown) {
        shutdown();
    }
}

void StaticDataManager::ProcessAccumulatedLibraries()
{
    Registry& registry = GetRegistry();
    std::lock_guard guard(registry.lock);
    for (;;) {
        // The list may change inside an init function, so each round looks from the front.
        const auto next = std::find_if(registry.libraries.begin(), registry.libraries.end(),
                                       [](const Library& library) { return !library.started; });
        if (next == registry.libraries.end()) {
            return;
        }
        next->started = true;
        if (next->init) {
            next->init();
        }
    }
}

} // namespace qs
