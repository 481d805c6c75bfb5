// System calls, debugger output and private data.
#include <SDL.h>

#include <cstring>

#include "Support.h"
#include "common/DebugOutput.h"
#include "common/PrivateData.h"
#include "dxgi.h"
#include "windows.h"

namespace gleam {
namespace {

using test::DebugCapture;
using test::Environment;
using test::RefCount;

TEST(Modules, OnlyBuiltInOnesLoad)
{
    HMODULE module = nullptr;
    EXPECT_FALSE(GetModuleHandleExA(0, "d3d11.dll", &module)) << "not loaded yet";
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    const HMODULE loaded = LoadLibraryW(L"D3D11.DLL");
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(GetModuleHandleExA(0, "d3d11", &module));
    EXPECT_EQ(module, loaded);
    EXPECT_TRUE(FreeLibrary(loaded));
    EXPECT_TRUE(FreeLibrary(loaded));
    EXPECT_FALSE(FreeLibrary(loaded)) << "both references are gone";
    EXPECT_FALSE(GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, "d3d11.dll", &module));

    for (const wchar_t* name : {L"kernel32.dll", L"", L"/etc/passwd", L"d3d11.dll\u0100", L"\u0164\u0133d11.dll"}) {
        SetLastError(0);
        EXPECT_FALSE(LoadLibraryW(name));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    }
    EXPECT_FALSE(LoadLibraryA(nullptr));
    EXPECT_FALSE(FreeLibrary(nullptr));
}

TEST(Modules, PinnedOnesStay)
{
    const HMODULE compiler = LoadLibraryW(L"d3dcompiler_47.dll");
    ASSERT_TRUE(compiler);
    HMODULE pinned = nullptr;
    ASSERT_TRUE(GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN, "d3dcompiler_47.dll", &pinned));
    EXPECT_EQ(pinned, compiler);
    EXPECT_TRUE(FreeLibrary(compiler));
    EXPECT_TRUE(FreeLibrary(compiler));
    EXPECT_TRUE(GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN, "d3dcompiler_47.dll", &pinned));
    EXPECT_FALSE(GetModuleHandleExA(3, "d3dcompiler_47.dll", &pinned)) << "pin and unchanged exclude each other";
    EXPECT_EQ(pinned, nullptr);
    EXPECT_FALSE(GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, "dxgi.dll", &pinned));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

bool IsAtLeast(DWORD major, DWORD minor, WORD servicePack)
{
    OSVERSIONINFOEXW info{};
    info.dwOSVersionInfoSize = sizeof(info);
    info.dwMajorVersion = major;
    info.dwMinorVersion = minor;
    info.wServicePackMajor = servicePack;
    DWORDLONG mask = 0;
    VER_SET_CONDITION(mask, VER_MAJORVERSION, VER_GREATER_EQUAL);
    VER_SET_CONDITION(mask, VER_MINORVERSION, VER_GREATER_EQUAL);
    VER_SET_CONDITION(mask, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
    return VerifyVersionInfoW(&info, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR, mask);
}

TEST(Version, ComparesAsOneNumber)
{
    EXPECT_TRUE(IsAtLeast(6, 1, 1)) << "a smaller major version settles it, whatever follows";
    EXPECT_TRUE(IsAtLeast(6, 3, 0));
    EXPECT_TRUE(IsAtLeast(10, 0, 0));
    EXPECT_FALSE(IsAtLeast(10, 0, 1));
    EXPECT_FALSE(IsAtLeast(10, 1, 0));
    EXPECT_FALSE(IsAtLeast(11, 0, 0));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_OLD_WIN_VERSION));

    OSVERSIONINFOEXW info{};
    info.dwBuildNumber = 17134;
    const DWORDLONG newer = VerSetConditionMask(0, VER_BUILDNUMBER, VER_GREATER);
    EXPECT_TRUE(VerifyVersionInfoW(&info, VER_BUILDNUMBER, newer));
    const DWORDLONG equal = VerSetConditionMask(0, VER_BUILDNUMBER, VER_EQUAL);
    EXPECT_FALSE(VerifyVersionInfoW(&info, VER_BUILDNUMBER, equal));
    EXPECT_FALSE(VerifyVersionInfoW(&info, 0, newer));
    EXPECT_FALSE(VerifyVersionInfoW(nullptr, VER_BUILDNUMBER, newer));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(MessageBox, WritesToTheErrorStreamWhenNobodyCanSeeIt)
{
    for (const char* setting : {"no-message-box", "virtual-output"}) {
        const Environment environment("GLEAM_DEBUG", setting);
        testing::internal::CaptureStderr();
        EXPECT_EQ(MessageBoxA(nullptr, "Out of paper.\n", "Printer", MB_RETRYCANCEL | MB_ICONERROR), IDRETRY);
        EXPECT_EQ(MessageBoxA(nullptr, nullptr, nullptr, MB_OK), IDOK);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "Printer: Out of paper.\n: \n");
    }
}

TEST(Windows, RectangleOfAnSdlWindow)
{
    RECT rect{};
    EXPECT_FALSE(GetWindowRect(nullptr, &rect));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
    const Environment driver("SDL_VIDEODRIVER", "dummy");
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0);
    SDL_Window* window = SDL_CreateWindow("w", 30, 40, 200, 100, SDL_WINDOW_BORDERLESS);
    ASSERT_TRUE(window);
    EXPECT_TRUE(GetWindowRect(reinterpret_cast<HWND>(window), &rect));
    EXPECT_EQ(rect.left, 30);
    EXPECT_EQ(rect.top, 40);
    EXPECT_EQ(rect.right, 230);
    EXPECT_EQ(rect.bottom, 140);
    EXPECT_FALSE(GetWindowRect(reinterpret_cast<HWND>(window), nullptr));
    SDL_DestroyWindow(window);
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

TEST(Process, EndsWithItsCode)
{
    EXPECT_FALSE(TerminateProcess(nullptr, 1));
    EXPECT_EXIT(TerminateProcess(GetCurrentProcess(), 7), testing::ExitedWithCode(7), "");
}

TEST(DebugOutput, SwitchesAndSink)
{
    const Environment environment("GLEAM_DEBUG", "markers,lose-device=12,output-everything");
    EXPECT_TRUE(DebugSwitch("markers"));
    EXPECT_FALSE(DebugSwitch("mark"));
    EXPECT_FALSE(DebugSwitch("output")) << "a switch is a whole entry";
    EXPECT_EQ(DebugValue("lose-device"), "12");
    EXPECT_EQ(DebugValue("markers"), "");
    EXPECT_EQ(DebugValue("validation"), std::nullopt);

    DebugCapture capture;
    testing::internal::CaptureStderr();
    DebugLine("%s", std::string(5000, 'x').c_str());
    const std::vector<std::string> lines = capture.Lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].size(), 2001u);
    EXPECT_EQ(lines[0].back(), '\n');
    {
        const Environment output("GLEAM_DEBUG", "a,output");
        OutputDebugStringA("seen");
        OutputDebugStringA(nullptr);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "seen");
}

TEST(PrivateDataTest, BytesAndObjects)
{
    const Environment display("GLEAM_DEBUG", "virtual-output");
    const Environment device("GLEAM_DEVICE", "null");
    constexpr GUID name = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    ComPtr<IDXGIFactory> object;
    ASSERT_EQ(CreateDXGIFactory(IID_IDXGIFactory, object.PutVoid()), S_OK);
    PrivateData data;
    char text[8] = "?";
    UINT size = sizeof(text);
    EXPECT_EQ(data.Get(name, &size, text), DXGI_ERROR_NOT_FOUND);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(data.Set(name, 4, "abc"), S_OK);
    EXPECT_EQ(data.Get(name, &size, nullptr), S_OK);
    EXPECT_EQ(size, 4u);
    size = 3;
    EXPECT_EQ(data.Get(name, &size, text), DXGI_ERROR_MORE_DATA);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(data.Get(name, &size, text), S_OK);
    EXPECT_STREQ(text, "abc");

    EXPECT_EQ(data.SetInterface(name, object.Get()), S_OK);
    EXPECT_EQ(RefCount(object.Get()), 2u);
    ComPtr<IUnknown> found;
    size = sizeof(void*);
    EXPECT_EQ(data.Get(name, &size, found.PutVoid()), S_OK);
    EXPECT_EQ(RefCount(object.Get()), 3u) << "an object is given with a reference";
    found = nullptr;
    EXPECT_EQ(data.Set(name, 0, nullptr), S_OK);
    EXPECT_EQ(RefCount(object.Get()), 1u);
    EXPECT_EQ(data.Get(name, &size, nullptr), DXGI_ERROR_NOT_FOUND);
    EXPECT_EQ(data.Set(name, 4, nullptr), E_INVALIDARG);
    EXPECT_EQ(data.Get(name, nullptr, nullptr), E_INVALIDARG);
}

} // namespace
} // namespace gleam
