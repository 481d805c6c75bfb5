// The search for texture files.
#include "scene/TextureFiles.h"

#include <algorithm>
#include <filesystem>
#include <strings.h>

namespace fs = std::filesystem;

namespace gleamview {

namespace {

/// The entry of a folder with that name, in any case of letters; exact matches first.
fs::path FindEntry(const fs::path& folder, const std::string& name)
{
    std::error_code code;
    if (fs::exists(folder / name, code)) {
        return folder / name;
    }
    for (fs::directory_iterator i(folder, fs::directory_options::skip_permission_denied, code), end; !code && i != end;
         i.increment(code)) {
        if (strcasecmp(i->path().filename().c_str(), name.c_str()) == 0) {
            return i->path();
        }
    }
    return {};
}

/// Follows a path part by part from a folder.
fs::path Follow(fs::path folder, const fs::path& path)
{
    for (const fs::path& part : path) {
        if (part.empty() || part == "." || part == "/") {
            continue;
        }
        folder = part == ".." ? folder / part : FindEntry(folder, part.string());
        if (folder.empty()) {
            break;
        }
    }
    return folder;
}

bool IsFile(const fs::path& path)
{
    std::error_code code;
    return !path.empty() && fs::is_regular_file(path, code);
}

/// Old formats cut names short, and textures are converted without the model being told: any image of the same name.
std::string FindByStem(const fs::path& folder, const std::string& stem)
{
    for (const char* place : {"", "textures", "../textures"}) {
        const fs::path where = Follow(folder, place);
        for (const char* extension : {".png", ".jpg", ".jpeg", ".tga", ".dds", ".bmp"}) {
            const fs::path found = where.empty() ? fs::path() : Follow(where, stem + extension);
            if (IsFile(found)) {
                return found.string();
            }
        }
    }
    return {};
}

} // namespace

std::string FindTextureFile(const std::string& modelFolder, const std::string& path)
{
    std::string text = path;
    std::replace(text.begin(), text.end(), '\\', '/');
    const fs::path named(text);
    const fs::path folder(modelFolder.empty() ? "." : modelFolder);
    if (named.filename().empty()) {
        return {};
    }
    if (named.is_absolute() && IsFile(named)) {
        return named.string();
    }
    const fs::path beside = named.filename();
    for (const char* place : {"", "textures", "images", "maps", "../textures", "../images"}) {
        const fs::path where = Follow(folder, place);
        for (const fs::path& candidate : {*place ? beside : named.relative_path(), beside}) {
            const fs::path found = where.empty() ? fs::path() : Follow(where, candidate);
            if (IsFile(found)) {
                return found.string();
            }
        }
    }
    return FindByStem(folder, beside.stem().string());
}

} // namespace gleamview
