// The process's Vulkan instance, shared by all devices and by the list of adapters.
#pragma once

#include <memory>
#include <vector>

#include "vulkan/Functions.h"

namespace gleam {

class Instance
{
public:
    /// The shared instance, made at the first call and again after its last holder let go. Null when the machine has
    /// no Vulkan 1.1 loader. GLEAM_DEBUG is read when it is made: `validation` switches the Khronos layer on, when it
    /// is installed. Callable from any thread.
    static std::shared_ptr<Instance> Get();

    /// Whether a live instance runs under the validation layer.
    static bool ValidationActive();

    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance();

    VkInstance Handle() const { return m_instance; }
    const InstanceFunctions& Functions() const { return m_functions; }

    /// In the loader's order; a device number of GLEAM_DEVICE indexes this list.
    const std::vector<VkPhysicalDevice>& PhysicalDevices() const { return m_physicalDevices; }

    /// Whether windows can be presented on, should the device and the window system agree.
    bool HasSurfaces() const { return m_hasSurfaces; }
    bool HasValidation() const { return m_validation; }
    /// Whether object names and labels reach anybody.
    bool HasDebugUtils() const { return m_functions.SetDebugUtilsObjectNameEXT != nullptr; }

private:
    Instance() = default;
    bool Create();
    std::vector<const char*> PickExtensions(bool& debugUtils);
    void CreateMessenger();

    GlobalFunctions m_global;
    InstanceFunctions m_functions;
    VkInstance m_instance = VK_NULL_HANDLE;
    VkDebugUtilsMessengerEXT m_messenger = VK_NULL_HANDLE;
    std::vector<VkPhysicalDevice> m_physicalDevices;
    bool m_validation = false;
    bool m_hasSurfaces = false;
};

} // namespace gleam
