// Loads Vulkan's entry points.
#include "vulkan/Functions.h"

#include <dlfcn.h>

namespace gleam {

bool GlobalFunctions::Load()
{
    // Never closed: drivers and layers keep threads and exit handlers of their own.
    static void* const library = [] {
        void* found = dlopen("libvulkan.so.1", RTLD_NOW | RTLD_LOCAL);
        return found ? found : dlopen("libvulkan.so", RTLD_NOW | RTLD_LOCAL);
    }();
    if (!library) {
        return false;
    }
#ifdef GLEAM_SANITIZE
    // The loader unloads drivers with their instance. What the processor device's driver keeps then counts as leaked,
    // from a module that no suppression can name; so it stays loaded.
    [[maybe_unused]] static void* const driver = dlopen("libvulkan_lvp.so", RTLD_NOW | RTLD_NODELETE);
#endif
    GetInstanceProcAddr = reinterpret_cast<PFN_vkGetInstanceProcAddr>(dlsym(library, "vkGetInstanceProcAddr"));
    if (!GetInstanceProcAddr) {
        return false;
    }
    bool complete = true;
#define GLEAM_VK_LOAD(name)                                                                                            \
    name = reinterpret_cast<PFN_vk##name>(GetInstanceProcAddr(nullptr, "vk" #name));                                   \
    complete = complete && name;
    GLEAM_VK_GLOBAL_FUNCTIONS(GLEAM_VK_LOAD)
#undef GLEAM_VK_LOAD
    return complete;
}

bool InstanceFunctions::Load(const GlobalFunctions& global, VkInstance instance)
{
    bool complete = true;
#define GLEAM_VK_LOAD(name)                                                                                            \
    name = reinterpret_cast<PFN_vk##name>(global.GetInstanceProcAddr(instance, "vk" #name));                           \
    complete = complete && name;
    GLEAM_VK_INSTANCE_FUNCTIONS(GLEAM_VK_LOAD)
    const bool required = complete;
    GLEAM_VK_DEBUG_FUNCTIONS(GLEAM_VK_LOAD)
#undef GLEAM_VK_LOAD
    return required;
}

bool DeviceFunctions::Load(PFN_vkGetDeviceProcAddr get, VkDevice device)
{
    bool complete = true;
#define GLEAM_VK_LOAD(name)                                                                                            \
    name = reinterpret_cast<PFN_vk##name>(get(device, "vk" #name));                                                    \
    complete = complete && name;
    GLEAM_VK_DEVICE_FUNCTIONS(GLEAM_VK_LOAD)
    const bool required = complete;
    GLEAM_VK_OPTIONAL_FUNCTIONS(GLEAM_VK_LOAD)
#undef GLEAM_VK_LOAD
    return required;
}

} // namespace gleam
