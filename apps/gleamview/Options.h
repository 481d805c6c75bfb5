// The command line of gleamview.
#pragma once

#include "scene/Importer.h"

#include <optional>
#include <string>
#include <vector>

namespace gleamview {

struct Size
{
    unsigned width = 0;
    unsigned height = 0;
};

/// Where the orbit camera stands.
struct CameraAngle
{
    float yaw = 32.0f;   ///< degrees to the right of the model's front
    float pitch = 18.0f; ///< degrees above its middle
    float zoom = 1.0f;   ///< 1 fits the model into the view, 2 is twice as near
};

struct Options
{
    std::vector<std::string> files; ///< models and images; none stands for the viewer's own scene
    std::string shader;             ///< text shader file for images; empty draws with the built-in one
    std::string out;                ///< picture to write; empty opens a window
    std::optional<Size> size;       ///< pixels of the picture or window; without it the images decide, or 1280 by 720
    std::string device;             ///< value for GLEAM_DEVICE; empty leaves the environment's
    float time = 0.0f;              ///< seconds, for the shader's constant and the own scene's turning parts
    std::optional<unsigned> frames; ///< the last one is the picture; a window closes behind it
    unsigned threads = 0;           ///< recordings side by side; 0 for as many as processors
    CameraAngle camera;
    std::string cameraName; ///< a camera of the file; empty takes the orbit camera
    std::string trace;      ///< file of the trace; empty writes none
    UpAxis up = UpAxis::FromFile;
    bool flag = false; ///< without a file: a flag in the wind instead of the viewer's own scene
    bool split = false;
    bool wireframe = false;
    bool bounds = false;
    bool ground = true;
    bool help = false;
};

/// Largest width and height of a picture: what a 2D texture may have.
constexpr unsigned MaxPictureSize = 16384;
constexpr unsigned MaxThreads = 64;
constexpr unsigned MaxFrames = 1000000;

/// Reads the arguments behind the program's name. On wrong usage `error` gets one sentence and the result is empty.
std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error);

/// What --help prints.
std::string HelpText();

} // namespace gleamview
