// Cloth models: buffers taken over, shared with instances and let go of.
#include "Gleamwork/ClothModel.h"

#include "Gleamwork/GWDataLoader.h"
#include "Gleamwork/RendererCommandBuffer.h"

#include <qs/Guid.h>
#include <qs/Log.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "Gleamwork/ClothModel";
constexpr const char* SAMPLE_NAME = "gw::ClothModel";

} // namespace

ClothModel::~ClothModel()
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    if (IsBaseClothModel()) {
        RemoveOwned(m_clothSkinned);
        RemoveOwned(m_clothUnskinned);
        RemoveClothData();
    }
    RemoveOwned(m_clothPositions);
}

void ClothModel::RemoveOwned(VertexBufferID& buffer)
{
    if (buffer.IsValid()) {
        DataLoader::InvokeRemoveVertexBuffer(buffer);
        buffer = VertexBufferID();
    }
}

void ClothModel::ReleaseRaw(char*& block)
{
    qs::MemoryManager::Deallocate(block, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
    block = nullptr;
}

void ClothModel::BuildClothData(const StagingModelData& staging, const qs::FixedString& id)
{
    if (!IsBaseClothModel()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::ClothModel::BuildClothData",
                      "The model \"%s\" is an instance; cloth data belongs to its base model.", GetId().ToChar());
        return;
    }
    RemoveClothData();
    m_clothData = new (qs::DefaultMemoryTag) ClothData;
    if (m_clothData) {
        m_clothData->id = id;
        gw::BuildClothData(staging, *m_clothData);
    }
}

void ClothModel::CheckNewBuffer(const char* function, std::uint32_t vertexCount, VertexBufferID present) const
{
    if (m_vertexSize == 0) {
        QS_LOG_ASSERT(FILE_NAME, function, "Vertex size is 0!");
    }
    if (vertexCount != m_vertexCount) {
        QS_LOG_ASSERT(FILE_NAME, function, "Adding a different amount of cloth positions than other data!");
    }
    if (present.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, function, "Model already has a cloth VB. Leak detected!");
    }
}

void ClothModel::SetClothPositionsVertexBuffer(std::uint32_t vertexCount, std::uint32_t, VertexBufferID buffer)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    CheckNewBuffer("gw::ClothModel::SetClothPositionsVertexBuffer", vertexCount, m_clothPositions);
    m_clothPositions = buffer;
}

void ClothModel::SetClothSkinningVertexBuffer(std::uint32_t vertexCount, std::uint32_t vertexSize,
                                              VertexBufferID buffer)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    CheckNewBuffer("gw::ClothModel::SetClothSkinningVertexBuffer", vertexCount, m_clothSkinned);
    m_clothSkinned = buffer;
    m_skinningVertexSize = vertexSize;
}

bool ClothModel::LockClothPositionBuffer(RendererCommandBuffer& commands, std::uint32_t offset, std::uint32_t size,
                                         void** data, EResourceAccess access)
{
    *data = nullptr;
    commands.LockVertexBuffer(m_clothPositions, offset, size, data, access);
    return *data != nullptr;
}

bool ClothModel::UnlockClothPositionBuffer(RendererCommandBuffer& commands)
{
    commands.UnlockVertexBuffer(m_clothPositions);
    return true;
}

void ClothModel::ShareBuffers(const ClothModel& base)
{
    constexpr const char* FUNCTION = "gw::ClothModel::CreateClothInstance";
    if (m_vertexBuffer.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Model already has a VB. Leak detected!");
    }
    m_vertexCount = base.m_vertexCount;
    m_vertexSize = base.m_vertexSize;
    m_vertexBuffer = base.m_vertexBuffer;
    if (m_indexBuffer.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Model already has an IB. Leak detected!");
    }
    m_indexCount = base.m_indexCount;
    m_indexSize = base.m_indexSize;
    m_indexBuffer = base.m_indexBuffer;
    m_topology = base.m_topology;
}

void ClothModel::CreateClothInstance(ClothModel* base)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    m_base = base;
    m_format = base->m_format;
    m_attributeCount = base->m_attributeCount;
    ShareBuffers(*base);
    SetBound(base->GetBound());
    RemoveOwned(m_clothPositions);
    m_clothPositions = DataLoader::InvokeDuplicateVertexBuffer(long(std::uint64_t(m_vertexCount) * sizeof(Vector3f)),
                                                               eResourceUsage_Dynamic, base->m_clothPositions);
    m_skinningVertexSize = base->m_skinningVertexSize;
    m_clothSkinned = base->m_clothSkinned;
    m_clothUnskinned = base->m_clothUnskinned;
    m_clothData = base->m_clothData;
    SetName(base->GetName());
    SetId(qs::Guid::Generate().ToFS(true));
}

void ClothModel::RemoveClothRenderData()
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    if (!m_clothPositions.IsValid()) {
        return;
    }
    RemoveOwned(m_clothPositions);
    if (IsBaseClothModel()) {
        RemoveOwned(m_clothSkinned);
        RemoveOwned(m_clothUnskinned);
        RemoveClothData();
        RemoveRenderData();
        return;
    }
    m_clothSkinned = VertexBufferID();
    m_clothUnskinned = VertexBufferID();
    m_vertexBuffer = VertexBufferID();
    m_indexBuffer = IndexBufferID();
    m_format = nullptr;
    m_attributeCount = 0;
    m_clothData = nullptr;
}

void ClothModel::RemoveClothData()
{
    if (!m_clothData) {
        return;
    }
    if (IsBaseClothModel()) {
        ReleaseRaw(m_clothData->extraSkinningData);
        ReleaseRaw(m_clothData->extraPositions);
        delete m_clothData;
    }
    m_clothData = nullptr;
}

} // namespace gw
