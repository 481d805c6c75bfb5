// Imports, boards and the row in which they stand.
#include "SceneLoading.h"

#include "ImageFile.h"
#include "Interrupt.h"
#include "Messages.h"
#include "scene/FlagScene.h"
#include "scene/ImportProcess.h"
#include "scene/OwnScene.h"
#include "scene/Shapes.h"
#include "scene/TextureFiles.h"

#include <algorithm>
#include <filesystem>
#include <qs/Profile.h>

namespace gleamview {

namespace {

bool IsImageExtension(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    for (const char* known : {".png", ".jpg", ".jpeg", ".dds", ".bmp", ".tga", ".cur"}) {
        if (extension == known) {
            return true;
        }
    }
    return false;
}

bool IsModel(const std::string& path)
{
    return !IsImageExtension(path) && IsModelExtension(path);
}

/// An image as a board of its proportions, one unit high.
bool MakeBoardScene(const std::string& path, SceneData& scene, std::string& error)
{
    unsigned pixelsAcross = 0, pixelsDown = 0;
    if (!ImageFile::ReadSize(path, pixelsAcross, pixelsDown)) {
        error = path + ": not a model or an image that can be read, or damaged";
        return false;
    }
    SceneBuilder builder(scene);
    SceneMaterial material;
    material.name = path;
    std::fill(std::begin(material.baseColor), std::end(material.baseColor), 1.0f);
    material.alphaMode = AlphaMode::Auto;
    material.roughness = 0.9f;
    material.wrap = TextureWrap::Clamp;
    SceneTexture texture;
    texture.path = std::filesystem::absolute(path).string();
    material.baseTexture = builder.AddTexture(std::move(texture));
    const std::uint32_t part = builder.AddShape(MakeBoard(), builder.AddMaterial(material));
    const float width = static_cast<float>(pixelsAcross) / static_cast<float>(pixelsDown);
    builder.Place(part, MakePlacement({0.0f, 0.5f, 0.0f}, {width, 1.0f, 1.0f}));
    scene.name = std::filesystem::path(path).filename().string();
    return true;
}

LoadingResult ImportFile(const std::string& path, UpAxis up, ProgressLine& progress, SceneData& scene,
                         std::string& error)
{
    qs::HProfileSample sample("gleamview::Import");
    ImportProcess process;
    if (!process.Start(path, up, error)) {
        return LoadingResult::Failed;
    }
    while (!process.Poll(50)) {
        if (WasInterrupted()) {
            return LoadingResult::Stopped;
        }
        progress.Show(path, process.GetStep(), process.GetShare());
    }
    return process.TakeResult(scene, error) ? LoadingResult::Loaded : LoadingResult::Failed;
}

/// Scenes of any size in one row: each is scaled to a size of 1 and stands on the ground beside the one before.
void StandInRow(std::vector<SceneData>& scenes, SceneData& row)
{
    constexpr float gap = 0.25f;
    float x = 0.0f;
    for (SceneData& scene : scenes) {
        const qs::Bound bound = scene.ComputeBound();
        const Vector3f size = bound.maximum - bound.minimum;
        const float scale = 1.0f / std::max({size.x, size.y, size.z, 1e-12f});
        const Vector3f centre = bound.GetCenter();
        row.Append(std::move(scene),
                   MakePlacement({x - bound.minimum.x * scale, -bound.minimum.y * scale, -centre.z * scale},
                                 {scale, scale, scale}));
        x += size.x * scale + gap;
    }
}

} // namespace

bool HasModel(const std::vector<std::string>& files)
{
    return std::any_of(files.begin(), files.end(), IsModel);
}

LoadingResult LoadScene(const Options& options, ProgressLine& progress, SceneData& scene)
{
    if (options.files.empty()) {
        scene = options.flag ? MakeFlagScene() : MakeOwnScene();
        return LoadingResult::Loaded;
    }
    std::vector<SceneData> scenes;
    for (const std::string& path : options.files) {
        SceneData loaded;
        std::string error;
        LoadingResult result = LoadingResult::Failed;
        if (IsModel(path)) {
            result = ImportFile(path, options.up, progress, loaded, error);
        } else if (MakeBoardScene(path, loaded, error)) {
            result = LoadingResult::Loaded;
        }
        progress.Clear();
        if (result == LoadingResult::Stopped) {
            return result;
        }
        if (result == LoadingResult::Failed) {
            PrintError(error);
            continue;
        }
        for (const std::string& warning : loaded.warnings) {
            PrintError(path + ": " + warning);
        }
        scenes.push_back(std::move(loaded));
    }
    if (scenes.size() == 1) {
        scene = std::move(scenes.front());
    } else {
        StandInRow(scenes, scene);
        scene.name = std::to_string(scenes.size()) + " files";
    }
    return scenes.empty() ? LoadingResult::Failed : LoadingResult::Loaded;
}

} // namespace gleamview
