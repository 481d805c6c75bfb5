// Messages of the Vulkan validation layer, kept so that tests can fail on them. The layer is on when GLEAM_DEBUG
// lists `validation`.
#pragma once

#include <cstdint>
#include <string>

#include "gleam_platform_export.h"
#include "vulkan/Functions.h"

namespace gleam {

/// Callback of the debug messenger. Warnings and errors are kept and also written to the debugger output; the known
/// false reports (see ValidationLog.cpp) are dropped.
VkBool32 VKAPI_CALL OnValidationMessage(VkDebugUtilsMessageSeverityFlagBitsEXT severity,
                                        VkDebugUtilsMessageTypeFlagsEXT types,
                                        const VkDebugUtilsMessengerCallbackDataEXT* data, void* user);

/// Messages since the process began, also those taken already.
std::uint64_t ValidationMessageCount();

/// Takes all kept messages, one a line. At most 100 are kept; later ones are only counted.
std::string TakeValidationMessages();

} // namespace gleam

extern "C" {

/// For tests of other rooms: copies the kept messages into `text`, ended by a zero and cut to `capacity` bytes, forgets
/// them and gives how many there were. `text` may be null with a `capacity` of 0. Callable from any thread.
GLEAM_PLATFORM_API unsigned GleamPlatformTakeValidationMessages(char* text, unsigned capacity);

/// Whether a device of this process runs under the validation layer.
GLEAM_PLATFORM_API int GleamPlatformValidationActive();
}
