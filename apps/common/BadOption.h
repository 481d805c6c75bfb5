// What getopt_long found wrong with a command line, as a sentence.
#pragma once

#include <getopt.h>
#include <string>

namespace apps {

/// For its results ':' (with an option list that begins with a colon) and '?', right behind the call.
inline std::string DescribeBadOption(int result, char** argv)
{
    return std::string("'") + argv[optind - 1] + (result == ':' ? "' needs a value" : "' is not an option");
}

} // namespace apps
