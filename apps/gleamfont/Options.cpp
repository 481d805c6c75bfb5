// Reading of the command line.
#include "Options.h"

#include "common/BadOption.h"

#include <charconv>
#include <cstring>
#include <getopt.h>
#include <set>
#include <utf8.h>

namespace gleamfont {

const char HelpText[] =
    R"(usage: gleamfont FONT --size N -o NAME [--chars TEXT]

Draws the characters of a font file (TrueType, OpenType and what else FreeType reads) into one picture. NAME.fnt
becomes the description and NAME.png the texture that gw::DataLoader::InvokeAddFont takes.

  --size N       the font's size in pixels, 4 to 512; text is sharp when it is drawn at this size, at whole pixels
  -o NAME        where the two files go; the folder must be there
  --chars TEXT   the characters, in UTF-8; the visible ASCII characters and the space by default
  --help         this text

Exit status: 0 when both files were written, 1 when they were not, 2 for wrong usage.
)";

namespace {

enum : int
{
    OptionSize = 256,
    OptionChars,
    OptionHelp,
};

constexpr int SmallestSize = 4;
constexpr int LargestSize = 512;
// The description's numbers of characters end here.
constexpr std::uint32_t CodeEnd = 65535;

bool ParseSize(const char* text, int& size, std::string& error)
{
    const char* end = text + std::strlen(text);
    const auto [stop, code] = std::from_chars(text, end, size);
    if (code == std::errc() && stop == end && size >= SmallestSize && size <= LargestSize)
        return true;
    error = "--size needs a number of pixels from 4 to 512, not '" + std::string(text) + "'";
    return false;
}

bool ParseCharacters(const std::string& text, std::vector<std::uint32_t>& codes, std::string& error)
{
    if (utf8::find_invalid(text.begin(), text.end()) != text.end()) {
        error = "--chars needs UTF-8";
        return false;
    }
    std::set<std::uint32_t> found;
    for (auto at = text.begin(); at != text.end();) {
        const std::uint32_t code = utf8::next(at, text.end());
        if (code < 32 || code >= CodeEnd) {
            error = "--chars holds character number " + std::to_string(code) + "; fonts have those from 32 to 65534";
            return false;
        }
        found.insert(code);
    }
    if (found.empty()) {
        error = "--chars names no character";
        return false;
    }
    codes.assign(found.begin(), found.end());
    return true;
}

bool Check(const Options& options, int fonts, std::string& error)
{
    if (fonts != 1)
        error = fonts == 0 ? "no font file is given" : "one font file at a time, please";
    else if (options.size == 0)
        error = "--size N tells the font's size in pixels; it is missing";
    else if (options.name.empty())
        error = "-o NAME tells where the files go; it is missing";
    return error.empty();
}

} // namespace

std::optional<Options> ParseOptions(int argc, char** argv, std::string& error)
{
    constexpr option longOptions[] = {{"size", required_argument, nullptr, OptionSize},
                                      {"chars", required_argument, nullptr, OptionChars},
                                      {"help", no_argument, nullptr, OptionHelp},
                                      {nullptr, 0, nullptr, 0}};
    Options options;
    for (std::uint32_t code = 32; code < 127; ++code)
        options.codes.push_back(code);
    opterr = 0;
    for (int found = 0; (found = getopt_long(argc, argv, ":o:", longOptions, nullptr)) != -1;) {
        switch (found) {
        case 'o':
            options.name = optarg;
            break;
        case OptionSize:
            if (!ParseSize(optarg, options.size, error))
                return std::nullopt;
            break;
        case OptionChars:
            if (!ParseCharacters(optarg, options.codes, error))
                return std::nullopt;
            break;
        case OptionHelp:
            options.help = true;
            return options;
        default:
            error = apps::DescribeBadOption(found, argv);
            return std::nullopt;
        }
    }
    if (!Check(options, argc - optind, error))
        return std::nullopt;
    options.font = argv[optind];
    return options;
}

} // namespace gleamfont
