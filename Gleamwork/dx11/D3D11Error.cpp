// The table of result codes. Names and values are those of the published system, DXGI and Direct3D error headers.
#include "Gleamwork/dx11/D3D11Error.h"

#include <cstdint>
#include <cstdio>

#include <windows.h>

namespace api {
namespace {

struct ErrorText
{
    std::uint32_t code;
    const char* name;
    const char* description;
};

// Values are spelled out where a header of one of the systems lacks the name.
constexpr ErrorText ERROR_TEXTS[] = {
    {0x00000000u, "S_OK", "The call succeeded."},
    {0x00000001u, "S_FALSE", "The call succeeded, but its result is not there yet or not the usual one."},

    {0x8000000au, "E_PENDING", "The data that the call needs is not available yet."},
    {0x8000ffffu, "E_UNEXPECTED", "Something happened that cannot happen at this point."},
    {0x80004001u, "E_NOTIMPL", "The object does not offer this operation."},
    {0x80004002u, "E_NOINTERFACE", "The object does not have the interface that was asked for."},
    {0x80004003u, "E_POINTER", "A pointer that must be given is null or invalid."},
    {0x80004004u, "E_ABORT", "The operation was aborted."},
    {0x80004005u, "E_FAIL", "The call failed without telling why."},
    {0x80070002u, "ERROR_FILE_NOT_FOUND", "The file does not exist."},
    {0x80070003u, "ERROR_PATH_NOT_FOUND", "A folder of the path does not exist."},
    {0x80070005u, "E_ACCESSDENIED", "Access was denied."},
    {0x80070006u, "E_HANDLE", "The handle is invalid."},
    {0x8007000eu, "E_OUTOFMEMORY", "Memory ran out."},
    {0x80070017u, "ERROR_CRC", "The data is damaged: its checksum is wrong."},
    {0x8007001du, "ERROR_WRITE_FAULT", "The system could not write to the file or device."},
    {0x8007001eu, "ERROR_READ_FAULT", "The system could not read from the file or device."},
    {0x80070020u, "ERROR_SHARING_VIOLATION", "Another process uses the file."},
    {0x80070026u, "ERROR_HANDLE_EOF", "The data ends before it should."},
    {0x80070032u, "ERROR_NOT_SUPPORTED", "The request is not supported."},
    {0x80070052u, "ERROR_CANNOT_MAKE", "The file or folder cannot be made."},
    {0x80070057u, "E_INVALIDARG", "One or more arguments are invalid."},
    {0x80070070u, "ERROR_DISK_FULL", "The disk is full."},
    {0x8007007bu, "ERROR_INVALID_NAME", "The name of the file or folder is not valid."},
    {0x8007007eu, "ERROR_MOD_NOT_FOUND", "A library that the call needs was not found."},
    {0x8007007fu, "ERROR_PROC_NOT_FOUND", "A library lacks a function that the call needs."},
    {0x800700dfu, "ERROR_FILE_TOO_LARGE", "The file is larger than the limit."},
    {0x80070216u, "ERROR_ARITHMETIC_OVERFLOW", "A size does not fit into its number type."},
    {0x8007000du, "ERROR_INVALID_DATA", "The data is invalid."},
    {0x80070459u, "ERROR_NO_UNICODE_TRANSLATION", "A text holds a character that cannot be converted."},
    {0x8007045du, "ERROR_IO_DEVICE", "An input or output device failed."},
    {0x80070490u, "ERROR_NOT_FOUND", "The element was not found."},
    {0x80070578u, "ERROR_INVALID_WINDOW_HANDLE", "The window handle is invalid."},
    {0x80040110u, "CLASS_E_NOAGGREGATION", "The class cannot be made part of another object."},
    {0x80040111u, "CLASS_E_CLASSNOTAVAILABLE", "The class is not available."},
    {0x80040154u, "REGDB_E_CLASSNOTREG", "The class is not registered."},
    {0x800401f0u, "CO_E_NOTINITIALIZED", "The component library was not initialised on this thread."},

    {0x087a0001u, "DXGI_STATUS_OCCLUDED", "The window is hidden, so presenting shows nothing."},
    {0x087a0002u, "DXGI_STATUS_CLIPPED", "A part of the window is hidden."},
    {0x087a0004u, "DXGI_STATUS_NO_REDIRECTION", "The present cannot be redirected."},
    {0x087a0005u, "DXGI_STATUS_NO_DESKTOP_ACCESS", "The desktop cannot be reached, for example while it is locked."},
    {0x087a0006u, "DXGI_STATUS_GRAPHICS_VIDPN_SOURCE_IN_USE", "Another device drives this output already."},
    {0x087a0007u, "DXGI_STATUS_MODE_CHANGED", "The display mode has changed."},
    {0x087a0008u, "DXGI_STATUS_MODE_CHANGE_IN_PROGRESS", "The display mode is being changed."},
    {0x087a0009u, "DXGI_STATUS_UNOCCLUDED", "The window can be seen again."},
    {0x087a000au, "DXGI_STATUS_DDA_WAS_STILL_DRAWING", "The device was still drawing."},
    {0x087a002fu, "DXGI_STATUS_PRESENT_REQUIRED", "The content has to be presented again."},

    {0x887a0001u, "DXGI_ERROR_INVALID_CALL", "The call or its arguments are invalid in the object's present state."},
    {0x887a0002u, "DXGI_ERROR_NOT_FOUND", "There is no such object, or the list ends here."},
    {0x887a0003u, "DXGI_ERROR_MORE_DATA", "The buffer is too small for the data."},
    {0x887a0004u, "DXGI_ERROR_UNSUPPORTED", "The device or driver does not support the request."},
    {0x887a0005u, "DXGI_ERROR_DEVICE_REMOVED", "The graphics device was removed, reset or its driver was updated."},
    {0x887a0006u, "DXGI_ERROR_DEVICE_HUNG", "The graphics device stopped answering because of badly formed commands."},
    {0x887a0007u, "DXGI_ERROR_DEVICE_RESET", "The graphics device failed on a badly formed command and was reset."},
    {0x887a000au, "DXGI_ERROR_WAS_STILL_DRAWING", "The graphics device is still busy with the resource."},
    {0x887a000bu, "DXGI_ERROR_FRAME_STATISTICS_DISJOINT", "An event broke the gathering of frame statistics."},
    {0x887a000cu, "DXGI_ERROR_GRAPHICS_VIDPN_SOURCE_IN_USE", "Another application owns the output exclusively."},
    {0x887a0020u, "DXGI_ERROR_DRIVER_INTERNAL_ERROR", "The graphics driver is in a state from which it cannot go on."},
    {0x887a0021u, "DXGI_ERROR_NONEXCLUSIVE", "A global resource is used by someone else."},
    {0x887a0022u, "DXGI_ERROR_NOT_CURRENTLY_AVAILABLE", "The resource or request is not available at the moment."},
    {0x887a0023u, "DXGI_ERROR_REMOTE_CLIENT_DISCONNECTED", "The remote client has disconnected."},
    {0x887a0024u, "DXGI_ERROR_REMOTE_OUTOFMEMORY", "The remote client ran out of memory."},
    {0x887a0025u, "DXGI_ERROR_MODE_CHANGE_IN_PROGRESS", "A change of the display mode is under way."},
    {0x887a0026u, "DXGI_ERROR_ACCESS_LOST", "Access to the desktop image was lost."},
    {0x887a0027u, "DXGI_ERROR_WAIT_TIMEOUT", "The wait ran out of time before the next frame."},
    {0x887a0028u, "DXGI_ERROR_SESSION_DISCONNECTED", "The session is disconnected."},
    {0x887a0029u, "DXGI_ERROR_RESTRICT_TO_OUTPUT_STALE", "The output that the content is restricted to is gone."},
    {0x887a002au, "DXGI_ERROR_CANNOT_PROTECT_CONTENT", "The content cannot be protected on this output."},
    {0x887a002bu, "DXGI_ERROR_ACCESS_DENIED", "Access to the resource was denied."},
    {0x887a002cu, "DXGI_ERROR_NAME_ALREADY_EXISTS", "A resource of that name exists already."},
    {0x887a002du, "DXGI_ERROR_SDK_COMPONENT_MISSING", "A developer component that the request needs is not installed."},
    {0x887a002eu, "DXGI_ERROR_NOT_CURRENT", "The data is out of date."},
    {0x887a0030u, "DXGI_ERROR_HW_PROTECTION_OUTOFMEMORY", "Memory for protected content ran out."},
    {0x887a0031u, "DXGI_ERROR_DYNAMIC_CODE_POLICY_VIOLATION", "A policy of the process forbids code made at run time."},
    {0x887a0032u, "DXGI_ERROR_NON_COMPOSITED_UI", "The desktop shows content that is not composed."},
    {0x887a0033u, "DXGI_ERROR_CACHE_CORRUPT", "The cache is damaged."},
    {0x887a0034u, "DXGI_ERROR_CACHE_FULL", "The cache is full."},
    {0x887a0035u, "DXGI_ERROR_CACHE_HASH_COLLISION", "Two entries of the cache have the same hash."},
    {0x887a0036u, "DXGI_ERROR_ALREADY_EXISTS", "The element exists already."},
    {0x887b0001u, "DXGI_DDI_ERR_WASSTILLDRAWING", "The driver is still busy with the resource."},
    {0x887b0002u, "DXGI_DDI_ERR_UNSUPPORTED", "The driver does not support the request."},
    {0x887b0003u, "DXGI_DDI_ERR_NONEXCLUSIVE", "The driver needs exclusive access."},

    {0x88790001u, "D3D10_ERROR_TOO_MANY_UNIQUE_STATE_OBJECTS", "There are too many different state objects."},
    {0x88790002u, "D3D10_ERROR_FILE_NOT_FOUND", "A file that the device needs was not found."},
    {0x887c0001u, "D3D11_ERROR_TOO_MANY_UNIQUE_STATE_OBJECTS", "There are too many different state objects."},
    {0x887c0002u, "D3D11_ERROR_FILE_NOT_FOUND", "A file that the device needs was not found."},
    {0x887c0003u, "D3D11_ERROR_TOO_MANY_UNIQUE_VIEW_OBJECTS", "There are too many different views."},
    {0x887c0004u, "D3D11_ERROR_DEFERRED_CONTEXT_MAP_WITHOUT_INITIAL_DISCARD",
     "The first map of a resource in a command list must discard its contents."},
    {0x8876086cu, "D3DERR_INVALIDCALL", "The call is invalid."},
    {0x8876021cu, "D3DERR_WASSTILLDRAWING", "The device is still busy with the resource."},
    {0x88760868u, "D3DERR_DEVICELOST", "The device is lost."},
    {0x8876017cu, "D3DERR_OUTOFVIDEOMEMORY", "Video memory ran out."},

    {0x88982f04u, "WINCODEC_ERR_WRONGSTATE", "The image encoder or decoder is in the wrong state."},
    {0x88982f07u, "WINCODEC_ERR_UNKNOWNIMAGEFORMAT", "The image format is unknown."},
    {0x88982f0bu, "WINCODEC_ERR_UNSUPPORTEDVERSION", "The version of the image format is not supported."},
    {0x88982f50u, "WINCODEC_ERR_COMPONENTNOTFOUND", "There is no codec for the image format."},
    {0x88982f51u, "WINCODEC_ERR_IMAGESIZEOUTOFRANGE", "The image is too large."},
    {0x88982f60u, "WINCODEC_ERR_BADIMAGE", "The image is damaged."},
    {0x88982f61u, "WINCODEC_ERR_BADHEADER", "The header of the image is damaged."},
    {0x88982f80u, "WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT", "The pixel format is not supported."},
    {0x88982f81u, "WINCODEC_ERR_UNSUPPORTEDOPERATION", "The image codec does not support the operation."},
};

const ErrorText* FindError(long hr)
{
    const auto code = static_cast<std::uint32_t>(hr);
    for (const ErrorText& text : ERROR_TEXTS) {
        if (text.code == code) {
            return &text;
        }
    }
    return nullptr;
}

} // namespace

const char* GetErrorName(long hr)
{
    const ErrorText* text = FindError(hr);
    return text ? text->name : "Unknown";
}

const char* GetErrorDescription(long hr)
{
    thread_local char buffer[3000];
    const ErrorText* text = FindError(hr);
    std::snprintf(buffer, sizeof(buffer), "%s", text ? text->description : "Unknown error.");
    return buffer;
}

void TraceError(const char* file, unsigned line, long hr, const char* message, bool popup)
{
    char text[3000];
    std::snprintf(text, sizeof(text), "%s(%u): %s hr=%s (0x%.8x)\n", file, line, message ? message : "",
                  GetErrorName(hr), static_cast<unsigned>(hr));
    OutputDebugStringA(text);
}

} // namespace api
