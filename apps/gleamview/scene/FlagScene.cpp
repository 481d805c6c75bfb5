// Pole, cloth and picture of the flag.
#include "scene/FlagScene.h"

#include "scene/OwnPictures.h"
#include "scene/Shapes.h"

#include <algorithm>
#include <cmath>

namespace gleamview {

namespace {

constexpr float s_poleHeight = 4.6f;
constexpr float s_poleRadius = 0.045f;
constexpr float s_flagTop = 4.4f;
constexpr Vector2f s_flagSize(2.55f, 1.6f);
// As many moving vertices as a cloth should have at most: 25 columns of 16.
constexpr int s_columns = 25;
constexpr int s_rows = 15;
/// Columns of the sleeve around the pole: they hang on it, and only the last one touches what moves.
constexpr int s_sleeveColumns = 3;
/// The cloth is sewn of two pieces, each with its own vertices along the seam.
constexpr int s_seam = 10;

SceneMaterial MakeMaterial(const char* name, const Vector3f& color, float metallic, float roughness)
{
    SceneMaterial material;
    material.name = name;
    material.baseColor[0] = color.x;
    material.baseColor[1] = color.y;
    material.baseColor[2] = color.z;
    material.metallic = metallic;
    material.roughness = roughness;
    return material;
}

/// From the back of the pole, where the sleeve begins (column -s_sleeveColumns), to the free edge.
SceneVertex MakeFlagVertex(int column, int row)
{
    const float down = static_cast<float>(row) / s_rows;
    const float y = s_flagTop - s_flagSize.y * down;
    const auto weight = static_cast<std::uint8_t>(column > 0 ? 255 : 0);
    if (column > 0) {
        const float along = static_cast<float>(column) / s_columns;
        return MakeVertex({s_poleRadius + s_flagSize.x * along, y, 0.0f}, {0.0f, 0.0f, -1.0f}, {along, down},
                          {weight, 255, 255, 255});
    }
    // Around the front of the pole, a little off it.
    constexpr float radius = s_poleRadius * 1.15f;
    const float angle = static_cast<float>(-column) / s_sleeveColumns * 3.1415927f;
    const Vector3f normal(std::cos(angle), 0.0f, -std::sin(angle));
    return MakeVertex({normal.x * radius, y, normal.z * radius}, normal, {0.0f, down}, {weight, 255, 255, 255});
}

Shape MakePiece(int firstColumn, int lastColumn)
{
    Shape shape;
    for (int row = 0; row <= s_rows; ++row) {
        for (int column = firstColumn; column <= lastColumn; ++column) {
            shape.vertices.push_back(MakeFlagVertex(column, row));
        }
    }
    shape.AddGrid(0, s_rows, static_cast<std::uint32_t>(lastColumn - firstColumn));
    return shape;
}

void AddFlag(SceneBuilder& builder, SceneData& scene)
{
    Shape shape = MakePiece(-s_sleeveColumns, s_seam);
    const Shape outer = MakePiece(s_seam, s_columns);
    const auto first = static_cast<std::uint16_t>(shape.vertices.size());
    shape.vertices.insert(shape.vertices.end(), outer.vertices.begin(), outer.vertices.end());
    for (const std::uint16_t index : outer.indices) {
        shape.indices.push_back(static_cast<std::uint16_t>(first + index));
    }
    SceneMaterial cloth = MakeMaterial("nylon", {1.0f, 1.0f, 1.0f}, 0.0f, 0.7f);
    cloth.baseTexture = builder.AddTexture(MakeFlagPicture());
    cloth.wrap = TextureWrap::Clamp;
    const std::uint32_t part = builder.AddShape(std::move(shape), builder.AddMaterial(cloth));
    scene.parts[part].isCloth = true;
    // As far as it can blow.
    const float reach = s_flagSize.x + s_poleRadius;
    scene.parts[part].bound = {{-s_poleRadius * 2.0f, s_flagTop - s_flagSize.y - 0.8f, -reach * 0.5f},
                               {reach, s_flagTop + 0.4f, reach * 0.5f}};
    builder.Place(part, MakePlacement({0.0f, 0.0f, 0.0f}, {1.0f, 1.0f, 1.0f}));
}

void AddPole(SceneBuilder& builder)
{
    const std::uint32_t steel = builder.AddMaterial(MakeMaterial("steel", {0.78f, 0.79f, 0.8f}, 1.0f, 0.28f));
    const std::uint32_t brass = builder.AddMaterial(MakeMaterial("brass", {0.95f, 0.7f, 0.3f}, 1.0f, 0.18f));
    const std::uint32_t stone = builder.AddMaterial(MakeMaterial("stone", {0.52f, 0.51f, 0.49f}, 0.0f, 0.85f));
    builder.Place(builder.AddShape(MakeCylinder(48, 0.5f, {1.0f, 1.0f}), steel),
                  MakePlacement({0.0f, s_poleHeight * 0.5f, 0.0f}, {s_poleRadius * 2, s_poleHeight, s_poleRadius * 2}));
    builder.Place(builder.AddShape(MakeSphere(24, 48), brass),
                  MakePlacement({0.0f, s_poleHeight + 0.09f, 0.0f}, {0.2f, 0.2f, 0.2f}));
    const std::uint32_t step = builder.AddShape(MakeCylinder(96, 0.49f, {1.0f, 1.0f}), stone);
    builder.Place(step, MakePlacement({0.0f, 0.08f, 0.0f}, {1.5f, 0.16f, 1.5f}));
    builder.Place(step, MakePlacement({0.0f, 0.24f, 0.0f}, {1.0f, 0.16f, 1.0f}));
    builder.Place(step, MakePlacement({0.0f, 0.4f, 0.0f}, {0.5f, 0.16f, 0.5f}));
}

} // namespace

SceneData MakeFlagScene()
{
    SceneData scene;
    scene.name = "flag";
    SceneBuilder builder(scene);
    AddPole(builder);
    AddFlag(builder, scene);
    return scene;
}

} // namespace gleamview
