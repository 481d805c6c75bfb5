// Writing and checked reading of scene records.
#include "scene/SceneFile.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gleamview {

namespace {

constexpr char s_magic[16] = "gleam scene 1";
constexpr std::size_t s_alignment = 16;
constexpr std::uint32_t s_maxPartVertices = 65536;

enum RecordKind : std::uint32_t
{
    RecordEnd = 0,
    RecordPart,
    RecordInstance,
    RecordMaterial,
    RecordTexture,
    RecordCamera,
    RecordWarning,
};

struct RecordHeader
{
    std::uint32_t kind;
    std::uint32_t reserved;
    std::uint64_t size;
};
static_assert(sizeof(RecordHeader) == s_alignment);

struct PartHeader
{
    PartKind kind;
    std::uint32_t material;
    std::uint32_t vertexCount;
    std::uint32_t indexCount;
};
static_assert(sizeof(PartHeader) == s_alignment, "vertices behind it keep their alignment");

/// The fields of a material without its name.
struct MaterialRecord
{
    float baseColor[4], emissive[3], metallic, roughness, alphaCutoff;
    AlphaMode alphaMode;
    TextureWrap wrap;
    std::uint32_t unlit, baseTexture, normalTexture, surfaceTexture, emissiveTexture;
};

struct TextureRecord
{
    std::uint32_t width, height, isColor, pathSize;
};

struct CameraRecord
{
    Vector3f position, target, up;
    float verticalFov;
};

/// The one cursor of the reader: takes bytes from the front, and fails for good when there are too few.
class Cursor
{
public:
    explicit Cursor(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    std::span<const std::uint8_t> Take(std::uint64_t size)
    {
        if (size > m_bytes.size()) {
            m_good = false;
            size = 0;
        }
        const auto taken = m_bytes.first(static_cast<std::size_t>(size));
        m_bytes = m_bytes.subspan(static_cast<std::size_t>(size));
        return taken;
    }
    template <class T>
    T Read()
    {
        T value{};
        const auto bytes = Take(sizeof value);
        if (m_good) {
            std::memcpy(static_cast<void*>(&value), bytes.data(), sizeof value);
        }
        return value;
    }
    std::string ReadText(std::uint64_t size)
    {
        const auto bytes = Take(size);
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }
    std::uint64_t GetRest() const { return m_bytes.size(); }
    bool IsGood() const { return m_good; }

private:
    std::span<const std::uint8_t> m_bytes;
    bool m_good = true;
};

bool ReadPart(Cursor& cursor, SceneData& scene)
{
    const PartHeader header = cursor.Read<PartHeader>();
    const auto vertices = cursor.Take(std::uint64_t(header.vertexCount) * sizeof(SceneVertex));
    const auto indices = cursor.Take(std::uint64_t(header.indexCount) * sizeof(std::uint16_t));
    if (!cursor.IsGood() || header.kind > PartKind::Points || header.vertexCount == 0 || header.indexCount == 0 ||
        header.vertexCount > s_maxPartVertices) {
        return false;
    }
    ScenePart part;
    part.kind = header.kind;
    part.material = header.material;
    part.vertices = reinterpret_cast<const SceneVertex*>(vertices.data());
    part.indices = reinterpret_cast<const std::uint16_t*>(indices.data());
    part.vertexCount = header.vertexCount;
    part.indexCount = header.indexCount;
    part.bound = qs::Bound::computeAABB(part.vertices, sizeof(SceneVertex), part.vertexCount);
    scene.parts.push_back(part);
    const Vector3f size = part.bound.maximum - part.bound.minimum;
    return std::isfinite(size.x + size.y + size.z) &&
           std::all_of(part.indices, part.indices + part.indexCount,
                       [&](std::uint16_t index) { return index < part.vertexCount; });
}

bool ReadMaterial(Cursor& cursor, SceneData& scene)
{
    const MaterialRecord record = cursor.Read<MaterialRecord>();
    SceneMaterial material;
    std::copy(std::begin(record.baseColor), std::end(record.baseColor), material.baseColor);
    std::copy(std::begin(record.emissive), std::end(record.emissive), material.emissive);
    material.metallic = record.metallic;
    material.roughness = record.roughness;
    material.alphaCutoff = record.alphaCutoff;
    material.alphaMode = record.alphaMode;
    material.wrap = record.wrap;
    material.unlit = record.unlit != 0;
    material.baseTexture = record.baseTexture;
    material.normalTexture = record.normalTexture;
    material.surfaceTexture = record.surfaceTexture;
    material.emissiveTexture = record.emissiveTexture;
    material.name = cursor.ReadText(cursor.GetRest());
    scene.materials.push_back(material);
    return record.alphaMode <= AlphaMode::Auto && record.wrap <= TextureWrap::Mirror;
}

bool ReadTexture(Cursor& cursor, SceneData& scene)
{
    const TextureRecord record = cursor.Read<TextureRecord>();
    SceneTexture texture;
    texture.path = cursor.ReadText(record.pathSize);
    const auto bytes = cursor.Take(cursor.GetRest());
    texture.bytes.assign(bytes.begin(), bytes.end());
    texture.width = record.width;
    texture.height = record.height;
    texture.isColor = record.isColor != 0;
    const bool isRaw = record.width != 0 && record.height != 0;
    scene.textures.push_back(std::move(texture));
    return !isRaw || (record.width <= 16384 && record.height <= 16384 &&
                      bytes.size() == std::uint64_t(record.width) * record.height * 4);
}

bool ReadCamera(Cursor& cursor, SceneData& scene)
{
    const CameraRecord record = cursor.Read<CameraRecord>();
    SceneCamera camera{{}, record.position, record.target, record.up, record.verticalFov};
    camera.name = cursor.ReadText(cursor.GetRest());
    scene.cameras.push_back(camera);
    return true;
}

bool ReadRecord(std::uint32_t kind, Cursor& cursor, SceneData& scene)
{
    switch (kind) {
    case RecordPart:
        return ReadPart(cursor, scene);
    case RecordInstance:
        scene.instances.push_back(cursor.Read<SceneInstance>());
        return true;
    case RecordMaterial:
        return ReadMaterial(cursor, scene);
    case RecordTexture:
        return ReadTexture(cursor, scene);
    case RecordCamera:
        return ReadCamera(cursor, scene);
    case RecordWarning:
        scene.warnings.push_back(cursor.ReadText(cursor.GetRest()));
        return true;
    default:
        return false;
    }
}

/// What one record names in another exists.
bool AreReferencesSound(const SceneData& scene)
{
    const auto isTexture = [&](std::uint32_t index) { return index == NoTexture || index < scene.textures.size(); };
    return std::all_of(scene.parts.begin(), scene.parts.end(),
                       [&](const ScenePart& part) { return part.material < scene.materials.size(); }) &&
           std::all_of(scene.instances.begin(), scene.instances.end(),
                       [&](const SceneInstance& instance) {
                           return std::uint64_t(instance.firstPart) + instance.partCount <= scene.parts.size();
                       }) &&
           std::all_of(scene.materials.begin(), scene.materials.end(), [&](const SceneMaterial& material) {
               return isTexture(material.baseTexture) && isTexture(material.normalTexture) &&
                      isTexture(material.surfaceTexture) && isTexture(material.emissiveTexture);
           });
}

bool ReadRecords(Cursor cursor, SceneData& scene)
{
    while (cursor.IsGood()) {
        const RecordHeader header = cursor.Read<RecordHeader>();
        if (header.kind == RecordEnd) {
            return cursor.IsGood() && AreReferencesSound(scene);
        }
        Cursor record(cursor.Take(header.size));
        cursor.Take((s_alignment - header.size % s_alignment) % s_alignment);
        if (!cursor.IsGood() || !ReadRecord(header.kind, record, scene) || !record.IsGood()) {
            return false;
        }
    }
    return false;
}

} // namespace

SceneWriter::SceneWriter(int descriptor) : m_descriptor(descriptor)
{
    Write(s_magic, sizeof s_magic);
}

void SceneWriter::Write(const void* data, std::size_t size)
{
    const char* position = static_cast<const char*>(data);
    while (m_good && size > 0) {
        const ssize_t written = ::write(m_descriptor, position, size);
        if (written > 0) {
            position += written;
            size -= static_cast<std::size_t>(written);
        } else if (errno != EINTR) {
            m_good = false;
        }
    }
}

void SceneWriter::WriteRecord(std::uint32_t kind, std::span<const Piece> pieces)
{
    static constexpr char zeros[s_alignment] = {};
    RecordHeader header{kind, 0, 0};
    for (const Piece& piece : pieces) {
        header.size += piece.size;
    }
    Write(&header, sizeof header);
    for (const Piece& piece : pieces) {
        Write(piece.data, piece.size);
    }
    Write(zeros, static_cast<std::size_t>((s_alignment - header.size % s_alignment) % s_alignment));
}

void SceneWriter::AddPart(PartKind kind, std::uint32_t material, std::span<const SceneVertex> vertices,
                          std::span<const std::uint16_t> indices)
{
    const PartHeader header{kind, material, static_cast<std::uint32_t>(vertices.size()),
                            static_cast<std::uint32_t>(indices.size())};
    const Piece pieces[] = {
        {&header, sizeof header}, {vertices.data(), vertices.size_bytes()}, {indices.data(), indices.size_bytes()}};
    WriteRecord(RecordPart, pieces);
    ++m_partCount;
}

void SceneWriter::AddInstance(const SceneInstance& instance)
{
    const Piece pieces[] = {{&instance, sizeof instance}};
    WriteRecord(RecordInstance, pieces);
}

void SceneWriter::AddMaterial(const SceneMaterial& material)
{
    MaterialRecord record{};
    std::copy(std::begin(material.baseColor), std::end(material.baseColor), record.baseColor);
    std::copy(std::begin(material.emissive), std::end(material.emissive), record.emissive);
    record.metallic = material.metallic;
    record.roughness = material.roughness;
    record.alphaCutoff = material.alphaCutoff;
    record.alphaMode = material.alphaMode;
    record.wrap = material.wrap;
    record.unlit = material.unlit;
    record.baseTexture = material.baseTexture;
    record.normalTexture = material.normalTexture;
    record.surfaceTexture = material.surfaceTexture;
    record.emissiveTexture = material.emissiveTexture;
    const Piece pieces[] = {{&record, sizeof record}, {material.name.data(), material.name.size()}};
    WriteRecord(RecordMaterial, pieces);
}

void SceneWriter::AddTexture(const SceneTexture& texture)
{
    const TextureRecord record{texture.width, texture.height, texture.isColor,
                               static_cast<std::uint32_t>(texture.path.size())};
    const Piece pieces[] = {{&record, sizeof record},
                            {texture.path.data(), texture.path.size()},
                            {texture.bytes.data(), texture.bytes.size()}};
    WriteRecord(RecordTexture, pieces);
}

void SceneWriter::AddCamera(const SceneCamera& camera)
{
    const CameraRecord record{camera.position, camera.target, camera.up, camera.verticalFov};
    const Piece pieces[] = {{&record, sizeof record}, {camera.name.data(), camera.name.size()}};
    WriteRecord(RecordCamera, pieces);
}

void SceneWriter::AddWarning(const std::string& text)
{
    const Piece pieces[] = {{text.data(), text.size()}};
    WriteRecord(RecordWarning, pieces);
}

bool SceneWriter::Finish()
{
    WriteRecord(RecordEnd, {});
    return m_good;
}

bool ReadScene(int descriptor, SceneData& scene, std::string& error)
{
    struct stat status = {};
    error = "the importer's result is damaged";
    if (fstat(descriptor, &status) != 0 || status.st_size < static_cast<off_t>(sizeof s_magic)) {
        return false;
    }
    const std::size_t size = static_cast<std::size_t>(status.st_size);
    void* memory = mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
    if (memory == MAP_FAILED) {
        error = "the imported scene could not be mapped into memory";
        return false;
    }
    scene.storage.emplace_back(memory, [size](const void* mapped) { munmap(const_cast<void*>(mapped), size); });
    const std::span bytes(static_cast<const std::uint8_t*>(memory), size);
    if (std::memcmp(memory, s_magic, sizeof s_magic) != 0 ||
        !ReadRecords(Cursor(bytes.subspan(sizeof s_magic)), scene)) {
        return false;
    }
    error.clear();
    return true;
}

} // namespace gleamview
