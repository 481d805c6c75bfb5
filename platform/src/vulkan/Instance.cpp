// Makes the shared Vulkan instance.
#include "vulkan/Instance.h"

#include <cstdlib>
#include <cstring>
#include <mutex>

#include "common/DebugOutput.h"
#include "vulkan/ValidationLog.h"

namespace gleam {
namespace {

constexpr const char* ValidationLayer = "VK_LAYER_KHRONOS_validation";

std::mutex s_mutex;
std::weak_ptr<Instance> s_instance;

VkDebugUtilsMessengerCreateInfoEXT MessengerInfo()
{
    VkDebugUtilsMessengerCreateInfoEXT info{VK_STRUCTURE_TYPE_DEBUG_UTILS_MESSENGER_CREATE_INFO_EXT};
    info.messageSeverity =
        VK_DEBUG_UTILS_MESSAGE_SEVERITY_WARNING_BIT_EXT | VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT;
    info.messageType = VK_DEBUG_UTILS_MESSAGE_TYPE_VALIDATION_BIT_EXT;
    info.pfnUserCallback = OnValidationMessage;
    return info;
}

bool HasLayer(const GlobalFunctions& vk, const char* name)
{
    uint32_t count = 0;
    vk.EnumerateInstanceLayerProperties(&count, nullptr);
    std::vector<VkLayerProperties> layers(count);
    vk.EnumerateInstanceLayerProperties(&count, layers.data());
    for (const VkLayerProperties& layer : layers) {
        if (std::strcmp(layer.layerName, name) == 0) {
            return true;
        }
    }
    return false;
}

bool HasExtension(const GlobalFunctions& vk, const char* layer, const char* name)
{
    uint32_t count = 0;
    vk.EnumerateInstanceExtensionProperties(layer, &count, nullptr);
    std::vector<VkExtensionProperties> extensions(count);
    vk.EnumerateInstanceExtensionProperties(layer, &count, extensions.data());
    for (const VkExtensionProperties& extension : extensions) {
        if (std::strcmp(extension.extensionName, name) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

std::shared_ptr<Instance> Instance::Get()
{
    std::lock_guard lock(s_mutex);
    if (auto live = s_instance.lock()) {
        return live;
    }
    std::shared_ptr<Instance> made(new Instance);
    if (!made->Create()) {
        return nullptr;
    }
    s_instance = made;
    return made;
}

bool Instance::ValidationActive()
{
    std::lock_guard lock(s_mutex);
    const auto live = s_instance.lock();
    return live && live->m_validation;
}

bool Instance::Create()
{
    if (!m_global.Load()) {
        DebugLine("Vulkan: no loader (libvulkan.so.1) on this machine");
        return false;
    }
    const bool wanted = DebugSwitch("validation");
    m_validation = wanted && HasLayer(m_global, ValidationLayer);
    if (wanted && !m_validation) {
        DebugLine("Vulkan: GLEAM_DEBUG asks for validation, but %s is not installed", ValidationLayer);
    }
    bool debugUtils = false;
    const std::vector<const char*> extensions = PickExtensions(debugUtils);

    VkApplicationInfo application{VK_STRUCTURE_TYPE_APPLICATION_INFO};
    application.pEngineName = "Gleamwork";
    application.apiVersion = VK_API_VERSION_1_3;
    VkInstanceCreateInfo info{VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO};
    info.pApplicationInfo = &application;
    info.enabledLayerCount = m_validation;
    info.ppEnabledLayerNames = &ValidationLayer;
    info.enabledExtensionCount = static_cast<uint32_t>(extensions.size());
    info.ppEnabledExtensionNames = extensions.data();
    const VkResult result = m_global.CreateInstance(&info, nullptr, &m_instance);
    if (result != VK_SUCCESS || !m_functions.Load(m_global, m_instance)) {
        DebugLine("Vulkan: vkCreateInstance failed (%d)", result);
        return false;
    }
    if (debugUtils) {
        CreateMessenger();
    }
    uint32_t count = 0;
    m_functions.EnumeratePhysicalDevices(m_instance, &count, nullptr);
    m_physicalDevices.resize(count);
    m_functions.EnumeratePhysicalDevices(m_instance, &count, m_physicalDevices.data());
    m_physicalDevices.resize(count);
    return true;
}

// Surfaces of every window system that the loader knows: which one SDL runs on shows only when a window is there.
std::vector<const char*> Instance::PickExtensions(bool& debugUtils)
{
    debugUtils = HasExtension(m_global, nullptr, VK_EXT_DEBUG_UTILS_EXTENSION_NAME) ||
                 (m_validation && HasExtension(m_global, ValidationLayer, VK_EXT_DEBUG_UTILS_EXTENSION_NAME));
    std::vector<const char*> extensions;
    if (debugUtils) {
        extensions.push_back(VK_EXT_DEBUG_UTILS_EXTENSION_NAME);
    }
    m_hasSurfaces = HasExtension(m_global, nullptr, VK_KHR_SURFACE_EXTENSION_NAME);
    if (!m_hasSurfaces) {
        return extensions;
    }
    extensions.push_back(VK_KHR_SURFACE_EXTENSION_NAME);
    const auto add = [&](const char* name) {
        if (HasExtension(m_global, nullptr, name)) {
            extensions.push_back(name);
        }
    };
    for (const char* name :
         {"VK_KHR_xlib_surface", "VK_KHR_xcb_surface", "VK_KHR_display", "VK_EXT_swapchain_colorspace"}) {
        add(name);
    }
    // Layers that see it connect to Wayland at once and complain on the error stream where there is none.
    if (std::getenv("XDG_RUNTIME_DIR")) {
        add("VK_KHR_wayland_surface");
    }
    return extensions;
}

void Instance::CreateMessenger()
{
    const VkDebugUtilsMessengerCreateInfoEXT info = MessengerInfo();
    if (m_functions.CreateDebugUtilsMessengerEXT(m_instance, &info, nullptr, &m_messenger) != VK_SUCCESS) {
        m_messenger = VK_NULL_HANDLE;
    }
}

Instance::~Instance()
{
    if (m_messenger) {
        m_functions.DestroyDebugUtilsMessengerEXT(m_instance, m_messenger, nullptr);
    }
    if (m_instance && m_functions.DestroyInstance) {
        m_functions.DestroyInstance(m_instance, nullptr);
    }
}

} // namespace gleam
