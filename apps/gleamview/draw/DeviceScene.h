// A scene on the device: models, textures, and the list of what is to be drawn.
#pragma once

#include "scene/SceneData.h"

#include <Gleamwork/Model.h>
#include <Gleamwork/RenderTypes.h>

#include <functional>
#include <memory>
#include <qs/ObjectHandle.h>
#include <string>
#include <vector>

namespace gw {
class Renderer;
}

namespace gleamview {

class FlagModel;

struct DeviceMaterial
{
    qs::ObjectHandle baseTexture;
    qs::ObjectHandle normalTexture;
    qs::ObjectHandle surfaceTexture;
    qs::ObjectHandle emissiveTexture;
    qs::ObjectHandle sampler;
    Vector4f baseColor;
    Vector4f emissive; ///< w is 1 where unlit
    Vector4f surface;  ///< metallic, roughness, 1 where blended, alpha below which nothing is drawn
    bool isFull = false;
    bool isMasked = false;
    bool isBlended = false;
};

/// One part of one instance.
struct DrawItem
{
    gw::Model* model = nullptr;
    qs::ObjectHandle vertexFormat;
    VertexBufferID moreBuffers[2]; ///< slots 1 and 2, of a cloth only
    bool isCloth = false;
    const DeviceMaterial* material = nullptr;
    PartKind kind = PartKind::Triangles;
    float spin = 0.0f;
    const std::vector<Vector3f>* outline = nullptr; ///< of the part, in its own space
    Matrix4x4f start;                               ///< at time 0
    Matrix4x4f world;
    qs::Bound bound; ///< in the world
};

/// Made and changed on the thread that owns the device; while a frame runs, workers read it.
class DeviceScene
{
public:
    using Progress = std::function<void(const char* step, float share)>;
    using Report = std::function<void(const std::string& sentence)>;

    explicit DeviceScene(gw::Renderer& renderer);
    ~DeviceScene();
    DeviceScene(const DeviceScene&) = delete;
    DeviceScene& operator=(const DeviceScene&) = delete;

    /// Makes the device's copies; the data is spent. What cannot be had is told to `report`, one sentence each, and
    /// something else stands in for it. False when nothing can be drawn.
    bool Create(SceneData&& data, const Progress& progress, const Report& report);
    /// Moves what turns or blows to a point in time, in seconds. True when there is such a thing.
    bool SetTime(double time);

    const std::vector<DrawItem>& GetItems() const { return m_items; }
    const qs::Bound& GetBound() const { return m_bound; }
    /// Outermost points of what is drawn, for framing.
    std::vector<Vector3f> GetOutline() const;
    std::uint64_t GetTriangleCount() const { return m_triangleCount; }

private:
    class TextureLoader;

    bool CreateModels(const SceneData& data, const Progress& progress, const Report& report);
    bool CreateModel(const ScenePart& part, gw::Model& model);
    void CreateMaterials(const SceneData& data, const TextureLoader& textures);
    void CreateItems(const SceneData& data);
    bool CreateFlag(const ScenePart& part, std::unique_ptr<FlagModel>& flag);
    bool SetModel(std::size_t part, DrawItem& item) const;
    qs::ObjectHandle MakeTexel(unsigned char r, unsigned char g, unsigned char b);

    gw::Renderer& m_renderer;
    qs::ObjectHandle m_vertexFormat;
    std::vector<std::unique_ptr<gw::Model>> m_models; ///< per part; null where the device had no room, and of cloths
    std::vector<std::unique_ptr<FlagModel>> m_flags;  ///< per part; null of all but cloths
    std::vector<std::vector<Vector3f>> m_outlines;    ///< per part
    std::vector<qs::ObjectHandle> m_textures;
    std::vector<DeviceMaterial> m_materials;
    std::vector<DrawItem> m_items;
    qs::ObjectHandle m_white;
    qs::ObjectHandle m_flat; ///< a normal straight up
    qs::Bound m_bound;
    std::uint64_t m_triangleCount = 0;
};

/// Layout of SceneVertex.
extern const gw::FormatDesc g_sceneVertexFormat[4];

} // namespace gleamview
