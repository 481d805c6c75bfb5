// Message boxes for what the user must see even when no window is open.
#pragma once

#include <qs/Export.h>

enum QsMessageType : int
{
    QS_MESSAGE_INFORMATION = 0,
    QS_MESSAGE_QUESTION = 1,
    QS_MESSAGE_WARNING = 2,
    QS_MESSAGE_ERROR = 3, ///< fatal: the process usually ends behind it
};

/// Shows the texts (UTF-8, not null) and returns when the user has seen them. It may be called on any thread, also
/// while the process is going down, so it must not rely on anything but its arguments.
using QsMessageBoxHandler = void (*)(const char* title, const char* text, QsMessageType type, void* context);

/// Sets who shows message boxes, with a value handed to each call; null brings back the default, which writes title and
/// text to the error stream and returns at once, so that a program without a display never blocks. Thread-safe; a call
/// that is under way ends with the handler it began with.
QS_API void qsSetMessageBoxHandler(QsMessageBoxHandler handler, void* context);

/// Shows a box through the handler and blocks as long as that does. Null texts count as empty.
QS_API void qsMessageBox(const char* title, const char* text, QsMessageType type);
QS_API void qsMessageBox(const wchar_t* title, const wchar_t* text, QsMessageType type);
