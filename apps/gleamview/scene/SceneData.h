// A scene as plain data: what an import gives, what the viewer's own scene is made of, and what the device copies are
// made from. Everything is left-handed with y up, as the library's cameras see it.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <qs/Math.h>
#include <string>
#include <vector>

namespace gleamview {

/// One vertex of every mesh, as the device reads it.
struct SceneVertex
{
    float position[3];
    std::int16_t normal[4]; ///< signed, normalised; the fourth is unused
    float uv[2];
    std::uint8_t color[4]; ///< sRGB and linear alpha; multiplies the material's colour
};
static_assert(sizeof(SceneVertex) == 32);

enum class PartKind : std::uint32_t
{
    Triangles = 0,
    Lines = 1,
    Points = 2,
};

/// Up to 65,536 vertices of one material with 16-bit indices: one draw. The arrays belong to SceneData::storage.
struct ScenePart
{
    PartKind kind = PartKind::Triangles;
    std::uint32_t material = 0;
    const SceneVertex* vertices = nullptr;
    const std::uint16_t* indices = nullptr;
    std::uint32_t vertexCount = 0;
    std::uint32_t indexCount = 0;
    qs::Bound bound;
    bool isCloth = false; ///< moves in the wind, as freely as the red of its colours says; they colour nothing then
};

/// A run of parts, placed. Several instances may show the same parts.
struct SceneInstance
{
    std::uint32_t firstPart = 0;
    std::uint32_t partCount = 0;
    float spin = 0.0f; ///< radians a second around its own y axis
    Matrix4x4f world;
};

enum class AlphaMode : std::uint32_t
{
    Opaque = 0,
    Mask = 1,  ///< pixels below the cutoff are not drawn
    Blend = 2, ///< drawn over what is behind, from back to front
    Auto = 3,  ///< Mask when the base texture has transparent pixels, else Opaque
};

enum class TextureWrap : std::uint32_t
{
    Repeat = 0,
    Clamp = 1,
    Mirror = 2,
};

constexpr std::uint32_t NoTexture = ~0u;

/// Metallic-roughness values in linear light; older material models are translated to it.
struct SceneMaterial
{
    std::string name;
    float baseColor[4] = {0.75f, 0.75f, 0.75f, 1.0f};
    float emissive[3] = {0.0f, 0.0f, 0.0f};
    float metallic = 0.0f;
    float roughness = 0.6f;
    float alphaCutoff = 0.5f;
    AlphaMode alphaMode = AlphaMode::Opaque;
    TextureWrap wrap = TextureWrap::Repeat;
    bool unlit = false;
    std::uint32_t baseTexture = NoTexture; ///< positions in SceneData::textures
    std::uint32_t normalTexture = NoTexture;
    std::uint32_t surfaceTexture = NoTexture; ///< green is roughness, blue is metallic
    std::uint32_t emissiveTexture = NoTexture;
};

/// A file to be found, the bytes of one, or pixels.
struct SceneTexture
{
    std::string path;                ///< as the model names it, also where it is embedded
    std::string folder;              ///< the model's
    std::vector<std::uint8_t> bytes; ///< an image file's bytes, or RGBA8 rows when there is a width and a height
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool isColor = true; ///< sRGB; false for normals and surface values
};

/// A camera that the file brings.
struct SceneCamera
{
    std::string name;
    Vector3f position;
    Vector3f target;
    Vector3f up{0.0f, 1.0f, 0.0f};
    float verticalFov = 1.0f; ///< radians
};

struct SceneData
{
    std::string name; ///< for people
    std::vector<ScenePart> parts;
    std::vector<SceneInstance> instances;
    std::vector<SceneMaterial> materials;
    std::vector<SceneTexture> textures;
    std::vector<SceneCamera> cameras;
    std::vector<std::string> warnings; ///< what was left out, one sentence each
    std::vector<std::shared_ptr<const void>> storage;

    std::uint64_t CountTriangles() const;
    /// Of all instances, in world space; a box of size 0 for an empty scene.
    qs::Bound ComputeBound() const;
    /// Appends the other's contents, each instance behind `placement`. Cameras move along.
    void Append(SceneData&& other, const Matrix4x4f& placement);
};

/// The bound of a bound's eight corners behind a matrix.
qs::Bound TransformBound(const qs::Bound& bound, const Matrix4x4f& matrix);
/// The outermost vertices of a part in 26 directions: as good as the part for framing.
std::vector<Vector3f> FindOutline(const ScenePart& part);
std::array<Vector3f, 8> GetCorners(const qs::Bound& bound);

/// Vertex fields from plain values.
SceneVertex MakeVertex(const Vector3f& position, const Vector3f& normal, const Vector2f& uv,
                       const std::array<std::uint8_t, 4>& color = {255, 255, 255, 255});

} // namespace gleamview
