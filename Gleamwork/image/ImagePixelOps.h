// Conversion of runs of pixels between all uncompressed formats.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/image/Format.h"

#include <qs/MemView.h>

namespace gw::image {

/// Converts every source pixel into the target. Both views must hold the same number of whole pixels; otherwise the run
/// asserts, and then converts as many pixels as both views hold. Views may not overlap, unless an equal-format copy
/// names the same bytes twice. Needs no alignment, allocates nothing and may run on any thread.
using PixelConverter = void (*)(qs::MemView<unsigned char> target, const qs::MemView<const unsigned char>& source);

/// The converter for a pair, or null when there is none. With swapBytes the source's 16- and 32-bit elements are
/// big-endian. Every format has the plain copy onto itself; depth and block formats and FORMAT_BGR10A2 nothing else.
/// A format of FORMAT_MAX or above asserts and gives null.
//
/// What a conversion gives:
/// - A missing G or B reads as 0; a missing alpha as the largest value of the source's kind.
/// - Formats of the same stored element keep the number; otherwise normalised sources are brought to 0..1 (signed ones
///   to -1..1) and normalised targets scaled from there, in double precision, without clamping.
/// - Integer targets truncate towards zero to a 64-bit integer (unsigned targets and 32-bit ones) or a 32-bit integer
///   (signed targets) and keep the low bits. A value outside that integer's range, and a NaN, gives its smallest value
///   on every processor, so the low bits of an 8- or 16-bit target are 0.
/// - FORMAT_RGB565, FORMAT_RGBA4, FORMAT_RGB10A2 and FORMAT_A1RGB5 clamp to 0..1 when written; a NaN becomes 1.
/// - FORMAT_RGBE8 and FORMAT_RGB9E5 do not clamp when written: exponents wrap in their field. A pixel without a channel
///   of at least 2^-23 is stored as 0. An infinite or NaN largest channel has no exponent; it is stored with the
///   exponent field 0 + bias and the channels' low bits by the integer rule above.
/// - FORMAT_RG11B10F holds small floats without sign: R in bits 0-10, G in 11-21, B in 22-31, each with a 5-bit
/// exponent
///   above its mantissa of 6, 6 and 5 bits. Written values are rounded to nearest even; negative values and -infinity
///   give 0, values above the largest finite one that value, +infinity infinity and NaN a NaN.
/// - A NaN in a half or float target is quiet, with the sign and as much of the payload as the target holds.
/// - Nothing knows of sRGB: all conversions are linear.
GW_API PixelConverter GetPixelConverter(EFormat from, EFormat to, bool swapBytes);

} // namespace gw::image
