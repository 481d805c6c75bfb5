// Loads Vulkan's entry points.
#include "vulkan/Functions.h"

#include <dlfcn.h>
#include <initializer_list>

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
    // The loader unloads drivers and layers with their instance. What they keep then counts as leaked, from a module
    // that no suppression can name, and the thread checker refuses to go on; so they stay loaded.
    for (const char* name : {"libvulkan_lvp.so", "libVkLayer_khronos_validation.so"}) {
        dlopen(name, RTLD_NOW | RTLD_NODELETE);
    }
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
    GLEAM_VK_SURFACE_FUNCTIONS(GLEAM_VK_LOAD)
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
