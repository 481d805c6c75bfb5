// Formats that stand in for what the device cannot hold.
#include "Gleamwork/DeviceImageFormats.h"

namespace gw::image {

FormatReplacements GetDeviceFormatReplacements()
{
    // The last has a device format of its own, yet few devices sample or filter it.
    static const FormatReplacement s_replacements[] = {
        {FORMAT_RGB8, FORMAT_RGBA8},
        {FORMAT_RGB16, FORMAT_RGBA16},
        {FORMAT_RGB16F, FORMAT_RGBA16F},
        {FORMAT_RGB32F, FORMAT_RGBA32F},
    };
    return FormatReplacements(s_replacements, std::size(s_replacements));
}

} // namespace gw::image
