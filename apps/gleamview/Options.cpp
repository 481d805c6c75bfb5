// Reading of the command line and the help text.
#include "Options.h"

#include "window/Input.h"

#include <algorithm>
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

bool ParseCount(std::string_view text, unsigned most, unsigned& value)
{
    return ParseNumber(text, value) && value >= 1 && value <= most;
}

bool ParseFloat(std::string_view text, float& value)
{
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && std::isfinite(value);
}

bool ParseSize(std::string_view text, std::optional<Size>& size)
{
    const auto cross = text.find('x');
    Size parsed;
    if (cross == text.npos || !ParseCount(text.substr(0, cross), MaxPictureSize, parsed.width) ||
        !ParseCount(text.substr(cross + 1), MaxPictureSize, parsed.height)) {
        return false;
    }
    size = parsed;
    return true;
}

bool IsDevice(std::string_view text)
{
    unsigned number = 0;
    return text == "auto" || text == "software" || text == "null" || ParseNumber(text, number);
}

/// Two or three numbers, or the name of a camera. A name never begins like a number does.
bool ParseCamera(std::string_view text, Options& options)
{
    if (text.empty()) {
        return false;
    }
    if (std::string_view("+-.0123456789").find(text[0]) == std::string_view::npos) {
        options.cameraName = text;
        return true;
    }
    float values[3] = {0.0f, 0.0f, 1.0f};
    std::size_t count = 0;
    for (std::string_view rest = text; count < 3; ++count) {
        const auto comma = rest.find(',');
        if (!ParseFloat(rest.substr(0, comma), values[count])) {
            return false;
        }
        if (comma == std::string_view::npos) {
            options.camera = {values[0], values[1], values[2]};
            return count >= 1 && std::fabs(values[1]) <= 89.0f && values[2] >= 0.01f && values[2] <= 100.0f;
        }
        rest = rest.substr(comma + 1);
    }
    return false;
}

bool ParseUp(std::string_view text, UpAxis& up)
{
    static constexpr std::string_view names[] = {"x", "y", "z", "-x", "-y", "-z"};
    const auto found = std::find(std::begin(names), std::end(names), text);
    up = static_cast<UpAxis>(static_cast<int>(UpAxis::X) + (found - std::begin(names)));
    return found != std::end(names);
}

/// One option with a value: its name, how the value is stored, and what a wrong one is told.
struct ValueOption
{
    const char* name;
    bool (*store)(Options& options, const std::string& value);
    const char* wants;
};

constexpr ValueOption s_valueOptions[] = {
    {"--shader", [](Options& o, const std::string& v) { return !(o.shader = v).empty(); }, "a file"},
    {"--out", [](Options& o, const std::string& v) { return !(o.out = v).empty(); }, "a file"},
    {"--trace", [](Options& o, const std::string& v) { return !(o.trace = v).empty(); }, "a file"},
    {"--size", [](Options& o, const std::string& v) { return ParseSize(v, o.size); },
     "WIDTHxHEIGHT from 1x1 to 16384x16384"},
    {"--device", [](Options& o, const std::string& v) { return IsDevice(o.device = v); },
     "auto, software, null or a device number"},
    {"--time", [](Options& o, const std::string& v) { return ParseFloat(v, o.time); }, "a number of seconds"},
    {"--frames", [](Options& o, const std::string& v) { return ParseCount(v, MaxFrames, o.frames.emplace()); },
     "a number from 1 to 1000000"},
    {"--threads", [](Options& o, const std::string& v) { return ParseCount(v, MaxThreads, o.threads); },
     "a number from 1 to 64"},
    {"--camera", [](Options& o, const std::string& v) { return ParseCamera(v, o); },
     "YAW,PITCH or YAW,PITCH,ZOOM (degrees; PITCH within 89, ZOOM from 0.01 to 100) or the name of a camera"},
    {"--up", [](Options& o, const std::string& v) { return ParseUp(v, o.up); }, "x, y, z, -x, -y or -z"},
};

struct Switch
{
    const char* name;
    void (*set)(Options& options);
};

constexpr Switch s_switches[] = {
    {"--flag", [](Options& o) { o.flag = true; }},           {"--split", [](Options& o) { o.split = true; }},
    {"--wireframe", [](Options& o) { o.wireframe = true; }}, {"--bounds", [](Options& o) { o.bounds = true; }},
    {"--no-ground", [](Options& o) { o.ground = false; }},
};

template <class Entry, std::size_t Count>
const Entry* Find(const Entry (&table)[Count], const std::string& name)
{
    for (const Entry& entry : table) {
        if (name == entry.name) {
            return &entry;
        }
    }
    return nullptr;
}

/// Handles the option at `position` and moves it to the option's last argument.
bool ParseOption(Options& options, const std::vector<std::string>& arguments, std::size_t& position, std::string& error)
{
    const std::string& name = arguments[position];
    if (const Switch* entry = Find(s_switches, name)) {
        entry->set(options);
        return true;
    }
    const ValueOption* option = Find(s_valueOptions, name);
    if (!option) {
        error = "unknown option '" + name + "'";
    } else if (position + 1 == arguments.size()) {
        error = "option '" + name + "' needs a value";
    } else if (!option->store(options, arguments[++position])) {
        error = name + " takes " + option->wants + ", not '" + arguments[position] + "'";
    } else {
        return true;
    }
    return false;
}

/// The window's controls: what the pointer does, and a line for each key.
std::string KeyHelp()
{
    std::string text = R"(
window:
  left button      turns; arrow keys too
  right button     shifts; left with Shift, the middle button, and arrow keys with Shift too
  wheel, + and -   nearer and farther
  drop a file      opens it
)";
    for (std::size_t i = 0; i < g_keyCount; ++i) {
        if (g_keys[i].help) {
            std::string name(g_keys[i].name);
            name.resize(17, ' ');
            text += "  " + name + g_keys[i].help + "\n";
        }
    }
    return text;
}

} // namespace

std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error)
{
    Options options;
    bool onlyFiles = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (onlyFiles || argument.size() < 2 || argument[0] != '-') {
            options.files.push_back(argument);
        } else if (argument == "--") {
            onlyFiles = true;
        } else if (argument == "--help" || argument == "-h") {
            options.help = true;
            return options;
        } else if (!ParseOption(options, arguments, i, error)) {
            return std::nullopt;
        }
    }
    if (options.flag && !options.files.empty()) {
        error = "--flag takes no file";
        return std::nullopt;
    }
    if (!options.shader.empty() && options.files.empty()) {
        error = "no image given for the shader";
        return std::nullopt;
    }
    return options;
}

std::string HelpText()
{
    std::string text = R"(usage: gleamview [MODEL|IMAGE]... [options]

Shows models (obj, gltf, glb, fbx, 3ds, ply, stl, dae and what else assimp reads) and images in a window, or draws
them into a picture. Without a file it shows a scene of its own. Images alone are drawn flat: one fills the picture or
window, several stand in a grid. Beside models they stand as boards.

  --out PICTURE    draws into a file and opens no window; its extension is the format: png, jpg, bmp, tga or dds
  --size WxH       size of window or picture in pixels (default 1280x720). By default an image drawn flat keeps its
                   own size, and several get cells as large as the largest of them
  --device D       auto, software, null (draws nothing) or a device number; the same as GLEAM_DEVICE
  --flag           shows a flag in the wind instead, as it blows at --time; takes no file
  --frames N       draws N frames, a sixtieth of a second apart; the last one is the picture (default 1), and a window
                   closes behind it
  --trace FILE     writes what every thread did, for the trace viewer of a browser
  --help           this text

models:
  --camera C       YAW,PITCH or YAW,PITCH,ZOOM: degrees to the right of the front and above the middle, and how near
                   (1 fits the model into the view); or the name of a camera in the file (default 32,18,1)
  --up AXIS        x, y, z, -x, -y or -z: the axis that points up, where the file does not tell or tells it wrong
  --split          two views side by side, the second from the other side and higher
  --wireframe      lines instead of faces
  --bounds         boxes around the parts
  --no-ground      without the ground that takes the shadow
  --threads N      command buffers that are recorded side by side (default: one per processor)

images:
  --shader FILE    text shader with a "[Fragment shader]" and, if it likes, a "[Vertex shader]" section;
                   without it the images are drawn as they are
  --time SECONDS   value of the shader's constant "time" (default 0); the own scene turns with it

A shader sees, by name, whatever of these it declares:
  float    time             seconds, from --time
  float4   resolution       width and height of the picture in pixels, and their reciprocals
  Texture2D Image0 ... Image7   the first eight images, in linear light
  SamplerState ImageSampler     filtered, with mip levels, clamped to the edge
Without a vertex section it gets, per pixel, `float4 position : SV_Position` and `float2 uv : TEXCOORD0` with
(0, 0) in the picture's upper left corner. What it writes to SV_Target0 is linear light; the picture is sRGB.

One image drawn at its own size without a shader comes out with exactly the source's pixels.

exit status: 0 picture written or window closed, 1 the job failed, 2 wrong usage, 130 stopped with Ctrl-C
)";
    const std::size_t place = text.find("\nmodels:\n");
    return text.insert(place, KeyHelp());
}

} // namespace gleamview
