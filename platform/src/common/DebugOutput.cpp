// Debugger output goes to a sink when one is set, and to the error stream when GLEAM_DEBUG lists `output`.
#include "DebugOutput.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "gleam_platform_debug.h"
#include "windows.h"

namespace {

struct Sink
{
    std::mutex mutex;
    GleamDebugSink call = nullptr;
    void* user = nullptr;
};

Sink& TheSink()
{
    // Never destroyed: objects released by other static destructors may still write.
    static Sink* sink = new Sink;
    return *sink;
}

} // namespace

namespace gleam {

std::optional<std::string> DebugValue(std::string_view name)
{
    const char* variable = std::getenv("GLEAM_DEBUG");
    std::string_view rest = variable ? variable : "";
    while (!rest.empty()) {
        const std::string_view entry = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
        const std::string_view key = entry.substr(0, entry.find('='));
        if (key == name) {
            return std::string(entry.substr(std::min(entry.size(), key.size() + 1)));
        }
    }
    return std::nullopt;
}

bool DebugSwitch(std::string_view name)
{
    return DebugValue(name).has_value();
}

void DebugLine(const char* format, ...)
{
    char text[2002];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof(text) - 1, format, arguments);
    va_end(arguments);
    if (length < 0) {
        return;
    }
    const size_t end = std::min<size_t>(length, sizeof(text) - 2);
    text[end] = '\n';
    text[end + 1] = '\0';
    OutputDebugStringA(text);
}

} // namespace gleam

void WINAPI OutputDebugStringA(LPCSTR text)
{
    if (!text) {
        return;
    }
    Sink& sink = TheSink();
    std::lock_guard lock(sink.mutex);
    if (sink.call) {
        sink.call(sink.user, text);
    }
    if (gleam::DebugSwitch("output")) {
        std::fputs(text, stderr);
    }
}

void GleamPlatformSetDebugSink(GleamDebugSink call, void* user)
{
    Sink& sink = TheSink();
    std::lock_guard lock(sink.mutex);
    sink.call = call;
    sink.user = user;
}
