// What stands where in the viewer's own scene.
#include "scene/OwnScene.h"

#include "scene/OwnPictures.h"
#include "scene/Shapes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace gleamview {

namespace {

SceneMaterial MakeMaterial(const char* name, float r, float g, float b, float metallic, float roughness)
{
    SceneMaterial material;
    material.name = name;
    const float color[4] = {r, g, b, 1.0f};
    std::copy(std::begin(color), std::end(color), material.baseColor);
    material.metallic = metallic;
    material.roughness = roughness;
    return material;
}

SceneMaterial MakeTextured(const char* name, std::uint32_t texture, float roughness)
{
    SceneMaterial material = MakeMaterial(name, 1.0f, 1.0f, 1.0f, 0.0f, roughness);
    material.baseTexture = texture;
    return material;
}

/// A cone in all colours, without a texture.
Shape MakeRainbowCone()
{
    Shape shape = MakeCylinder(48, 0.02f, {1.0f, 1.0f});
    for (SceneVertex& vertex : shape.vertices) {
        const float angle = std::atan2(vertex.position[2], vertex.position[0]);
        for (int channel = 0; channel < 3; ++channel) {
            const float phase = angle + static_cast<float>(channel) * 2.0f * std::numbers::pi_v<float> / 3.0f;
            vertex.color[channel] = static_cast<std::uint8_t>(std::lround(127.5f + 115.0f * std::cos(phase)));
        }
    }
    return shape;
}

class OwnScene
{
public:
    explicit OwnScene(SceneData& scene) : m_builder(scene) {}

    void Build()
    {
        AddStage();
        AddBodies();
        AddSpheres();
        AddSeeThrough();
        AddRing();
    }

private:
    void AddStage()
    {
        SceneMaterial tiles = MakeTextured("tiles", m_builder.AddTexture(MakeTiles()), 0.35f);
        const std::uint32_t stage =
            m_builder.AddShape(MakeCylinder(96, 0.5f, {24.0f, 1.0f}), m_builder.AddMaterial(tiles));
        m_builder.Place(stage, MakePlacement({0.0f, 0.12f, 0.0f}, {7.4f, 0.24f, 7.4f}));
    }

    void AddBodies()
    {
        const std::uint32_t red = m_builder.AddMaterial(MakeMaterial("lacquer", 0.62f, 0.03f, 0.03f, 0.0f, 0.22f));
        const std::uint32_t knot = m_builder.AddShape(MakeTorusKnot(320, 24, 0.155f), red);
        m_builder.Place(knot, MakePlacement({0.0f, 1.55f, 0.25f}, {1.55f, 1.55f, 1.55f})).spin = 0.6f;
        const std::uint32_t plinth =
            m_builder.AddShape(MakeCylinder(64, 0.42f, {1.0f, 1.0f}),
                               m_builder.AddMaterial(MakeMaterial("stone", 0.55f, 0.54f, 0.52f, 0.0f, 0.8f)));
        m_builder.Place(plinth, MakePlacement({0.0f, 0.49f, 0.25f}, {1.7f, 0.5f, 1.7f}));

        const std::uint32_t crate = m_builder.AddShape(
            MakeBox({1.0f, 1.0f}),
            m_builder.AddMaterial(MakeTextured("planks", m_builder.AddTexture(MakePlanks()), 0.75f)));
        m_builder.Place(crate, MakePlacement({-2.3f, 0.74f, 0.4f}, {1.0f, 1.0f, 1.0f}, 24.0f));
        m_builder.Place(crate, MakePlacement({-2.25f, 1.54f, 0.5f}, {0.6f, 0.6f, 0.6f}, -18.0f));

        SceneMaterial bricks = MakeTextured("bricks", m_builder.AddTexture(MakeBricks()), 0.85f);
        bricks.normalTexture = m_builder.AddTexture(MakeBrickNormals());
        const std::uint32_t column =
            m_builder.AddShape(MakeCylinder(64, 0.5f, {3.0f, 2.0f}), m_builder.AddMaterial(bricks));
        m_builder.Place(column, MakePlacement({2.25f, 1.14f, 0.9f}, {0.95f, 1.8f, 0.95f}));

        const std::uint32_t cone = m_builder.AddShape(
            MakeRainbowCone(), m_builder.AddMaterial(MakeMaterial("rainbow", 1.0f, 1.0f, 1.0f, 0.0f, 0.5f)));
        m_builder.Place(cone, MakePlacement({2.25f, 2.44f, 0.9f}, {0.8f, 0.8f, 0.8f})).spin = 1.0f;
    }

    /// From polished to rough: gold in front, plastic behind it.
    void AddSpheres()
    {
        for (int i = 0; i < 6; ++i) {
            const float roughness = 0.1f + 0.16f * static_cast<float>(i);
            const float x = (static_cast<float>(i) - 2.5f) * 0.72f;
            const float z = -2.0f + 0.07f * x * x;
            const std::uint32_t gold = m_builder.AddMaterial(MakeMaterial("gold", 1.0f, 0.71f, 0.29f, 1.0f, roughness));
            const std::uint32_t plastic =
                m_builder.AddMaterial(MakeMaterial("plastic", 0.05f, 0.25f, 0.6f, 0.0f, roughness));
            m_builder.Place(m_builder.AddShape(MakeSphere(24, 48), gold),
                            MakePlacement({x, 0.52f, z - 0.62f}, {0.56f, 0.56f, 0.56f}));
            m_builder.Place(m_builder.AddShape(MakeSphere(24, 48), plastic),
                            MakePlacement({x, 0.49f, z + 0.1f}, {0.5f, 0.5f, 0.5f}));
        }
    }

    void AddSeeThrough()
    {
        SceneMaterial lattice = MakeTextured("lattice", m_builder.AddTexture(MakeLattice()), 0.6f);
        lattice.alphaMode = AlphaMode::Mask;
        const std::uint32_t panel = m_builder.AddShape(MakeBoard(), m_builder.AddMaterial(lattice));
        m_builder.Place(panel, MakePlacement({-1.2f, 1.14f, 2.1f}, {1.8f, 1.8f, 1.0f}, 18.0f));

        SceneMaterial glass = MakeMaterial("glass", 0.35f, 0.75f, 0.8f, 0.0f, 0.08f);
        glass.baseColor[3] = 0.35f;
        glass.alphaMode = AlphaMode::Blend;
        const std::uint32_t ball = m_builder.AddShape(MakeSphere(32, 64), m_builder.AddMaterial(glass));
        m_builder.Place(ball, MakePlacement({-1.35f, 0.64f, -0.75f}, {0.8f, 0.8f, 0.8f}));

        SceneMaterial lamp = MakeMaterial("lamp", 0.9f, 0.8f, 0.6f, 0.0f, 0.5f);
        const float glow[3] = {3.2f, 1.7f, 0.5f};
        std::copy(std::begin(glow), std::end(glow), lamp.emissive);
        const std::uint32_t bulb = m_builder.AddShape(MakeSphere(16, 32), m_builder.AddMaterial(lamp));
        m_builder.Place(bulb, MakePlacement({1.3f, 0.44f, -0.8f}, {0.4f, 0.4f, 0.4f}));
    }

    /// Many small things, so that many draws are recorded side by side.
    void AddRing()
    {
        constexpr int count = 240;
        const std::uint32_t shapes[3] = {
            m_builder.AddShape(MakeBox({1.0f, 1.0f}),
                               m_builder.AddMaterial(MakeMaterial("slate", 0.12f, 0.16f, 0.22f, 0.0f, 0.5f))),
            m_builder.AddShape(MakeBox({1.0f, 1.0f}),
                               m_builder.AddMaterial(MakeMaterial("sand", 0.70f, 0.56f, 0.36f, 0.0f, 0.7f))),
            m_builder.AddShape(MakeBox({1.0f, 1.0f}),
                               m_builder.AddMaterial(MakeMaterial("copper", 0.93f, 0.46f, 0.32f, 1.0f, 0.4f))),
        };
        for (int i = 0; i < count; ++i) {
            const float share = static_cast<float>(i) / count;
            const float angle = share * 2.0f * std::numbers::pi_v<float>;
            const float height = 0.16f + 0.22f * (0.5f + 0.5f * std::sin(angle * 9.0f));
            m_builder.Place(shapes[i % 3],
                            MakePlacement({3.45f * std::cos(angle), 0.24f + height * 0.5f, 3.45f * std::sin(angle)},
                                          {0.14f, height, 0.07f}, 90.0f - share * 360.0f));
        }
    }

    SceneBuilder m_builder;
};

} // namespace

SceneData MakeOwnScene()
{
    SceneData scene;
    scene.name = "own scene";
    OwnScene(scene).Build();
    return scene;
}

} // namespace gleamview
