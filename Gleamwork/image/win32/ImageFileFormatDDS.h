// DirectDraw Surface files: the reader's own result codes and its steps.
#pragma once

#include "Gleamwork/image/Image.h"

#include <qs/MemStream.h>

namespace gw::image::dds {

enum EDDSResult : uint32_t
{
    DDS_OK = 0,
    DDS_GNF = 1,           // texture of a console
    DDS_XBOX = 2,          // texture of a console
    DDS_DFVN = 3,          // the magic "DFvN"
    DDS_READ_ERROR = 4,    // too few bytes, or no known magic
    DDS_UNKNOWN_FORMAT = 5 // no EFormat for the pixel format
};

// Reads the header, and the pixels unless only the header is asked for. The file is the stream from its position on.
// The description stands as far as it was read, also after a failure. The layout is that of the "Programming Guide for
// DDS" of the DirectX documentation. Beyond its tables:
// - levels beyond the chain's end (all dimensions 1) are not counted;
// - a volume with skipped levels halves its depth with them, as its chain does;
// - a file that is shorter than its header says fails before its pixels are allocated.
EDDSResult LoadCommon(qs::MemReadStream& stream, const ImageLoadParams& params, Image& image);

// Reports a result; true for DDS_OK alone. Ends the process for a value that is none.
bool ValidateError(EDDSResult result);

} // namespace gw::image::dds
