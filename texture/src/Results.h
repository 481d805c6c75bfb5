// HRESULTs that this library gives beside the plain ones.
#pragma once

#include <windows.h>

namespace DirectX {

constexpr HRESULT ResultNotSupported = static_cast<HRESULT>(0x80070032);
constexpr HRESULT ResultInvalidData = static_cast<HRESULT>(0x8007000D);
constexpr HRESULT ResultEndOfFile = static_cast<HRESULT>(0x80070026);
constexpr HRESULT ResultOverflow = static_cast<HRESULT>(0x80070216);

} // namespace DirectX
