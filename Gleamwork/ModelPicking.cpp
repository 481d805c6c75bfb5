// Models: the triangles to pick.
#include "Gleamwork/Model.h"

namespace gw {

void PickingData::Destroy()
{
    {
        qs::MemoryTrackerSample sample("Indices");
        qs::MemoryManager::Deallocate(indices, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
    }
    {
        qs::MemoryTrackerSample sample("Vertices");
        qs::MemoryManager::Deallocate(vertices, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
    }
    *this = {};
}

void Model::SetPickingData(const PickingData& data)
{
    if (data.vertexCount != 0) {
        m_picking.Destroy();
    }
    m_picking = data;
}

void Model::Pick(const qs::Ray& ray, const Matrix4x4f& transform, qs::PickResult& result) const
{
    const auto corner = [&](std::uint32_t index) {
        const float* vertex = m_picking.vertices + std::size_t(m_picking.indices[index]) * 3;
        return transform.TransformPoint({vertex[0], vertex[1], vertex[2]});
    };
    const auto isInside = [&](std::uint32_t index) { return m_picking.indices[index] < m_picking.vertexCount; };
    for (std::uint32_t i = 0; m_picking.indexCount - i >= 3; i += 3) {
        if (!isInside(i) || !isInside(i + 1) || !isInside(i + 2)) {
            continue;
        }
        const qs::PickResult hit =
            qs::RayPick::PeterShirleyTriangleHitTest(ray, corner(i), corner(i + 1), corner(i + 2));
        if (!hit.IsMiss() && (result.distance > hit.distance || result.IsMiss())) {
            result = hit;
            result.name = GetId();
        }
    }
}

} // namespace gw
