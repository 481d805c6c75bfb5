// A model whose positions a simulation rewrites each frame.
#pragma once

#include "Gleamwork/ClothData.h"
#include "Gleamwork/Export.h"
#include "Gleamwork/Model.h"

#include <cstdint>

namespace gw {

/// A model with its vertices in three buffers: all else in slot 0 (the buffer of gw::Model), positions in slot 1, and
/// blend weights, blend indices and colour in slot 2.
///
/// A base model owns the shared buffers and the cloth data. Make one with BuildClothData, PrepareCloth, SetIndices,
/// SetVertices for slot 0, and the two calls that take over the buffers of slots 1 and 2. Instances share all of that
/// but have positions of their own; a base model must outlive them. An instance ends with RemoveClothRenderData and
/// never removes the buffers of gw::Model itself; a base model ends with RemoveRenderData.
///
/// Not thread-safe: one thread at a time for a base model and its instances.
class GW_API ClothModel : public Model
{
public:
    QS_DECLARE_ALLOC(gw::ClothModel)

    explicit ClothModel(const qs::FixedString& name) : Model(name) {}
    ClothModel(const ClothModel&) = delete;
    ClothModel& operator=(const ClothModel&) = delete;
    /// Removes what the model owns besides the buffers of gw::Model, which must be gone by then.
    ~ClothModel() override;

    int GetRTTI() const override { return eModelRTTI_Model; }

    // Base models

    /// Makes the cloth data under an id and brings the staging mesh into its order; see gw::BuildClothData. Earlier
    /// data is released.
    void BuildClothData(const StagingModelData& staging, const qs::FixedString& id);
    /// Splits the vertices of the staging mesh over three blocks, each with room for all of its vertices without gaps,
    /// and sets the slots in `format`, a copy of the mesh's format. Keeps a copy of the vertices behind the simulated
    /// ones in the cloth data. Call it once, behind BuildClothData; a mesh that was refused there is refused again.
    void PrepareCloth(const StagingModelData& staging, Vector3f* positions, char* skinning, char* others,
                      FormatDesc* format) const;
    /// Takes over a buffer of `vertexCount` positions.
    void SetClothPositionsVertexBuffer(std::uint32_t vertexCount, std::uint32_t vertexSize, VertexBufferID buffer);
    /// Takes over a buffer of `vertexCount` times `vertexSize` bytes of slot 2.
    void SetClothSkinningVertexBuffer(std::uint32_t vertexCount, std::uint32_t vertexSize, VertexBufferID buffer);
    /// Releases the cloth data. Instances must not be simulated behind it.
    void RemoveClothData();

    // Instances

    /// Makes a fresh model an instance, with a new id. Its positions are copied when the immediate queue is drained.
    void CreateClothInstance(ClothModel* base);
    /// Call once the simulation drives the vertices: makes GetClothSkinningVertexBuffer give a buffer in which the
    /// simulated range hangs on one bone with all its weight (the low byte of `bone`) and has colour 0. The first
    /// instance makes the buffer, for all instances of the base model. Asserts on a base model and does nothing.
    void DisableClothGPUSkinningAndVertexColorAnimation(std::uint64_t bone);

    // Both

    /// Removes the positions buffer and lets go of everything shared. A base model removes what it owns, cloth data and
    /// the buffers of gw::Model included. Without a positions buffer nothing happens.
    void RemoveClothRenderData();
    /// Memory of the positions, three floats per vertex; false without any. Writing needs a dynamic buffer, as those of
    /// instances are. The memory is the start of the buffer whatever the offset. While `commands` records, what is
    /// written goes to the buffer at the replay.
    bool LockClothPositionBuffer(RendererCommandBuffer& commands, std::uint32_t offset, std::uint32_t size, void** data,
                                 EResourceAccess access);
    bool UnlockClothPositionBuffer(RendererCommandBuffer& commands);

    bool CanSimulate() const { return m_base && m_clothData; }
    bool IsBaseClothModel() const { return !m_base; }
    bool IsSimulationInitialized() const { return m_simulationInitialized; }
    /// Empty on a base model.
    qs::FixedString GetBaseID() const { return m_base ? m_base->GetId() : qs::FixedString(); }
    const ClothData* GetClothData() const { return m_clothData; }
    VertexBufferID GetClothPositionsVertexBuffer() const { return m_clothPositions; }
    VertexBufferID GetClothSkinnedVertexBuffer() const { return m_clothSkinned; }
    VertexBufferID GetClothUnskinnedVertexBuffer() const { return m_clothUnskinned; }
    /// What to draw with in slot 2: the unskinned buffer once the simulation has taken over.
    VertexBufferID GetClothSkinningVertexBuffer() const
    {
        return m_simulationInitialized ? m_clothUnskinned : m_clothSkinned;
    }

private:
    void CheckNewBuffer(const char* function, std::uint32_t vertexCount, VertexBufferID present) const;
    void ShareBuffers(const ClothModel& base);
    static void RemoveOwned(VertexBufferID& buffer);
    static void ReleaseRaw(char*& block);

    ClothModel* m_base = nullptr; ///< null on a base model
    bool m_simulationInitialized = false;
    VertexBufferID m_clothPositions; ///< one per model
    VertexBufferID m_clothSkinned;   ///< the base model's, like all that follows
    VertexBufferID m_clothUnskinned;
    ClothData* m_clothData = nullptr;
    std::uint32_t m_skinningVertexSize = 0; ///< bytes per vertex in slot 2
};

} // namespace gw
