// The command line of gleamshader.
#pragma once

#include "common/ShaderStages.h"

#include <optional>
#include <string>
#include <vector>

namespace gleamshader {

struct Options
{
    std::vector<std::string> sources; ///< text shader files
    std::string folder;               ///< where the binary files go
    apps::StageOptions stage;
    bool info = false;
    bool help = false;
};

/// On wrong usage `error` gets one sentence and the result is empty.
std::optional<Options> ParseOptions(int argc, char** argv, std::string& error);

/// What --help prints.
extern const char HelpText[];

} // namespace gleamshader
