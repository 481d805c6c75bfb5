// The part of the published system interface that the device back end needs: base types, records and a handful
// of calls, over SDL2 and the C library.
//
// Differences that a caller has to know:
// - WCHAR is wchar_t, which has four bytes here; wide texts are UTF-32.
// - LONG, ULONG, DWORD and HRESULT have 32 bits, as published, although `long` has 64.
// - HWND stands for an SDL_Window*; cast it where SDL is called.
#pragma once

#include <cstddef>
#include <cstdint>

#include "gleam_platform_export.h"
#include "guiddef.h"

#define STDMETHODCALLTYPE
#define WINAPI
#define STDMETHODCALLTYPE
#define APIENTRY
#ifndef EXTERN_C
#define EXTERN_C extern "C"
#endif
#define MAX_PATH 260

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

using BYTE = std::uint8_t;
using UINT8 = std::uint8_t;
using UINT16 = std::uint16_t;
using UINT32 = std::uint32_t;
using UINT64 = std::uint64_t;
using INT8 = std::int8_t;
using INT16 = std::int16_t;
using INT32 = std::int32_t;
using INT64 = std::int64_t;
using CHAR = char;
using WCHAR = wchar_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using DWORDLONG = std::uint64_t;
using ULONGLONG = std::uint64_t;
using LONGLONG = std::int64_t;
using INT = int;
using UINT = unsigned int;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using FLOAT = float;
using BOOL = int;
using WINBOOL = int;
using SIZE_T = std::size_t;
using UINT_PTR = std::uintptr_t;
using INT_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using HRESULT = std::int32_t;
using LPVOID = void*;
using PVOID = void*;
using LPCVOID = const void*;
using LPSTR = char*;
using LPCSTR = const char*;
using PCSTR = const char*;
using LPWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;
using PCWSTR = const wchar_t*;
using HANDLE = void*;

using HWND = struct HWND__*;
using HINSTANCE = struct HINSTANCE__*;
using HMODULE = HINSTANCE;
using HMONITOR = struct HMONITOR__*;
using HDC = struct HDC__*;

#include "winerror.h"

struct RECT
{
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};

struct POINT
{
    LONG x;
    LONG y;
};

struct SIZE
{
    LONG cx;
    LONG cy;
};

struct LUID
{
    DWORD LowPart;
    LONG HighPart;
};

union LARGE_INTEGER {
    struct
    {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};

struct SECURITY_ATTRIBUTES
{
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
};

// --- Message boxes -------------------------------------------------------------------------------------------

#define MB_OK 0x00000000u
#define MB_OKCANCEL 0x00000001u
#define MB_ABORTRETRYIGNORE 0x00000002u
#define MB_YESNOCANCEL 0x00000003u
#define MB_YESNO 0x00000004u
#define MB_RETRYCANCEL 0x00000005u
#define MB_ICONERROR 0x00000010u
#define MB_ICONHAND MB_ICONERROR
#define MB_ICONSTOP MB_ICONERROR
#define MB_ICONQUESTION 0x00000020u
#define MB_ICONWARNING 0x00000030u
#define MB_ICONEXCLAMATION MB_ICONWARNING
#define MB_ICONINFORMATION 0x00000040u
#define MB_ICONASTERISK MB_ICONINFORMATION
#define MB_SYSTEMMODAL 0x00001000u
#define MB_TASKMODAL 0x00002000u
#define MB_SETFOREGROUND 0x00010000u
#define MB_TOPMOST 0x00040000u

#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7

extern "C" {

/// Shows a box with the buttons of `type` and waits for one; returns the ID... of the button pressed.
/// Without a display, with SDL's "dummy" driver, or when GLEAM_DEBUG lists `no-message-box`, the title and text
/// go to the error stream instead and the call returns at once with the first button's value.
/// Null texts count as empty. Call it from the main thread when there is a display.
GLEAM_PLATFORM_API int WINAPI MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT type);

// --- Windows -------------------------------------------------------------------------------------------------

/// Outer rectangle of an SDL window (decoration included where the system tells it) in desktop coordinates.
/// FALSE, with ERROR_INVALID_WINDOW_HANDLE or ERROR_INVALID_PARAMETER, for a null window or rectangle.
GLEAM_PLATFORM_API BOOL WINAPI GetWindowRect(HWND window, RECT* rect);

// --- Modules -------------------------------------------------------------------------------------------------

#define GET_MODULE_HANDLE_EX_FLAG_PIN 0x1u
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 0x2u
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 0x4u

/// Modules built into this library are "d3d11.dll", "dxgi.dll" and "d3dcompiler_47.dll"; names compare without
/// regard to case. Any other name gives null with ERROR_MOD_NOT_FOUND: nothing is ever loaded from disk.
/// Each success adds one reference, which FreeLibrary takes back. Callable from any thread.
GLEAM_PLATFORM_API HMODULE WINAPI LoadLibraryW(LPCWSTR name);
GLEAM_PLATFORM_API HMODULE WINAPI LoadLibraryA(LPCSTR name);

/// Finds a built-in module that has been loaded. GET_MODULE_HANDLE_EX_FLAG_PIN keeps it loaded until the process
/// ends, GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT adds no reference, otherwise one is added.
/// A null name is refused with ERROR_INVALID_PARAMETER, as is GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS.
GLEAM_PLATFORM_API BOOL WINAPI GetModuleHandleExA(DWORD flags, LPCSTR name, HMODULE* module);
GLEAM_PLATFORM_API BOOL WINAPI FreeLibrary(HMODULE module);

// --- Processes, time and errors ------------------------------------------------------------------------------

/// Error of this thread's last failed call in this header.
GLEAM_PLATFORM_API DWORD WINAPI GetLastError();
GLEAM_PLATFORM_API void WINAPI SetLastError(DWORD error);

GLEAM_PLATFORM_API HANDLE WINAPI GetCurrentProcess();

/// Ends this process at once with `exitCode`: no destructors, no atexit functions. Only the handle of
/// GetCurrentProcess is taken; any other gives FALSE with ERROR_INVALID_HANDLE.
GLEAM_PLATFORM_API BOOL WINAPI TerminateProcess(HANDLE process, UINT exitCode);

GLEAM_PLATFORM_API void WINAPI Sleep(DWORD milliseconds);

/// Writes a text to the error stream when GLEAM_DEBUG lists `output`, and to the sink that a test may have set;
/// otherwise nothing. Callable from any thread.
GLEAM_PLATFORM_API void WINAPI OutputDebugStringA(LPCSTR text);
}

// --- System version ------------------------------------------------------------------------------------------

struct OSVERSIONINFOEXW
{
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    WCHAR szCSDVersion[128];
    WORD wServicePackMajor;
    WORD wServicePackMinor;
    WORD wSuiteMask;
    BYTE wProductType;
    BYTE wReserved;
};
using LPOSVERSIONINFOEXW = OSVERSIONINFOEXW*;

#define VER_EQUAL 1
#define VER_GREATER 2
#define VER_GREATER_EQUAL 3
#define VER_LESS 4
#define VER_LESS_EQUAL 5

#define VER_MINORVERSION 0x0000001u
#define VER_MAJORVERSION 0x0000002u
#define VER_BUILDNUMBER 0x0000004u
#define VER_PLATFORMID 0x0000008u
#define VER_SERVICEPACKMINOR 0x0000010u
#define VER_SERVICEPACKMAJOR 0x0000020u

#define VER_SET_CONDITION(mask, type, condition) ((mask) = VerSetConditionMask((mask), (type), (condition)))

extern "C" {

/// Adds to `mask` the comparison `condition` (VER_EQUAL...) for the one version field `typeMask`.
GLEAM_PLATFORM_API ULONGLONG WINAPI VerSetConditionMask(ULONGLONG mask, DWORD typeMask, BYTE condition);

/// Compares the fields that `typeMask` names with this platform's version, which is 10.0.19045 without service
/// pack. Major version, minor version and service pack compare as one number, most significant first, when their
/// conditions are ordering ones. FALSE with ERROR_OLD_WIN_VERSION when a condition fails.
GLEAM_PLATFORM_API BOOL WINAPI VerifyVersionInfoW(LPOSVERSIONINFOEXW info, DWORD typeMask, DWORDLONG conditions);
}
