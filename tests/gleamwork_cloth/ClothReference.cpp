#include "ClothReference.h"

#include <algorithm>
#include <cstring>
#include <numeric>

ClothReference::ClothReference(ClothMesh& mesh)
{
    for (const ClothVertex& vertex : mesh.vertices) {
        positions.push_back({vertex.position[0], vertex.position[1], vertex.position[2], 0.0f});
        weights.push_back(float(vertex.color[0] / 255.0));
    }
    FindDuplicates();
    std::vector<int> remap(positions.size());
    std::iota(remap.begin(), remap.end(), 0);
    for (const auto& [duplicate, source] : duplicates) {
        remap[std::size_t(duplicate)] = source;
    }
    for (std::size_t i = 0; i < mesh.indices.size() / 3 * 3; ++i) {
        indices.push_back(remap[mesh.indices[i]]);
    }
    FindLinks();
    Reorder(mesh, Flag());
    Split(mesh);
}

void ClothReference::FindDuplicates()
{
    std::vector<std::uint32_t> keys;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const double s = (positions[i].x + positions[i].y + positions[i].z) * 2000.0;
        keys.push_back(std::uint32_t(std::int32_t(s)) << 16 | std::uint32_t(i));
    }
    std::sort(keys.begin(), keys.end());
    std::vector<bool> found(positions.size());
    for (std::size_t p = 0; p < keys.size(); ++p) {
        const std::uint32_t source = keys[p] & 0xffff;
        if (found[source]) {
            continue;
        }
        for (std::size_t q = p + 1; q < keys.size() && keys[q] >> 16 == keys[p] >> 16; ++q) {
            const std::uint32_t other = keys[q] & 0xffff;
            const Vector4f difference = positions[source] - positions[other];
            if (difference.Dot(difference) < 1e-14f) {
                found[other] = true;
                weights[other] = 0.0f;
                duplicates.emplace_back(int(other), int(source));
            }
        }
    }
}

void ClothReference::FindLinks()
{
    const auto add = [&](int a, int b) {
        const std::pair<int, int> link = std::minmax(a, b);
        if ((weights[std::size_t(a)] > 0.0f || weights[std::size_t(b)] > 0.0f) &&
            std::find(links.begin(), links.end(), link) == links.end()) {
            links.push_back(link);
        }
    };
    for (std::size_t i = 0; i < indices.size(); i += 3) {
        add(indices[i], indices[i + 1]);
        add(indices[i + 1], indices[i + 2]);
        add(indices[i], indices[i + 2]);
    }
}

std::vector<bool> ClothReference::Flag() const
{
    std::vector<bool> flags(positions.size());
    for (const auto& [a, b] : links) {
        flags[std::size_t(a)] = flags[std::size_t(b)] = true;
    }
    const std::vector<bool> before = flags;
    for (std::size_t i = 0; i < indices.size(); i += 3) {
        const auto corner = [&](std::size_t k) { return std::size_t(indices[i + k]); };
        if (before[corner(0)] || before[corner(1)] || before[corner(2)]) {
            flags[corner(0)] = flags[corner(1)] = flags[corner(2)] = true;
        }
    }
    for (const auto& [duplicate, source] : duplicates) {
        const bool either = flags[std::size_t(duplicate)] || flags[std::size_t(source)];
        flags[std::size_t(duplicate)] = flags[std::size_t(source)] = either;
    }
    return flags;
}

void ClothReference::Reorder(ClothMesh& mesh, std::vector<bool> flags)
{
    const auto count = std::size_t(std::count(flags.begin(), flags.end(), true));
    std::vector<int> remap(positions.size());
    std::iota(remap.begin(), remap.end(), 0);
    for (std::size_t i = positions.size(); i-- > count;) {
        if (!flags[i]) {
            continue;
        }
        std::size_t j = count - 1;
        while (flags[j]) {
            --j;
        }
        flags[i] = false;
        flags[j] = true;
        remap[i] = int(j);
        remap[j] = int(i);
        std::swap(positions[i], positions[j]);
        std::swap(weights[i], weights[j]);
        std::swap(mesh.vertices[i], mesh.vertices[j]);
    }
    for (std::uint32_t& index : mesh.indices) {
        index = std::uint32_t(remap[index]);
    }
    Renumber(remap, int(count));
}

void ClothReference::Renumber(const std::vector<int>& remap, int count)
{
    const auto renumber = [&](int& number) { number = remap[std::size_t(number)]; };
    positions.resize(std::size_t(count));
    weights.resize(std::size_t(count));
    for (auto& [a, b] : links) {
        renumber(a);
        renumber(b);
    }
    for (auto& [duplicate, source] : duplicates) {
        renumber(duplicate);
        renumber(source);
    }
    std::erase_if(duplicates, [&](const auto& pair) { return pair.second >= count; });
    lostSources =
        int(std::count_if(duplicates.begin(), duplicates.end(), [&](const auto& pair) { return pair.first >= count; }));
    std::vector<int> kept;
    for (std::size_t i = 0; i < indices.size(); i += 3) {
        int corners[3] = {indices[i], indices[i + 1], indices[i + 2]};
        std::for_each(corners, corners + 3, renumber);
        if (std::all_of(corners, corners + 3, [&](int corner) { return corner < count; })) {
            kept.insert(kept.end(), corners, corners + 3);
        }
    }
    indices = kept;
}

void ClothReference::Split(const ClothMesh& mesh)
{
    for (const int vertex : indices) {
        std::vector<int>& list = weights[std::size_t(vertex)] > 0.00390625f ? simulated.vertices : skinned.vertices;
        if (std::find(list.begin(), list.end(), vertex) == list.end()) {
            list.push_back(vertex);
        }
    }
    for (Points* points : {&skinned, &simulated}) {
        for (const int number : points->vertices) {
            const ClothVertex& vertex = mesh.vertices[std::size_t(number)];
            points->positions.push_back({vertex.position[0], vertex.position[1], vertex.position[2]});
            unsigned bones;
            std::memcpy(&bones, vertex.blendIndices, sizeof bones);
            points->blendIndices.push_back(bones);
            const std::uint8_t* bytes = vertex.blendWeights;
            points->blendWeights.push_back(
                {float(bytes[0] / 255.0), float(bytes[1] / 255.0), float(bytes[2] / 255.0), float(bytes[3] / 255.0)});
        }
    }
}
