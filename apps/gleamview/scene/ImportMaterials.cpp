// Colours, surface values and texture references of many formats brought to one model.
#include "scene/ImportMaterials.h"

#include <assimp/GltfMaterial.h>
#include <assimp/material.h>
#include <assimp/mesh.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace gleamview {

namespace {

float ToLinear(float value)
{
    const float clamped = std::clamp(value, 0.0f, 1.0f);
    return clamped <= 0.04045f ? clamped / 12.92f : std::pow((clamped + 0.055f) / 1.055f, 2.4f);
}

template <class T>
T GetValue(const aiMaterial& material, const char* key, unsigned type, unsigned index, T otherwise)
{
    T value = otherwise;
    return material.Get(key, type, index, value) == AI_SUCCESS ? value : otherwise;
}

bool Has(const aiMaterial& material, const char* key, unsigned type, unsigned index)
{
    const aiMaterialProperty* property = nullptr;
    return aiGetMaterialProperty(&material, key, type, index, &property) == AI_SUCCESS;
}

class MaterialImporter
{
public:
    MaterialImporter(const aiScene& scene, SceneWriter& writer) : m_scene(scene), m_writer(writer) {}

    /// `isColored`: a mesh of the material has colours at its vertices.
    SceneMaterial Import(const aiMaterial& source, bool isColored, unsigned& uvSet)
    {
        SceneMaterial material;
        material.name = source.GetName().C_Str();
        // Only metallic-roughness materials keep their colours in linear light.
        const bool isModern = Has(source, AI_MATKEY_BASE_COLOR);
        ReadTextures(source, material, uvSet);
        ReadColor(source, isModern, material);
        ReadSurface(source, isModern, material);
        ReadAlpha(source, isModern, material);
        // Older formats say so of materials that were never meant to be flat.
        material.unlit = isModern && GetValue<int>(source, AI_MATKEY_SHADING_MODEL, 0) == aiShadingMode_NoShading;
        if (!isColored) {
            TakeOffGlare(material);
        }
        return material;
    }

private:
    std::uint32_t AddTexture(const std::string& path, bool isColor);
    std::uint32_t FindTexture(const aiMaterial& source, std::initializer_list<aiTextureType> types, bool isColor,
                              unsigned* uvSet = nullptr, TextureWrap* wrap = nullptr);
    void ReadTextures(const aiMaterial& source, SceneMaterial& material, unsigned& uvSet);
    static void TakeOffGlare(SceneMaterial& material);
    static void ReadColor(const aiMaterial& source, bool isModern, SceneMaterial& material);
    static void ReadSurface(const aiMaterial& source, bool isModern, SceneMaterial& material);
    static void ReadAlpha(const aiMaterial& source, bool isModern, SceneMaterial& material);

    const aiScene& m_scene;
    SceneWriter& m_writer;
    std::map<std::pair<std::string, bool>, std::uint32_t> m_textures;
};

std::uint32_t MaterialImporter::AddTexture(const std::string& path, bool isColor)
{
    const auto [found, isNew] =
        m_textures.emplace(std::pair(path, isColor), static_cast<std::uint32_t>(m_textures.size()));
    if (!isNew) {
        return found->second;
    }
    SceneTexture texture;
    texture.path = path;
    texture.isColor = isColor;
    if (const aiTexture* embedded = m_scene.GetEmbeddedTexture(path.c_str())) {
        const auto* data = reinterpret_cast<const std::uint8_t*>(embedded->pcData);
        const bool isFile = embedded->mHeight == 0;
        const std::size_t texels = std::size_t(embedded->mWidth) * embedded->mHeight;
        texture.bytes.assign(data, data + (isFile ? embedded->mWidth : texels * 4));
        texture.width = isFile ? 0 : embedded->mWidth;
        texture.height = embedded->mHeight;
        for (std::size_t i = 0; i < texels; ++i) {
            std::swap(texture.bytes[i * 4], texture.bytes[i * 4 + 2]); // stored blue first
        }
    }
    m_writer.AddTexture(texture);
    return found->second;
}

std::uint32_t MaterialImporter::FindTexture(const aiMaterial& source, std::initializer_list<aiTextureType> types,
                                            bool isColor, unsigned* uvSet, TextureWrap* wrap)
{
    for (const aiTextureType type : types) {
        aiString path;
        unsigned uv = 0;
        aiTextureMapMode modes[3] = {aiTextureMapMode_Wrap, aiTextureMapMode_Wrap, aiTextureMapMode_Wrap};
        if (source.GetTexture(type, 0, &path, nullptr, &uv, nullptr, nullptr, modes) != AI_SUCCESS ||
            path.length == 0) {
            continue;
        }
        if (uvSet) {
            *uvSet = uv;
        }
        if (wrap) {
            *wrap = modes[0] == aiTextureMapMode_Mirror ? TextureWrap::Mirror
                    : modes[0] == aiTextureMapMode_Wrap ? TextureWrap::Repeat
                                                        : TextureWrap::Clamp;
        }
        return AddTexture(path.C_Str(), isColor);
    }
    return NoTexture;
}

void MaterialImporter::ReadTextures(const aiMaterial& source, SceneMaterial& material, unsigned& uvSet)
{
    material.baseTexture = FindTexture(source, {aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE, aiTextureType_AMBIENT},
                                       true, &uvSet, &material.wrap);
    material.normalTexture = FindTexture(source, {aiTextureType_NORMALS, aiTextureType_NORMAL_CAMERA}, false);
    material.emissiveTexture = FindTexture(source, {aiTextureType_EMISSION_COLOR, aiTextureType_EMISSIVE}, true);
    // One picture holds both values only where the format says so.
    if (Has(source, AI_MATKEY_ROUGHNESS_FACTOR)) {
        material.surfaceTexture =
            FindTexture(source, {aiTextureType_METALNESS, aiTextureType_DIFFUSE_ROUGHNESS}, false);
    }
}

void MaterialImporter::ReadColor(const aiMaterial& source, bool isModern, SceneMaterial& material)
{
    aiColor4D color(0.75f, 0.75f, 0.75f, 1.0f);
    const bool hasColor = isModern ? source.Get(AI_MATKEY_BASE_COLOR, color) == AI_SUCCESS
                                   : source.Get(AI_MATKEY_COLOR_DIFFUSE, color) == AI_SUCCESS;
    // Exporters leave the colour black, or out, where a texture takes its place.
    if (material.baseTexture != NoTexture && (!hasColor || color.r + color.g + color.b <= 0.0f)) {
        color = aiColor4D(1.0f, 1.0f, 1.0f, 1.0f);
    }
    const float channels[3] = {color.r, color.g, color.b};
    aiColor3D emissive(0.0f, 0.0f, 0.0f);
    source.Get(AI_MATKEY_COLOR_EMISSIVE, emissive);
    const float glow[3] = {emissive.r, emissive.g, emissive.b};
    for (int i = 0; i < 3; ++i) {
        material.baseColor[i] = isModern ? std::clamp(channels[i], 0.0f, 1.0f) : ToLinear(channels[i]);
        material.emissive[i] = isModern ? std::clamp(glow[i], 0.0f, 64.0f) : ToLinear(glow[i]);
    }
    if (material.emissiveTexture != NoTexture && glow[0] + glow[1] + glow[2] <= 0.0f) {
        std::fill(std::begin(material.emissive), std::end(material.emissive), 1.0f);
    }
}

/// Formats without materials get a nameless, purely white one from the importer, which shows no shape: clay does.
void MaterialImporter::TakeOffGlare(SceneMaterial& material)
{
    const float* color = material.baseColor;
    if (material.name.empty() && material.baseTexture == NoTexture && color[0] + color[1] + color[2] >= 3.0f) {
        std::fill(material.baseColor, material.baseColor + 3, 0.5f);
    }
}

/// Shininess is the exponent of a highlight; a highlight without strength is a matt surface.
void MaterialImporter::ReadSurface(const aiMaterial& source, bool isModern, SceneMaterial& material)
{
    if (isModern || Has(source, AI_MATKEY_ROUGHNESS_FACTOR)) {
        material.metallic = GetValue(source, AI_MATKEY_METALLIC_FACTOR, isModern ? 1.0f : 0.0f);
        material.roughness = GetValue(source, AI_MATKEY_ROUGHNESS_FACTOR, 1.0f);
        if (!Has(source, AI_MATKEY_ROUGHNESS_FACTOR) && Has(source, AI_MATKEY_GLOSSINESS_FACTOR)) {
            material.metallic = 0.0f;
            material.roughness = 1.0f - GetValue(source, AI_MATKEY_GLOSSINESS_FACTOR, 0.5f);
        }
    } else {
        const float shininess = std::clamp(GetValue(source, AI_MATKEY_SHININESS, 0.0f), 0.0f, 2000.0f);
        aiColor3D specular(0.0f, 0.0f, 0.0f);
        source.Get(AI_MATKEY_COLOR_SPECULAR, specular);
        const bool isShiny = shininess > 1.0f && specular.r + specular.g + specular.b > 0.05f;
        material.roughness = isShiny ? std::sqrt(std::sqrt(2.0f / (shininess + 2.0f))) : 0.85f;
    }
    material.metallic = std::clamp(material.metallic, 0.0f, 1.0f);
    material.roughness = std::clamp(material.roughness, 0.08f, 1.0f);
}

void MaterialImporter::ReadAlpha(const aiMaterial& source, bool isModern, SceneMaterial& material)
{
    float opacity = GetValue(source, AI_MATKEY_OPACITY, 1.0f);
    aiColor4D base(1.0f, 1.0f, 1.0f, 1.0f);
    if (isModern && source.Get(AI_MATKEY_BASE_COLOR, base) == AI_SUCCESS) {
        opacity = base.a;
    }
    // Some exporters write the transparency's colour where the opacity belongs: nobody models what cannot be seen.
    if (!(opacity > 0.0f && opacity <= 1.0f)) {
        opacity = 1.0f;
    }
    material.baseColor[3] = opacity;
    material.alphaCutoff = std::clamp(GetValue(source, AI_MATKEY_GLTF_ALPHACUTOFF, 0.5f), 0.0f, 1.0f);
    aiString mode;
    if (source.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) == AI_SUCCESS) {
        const std::string text = mode.C_Str();
        material.alphaMode = text == "BLEND" ? AlphaMode::Blend : text == "MASK" ? AlphaMode::Mask : AlphaMode::Opaque;
    } else {
        material.alphaMode = opacity < 0.99f ? AlphaMode::Blend : AlphaMode::Auto;
    }
}

} // namespace

std::vector<unsigned> WriteMaterials(const aiScene& scene, SceneWriter& writer)
{
    MaterialImporter importer(scene, writer);
    std::vector<unsigned> uvSets(scene.mNumMaterials, 0);
    std::vector<bool> isColored(scene.mNumMaterials, false);
    for (unsigned i = 0; i < scene.mNumMeshes; ++i) {
        const aiMesh& mesh = *scene.mMeshes[i];
        if (mesh.mMaterialIndex < scene.mNumMaterials && mesh.HasVertexColors(0)) {
            isColored[mesh.mMaterialIndex] = true;
        }
    }
    for (unsigned i = 0; i < scene.mNumMaterials; ++i) {
        writer.AddMaterial(importer.Import(*scene.mMaterials[i], isColored[i], uvSets[i]));
    }
    return uvSets;
}

} // namespace gleamview
