// Reads a model file through assimp and writes it as scene records.
#pragma once

#include "scene/SceneFile.h"

#include <functional>
#include <string>

namespace gleamview {

/// The axis of the file that is turned to point up. Named as the importer gives axes: x to the right of the viewer, y
/// up, z towards the viewer.
enum class UpAxis
{
    FromFile, ///< as the importer tells; y where it tells nothing
    X,
    Y,
    Z,
    MinusX,
    MinusY,
    MinusZ,
};

/// Told what is being done and how much of it is, from 0 to 1. Called on the importing thread.
using ImportProgress = std::function<void(const char* step, float share)>;

/// True for files that an importer claims by their extension.
bool IsModelExtension(const std::string& path);

/// False, with a sentence that names the file in `error`, when nothing could be had from it. What is left out of a
/// file that is read gets a warning record. Damaged files may take the importer down with them: see ImportProcess.
bool ImportModel(const std::string& path, UpAxis up, SceneWriter& writer, const ImportProgress& progress,
                 std::string& error);

} // namespace gleamview
