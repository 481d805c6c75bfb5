// Result codes of the device as text, for every log line about a failed device call.
#pragma once

#include "Gleamwork/Export.h"

#include <qs/Log.h>

namespace api {

/// The symbolic name of a result code ("E_INVALIDARG"), "Unknown" for codes outside the table. Static text.
GW_API const char* GetErrorName(long hr);

/// A sentence for a result code, "Unknown error." for codes outside the table. The text stands in a buffer of this
/// thread and is valid until the next call on it.
GW_API const char* GetErrorDescription(long hr);

/// Writes "file(line): message hr=name (0x........)" to the debugger output. `popup` is kept for a dialog that a
/// debugging tool may add; none is shown.
GW_API void TraceError(const char* file, unsigned line, long hr, const char* message, bool popup);

} // namespace api

/// Logs `text`, which ends in "Error: %s\nDescription: %s", with the name and description of a result code.
#define GW_LOG_DEVICE_ERROR(file, function, text, hr)                                                                  \
    QS_LOG_ERROR(file, function, text, ::api::GetErrorName(hr), ::api::GetErrorDescription(hr))
/// The same as an assertion.
#define GW_ASSERT_DEVICE_ERROR(file, function, text, hr)                                                               \
    QS_LOG_ASSERT(file, function, text, ::api::GetErrorName(hr), ::api::GetErrorDescription(hr))
