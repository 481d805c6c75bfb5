// Models on their way into the viewer's plain scene: geometry, materials, formats, damage.
#include "GleamviewFixture.h"
#include "SceneKit.h"
#include "scene/CornerNormals.h"
#include "scene/ImportProcess.h"
#include "scene/MeshBuilder.h"
#include "scene/TextureFiles.h"

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

using namespace gleamview;

namespace {

/// A square in the plane z = 0, facing +z, of red cloth that is a third transparent; its texture is square.png.
constexpr char s_squareObj[] = "mtllib square.mtl\nv -1 0 0\nv 1 0 0\nv 1 2 0\nv -1 2 0\nvt 0 0\nvt 1 0\nvt 1 1\n"
                               "vt 0 1\nvn 0 0 1\nusemtl cloth\nf 1/1/1 2/2/1 3/3/1 4/4/1\n";
constexpr char s_squareMtl[] = "newmtl cloth\nKd 1 0.5 0\nKs 1 1 1\nNs 98\nd 0.75\nmap_Kd square.png\n";

class ModelFiles : public Gleamview
{
protected:
    std::string WriteSquare()
    {
        WriteText("square.mtl", s_squareMtl);
        WriteText("square.obj", s_squareObj);
        return File("square.obj");
    }
};

void ExpectNear(const Vector3f& a, const Vector3f& b, float tolerance)
{
    EXPECT_LE((a - b).Length(), tolerance)
        << a.x << ' ' << a.y << ' ' << a.z << " for " << b.x << ' ' << b.y << ' ' << b.z;
}

TEST_F(ModelFiles, AnObjArrivesWithItsMaterialTurnedToTheLeftHandedWorld)
{
    std::string error;
    const SceneData scene = Import(WriteSquare(), error);
    ASSERT_EQ(scene.parts.size(), 1u) << error;
    EXPECT_EQ(scene.CountTriangles(), 2u);
    EXPECT_EQ(scene.parts[0].vertexCount, 4u); // corners that are alike are one vertex
    ExpectNear(scene.ComputeBound().minimum, {-1, 0, 0}, 1e-6f);
    ExpectNear(scene.ComputeBound().maximum, {1, 2, 0}, 1e-6f);
    for (std::uint32_t i = 0; i < 4; ++i) {
        const SceneVertex& vertex = scene.parts[0].vertices[i];
        EXPECT_EQ(vertex.normal[2], -32767);
        // The picture's upper edge is v = 0.
        EXPECT_FLOAT_EQ(vertex.uv[0], vertex.position[0] > 0 ? 1.0f : 0.0f);
        EXPECT_FLOAT_EQ(vertex.uv[1], vertex.position[1] > 1 ? 0.0f : 1.0f);
    }
    const SceneMaterial& material = scene.materials[scene.parts[0].material];
    EXPECT_NEAR(material.baseColor[0], 1.0f, 1e-3f);
    EXPECT_NEAR(material.baseColor[1], 0.214f, 1e-3f); // linear light
    EXPECT_NEAR(material.baseColor[3], 0.75f, 1e-3f);
    EXPECT_EQ(material.alphaMode, AlphaMode::Blend);
    EXPECT_NEAR(material.roughness, std::pow(2.0f / 100.0f, 0.25f), 1e-3f);
    ASSERT_EQ(scene.textures.size(), 1u);
    EXPECT_EQ(scene.textures[material.baseTexture].path, "square.png");
}

/// Every format says the same about one model.
class Formats : public ModelFiles, public testing::WithParamInterface<const char*>
{
};

TEST_P(Formats, BringTheSameSquare)
{
    Assimp::Importer importer;
    const aiScene* source = importer.ReadFile(WriteSquare(), aiProcess_Triangulate);
    ASSERT_TRUE(source);
    const std::string id = GetParam();
    std::string extension = id == "glb2" ? "glb" : id == "gltf2" ? "gltf" : id;
    extension = id == "fbxa"      ? "fbx"
                : id == "collada" ? "dae"
                : id == "plyb"    ? "ply"
                : id == "stlb"    ? "stl"
                                  : extension;
    const std::string path = File("square." + extension);
    ASSERT_EQ(Assimp::Exporter().Export(source, id, path), AI_SUCCESS);

    std::string error;
    const SceneData scene = Import(path, error);
    ASSERT_EQ(scene.CountTriangles(), 2u) << error;
    const qs::Bound bound = scene.ComputeBound();
    const Vector3f size = bound.maximum - bound.minimum;
    // The exporter of 3ds leaves y up, where the format has z; the importer takes it at its word.
    EXPECT_NEAR(size.x, id == "3ds" ? size.z : size.y, size.x * 1e-4f);
    EXPECT_NEAR(id == "3ds" ? size.y : size.z, 0.0f, size.x * 1e-4f);
    const bool hasMaterial = id != "plyb" && id != "stlb";
    if (hasMaterial) {
        ASSERT_FALSE(scene.textures.empty());
        const SceneMaterial& material = scene.materials[scene.parts[0].material];
        EXPECT_NE(material.baseTexture, NoTexture);
        // Where a texture takes the colour's place, the colour is white.
        const bool hasColor = id != "collada" && id != "x";
        EXPECT_NEAR(material.baseColor[2], hasColor ? 0.0f : 1.0f, 1e-3f);
    }
}

INSTANTIATE_TEST_SUITE_P(Assimp, Formats,
                         testing::Values("obj", "gltf2", "glb2", "fbxa", "collada", "3ds", "plyb", "stlb", "x"),
                         [](const auto& info) { return std::string(info.param); });

TEST_F(ModelFiles, UpGoesWhereItIsTold)
{
    WriteText("tower.obj", "v 0 0 0\nv 1 0 0\nv 0 0 5\nf 1 2 3\n"); // high along z
    std::string error;
    const Vector3f lying = Import(File("tower.obj"), error).ComputeBound().GetExtents();
    const qs::Bound upright = Import(File("tower.obj"), error, UpAxis::Z).ComputeBound();
    EXPECT_FLOAT_EQ(lying.z, 2.5f);
    EXPECT_FLOAT_EQ(upright.minimum.y, 0.0f);
    EXPECT_FLOAT_EQ(upright.maximum.y, 5.0f);
}

TEST_F(ModelFiles, DamageIsToldAndTheRestIsKept)
{
    std::string error;
    WriteText("infinite.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1e30 0 0\nf 1 2 3\nf 1 2 4\n");
    const SceneData scene = Import(File("infinite.obj"), error);
    EXPECT_EQ(scene.CountTriangles(), 1u) << error;
    ASSERT_EQ(scene.warnings.size(), 1u);
    EXPECT_NE(scene.warnings[0].find("1 faces"), std::string::npos);

    WriteText("points.ply", "ply\nformat ascii 1.0\nelement vertex 2\nproperty float x\nproperty float y\n"
                            "property float z\nend_header\n0 0 0\n1 1 1\n");
    const SceneData points = Import(File("points.ply"), error);
    ASSERT_EQ(points.parts.size(), 1u) << error;
    EXPECT_EQ(points.parts[0].kind, PartKind::Points);

    WriteText("index.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 900000000\n");
    WriteText("empty.obj", "# nothing\n# at all, but long enough to be looked at\n");
    WriteText("noise.glb", "glTF\x02 and then noise");
    for (const std::string name : {"index.obj", "empty.obj", "noise.glb", "missing.obj"}) {
        EXPECT_TRUE(Import(File(name), error).parts.empty());
        EXPECT_NE(error.find(name), std::string::npos) << error;
    }
}

TEST_F(ModelFiles, AnImporterThatDiesIsToldWithItsFile)
{
    const auto run = [this](const std::string& script, std::string& error) {
        WriteText("importer.sh", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(File("importer.sh"), std::filesystem::perms::owner_all);
        ImportProcess process;
        EXPECT_TRUE(process.Start("model.obj", UpAxis::FromFile, error, File("importer.sh").c_str())) << error;
        while (!process.Poll(1000)) {
        }
        SceneData scene;
        return process.TakeResult(scene, error);
    };
    std::string error;
    EXPECT_FALSE(run("kill -SEGV $$", error));
    EXPECT_NE(error.find("model.obj: the importer broke down"), std::string::npos) << error;
    EXPECT_FALSE(run("printf 'P 500 reading\\nE model.obj: said so\\n'; exit 1", error));
    EXPECT_EQ(error, "model.obj: said so");
    EXPECT_FALSE(run("exit 0", error)); // claims success and brought nothing
    EXPECT_NE(error.find("damaged"), std::string::npos) << error;
    EXPECT_FALSE(ImportProcess().Start("model.obj", UpAxis::FromFile, error, File("nothing").c_str()));
}

TEST(Meshes, LargeOnesAreCutAndLoseNothing)
{
    constexpr unsigned side = 400; // 160,801 vertices
    const SceneData scene = WriteAndRead([](SceneWriter& writer) {
        writer.AddMaterial({});
        MeshBuilder builder(writer);
        builder.Begin(PartKind::Triangles, 0);
        const auto vertex = [](unsigned x, unsigned y) {
            return MakeVertex({float(x), float(y), 0.0f}, {0, 0, -1}, {0, 0});
        };
        for (unsigned y = 0; y < side; ++y) {
            for (unsigned x = 0; x < side; ++x) {
                const SceneVertex corners[6] = {vertex(x, y),     vertex(x, y + 1), vertex(x + 1, y),
                                                vertex(x + 1, y), vertex(x, y + 1), vertex(x + 1, y + 1)};
                builder.Add(corners);
                builder.Add(corners + 3);
            }
        }
        builder.End();
        writer.AddInstance({0, writer.GetPartCount(), 0.0f, Matrix4x4f()});
    });
    EXPECT_GT(scene.parts.size(), 2u);
    EXPECT_EQ(scene.CountTriangles(), 2u * side * side);
    double area = 0.0;
    std::size_t vertices = 0;
    for (const ScenePart& part : scene.parts) {
        vertices += part.vertexCount;
        for (std::uint32_t i = 0; i < part.indexCount; i += 3) {
            const auto at = [&](std::uint32_t k) {
                const float* p = part.vertices[part.indices[i + k]].position;
                return Vector3f(p[0], p[1], p[2]);
            };
            area += 0.5 * (at(1) - at(0)).Cross(at(2) - at(0)).Length();
        }
    }
    EXPECT_DOUBLE_EQ(area, side * side);
    EXPECT_LT(vertices, 170000u); // shared where they can be
}

TEST(Meshes, NormalsAreSharpOverEdgesAndSmoothOverBends)
{
    // A roof of 90 degrees whose halves do not share vertices, and a bend of 20 degrees whose halves do.
    const std::vector<Vector3f> roof = {{0, 1, 0}, {0, 1, 1}, {1, 0, 0}, {0, 1, 0}, {0, 1, 1}, {-1, 0, 0}};
    const std::vector<std::uint32_t> roofFaces = {0, 1, 2, 4, 3, 5};
    const CornerNormals sharp(roof, roofFaces);
    ExpectNear(sharp.Get(0, 0), Vector3f(1, 1, 0).Normalized(), 1e-5f);
    ExpectNear(sharp.Get(1, 0), Vector3f(-1, 1, 0).Normalized(), 1e-5f);

    const float drop = std::tan(0.1745f);
    const std::vector<Vector3f> bend = {{0, 0, 0}, {0, 0, 1}, {1, -drop, 0}, {-1, -drop, 0}};
    const std::vector<std::uint32_t> bendFaces = {0, 1, 2, 1, 0, 3};
    const CornerNormals smooth(bend, bendFaces);
    ExpectNear(smooth.Get(0, 0), {0, 1, 0}, 1e-5f);
    EXPECT_GT(smooth.Get(0, 2).x, 0.1f); // the outer corner keeps its face's

    const std::vector<Vector3f> flat = {{0, 0, 0}, {0, 0, 0}, {NAN, 0, 0}};
    const std::vector<std::uint32_t> flatFaces = {0, 1, 2};
    EXPECT_FLOAT_EQ(CornerNormals(flat, flatFaces).Get(0, 0).Length(), 1.0f);
}

TEST(SceneFiles, DamagedOnesAreRefusedOrSound)
{
    MemoryFile file;
    SceneWriter writer(file.Get());
    SceneMaterial material;
    material.name = "paint";
    material.baseTexture = 0;
    writer.AddMaterial(material);
    writer.AddTexture({"t.png", "", std::vector<std::uint8_t>(16, 7), 2, 2, true});
    const SceneVertex vertices[3] = {MakeVertex({0, 0, 0}, {0, 1, 0}, {0, 0}), MakeVertex({1, 0, 0}, {0, 1, 0}, {1, 0}),
                                     MakeVertex({0, 0, 1}, {0, 1, 0}, {0, 1})};
    const std::uint16_t indices[3] = {0, 1, 2};
    writer.AddPart(PartKind::Triangles, 0, vertices, indices);
    writer.AddInstance({0, 1, 0.0f, Matrix4x4f()});
    writer.AddCamera({"eye", {0, 1, -3}, {0, 0, 0}, {0, 1, 0}, 1.0f});
    writer.AddWarning("something");
    ASSERT_TRUE(writer.Finish());
    const std::string whole = file.ReadAll();
    std::string error;
    SceneData scene;
    ASSERT_TRUE(ReadScene(file.Get(), scene, error)) << error;
    EXPECT_EQ(scene.materials[0].name, "paint");
    EXPECT_EQ(scene.textures[0].bytes.size(), 16u);
    EXPECT_EQ(scene.cameras[0].name, "eye");
    EXPECT_EQ(scene.warnings[0], "something");

    for (std::size_t size = 0; size < whole.size(); ++size) {
        file.WriteAll(whole.substr(0, size));
        SceneData cut;
        EXPECT_FALSE(ReadScene(file.Get(), cut, error)) << size;
    }
    for (std::size_t position = 0; position < whole.size(); ++position) {
        std::string bytes = whole;
        bytes[position] = static_cast<char>(0xff);
        file.WriteAll(bytes);
        SceneData read;
        if (!ReadScene(file.Get(), read, error)) {
            continue;
        }
        for (const ScenePart& part : read.parts) {
            EXPECT_LT(part.material, read.materials.size());
            for (std::uint32_t i = 0; i < part.indexCount; ++i) {
                EXPECT_LT(part.indices[i], part.vertexCount);
            }
        }
        for (const SceneInstance& instance : read.instances) {
            EXPECT_LE(instance.firstPart + instance.partCount, read.parts.size());
        }
    }
}

TEST_F(ModelFiles, TexturesAreFoundWherePeopleKeepThem)
{
    namespace fs = std::filesystem;
    fs::create_directories(m_folder / "model" / "Textures");
    fs::create_directories(m_folder / "textures");
    for (const char* name : {"model/a.png", "model/Textures/Bark.JPG", "textures/crate.png"}) {
        WriteText(name, "x");
    }
    const std::string folder = File("model");
    const std::pair<std::string, std::string> cases[] = {
        {"a.png", "model/a.png"},
        {"A.PNG", "model/a.png"},
        {"C:\\art\\project\\a.png", "model/a.png"},
        {"./textures\\bark.jpg", "model/Textures/Bark.JPG"},
        {"/nowhere/bark.jpg", "model/Textures/Bark.JPG"},
        {"../textures/crate.png", "textures/crate.png"},
        {"crate.t", "textures/crate.png"},
    };
    for (const auto& [named, expected] : cases) {
        const std::string found = FindTextureFile(folder, named);
        ASSERT_FALSE(found.empty()) << named;
        EXPECT_TRUE(fs::equivalent(found, m_folder / expected)) << named << " gave " << found;
    }
    for (const char* named : {"", "b.png", "..", "/", "a.png/", "model"}) {
        EXPECT_EQ(FindTextureFile(folder, named), "") << named;
    }
}

} // namespace
