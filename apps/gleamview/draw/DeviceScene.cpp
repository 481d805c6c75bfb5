// Making of models, materials and draw items.
#include "draw/DeviceScene.h"

#include "cloth/FlagModel.h"
#include "draw/TextureLoader.h"
#include "draw/TextureUpload.h"

#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/Renderer.h>

#include <algorithm>
#include <cmath>

namespace gleamview {

const gw::FormatDesc g_sceneVertexFormat[4] = {
    {0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 3},
    {0, gw::eAttributeUsage_Normal, 0, 0, gw::eAttributeFormat_SNorm16, 4},
    {0, gw::eAttributeUsage_Texcoord, 0, 0, gw::eAttributeFormat_Float32, 2},
    {0, gw::eAttributeUsage_Color, 0, 0, gw::eAttributeFormat_UNorm8, 4},
};

namespace {

gw::EPrimitiveTopology GetTopology(PartKind kind)
{
    return kind == PartKind::Lines    ? gw::ePrimitiveTopology_LineList
           : kind == PartKind::Points ? gw::ePrimitiveTopology_PointList
                                      : gw::ePrimitiveTopology_TriangleList;
}

gw::EPrefabSamplerState GetSampler(TextureWrap wrap)
{
    return wrap == TextureWrap::Clamp    ? gw::SS_ANISO4_CLAMP
           : wrap == TextureWrap::Mirror ? gw::SS_ANISO4_MIRROR
                                         : gw::SS_ANISO4_WRAP;
}

} // namespace

DeviceScene::DeviceScene(gw::Renderer& renderer) : m_renderer(renderer) {}

DeviceScene::~DeviceScene()
{
    for (const std::unique_ptr<gw::Model>& model : m_models) {
        if (model) {
            model->RemoveRenderData();
        }
    }
    for (qs::ObjectHandle& texture : m_textures) {
        RemoveTextureNow(m_renderer, texture);
    }
    if (m_vertexFormat.IsValid()) {
        m_renderer.RemoveVertexFormat(m_vertexFormat);
    }
}

bool DeviceScene::Create(SceneData&& data, const Progress& progress, const Report& report)
{
    m_white = MakeTexel(255, 255, 255);
    m_flat = MakeTexel(128, 128, 255);
    m_renderer.AddVertexFormat(g_sceneVertexFormat, std::size(g_sceneVertexFormat), qs::ObjectHandle::Unassigned,
                               m_vertexFormat);
    m_bound = data.ComputeBound();
    m_triangleCount = data.CountTriangles();
    if (!CreateModels(data, progress, report)) {
        return false;
    }
    data.storage.clear(); // the device has its own copies now
    TextureLoader textures(m_renderer);
    textures.Load(data.textures, progress, report);
    m_textures.insert(m_textures.end(), textures.GetOwned().begin(), textures.GetOwned().end());
    CreateMaterials(data, textures);
    CreateItems(data);
    return true;
}

bool DeviceScene::CreateModels(const SceneData& data, const Progress& progress, const Report& report)
{
    m_models.resize(data.parts.size());
    m_flags.resize(data.parts.size());
    m_outlines.resize(data.parts.size());
    std::size_t failed = 0;
    for (std::size_t i = 0; i < data.parts.size(); ++i) {
        progress("uploading", static_cast<float>(i) / static_cast<float>(data.parts.size()));
        auto model = std::make_unique<gw::Model>(qs::FixedString::Create(data.name.c_str(), -1));
        if (data.parts[i].isCloth) {
            m_outlines[i] = FindOutline(data.parts[i]);
            failed += CreateFlag(data.parts[i], m_flags[i]) ? 0 : 1;
        } else if (CreateModel(data.parts[i], *model)) {
            m_models[i] = std::move(model);
            m_outlines[i] = FindOutline(data.parts[i]);
        } else {
            model->RemoveRenderData();
            ++failed;
        }
    }
    if (failed > 0) {
        report("the device has no room for " + std::to_string(failed) + " of " + std::to_string(data.parts.size()) +
               " parts");
    }
    return failed < data.parts.size();
}

bool DeviceScene::CreateModel(const ScenePart& part, gw::Model& model)
{
    model.SetTopology(GetTopology(part.kind));
    model.SetBound(part.bound);
    const VertexBufferID vertices = model.SetVertices(part.vertexCount, part.vertices, g_sceneVertexFormat,
                                                      std::size(g_sceneVertexFormat), gw::eResourceUsage_Immutable);
    const IndexBufferID indices =
        model.SetIndices(part.indexCount, sizeof(std::uint16_t), part.indices, gw::eResourceUsage_Immutable);
    return m_renderer.IsVertexBufferAlive(vertices) && m_renderer.IsIndexBufferAlive(indices);
}

bool DeviceScene::CreateFlag(const ScenePart& part, std::unique_ptr<FlagModel>& flag)
{
    flag = std::make_unique<FlagModel>(m_renderer);
    if (!flag->Create(part)) {
        flag.reset();
    }
    return flag != nullptr;
}

qs::ObjectHandle DeviceScene::MakeTexel(unsigned char r, unsigned char g, unsigned char b)
{
    unsigned char texel[4] = {r, g, b, 255};
    const qs::ObjectHandle handle = UploadTexture({texel, gw::FORMAT_RGBA8, 1, 1}, false);
    m_textures.push_back(handle);
    return handle;
}

void DeviceScene::CreateMaterials(const SceneData& data, const TextureLoader& textures)
{
    const auto find = [&](std::uint32_t texture, const qs::ObjectHandle& otherwise) {
        const bool isThere = texture != NoTexture && textures.GetHandles()[texture].IsValid();
        return isThere ? textures.GetHandles()[texture] : otherwise;
    };
    for (const SceneMaterial& source : data.materials) {
        const bool hasHoles = source.baseTexture != NoTexture && textures.HasHoles(source.baseTexture);
        DeviceMaterial material;
        material.baseTexture = find(source.baseTexture, m_white);
        material.normalTexture = find(source.normalTexture, m_flat);
        material.surfaceTexture = find(source.surfaceTexture, m_white);
        material.emissiveTexture = find(source.emissiveTexture, m_white);
        material.sampler = gw::details::RendererBase::SS(GetSampler(source.wrap));
        material.isBlended = source.alphaMode == AlphaMode::Blend;
        material.isMasked = source.alphaMode == AlphaMode::Mask || (source.alphaMode == AlphaMode::Auto && hasHoles);
        material.isFull = source.normalTexture != NoTexture || source.surfaceTexture != NoTexture ||
                          source.emissiveTexture != NoTexture;
        const float* color = source.baseColor;
        material.baseColor = {color[0], color[1], color[2], color[3]};
        material.emissive = {source.emissive[0], source.emissive[1], source.emissive[2], source.unlit ? 1.0f : 0.0f};
        material.surface = {source.metallic, source.roughness, material.isBlended ? 1.0f : 0.0f,
                            material.isMasked ? source.alphaCutoff : 0.0f};
        m_materials.push_back(material);
    }
}

void DeviceScene::CreateItems(const SceneData& data)
{
    for (const SceneInstance& instance : data.instances) {
        for (std::uint32_t i = 0; i < instance.partCount; ++i) {
            const std::uint32_t number = instance.firstPart + i;
            const ScenePart& part = data.parts[number];
            DrawItem item;
            if (SetModel(number, item)) {
                item.material = &m_materials[part.material];
                item.kind = part.kind;
                item.spin = instance.spin;
                item.outline = &m_outlines[number];
                item.start = item.world = instance.world;
                item.bound = TransformBound(part.bound, instance.world);
                m_items.push_back(item);
            }
        }
    }
}

/// False for a part that the device had no room for.
bool DeviceScene::SetModel(std::size_t part, DrawItem& item) const
{
    if (FlagModel* flag = m_flags[part].get()) {
        gw::ClothModel& model = flag->GetModel();
        item.model = &model;
        item.vertexFormat = flag->GetVertexFormat();
        item.moreBuffers[0] = model.GetClothPositionsVertexBuffer();
        item.moreBuffers[1] = model.GetClothSkinningVertexBuffer();
        item.isCloth = true;
    } else {
        item.model = m_models[part].get();
        item.vertexFormat = m_vertexFormat;
    }
    return item.model != nullptr;
}

bool DeviceScene::SetTime(double time)
{
    bool turns = false;
    for (const std::unique_ptr<FlagModel>& flag : m_flags) {
        if (flag) {
            flag->SetTime(time);
            turns = true;
        }
    }
    for (DrawItem& item : m_items) {
        if (item.spin == 0.0f) {
            continue;
        }
        turns = true;
        const float angle = static_cast<float>(std::fmod(time * item.spin, 6.283185307179586));
        const float c = std::cos(angle);
        const float s = std::sin(angle);
        item.world = Matrix4x4f{{c, 0, -s, 0, 0, 1, 0, 0, s, 0, c, 0, 0, 0, 0, 1}} * item.start;
        item.bound = TransformBound(item.model->GetBound(), item.world);
    }
    return turns;
}

std::vector<Vector3f> DeviceScene::GetOutline() const
{
    std::vector<Vector3f> points;
    for (const DrawItem& item : m_items) {
        std::transform(item.outline->begin(), item.outline->end(), std::back_inserter(points),
                       [&](const Vector3f& point) { return item.start.TransformPoint(point); });
    }
    return points;
}

} // namespace gleamview
