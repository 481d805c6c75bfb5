// From the files of the command line to one scene.
#pragma once

#include "Options.h"
#include "ProgressLine.h"
#include "scene/SceneData.h"

#include <string>
#include <vector>

namespace gleamview {

/// True when any of the files is a model, so that all of them are drawn as a scene. A file of unknown kind counts as
/// an image.
bool HasModel(const std::vector<std::string>& files);

enum class LoadingResult
{
    Loaded,
    Failed,  ///< nothing could be had from any file
    Stopped, ///< with Ctrl-C
};

/// Imports the models, each in a process of its own, and sets images beside them as boards. Several files stand in a
/// row and are made equally large. A file that cannot be read is told on the error stream, and the others are drawn.
LoadingResult LoadScene(const Options& options, ProgressLine& progress, SceneData& scene);

} // namespace gleamview
