// Names for screenshots.
#include "window/Screenshot.h"

#include <filesystem>
#include <unistd.h>

namespace gleamview {

namespace {

std::filesystem::path FindFree(const std::filesystem::path& folder, const std::string& name)
{
    std::error_code code;
    std::filesystem::path path;
    int number = 1;
    do {
        path = folder / (name + "-" + std::to_string(number++) + ".png");
    } while (std::filesystem::exists(path, code));
    return path;
}

} // namespace

std::string FindScreenshotPath(const std::string& file, const std::string& fallbackName)
{
    const std::filesystem::path source(file);
    const std::string name = file.empty() ? fallbackName : source.stem().string();
    const std::filesystem::path folder = source.parent_path();
    for (const std::filesystem::path& candidate : {folder, std::filesystem::path()}) {
        if (access(candidate.empty() ? "." : candidate.c_str(), W_OK) == 0) {
            return FindFree(candidate, name).string();
        }
    }
    return {};
}

} // namespace gleamview
