// Reading of the command line.
#include "Options.h"

#include "common/BadOption.h"

#include <cctype>
#include <getopt.h>

namespace gleamshader {

const char HelpText[] =
    R"(usage: gleamshader SOURCE... -o DIR [-D NAME[=VALUE]]... [-I DIR]... [--info]

Compiles text shader files into binary ones that the library loads without a compiler. SOURCE.shader becomes
DIR/SOURCE_DX11.bshd; DIR is made when it is missing.

  -o DIR            where the binary files go
  -D NAME[=VALUE]   defines a preprocessor name for every source; without a value it is 1
  -I DIR            another folder for #include, behind the folder of the file that includes
  --info            lists stages, instruction counts, constants, textures, buffers and samplers
  --help            this text

Errors and warnings name the file and the line. Exit status: 0 when all sources were written, 1 when one was not (the
others are), 2 for wrong usage.
)";

namespace {

enum : int
{
    OptionInfo = 256,
    OptionHelp,
};

bool IsName(const std::string& name)
{
    const auto isPart = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
    bool isName = !name.empty() && !std::isdigit(static_cast<unsigned char>(name[0]));
    for (const char c : name)
        isName = isName && isPart(c);
    return isName;
}

bool AddDefine(const std::string& text, Options& options, std::string& error)
{
    const std::size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    if (!IsName(name)) {
        error = "-D needs a name like COUNT or COUNT=4, not '" + text + "'";
        return false;
    }
    options.stage.defines.emplace_back(name, equals == std::string::npos ? "1" : text.substr(equals + 1));
    return true;
}

bool Check(const Options& options, std::string& error)
{
    if (options.sources.empty())
        error = "no source files are given";
    else if (options.folder.empty())
        error = "-o DIR tells where the binary files go; it is missing";
    return error.empty();
}

} // namespace

std::optional<Options> ParseOptions(int argc, char** argv, std::string& error)
{
    constexpr option longOptions[] = {{"info", no_argument, nullptr, OptionInfo},
                                      {"help", no_argument, nullptr, OptionHelp},
                                      {nullptr, 0, nullptr, 0}};
    Options options;
    opterr = 0;
    for (int found = 0; (found = getopt_long(argc, argv, ":o:D:I:", longOptions, nullptr)) != -1;) {
        switch (found) {
        case 'o':
            options.folder = optarg;
            break;
        case 'D':
            if (!AddDefine(optarg, options, error))
                return std::nullopt;
            break;
        case 'I':
            options.stage.includeFolders.emplace_back(optarg);
            break;
        case OptionInfo:
            options.info = true;
            break;
        case OptionHelp:
            options.help = true;
            return options;
        default:
            error = apps::DescribeBadOption(found, argv);
            return std::nullopt;
        }
    }
    options.sources.assign(argv + optind, argv + argc);
    return Check(options, error) ? std::optional(options) : std::nullopt;
}

} // namespace gleamshader
