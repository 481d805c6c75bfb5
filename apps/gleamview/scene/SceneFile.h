// The road of an imported scene from one process to another: records in a file that has no name and lives in memory.
//
// The file is a header (magic, version) and then records: kind (u32), a reserved u32, payload size (u64), payload,
// zeros up to a multiple of 16. The last record is End; a file without it was not finished. The bytes never leave the
// machine, so numbers are in its own order.
#pragma once

#include "scene/SceneData.h"

#include <cstddef>
#include <span>
#include <string>

namespace gleamview {

/// Writes records as they come, so that the writer holds no scene. After the first failed write nothing more is
/// written and IsGood is false. The descriptor stays the caller's.
class SceneWriter
{
public:
    explicit SceneWriter(int descriptor);

    void AddPart(PartKind kind, std::uint32_t material, std::span<const SceneVertex> vertices,
                 std::span<const std::uint16_t> indices);
    void AddInstance(const SceneInstance& instance);
    void AddMaterial(const SceneMaterial& material);
    void AddTexture(const SceneTexture& texture);
    void AddCamera(const SceneCamera& camera);
    void AddWarning(const std::string& text);
    /// False when anything could not be written.
    bool Finish();

    std::uint32_t GetPartCount() const { return m_partCount; }
    bool IsGood() const { return m_good; }

private:
    struct Piece
    {
        const void* data;
        std::size_t size;
    };
    void WriteRecord(std::uint32_t kind, std::span<const Piece> pieces);
    void Write(const void* data, std::size_t size);

    int m_descriptor;
    bool m_good = true;
    std::uint32_t m_partCount = 0;
};

/// Maps the file and reads the scene; vertices and indices stay in the mapping, which the scene keeps. Every count,
/// size and index is checked: the writer may have died, or been led astray by what it read. False, with the reason in
/// `error`, for a file that is not whole and sound.
bool ReadScene(int descriptor, SceneData& scene, std::string& error);

} // namespace gleamview
