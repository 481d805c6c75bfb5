// Errors, processes, time and the system's version.
#include <chrono>
#include <cstdio>
#include <thread>

#include <unistd.h>

#include "windows.h"

namespace gleam {
namespace {

thread_local DWORD LastError = ERROR_SUCCESS;

/// The version that this platform behaves like.
constexpr DWORD MajorVersion = 10;
constexpr DWORD MinorVersion = 0;
constexpr DWORD BuildNumber = 19045;
constexpr DWORD PlatformId = 2;

/// The value of GetCurrentProcess, as published.
HANDLE ThisProcess()
{
    return reinterpret_cast<HANDLE>(static_cast<INT_PTR>(-1));
}

/// Place of a version field's three condition bits: the number of its type bit.
int ConditionShift(DWORD type)
{
    return 3 * __builtin_ctz(type);
}

BYTE ConditionOf(DWORDLONG conditions, DWORD type)
{
    return static_cast<BYTE>(conditions >> ConditionShift(type) & 7);
}

bool Holds(DWORD actual, BYTE condition, DWORD wanted)
{
    switch (condition) {
    case VER_EQUAL:
        return actual == wanted;
    case VER_GREATER:
        return actual > wanted;
    case VER_GREATER_EQUAL:
        return actual >= wanted;
    case VER_LESS:
        return actual < wanted;
    case VER_LESS_EQUAL:
        return actual <= wanted;
    default:
        return false;
    }
}

struct Field
{
    DWORD type;
    DWORD actual;
    DWORD wanted;
};

/// Version and service pack as one number: the first field that differs decides.
bool VersionHolds(const OSVERSIONINFOEXW& info, DWORD types, DWORDLONG conditions)
{
    const Field fields[] = {{VER_MAJORVERSION, MajorVersion, info.dwMajorVersion},
                            {VER_MINORVERSION, MinorVersion, info.dwMinorVersion},
                            {VER_SERVICEPACKMAJOR, 0, info.wServicePackMajor},
                            {VER_SERVICEPACKMINOR, 0, info.wServicePackMinor}};
    bool holds = true;
    for (const Field& field : fields) {
        if ((types & field.type) == 0) {
            continue;
        }
        const BYTE condition = ConditionOf(conditions, field.type);
        holds = Holds(field.actual, condition, field.wanted);
        if (field.actual != field.wanted) {
            return holds;
        }
    }
    return holds;
}

} // namespace
} // namespace gleam

DWORD WINAPI GetLastError()
{
    return gleam::LastError;
}

void WINAPI SetLastError(DWORD error)
{
    gleam::LastError = error;
}

HANDLE WINAPI GetCurrentProcess()
{
    return gleam::ThisProcess();
}

BOOL WINAPI TerminateProcess(HANDLE process, UINT exitCode)
{
    if (process != gleam::ThisProcess()) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    std::fflush(nullptr);
    _exit(static_cast<int>(exitCode));
}

void WINAPI Sleep(DWORD milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

ULONGLONG WINAPI VerSetConditionMask(ULONGLONG mask, DWORD typeMask, BYTE condition)
{
    if (typeMask == 0) {
        return mask;
    }
    return mask | static_cast<ULONGLONG>(condition & 7) << gleam::ConditionShift(typeMask);
}

BOOL WINAPI VerifyVersionInfoW(LPOSVERSIONINFOEXW info, DWORD typeMask, DWORDLONG conditions)
{
    constexpr DWORD known = VER_MINORVERSION | VER_MAJORVERSION | VER_BUILDNUMBER | VER_PLATFORMID |
                            VER_SERVICEPACKMINOR | VER_SERVICEPACKMAJOR;
    if (!info || typeMask == 0 || (typeMask & ~known) != 0 || conditions == 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const gleam::Field others[] = {{VER_BUILDNUMBER, gleam::BuildNumber, info->dwBuildNumber},
                                   {VER_PLATFORMID, gleam::PlatformId, info->dwPlatformId}};
    bool holds = gleam::VersionHolds(*info, typeMask, conditions);
    for (const gleam::Field& field : others) {
        if ((typeMask & field.type) != 0) {
            holds = holds && gleam::Holds(field.actual, gleam::ConditionOf(conditions, field.type), field.wanted);
        }
    }
    if (!holds) {
        SetLastError(ERROR_OLD_WIN_VERSION);
    }
    return holds;
}
