// The command line of gleamfont.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace gleamfont {

struct Options
{
    std::string font;                 ///< a font file that FreeType reads
    std::string name;                 ///< what the two files are called, without their endings
    int size = 0;                     ///< pixels to the em square
    std::vector<std::uint32_t> codes; ///< sorted, each once
    bool help = false;
};

/// On wrong usage `error` gets one sentence and the result is empty.
std::optional<Options> ParseOptions(int argc, char** argv, std::string& error);

/// What --help prints.
extern const char HelpText[];

} // namespace gleamfont
