// The modules that programs load by name are parts of this library.
#include <atomic>
#include <string>
#include <string_view>

#include "windows.h"

namespace gleam {
namespace {

struct Module
{
    std::string_view name;
    std::atomic<int> references;
    std::atomic<bool> isPinned;
};

Module Modules[] = {{"d3d11.dll", 0, false}, {"dxgi.dll", 0, false}, {"d3dcompiler_47.dll", 0, false}};

char LowerAscii(wchar_t character)
{
    if (character >= L'A' && character <= L'Z') {
        return static_cast<char>(character - L'A' + 'a');
    }
    return character > 0 && character < 128 ? static_cast<char>(character) : '?';
}

template <class Char>
Module* FindModule(const Char* name)
{
    std::string lower;
    for (const Char* c = name; *c; ++c) {
        lower.push_back(LowerAscii(static_cast<wchar_t>(static_cast<std::make_unsigned_t<Char>>(*c))));
    }
    if (lower.find('.') == std::string::npos) {
        lower += ".dll";
    }
    for (Module& module : Modules) {
        if (module.name == lower) {
            return &module;
        }
    }
    return nullptr;
}

Module* FromHandle(HMODULE handle)
{
    for (Module& module : Modules) {
        if (reinterpret_cast<HMODULE>(&module) == handle) {
            return &module;
        }
    }
    return nullptr;
}

template <class Char>
HMODULE LoadByName(const Char* name)
{
    if (!name) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    Module* module = FindModule(name);
    if (!module) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    ++module->references;
    return reinterpret_cast<HMODULE>(module);
}

} // namespace
} // namespace gleam

HMODULE WINAPI LoadLibraryW(LPCWSTR name)
{
    return gleam::LoadByName(name);
}

HMODULE WINAPI LoadLibraryA(LPCSTR name)
{
    return gleam::LoadByName(name);
}

BOOL WINAPI GetModuleHandleExA(DWORD flags, LPCSTR name, HMODULE* handle)
{
    constexpr DWORD pin = GET_MODULE_HANDLE_EX_FLAG_PIN;
    constexpr DWORD unchanged = GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (handle) {
        *handle = nullptr;
    }
    if (!handle || !name || (flags & ~(pin | unchanged)) != 0 || flags == (pin | unchanged)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    gleam::Module* module = gleam::FindModule(name);
    if (!module || (module->references == 0 && !module->isPinned)) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return FALSE;
    }
    if (flags == pin) {
        module->isPinned = true;
    } else if (flags == 0) {
        ++module->references;
    }
    *handle = reinterpret_cast<HMODULE>(module);
    return TRUE;
}

BOOL WINAPI FreeLibrary(HMODULE handle)
{
    gleam::Module* module = gleam::FromHandle(handle);
    int references = module ? module->references.load() : 0;
    // A pinned module stays found without references.
    while (references > 0 && !module->references.compare_exchange_weak(references, references - 1)) {
    }
    if (!module || (references == 0 && !module->isPinned)) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return TRUE;
}
