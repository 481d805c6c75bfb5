// The stages of a text shader file, compiled with messages that a person can follow to a line of the file.
#pragma once

#include <Gleamwork/CompiledShader.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace apps {

/// A text shader file in memory. `sections` point into `text`, vertex, geometry, fragment and compute; a stage that the
/// file does not have is null. Not copied or moved, for the views' sake.
struct ShaderSource
{
    ShaderSource() = default;
    ShaderSource(const ShaderSource&) = delete;
    ShaderSource& operator=(const ShaderSource&) = delete;

    std::string path;
    std::string text;
    std::array<gw::ShaderData, 4> sections;
};

/// Reads and splits a file. False, with a sentence that names the file in `error`, when it cannot be read.
bool ReadShaderSource(const std::string& path, ShaderSource& source, std::string& error);

struct StageOptions
{
    std::vector<std::pair<std::string, std::string>> defines; ///< name and value
    std::vector<std::string> includeFolders; ///< looked through behind the folder of the file that includes
};

struct StageResult
{
    bool isCompiled = false;
    std::vector<char> code;
    std::string messages; ///< errors and warnings, a line each, with the file's name and line
};

/// Compiles one section as the library does: entry point "main", vs_4_0, gs_4_0, ps_5_0 or cs_5_0, optimised.
StageResult CompileStage(const ShaderSource& source, gw::EShaderType type, const StageOptions& options);

/// "vertex", "geometry", "fragment" or "compute".
const char* StageName(gw::EShaderType type);
/// The profile that the library compiles a stage for.
const char* StageProfile(gw::EShaderType type);

} // namespace apps
