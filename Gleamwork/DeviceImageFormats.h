// Which pixel formats images are widened to, so that the device can hold them.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/image/Image.h"

namespace gw::image {

/// For ImageLoadParams::formatReplacements: formats of three components, each with the one of four components that
/// textures use instead. The view is valid for ever.
GW_API FormatReplacements GetDeviceFormatReplacements();

} // namespace gw::image
