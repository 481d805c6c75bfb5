// How Vulkan failures travel: thrown inside, turned into a published result at the interface.
#pragma once

#include "vulkan/Functions.h"
#include "windows.h"

namespace gleam {

/// A Vulkan call that failed, or a lost device. Never leaves this folder: every interface method catches it.
struct VulkanError
{
    VkResult result;
    const char* call; ///< static text
};

/// Throws for every failure; passes on the success codes.
inline VkResult Check(VkResult result, const char* call)
{
    if (result < 0) {
        throw VulkanError{result, call};
    }
    return result;
}

/// E_OUTOFMEMORY, DXGI_ERROR_DEVICE_REMOVED, DXGI_ERROR_UNSUPPORTED or E_FAIL.
HRESULT ToHresult(VkResult result);

} // namespace gleam
