// The text of the window's title.
#pragma once

#include <string>

namespace gleamview {

struct TitleFacts
{
    std::string name;   ///< of what is shown
    std::string device; ///< that draws
    std::string notice; ///< news that stands before the rest for a while; may be empty
    double rate = 0.0;  ///< frames a second; 0 when the picture stands still
    bool isPaused = false;
};

/// "NAME - 60 fps - DEVICE - gleamview", and what else there is to tell.
std::string MakeTitle(const TitleFacts& facts);

/// What the system calls the device that the library draws with; empty when it does not tell. `device` is an
/// ID3D11Device.
std::string ReadDeviceName(void* device);

} // namespace gleamview
