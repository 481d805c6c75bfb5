// Finds the image files that models name.
#pragma once

#include <string>

namespace gleamview {

/// Models carry paths of the machine that made them. The file is looked for where the path says, seen from the model's
/// folder, then by its name alone beside the model and in folders named as people name them; letters may differ in
/// case, and at last the extension may be another. Empty when there is no such file.
std::string FindTextureFile(const std::string& modelFolder, const std::string& path);

} // namespace gleamview
