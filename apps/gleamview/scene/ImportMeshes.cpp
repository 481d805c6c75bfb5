// From assimp's arrays to parts: checks, skins in their resting pose, missing normals, vertex colours.
#include "scene/ImportMeshes.h"

#include "scene/CornerNormals.h"
#include "scene/MeshBuilder.h"

#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace gleamview {

namespace {

/// Positions further out than this overflow once they are squared.
constexpr float s_farthest = 1e15f;

bool IsSane(const aiVector3D& v)
{
    return std::fabs(v.x) < s_farthest && std::fabs(v.y) < s_farthest && std::fabs(v.z) < s_farthest;
}

std::uint8_t ToByte(float value)
{
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255.0f));
}

float ToSrgb(float value)
{
    return value <= 0.0031308f ? value * 12.92f : 1.055f * std::pow(value, 1.0f / 2.4f) - 0.055f;
}

/// Moves a skinned mesh's vertices to where its bones' nodes hold them. Vertices without weights stay with the node
/// named like the mesh's first bone would: untouched.
void ApplySkin(aiMesh& mesh, const NodeMatrices& nodes)
{
    std::vector<aiMatrix4x4> sums(mesh.mNumVertices, aiMatrix4x4(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
    std::vector<float> weights(mesh.mNumVertices, 0.0f);
    for (unsigned b = 0; b < mesh.mNumBones; ++b) {
        const aiBone& bone = *mesh.mBones[b];
        const auto node = nodes.find(bone.mName.C_Str());
        if (node == nodes.end()) {
            continue;
        }
        const aiMatrix4x4 matrix = node->second * bone.mOffsetMatrix;
        for (unsigned w = 0; w < bone.mNumWeights; ++w) {
            const aiVertexWeight& weight = bone.mWeights[w];
            if (weight.mVertexId < mesh.mNumVertices && weight.mWeight > 0.0f) {
                sums[weight.mVertexId] = sums[weight.mVertexId] + matrix * weight.mWeight;
                weights[weight.mVertexId] += weight.mWeight;
            }
        }
    }
    for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
        if (weights[i] <= 0.0f) {
            continue;
        }
        const aiMatrix4x4 matrix = sums[i] * (1.0f / weights[i]);
        mesh.mVertices[i] = matrix * mesh.mVertices[i];
        if (mesh.mNormals) {
            mesh.mNormals[i] = aiMatrix3x3(matrix) * mesh.mNormals[i];
        }
    }
}

/// One mesh on its way into the builder.
class MeshImport
{
public:
    MeshImport(const aiMesh& mesh, unsigned uvSet, bool hasLinearColors, std::function<void(float)> progress)
        : m_mesh(mesh), m_uvSet(mesh.HasTextureCoords(uvSet) ? uvSet : 0), m_hasLinearColors(hasLinearColors),
          m_progress(std::move(progress))
    {
    }

    /// Gives the number of primitives that were left out.
    unsigned Write(MeshBuilder& builder)
    {
        const PartKind kind = m_mesh.mPrimitiveTypes & aiPrimitiveType_TRIANGLE ? PartKind::Triangles
                              : m_mesh.mPrimitiveTypes & aiPrimitiveType_LINE   ? PartKind::Lines
                                                                                : PartKind::Points;
        const unsigned corners = kind == PartKind::Triangles ? 3 : kind == PartKind::Lines ? 2 : 1;
        if (kind == PartKind::Triangles && !m_mesh.HasNormals()) {
            CollectTriangles();
            m_normals.emplace(std::span(reinterpret_cast<const Vector3f*>(m_mesh.mVertices), m_mesh.mNumVertices),
                              m_triangles);
        }
        builder.Begin(kind, m_mesh.mMaterialIndex);
        unsigned dropped = 0;
        std::size_t triangle = 0;
        for (unsigned i = 0; i < m_mesh.mNumFaces; ++i) {
            if (i % 65536 == 0) {
                m_progress(static_cast<float>(i) / static_cast<float>(m_mesh.mNumFaces));
            }
            const aiFace& face = m_mesh.mFaces[i];
            if (!IsUsable(face, corners)) {
                ++dropped;
                continue;
            }
            SceneVertex vertices[3] = {};
            for (unsigned c = 0; c < corners; ++c) {
                vertices[c] = Convert(face.mIndices[c], m_normals ? m_normals->Get(triangle, c) : Vector3f());
            }
            ++triangle;
            builder.Add(vertices);
        }
        builder.End();
        return dropped;
    }

private:
    bool IsUsable(const aiFace& face, unsigned corners) const
    {
        return face.mNumIndices == corners &&
               std::all_of(face.mIndices, face.mIndices + corners, [this](unsigned index) {
                   return index < m_mesh.mNumVertices && IsSane(m_mesh.mVertices[index]);
               });
    }

    void CollectTriangles()
    {
        m_triangles.reserve(std::size_t(m_mesh.mNumFaces) * 3);
        for (unsigned i = 0; i < m_mesh.mNumFaces; ++i) {
            const aiFace& face = m_mesh.mFaces[i];
            if (IsUsable(face, 3)) {
                m_triangles.insert(m_triangles.end(), face.mIndices, face.mIndices + 3);
            }
        }
    }

    SceneVertex Convert(unsigned index, Vector3f normal) const
    {
        if (m_mesh.mNormals) {
            const aiVector3D& n = m_mesh.mNormals[index];
            normal = IsSane(n) ? Vector3f(n.x, n.y, n.z).Normalized() : Vector3f(0.0f, 1.0f, 0.0f);
        }
        Vector2f uv;
        if (m_mesh.HasTextureCoords(m_uvSet) && IsSane(m_mesh.mTextureCoords[m_uvSet][index])) {
            uv = {m_mesh.mTextureCoords[m_uvSet][index].x, m_mesh.mTextureCoords[m_uvSet][index].y};
        }
        std::array<std::uint8_t, 4> color = {255, 255, 255, 255};
        if (m_mesh.HasVertexColors(0)) {
            const aiColor4D& c = m_mesh.mColors[0][index];
            const float channels[3] = {c.r, c.g, c.b};
            for (std::size_t i = 0; i < 3; ++i) {
                color[i] = ToByte(m_hasLinearColors ? ToSrgb(channels[i]) : channels[i]);
            }
            color[3] = ToByte(c.a);
        }
        const aiVector3D& p = m_mesh.mVertices[index];
        return MakeVertex({p.x, p.y, p.z}, normal, uv, color);
    }

    const aiMesh& m_mesh;
    unsigned m_uvSet;
    bool m_hasLinearColors;
    std::function<void(float)> m_progress;
    std::vector<std::uint32_t> m_triangles;
    std::optional<CornerNormals> m_normals;
};

/// glTF's vertex colours are linear light; other formats' are what a screen shows.
bool HasLinearColors(const aiScene& scene)
{
    aiString format;
    return scene.mMetaData && scene.mMetaData->Get("SourceAsset_Format", format) &&
           std::string(format.C_Str()).find("glTF") != std::string::npos;
}

} // namespace

std::vector<ImportedMesh> WriteMeshes(const aiScene& scene, const std::vector<unsigned>& uvSets,
                                      const NodeMatrices& nodes, SceneWriter& writer, const ImportProgress& progress)
{
    MeshBuilder builder(writer);
    std::vector<ImportedMesh> meshes(scene.mNumMeshes);
    const bool hasLinearColors = HasLinearColors(scene);
    std::uint64_t dropped = 0;
    for (unsigned i = 0; i < scene.mNumMeshes; ++i) {
        aiMesh& mesh = *scene.mMeshes[i];
        meshes[i].firstPart = writer.GetPartCount();
        meshes[i].isSkinned = mesh.HasBones();
        if (meshes[i].isSkinned) {
            ApplySkin(mesh, nodes);
        }
        const unsigned uvSet = mesh.mMaterialIndex < uvSets.size() ? uvSets[mesh.mMaterialIndex] : 0;
        dropped += MeshImport(mesh, uvSet, hasLinearColors, [&](float share) {
                       if (progress) {
                           const float whole = static_cast<float>(scene.mNumMeshes);
                           progress("building meshes", (static_cast<float>(i) + share) / whole);
                       }
                   }).Write(builder);
        meshes[i].partCount = writer.GetPartCount() - meshes[i].firstPart;
        // The largest scenes fit because no mesh stands in memory in both forms for longer than this.
        delete scene.mMeshes[i];
        scene.mMeshes[i] = nullptr;
    }
    if (dropped > 0) {
        writer.AddWarning(std::to_string(dropped) + " faces are damaged and are left out");
    }
    return meshes;
}

} // namespace gleamview
