// The command line of gleamview.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace gleamview {

struct Size
{
    unsigned width = 0;
    unsigned height = 0;
};

struct Options
{
    std::vector<std::string> images;
    std::string shader; ///< text shader file; empty draws with the built-in one
    std::string out = "gleamview.png";
    std::optional<Size> size; ///< pixels of the picture; without it the images decide
    std::string device;       ///< value for GLEAM_DEVICE; empty leaves the environment's
    float time = 0.0f;        ///< seconds, for the shader's constant
    bool help = false;
};

/// Largest width and height of a picture: what a 2D texture may have.
constexpr unsigned MaxPictureSize = 16384;

/// Reads the arguments behind the program's name. On wrong usage `error` gets one sentence and the result is empty.
std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error);

/// What --help prints.
std::string HelpText();

} // namespace gleamview
