// Reading of the command line and the help text.
#include "Options.h"

#include <charconv>
#include <cmath>
#include <string_view>

namespace gleamview {

namespace {

bool ParseNumber(std::string_view text, unsigned& value)
{
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

std::optional<Size> ParseSize(std::string_view text)
{
    const auto cross = text.find('x');
    Size size;
    if (cross == text.npos || !ParseNumber(text.substr(0, cross), size.width) ||
        !ParseNumber(text.substr(cross + 1), size.height))
        return std::nullopt;
    const auto fits = [](unsigned pixels) { return pixels >= 1 && pixels <= MaxPictureSize; };
    return fits(size.width) && fits(size.height) ? std::optional(size) : std::nullopt;
}

bool ParseTime(std::string_view text, float& seconds)
{
    const auto result = std::from_chars(text.data(), text.data() + text.size(), seconds);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && std::isfinite(seconds);
}

bool IsDevice(std::string_view text)
{
    unsigned number = 0;
    return text == "auto" || text == "software" || text == "null" || ParseNumber(text, number);
}

/// Stores one option's value; false, with the reason in `error`, when the value is not one.
bool StoreOption(Options& options, const std::string& name, const std::string& value, std::string& error)
{
    if (name == "--shader") {
        options.shader = value;
    } else if (name == "--out") {
        options.out = value;
    } else if (name == "--device") {
        if (!IsDevice(value)) {
            error = "--device takes auto, software, null or a device number, not '" + value + "'";
            return false;
        }
        options.device = value;
    } else if (name == "--time") {
        if (!ParseTime(value, options.time)) {
            error = "--time takes a number of seconds, not '" + value + "'";
            return false;
        }
    } else {
        options.size = ParseSize(value);
        if (!options.size) {
            error = "--size takes WIDTHxHEIGHT from 1x1 to 16384x16384, not '" + value + "'";
            return false;
        }
    }
    return true;
}

bool TakesValue(const std::string& name)
{
    return name == "--shader" || name == "--out" || name == "--size" || name == "--device" || name == "--time";
}

} // namespace

std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error)
{
    Options options;
    bool onlyImages = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (onlyImages || argument.size() < 2 || argument[0] != '-') {
            options.images.push_back(argument);
        } else if (argument == "--") {
            onlyImages = true;
        } else if (argument == "--help" || argument == "-h") {
            options.help = true;
            return options;
        } else if (!TakesValue(argument)) {
            error = "unknown option '" + argument + "'";
            return std::nullopt;
        } else if (i + 1 == arguments.size()) {
            error = "option '" + argument + "' needs a value";
            return std::nullopt;
        } else if (!StoreOption(options, argument, arguments[++i], error)) {
            return std::nullopt;
        }
    }
    if (options.images.empty()) {
        error = "no image given";
        return std::nullopt;
    }
    return options;
}

std::string HelpText()
{
    return R"(usage: gleamview IMAGE... [--shader FILE] [--out PICTURE] [--size WxH] [--device D] [--time SECONDS]

Loads images (png, jpg), draws them with a full-screen triangle through a text shader and writes the picture.

  --shader FILE    text shader with a "[Fragment shader]" and, if it likes, a "[Vertex shader]" section;
                   without it the images are drawn as they are, several of them in a grid
  --out PICTURE    file to write; its extension is the format: png, jpg, bmp, tga or dds (default gleamview.png)
  --size WxH       size of the picture in pixels; by default one image keeps its own size, several get
                   cells as large as the largest of them
  --device D       auto, software, null (draws nothing) or a device number; the same as GLEAM_DEVICE
  --time SECONDS   value of the shader's constant "time" (default 0)
  --help           this text

A shader sees, by name, whatever of these it declares:
  float    time             seconds, from --time
  float4   resolution       width and height of the picture in pixels, and their reciprocals
  Texture2D Image0 ... Image7   the first eight images, in linear light
  SamplerState ImageSampler     filtered, with mip levels, clamped to the edge
Without a vertex section it gets, per pixel, `float4 position : SV_Position` and `float2 uv : TEXCOORD0` with
(0, 0) in the picture's upper left corner. What it writes to SV_Target0 is linear light; the picture is sRGB.

One image drawn at its own size without a shader comes out with exactly the source's pixels.

exit status: 0 picture written, 1 the job failed, 2 wrong usage
)";
}

} // namespace gleamview
