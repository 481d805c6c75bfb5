// Drops a file on a window, as a file manager does.
#pragma once

#include <string>

/// Speaks the drag-and-drop protocol of X on the display that DISPLAY names. False when the window does not take the
/// file within some seconds.
bool DropFile(unsigned long window, const std::string& path);
