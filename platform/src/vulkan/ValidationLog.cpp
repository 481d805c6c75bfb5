// Collects validation messages and knows which of them are wrong.
#include "vulkan/ValidationLog.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <string_view>
#include <vector>

#include "common/DebugOutput.h"
#include "vulkan/Instance.h"

namespace gleam {
namespace {

struct FalseReport
{
    std::string_view id;
    std::string_view reason;
};

// Reports of layer version 1.3.239 that sound use provokes.
constexpr FalseReport FalseReports[] = {
    {"VUID-VkGraphicsPipelineCreateInfo-Vertex-07722",
     "wants PointSize written for point lists; unwritten it is 1, which VK_KHR_maintenance5 made the rule"},
};

constexpr std::size_t KeptMessages = 100;

std::mutex s_mutex;
std::vector<std::string> s_messages;
std::atomic<std::uint64_t> s_count{0};
std::uint64_t s_taken = 0;

bool IsFalseReport(const char* id)
{
    return id && std::any_of(std::begin(FalseReports), std::end(FalseReports),
                             [&](const FalseReport& report) { return report.id == id; });
}

} // namespace

VkBool32 VKAPI_CALL OnValidationMessage(VkDebugUtilsMessageSeverityFlagBitsEXT severity,
                                        VkDebugUtilsMessageTypeFlagsEXT types,
                                        const VkDebugUtilsMessengerCallbackDataEXT* data, void*)
{
    if (!(types & VK_DEBUG_UTILS_MESSAGE_TYPE_VALIDATION_BIT_EXT) || IsFalseReport(data->pMessageIdName)) {
        return VK_FALSE;
    }
    const char* text = data->pMessage ? data->pMessage : "";
    DebugLine("Vulkan validation: %s", text);
    std::lock_guard lock(s_mutex);
    ++s_count;
    if (s_messages.size() < KeptMessages) {
        s_messages.emplace_back(text);
    }
    return VK_FALSE;
}

std::uint64_t ValidationMessageCount()
{
    return s_count;
}

std::string TakeValidationMessages()
{
    std::lock_guard lock(s_mutex);
    std::string all;
    for (const std::string& message : s_messages) {
        all += message;
        all += '\n';
    }
    s_messages.clear();
    s_taken = s_count;
    return all;
}

} // namespace gleam

unsigned GleamPlatformTakeValidationMessages(char* text, unsigned capacity)
{
    std::uint64_t fresh;
    {
        std::lock_guard lock(gleam::s_mutex);
        fresh = gleam::s_count - gleam::s_taken;
    }
    const std::string all = gleam::TakeValidationMessages();
    if (text && capacity > 0) {
        const std::size_t length = std::min<std::size_t>(all.size(), capacity - 1);
        std::memcpy(text, all.data(), length);
        text[length] = 0;
    }
    return static_cast<unsigned>(fresh);
}

int GleamPlatformValidationActive()
{
    return gleam::Instance::ValidationActive();
}
