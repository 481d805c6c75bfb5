// Shared by these tests: capture of debugger output, environment settings, reference counts.
#pragma once

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "common/ComPtr.h"
#include "gleam_platform_debug.h"

namespace gleam::test {

/// Collects the debugger output while it lives.
class DebugCapture
{
public:
    DebugCapture() { GleamPlatformSetDebugSink(Take, this); }
    ~DebugCapture() { GleamPlatformSetDebugSink(nullptr, nullptr); }

    /// The lines since the last call.
    std::vector<std::string> Lines()
    {
        std::lock_guard lock(m_mutex);
        return std::exchange(m_lines, {});
    }

private:
    static void Take(void* user, const char* text)
    {
        auto* self = static_cast<DebugCapture*>(user);
        std::lock_guard lock(self->m_mutex);
        self->m_lines.emplace_back(text);
    }

    std::mutex m_mutex;
    std::vector<std::string> m_lines;
};

/// Sets an environment variable, null to remove it, and puts the old value back.
class Environment
{
public:
    Environment(const char* name, const char* value) : m_name(name)
    {
        if (const char* old = std::getenv(name)) {
            m_old = old;
        }
        Apply(value);
    }
    ~Environment() { Apply(m_old ? m_old->c_str() : nullptr); }

private:
    void Apply(const char* value) { value ? setenv(m_name, value, 1) : unsetenv(m_name); }

    const char* m_name;
    std::optional<std::string> m_old;
};

template <class T>
ULONG RefCount(T* object)
{
    object->AddRef();
    return object->Release();
}

/// One outcome of a rule: success without a line, or a result with exactly one line that names call and rule.
struct Outcome
{
    HRESULT result = S_OK;
    const char* line = nullptr;
};

inline void ExpectOutcome(DebugCapture& capture, HRESULT actual, const Outcome& expected, const char* call)
{
    const std::vector<std::string> lines = capture.Lines();
    EXPECT_EQ(actual, expected.result);
    if (SUCCEEDED(expected.result)) {
        EXPECT_THAT(lines, testing::IsEmpty());
        return;
    }
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_THAT(lines[0], testing::StartsWith(std::string(call) + ": "));
    EXPECT_THAT(lines[0], testing::EndsWith("\n"));
    EXPECT_THAT(lines[0], testing::HasSubstr(expected.line));
}

} // namespace gleam::test
