// The order of an import: read, materials, meshes one by one (each freed behind itself), instances, cameras.
#include "scene/Importer.h"

#include "scene/ImportMaterials.h"
#include "scene/ImportMeshes.h"

#include <assimp/Importer.hpp>
#include <assimp/ProgressHandler.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>

namespace gleamview {

namespace {

class ProgressForwarder final : public Assimp::ProgressHandler
{
public:
    explicit ProgressForwarder(const ImportProgress& progress) : m_progress(progress) {}

    bool Update(float share) override
    {
        if (m_progress) {
            m_progress(m_step, share < 0.0f ? 0.0f : share);
        }
        return true;
    }
    void UpdateFileRead(int step, int count) override
    {
        m_step = "reading";
        Update(count > 0 ? static_cast<float>(step) / static_cast<float>(count) : 0.0f);
    }
    void UpdatePostProcess(int step, int count) override
    {
        m_step = "preparing";
        Update(count > 0 ? static_cast<float>(step) / static_cast<float>(count) : 0.0f);
    }

private:
    const ImportProgress& m_progress;
    const char* m_step = "reading";
};

/// Row vectors here, column vectors there.
Matrix4x4f ToMatrix(const aiMatrix4x4& m)
{
    Matrix4x4f result;
    const float rows[16] = {m.a1, m.b1, m.c1, m.d1, m.a2, m.b2, m.c2, m.d2,
                            m.a3, m.b3, m.c3, m.d3, m.a4, m.b4, m.c4, m.d4};
    std::copy(std::begin(rows), std::end(rows), result.m);
    return result;
}

bool IsFinite(const Matrix4x4f& matrix)
{
    return std::all_of(std::begin(matrix.m), std::end(matrix.m), [](float value) { return std::isfinite(value); });
}

/// Turns the file's up to y. The importer mirrors z on the way to the left-handed world, so up along z arrives as -z.
Matrix4x4f GetUpright(const aiScene& scene, UpAxis up)
{
    std::int32_t axis = 1;
    std::int32_t sign = 1;
    if (up != UpAxis::FromFile) {
        axis = (static_cast<int>(up) - static_cast<int>(UpAxis::X)) % 3;
        sign = up >= UpAxis::MinusX ? -1 : 1;
    } else if (up == UpAxis::FromFile && scene.mMetaData) {
        scene.mMetaData->Get("UpAxis", axis);
        scene.mMetaData->Get("UpAxisSign", sign);
    }
    const float s = sign < 0 ? -1.0f : 1.0f;
    Matrix4x4f result;
    if (axis == 2) {
        result = {{1, 0, 0, 0, 0, 0, s, 0, 0, -s, 0, 0, 0, 0, 0, 1}};
    } else if (axis == 0) {
        result = {{0, s, 0, 0, -s, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}};
    } else if (s < 0.0f) {
        result = {{1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1}};
    }
    return result;
}

struct PlacedNode
{
    const aiNode* node;
    aiMatrix4x4 world;
};

/// All nodes with their world matrices. Files can nest deeper than a call stack.
std::vector<PlacedNode> CollectNodes(const aiScene& scene)
{
    std::vector<PlacedNode> nodes;
    if (scene.mRootNode) {
        nodes.push_back({scene.mRootNode, scene.mRootNode->mTransformation});
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const PlacedNode parent = nodes[i];
        for (unsigned child = 0; child < parent.node->mNumChildren; ++child) {
            const aiNode* node = parent.node->mChildren[child];
            nodes.push_back({node, parent.world * node->mTransformation});
        }
    }
    return nodes;
}

void WriteInstances(const std::vector<PlacedNode>& nodes, const std::vector<ImportedMesh>& meshes,
                    const Matrix4x4f& upright, SceneWriter& writer)
{
    std::vector<bool> isPlaced(meshes.size(), false);
    unsigned dropped = 0;
    for (const PlacedNode& placed : nodes) {
        for (unsigned i = 0; i < placed.node->mNumMeshes; ++i) {
            const unsigned index = placed.node->mMeshes[i];
            if (index >= meshes.size()) {
                continue;
            }
            const ImportedMesh& mesh = meshes[index];
            // A skinned mesh stands in the world already, once.
            if (mesh.partCount == 0 || (mesh.isSkinned && isPlaced[index])) {
                continue;
            }
            isPlaced[index] = true;
            const Matrix4x4f world = (mesh.isSkinned ? Matrix4x4f() : ToMatrix(placed.world)) * upright;
            if (IsFinite(world)) {
                writer.AddInstance({mesh.firstPart, mesh.partCount, 0.0f, world});
            } else {
                ++dropped;
            }
        }
    }
    if (dropped > 0) {
        writer.AddWarning(std::to_string(dropped) + " objects have no finite place and are left out");
    }
}

void WriteCameras(const aiScene& scene, const std::vector<PlacedNode>& nodes, const Matrix4x4f& upright,
                  SceneWriter& writer)
{
    for (unsigned i = 0; i < scene.mNumCameras; ++i) {
        const aiCamera& source = *scene.mCameras[i];
        Matrix4x4f world = upright;
        for (const PlacedNode& placed : nodes) {
            if (placed.node->mName == source.mName) {
                world = ToMatrix(placed.world) * upright;
                break;
            }
        }
        const auto convert = [](const aiVector3D& v) { return Vector3f(v.x, v.y, v.z); };
        SceneCamera camera;
        camera.name = source.mName.C_Str();
        camera.position = world.TransformPoint(convert(source.mPosition));
        camera.target = camera.position + world.TransformVector(convert(source.mLookAt)).Normalized();
        camera.up = world.TransformVector(convert(source.mUp)).Normalized();
        const float aspect = source.mAspect > 0.0f ? source.mAspect : 16.0f / 9.0f;
        const float fov = 2.0f * std::atan(std::tan(source.mHorizontalFOV * 0.5f) / aspect);
        camera.verticalFov = std::isfinite(fov) ? std::clamp(fov, 0.17f, 2.1f) : 1.0f;
        const Vector3f check = camera.position + camera.target + camera.up;
        if (IsFinite(world) && std::isfinite(check.x + check.y + check.z)) {
            writer.AddCamera(camera);
        }
    }
}

/// Clouds of points arrive without faces, which the later steps take for damage.
void AddPoints(aiScene& scene)
{
    for (unsigned i = 0; i < scene.mNumMeshes; ++i) {
        aiMesh& mesh = *scene.mMeshes[i];
        if (mesh.mNumFaces > 0 || mesh.mNumVertices == 0) {
            continue;
        }
        mesh.mPrimitiveTypes = aiPrimitiveType_POINT;
        mesh.mFaces = new aiFace[mesh.mNumVertices];
        mesh.mNumFaces = mesh.mNumVertices;
        for (unsigned v = 0; v < mesh.mNumVertices; ++v) {
            mesh.mFaces[v].mNumIndices = 1;
            mesh.mFaces[v].mIndices = new unsigned[1]{v};
        }
    }
}

std::unique_ptr<aiScene> ReadFile(const std::string& path, const ImportProgress& progress, std::string& error)
{
    Assimp::Importer importer;
    importer.SetProgressHandler(new ProgressForwarder(progress)); // owned by the importer from here on
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    if (!importer.ReadFile(path, 0)) {
        error = path + ": " + importer.GetErrorString();
        return nullptr;
    }
    // The scene is this function's to change until the steps begin.
    AddPoints(const_cast<aiScene&>(*importer.GetScene()));
    const unsigned steps = aiProcess_Triangulate | aiProcess_SortByPType | aiProcess_ConvertToLeftHanded |
                           aiProcess_GenUVCoords | aiProcess_TransformUVCoords | aiProcess_FindInvalidData |
                           aiProcess_ValidateDataStructure;
    if (!importer.ApplyPostProcessing(steps)) {
        error = path + ": " + importer.GetErrorString();
        return nullptr;
    }
    return std::unique_ptr<aiScene>(importer.GetOrphanedScene());
}

bool CheckFile(const std::string& path, std::string& error)
{
    std::error_code code;
    if (!std::filesystem::is_regular_file(path, code)) {
        error = path + ": " + (code ? code.message() : "not a file");
        return false;
    }
    return true;
}

} // namespace

bool IsModelExtension(const std::string& path)
{
    const std::string extension = std::filesystem::path(path).extension().string();
    return !extension.empty() && Assimp::Importer().IsExtensionSupported(extension);
}

bool ImportModel(const std::string& path, UpAxis up, SceneWriter& writer, const ImportProgress& progress,
                 std::string& error)
{
    if (!CheckFile(path, error)) {
        return false;
    }
    const std::unique_ptr<aiScene> scene = ReadFile(path, progress, error);
    if (!scene) {
        return false;
    }
    const std::vector<unsigned> uvSets = WriteMaterials(*scene, writer);
    const std::vector<PlacedNode> nodes = CollectNodes(*scene);
    NodeMatrices matrices;
    for (const PlacedNode& placed : nodes) {
        matrices.emplace(placed.node->mName.C_Str(), placed.world);
    }
    const std::vector<ImportedMesh> meshes = WriteMeshes(*scene, uvSets, matrices, writer, progress);
    if (writer.GetPartCount() == 0) {
        error = path + ": there is no geometry in it";
        return false;
    }
    const Matrix4x4f upright = GetUpright(*scene, up);
    WriteInstances(nodes, meshes, upright, writer);
    WriteCameras(*scene, nodes, upright, writer);
    if (!writer.Finish()) {
        error = path + ": the imported scene found no room in memory";
        return false;
    }
    return true;
}

} // namespace gleamview
