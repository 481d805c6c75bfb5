// Cloth models: vertices split over their slots, and the skin of those that a simulation drives.
#include "Gleamwork/ClothModel.h"

#include "Gleamwork/ClothBuilder.h"
#include "Gleamwork/GWDataLoader.h"
#include "Gleamwork/RendererBase.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <qs/Log.h>
#include <qs/ScratchMemory.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "Gleamwork/ClothModel";

enum EClothSlot
{
    eClothSlot_Others = 0,
    eClothSlot_Positions = 1,
    eClothSlot_Skinning = 2,
    eClothSlot_COUNT
};

char* AllocateRaw(const char* scope, std::uint64_t size)
{
    qs::MemoryTrackerSample sample(scope);
    return static_cast<char*>(qs::MemoryManager::Allocate(size, qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true));
}

char* CopyRaw(const char* scope, const char* source, std::uint64_t size)
{
    char* copy = AllocateRaw(scope, size);
    if (copy) {
        std::memcpy(copy, source, size);
    }
    return copy;
}

std::uint32_t GetSize(const FormatDesc& attribute)
{
    return std::uint32_t(details::RendererBase::GetFormatSize(attribute.format)) * attribute.count;
}

bool IsSkinning(EAttributeUsage usage)
{
    return usage == eAttributeUsage_BlendWeight || usage == eAttributeUsage_BlendIndices ||
           usage == eAttributeUsage_Color;
}

// The positions go to a block of three floats each.
bool CheckMesh(const StagingModelData& staging, const std::string& owner)
{
    constexpr const char* FUNCTION = "gw::ClothModel::PrepareCloth";
    if (!details::CheckStaging(staging, FUNCTION, owner.c_str())) {
        return false;
    }
    std::uint32_t size = 0;
    for (std::uint64_t i = 0; i < staging.attributeCount; ++i) {
        size += staging.format[i].usage == eAttributeUsage_Position ? GetSize(staging.format[i]) : 0;
    }
    if (size != sizeof(Vector3f)) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "Positions in the mesh of %s have %u bytes; three floats are needed.",
                     owner.c_str(), size);
        return false;
    }
    return true;
}

// Sets the slots and gives the bytes per vertex of the skinning slot.
std::uint32_t AssignSlots(FormatDesc* format, std::uint64_t attributeCount)
{
    std::uint32_t skinningSize = 0;
    for (std::uint64_t i = 0; i < attributeCount; ++i) {
        if (IsSkinning(format[i].usage)) {
            format[i].stream = eClothSlot_Skinning;
            skinningSize += GetSize(format[i]);
        } else if (format[i].usage == eAttributeUsage_Position) {
            format[i].stream = eClothSlot_Positions;
        }
    }
    return skinningSize;
}

void SplitVertices(const StagingModelData& staging, const FormatDesc* format, char* (&targets)[eClothSlot_COUNT])
{
    for (std::int32_t i = 0; i < staging.vertexCount; ++i) {
        const char* source = staging.GetVertex(i);
        for (std::uint64_t attribute = 0; attribute < staging.attributeCount; ++attribute) {
            const std::uint32_t size = GetSize(format[attribute]);
            const int slot = format[attribute].stream;
            if (slot < 0 || slot >= eClothSlot_COUNT) {
                qs::AbortNotReached(FILE_NAME, __LINE__, "gw::ClothModel::PrepareCloth");
            }
            std::memcpy(targets[slot], source, size);
            targets[slot] += size;
            source += size;
        }
    }
}

// Where the bytes of a vertex in the skinning slot lie; an attribute that the format lacks has no place.
struct SkinningLayout
{
    struct Place
    {
        std::uint32_t offset;
        std::uint32_t size;
    };

    SkinningLayout(const FormatDesc* format, std::uint32_t attributeCount)
    {
        for (std::uint32_t i = 0; i < attributeCount; ++i) {
            if (format[i].stream != eClothSlot_Skinning) {
                continue;
            }
            const Place place{stride, GetSize(format[i])};
            if (format[i].usage == eAttributeUsage_BlendIndices) {
                bones = place;
            } else if (format[i].usage == eAttributeUsage_BlendWeight) {
                weights = place;
            } else if (format[i].usage == eAttributeUsage_Color) {
                color = place;
            }
            stride += place.size;
        }
    }
    bool IsEmpty() const { return !bones && !weights && !color; }

    std::optional<Place> bones;
    std::optional<Place> weights;
    std::optional<Place> color;
    std::uint32_t stride = 0;
};

// Four bytes, or as many as the attribute has.
void Put(char* vertex, const std::optional<SkinningLayout::Place>& place, std::uint32_t value)
{
    if (place) {
        std::memcpy(vertex + place->offset, &value, std::min<std::size_t>(place->size, sizeof value));
    }
}

void PinToBone(char* block, std::uint32_t count, const SkinningLayout& layout, std::uint64_t bone)
{
    for (std::uint32_t i = 0; i < count; ++i, block += layout.stride) {
        Put(block, layout.bones, std::uint32_t(bone & 0xff) * 0x01010101u);
        Put(block, layout.weights, 255); // the first weight is full, the others are 0
        Put(block, layout.color, 0);
    }
}

// Zeroed memory for the time of a call: scratch memory when there is room.
class TemporaryBlock
{
public:
    explicit TemporaryBlock(std::uint64_t size) : m_frame(qs::ScratchMemory::Request(FILE_NAME, __LINE__))
    {
        if (qs::ScratchMemory::CanAllocate(size)) {
            m_data = reinterpret_cast<char*>(m_frame.AllocateBytes(size).GetData());
        } else {
            m_data = m_raw = AllocateRaw("\"TemporarySkinningData\"", size);
        }
        if (m_data) {
            std::memset(m_data, 0, size);
        }
    }
    ~TemporaryBlock() { qs::MemoryManager::Deallocate(m_raw, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true); }
    TemporaryBlock(const TemporaryBlock&) = delete;
    TemporaryBlock& operator=(const TemporaryBlock&) = delete;

    char* GetData() const { return m_data; }

private:
    qs::ScratchMemoryFrame m_frame;
    char* m_data = nullptr;
    char* m_raw = nullptr;
};

} // namespace

void ClothModel::PrepareCloth(const StagingModelData& staging, Vector3f* positions, char* skinning, char* others,
                              FormatDesc* format) const
{
    constexpr const char* FUNCTION = "gw::ClothModel::PrepareCloth";
    if (!m_clothData) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "The model \"%s\" has no cloth data; build it first.", GetId().ToChar());
        return;
    }
    if (!CheckMesh(staging, details::GetClothOwner(m_clothData->id))) {
        return;
    }
    ReleaseRaw(m_clothData->extraPositions);
    ReleaseRaw(m_clothData->extraSkinningData);
    const std::uint32_t skinningSize = AssignSlots(format, staging.attributeCount);
    char* targets[eClothSlot_COUNT] = {others, reinterpret_cast<char*>(positions), skinning};
    SplitVertices(staging, format, targets);

    const std::uint32_t simulated = m_clothData->positions.GetSize();
    m_clothData->extraVertexCount = std::uint32_t(staging.vertexCount) - simulated;
    const std::uint64_t extra = m_clothData->extraVertexCount;
    if (extra >= 1) {
        m_clothData->extraPositions = CopyRaw(
            "\"ClothExtraPositions\"", reinterpret_cast<const char*>(positions + simulated), extra * sizeof(Vector3f));
        m_clothData->extraSkinningData = CopyRaw(
            "\"ClothExtraSkinningData\"", skinning + std::uint64_t(simulated) * skinningSize, extra * skinningSize);
    }
}

void ClothModel::DisableClothGPUSkinningAndVertexColorAnimation(std::uint64_t bone)
{
    constexpr const char* FUNCTION = "gw::ClothModel::DisableClothGPUSkinningAndVertexColorAnimation";
    if (!CanSimulate()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "The model \"%s\" is no instance with cloth data.", GetId().ToChar());
        return;
    }
    m_simulationInitialized = true;
    if (m_base->m_clothUnskinned.IsValid()) {
        m_clothUnskinned = m_base->m_clothUnskinned;
        return;
    }
    const SkinningLayout layout(m_format, m_attributeCount);
    if (layout.IsEmpty()) {
        return;
    }
    const std::uint32_t simulated = m_clothData->positions.GetSize();
    const std::uint64_t vertices = std::uint64_t(simulated) + m_clothData->extraVertexCount;
    if (layout.stride != m_skinningVertexSize || vertices != m_vertexCount) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "The buffers of model \"%s\" have %u vertices of %u bytes of skin, the cloth data %u of %u.",
                      GetId().ToChar(), m_vertexCount, m_skinningVertexSize, unsigned(vertices), layout.stride);
        return;
    }
    const std::uint64_t size = vertices * layout.stride;
    const TemporaryBlock block(size);
    if (!block.GetData()) {
        return;
    }
    PinToBone(block.GetData(), simulated, layout, bone);
    if (m_clothData->extraSkinningData) { // render vertices outside of the simulation keep their skin
        std::memcpy(block.GetData() + std::uint64_t(simulated) * layout.stride, m_clothData->extraSkinningData,
                    std::uint64_t(m_clothData->extraVertexCount) * layout.stride);
    }
    const VertexBufferID buffer =
        DataLoader::InvokeAddVertexBuffer(long(size), eResourceUsage_Immutable, block.GetData());
    if (m_clothUnskinned.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Model already has an unskinned cloth VB. Leak detected!");
    }
    m_base->m_clothUnskinned = buffer;
    m_clothUnskinned = buffer;
    if (buffer.IsValid()) {
        ReleaseRaw(m_clothData->extraSkinningData);
    }
}

} // namespace gw
