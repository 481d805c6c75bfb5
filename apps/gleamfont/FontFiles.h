// The two files of a font: description and texture.
#pragma once

#include "GlyphSheet.h"

namespace gleamfont {

/// Writes `name`.fnt, as gw::TexturedFont::Parse reads it, and `name`.png, grey of eight bits. False, with a sentence
/// in `error` and neither file left, when one cannot be written.
bool WriteFontFiles(const GlyphSheet& sheet, const std::string& name, std::string& error);

} // namespace gleamfont
