// gleamfont: makes a font description file and its texture from a font file.
#include "FontFiles.h"
#include "GlyphSheet.h"
#include "Options.h"

#include <cstdio>

int main(int argc, char** argv)
{
    std::string error;
    const auto options = gleamfont::ParseOptions(argc, argv, error);
    if (!options) {
        std::fprintf(stderr, "gleamfont: %s\nTry 'gleamfont --help'.\n", error.c_str());
        return 2;
    }
    if (options->help) {
        std::fputs(gleamfont::HelpText, stdout);
        return 0;
    }
    gleamfont::GlyphSheet sheet;
    if (!gleamfont::MakeGlyphSheet(options->font, options->size, options->codes, sheet, error) ||
        !gleamfont::WriteFontFiles(sheet, options->name, error)) {
        std::fprintf(stderr, "gleamfont: %s\n", error.c_str());
        return 1;
    }
    std::printf("%s -> %s.fnt, %s.png: %zu characters, %d by %d pixels\n", options->font.c_str(), options->name.c_str(),
                options->name.c_str(), sheet.glyphs.size(), sheet.width, sheet.height);
    return 0;
}
