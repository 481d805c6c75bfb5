// The simulated range of a cloth, and moving it to the front.
#include "Gleamwork/ClothReorder.h"

#include "Gleamwork/ClothBuilder.h"

#include <algorithm>
#include <qs/Log.h>
#include <utility>
#include <vector>

namespace gw {
namespace {

void SetBoth(qs::PrimitiveArray<bool>& flags, std::int32_t a, std::int32_t b)
{
    flags.SetAt(std::uint32_t(a), true);
    flags.SetAt(std::uint32_t(b), true);
}

// Keeps the pairs whose source stays.
void RenumberDuplicates(const qs::PrimitiveArray<std::int32_t>& remap, std::int32_t count,
                        qs::PrimitiveSet<DuplicateIndices>& duplicates)
{
    std::uint32_t kept = 0;
    for (const DuplicateIndices& old : duplicates) {
        const DuplicateIndices pair{remap[std::uint32_t(old.duplicate)], remap[std::uint32_t(old.source)]};
        if (pair.source >= count) {
            continue;
        }
        if (pair.duplicate >= count) {
            QS_LOG_ASSERT("Gleamwork/ClothReorder", "gw::ReorderClothData",
                          "Trying to a duplicate entry for vertices that are not part of the simulation");
        }
        duplicates[kept++] = pair;
    }
    while (duplicates.GetSize() > kept) {
        duplicates.RemoveAt(duplicates.GetSize() - 1);
    }
}

} // namespace

namespace details {

qs::PrimitiveArray<bool> FlagSimulatedRange(const ClothData& data)
{
    qs::PrimitiveArray<bool> flags(1, data.positions.GetSize());
    for (std::uint32_t i = 0; i < data.positions.GetSize(); ++i) {
        flags.SetAt(i, false);
    }
    for (const ClothLink& link : data.links) {
        SetBoth(flags, link.first, link.second);
    }
    std::vector<std::int32_t> ring; // applied at the end: the range grows by one triangle exactly
    for (std::uint32_t i = 0; i < data.indices.GetSize(); i += 3) {
        const std::int32_t* corners = &data.indices[i];
        if (std::any_of(corners, corners + 3, [&](std::int32_t vertex) { return flags[std::uint32_t(vertex)]; })) {
            ring.insert(ring.end(), corners, corners + 3);
        }
    }
    for (const std::int32_t vertex : ring) {
        flags.SetAt(std::uint32_t(vertex), true);
    }
    for (const DuplicateIndices& pair : data.duplicates) {
        if (flags[std::uint32_t(pair.duplicate)] || flags[std::uint32_t(pair.source)]) {
            SetBoth(flags, pair.duplicate, pair.source);
        }
    }
    return flags;
}

void RenumberTriangles(const qs::PrimitiveArray<std::int32_t>& remap, std::int32_t count,
                       qs::PrimitiveArray<std::int32_t>& indices)
{
    std::uint32_t kept = 0;
    for (std::uint32_t i = 0; i < indices.GetSize(); i += 3) {
        std::int32_t corners[3];
        for (std::uint32_t corner = 0; corner < 3; ++corner) {
            corners[corner] = remap[std::uint32_t(indices[i + corner])];
        }
        if (std::max({corners[0], corners[1], corners[2]}) < count) {
            for (const std::int32_t vertex : corners) {
                indices.SetAt(kept++, vertex);
            }
        }
    }
    indices.SetSize(kept);
}

} // namespace details

void ReorderStagingVertices(const StagingModelData& staging, const qs::PrimitiveArray<bool>& flags,
                            const ReorderCallback& reorder)
{
    const auto vertexCount = std::int32_t(flags.GetSize());
    qs::PrimitiveArray<std::int32_t> remap(1, flags.GetSize());
    std::int32_t count = 0;
    for (std::int32_t i = 0; i < vertexCount; ++i) {
        remap.SetAt(std::uint32_t(i), i);
        count += flags[std::uint32_t(i)] ? 1 : 0;
    }
    // As many flagged vertices stand behind the front as others stand in it, so each finds a place.
    qs::PrimitiveSet<SwapEntry> swaps;
    std::int32_t j = count - 1;
    for (std::int32_t i = vertexCount - 1; i >= count; --i) {
        if (!flags[std::uint32_t(i)]) {
            continue;
        }
        while (flags[std::uint32_t(j)]) {
            --j;
        }
        remap.SetAt(std::uint32_t(i), j);
        remap.SetAt(std::uint32_t(j), i);
        swaps.Add({i, j});
        --j;
    }
    reorder(remap, swaps, count);
    for (const SwapEntry& swap : swaps) {
        char* first = staging.GetVertex(swap.first);
        std::swap_ranges(first, first + staging.vertexSize, staging.GetVertex(swap.second));
    }
    for (std::int32_t i = 0; i < staging.indexCount; ++i) {
        staging.SetIndex(i, std::uint32_t(remap[staging.GetIndex(i)]));
    }
}

void ReorderClothData(const qs::PrimitiveArray<std::int32_t>& remap, const qs::PrimitiveSet<SwapEntry>& swaps,
                      std::int32_t count, ClothData* data)
{
    for (const SwapEntry& swap : swaps) {
        std::swap(data->positions[std::uint32_t(swap.first)], data->positions[std::uint32_t(swap.second)]);
        std::swap(data->weights[std::uint32_t(swap.first)], data->weights[std::uint32_t(swap.second)]);
    }
    data->positions.SetSize(std::uint32_t(count));
    data->weights.SetSize(std::uint32_t(count));
    for (ClothLink& link : data->links) {
        link = {remap[std::uint32_t(link.first)], remap[std::uint32_t(link.second)]};
    }
    RenumberDuplicates(remap, count, data->duplicates);
    details::RenumberTriangles(remap, count, data->indices);
}

} // namespace gw
