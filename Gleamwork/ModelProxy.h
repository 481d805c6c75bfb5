// The welded geometry of a mesh, for uses that do not draw it.
#pragma once

#include "Gleamwork/BasicModel.h"
#include "Gleamwork/ClothData.h"
#include "Gleamwork/Export.h"

#include <cstdint>
#include <qs/Array.h>
#include <qs/Set.h>

namespace gw {

/// What gw::BuildModelProxyData makes. Move-only.
struct GW_API ModelProxyData
{
    ModelProxyData() = default;
    ModelProxyData(ModelProxyData&&) = default;
    ModelProxyData& operator=(ModelProxyData&&) = default;
    ModelProxyData(const ModelProxyData&) = delete;
    ModelProxyData& operator=(const ModelProxyData&) = delete;

    qs::PrimitiveArray<Vector3f> vertices{1};      ///< places, each once
    qs::PrimitiveArray<std::int32_t> indices{1};   ///< triangles
    qs::PrimitiveSet<DuplicateIndices> duplicates; ///< by the mesh's first numbers; of no use once the data is built
};

/// Fills a fresh `data` from a triangle list: vertices in one place become one, the first (see gw::DetectDuplicates).
/// The vertices that stay move to the front of the staging block, whose indices are renumbered to match. A mesh without
/// positions gives nothing and is left as it is. A mesh with more than MAX_CLOTH_VERTICES vertices, attributes that
/// reach beyond the vertex size or an index beyond the last vertex is refused with an error, and neither side changes.
///
/// The cost is linear in vertices and indices. Any thread; nothing is shared between calls.
GW_API void BuildModelProxyData(const StagingModelData& staging, ModelProxyData& data);

/// Triangles on the processor's side under a name. Not thread-safe.
class GW_API ModelProxy : public BasicModel
{
public:
    QS_DECLARE_ALLOC(gw::ModelProxy)

    explicit ModelProxy(const qs::FixedString& name) : BasicModel(name) {}

    int GetRTTI() const override { return eModelRTTI_ModelProxy; }

    /// Takes the arrays over and leaves those of the source empty; what the proxy had is released.
    void SetData(ModelProxyData& data);
    const qs::PrimitiveArray<Vector3f>& GetVertices() const { return m_vertices; }
    const qs::PrimitiveArray<std::int32_t>& GetIndices() const { return m_indices; }

private:
    qs::PrimitiveArray<Vector3f> m_vertices{1};
    qs::PrimitiveArray<std::int32_t> m_indices{1};
};

} // namespace gw
