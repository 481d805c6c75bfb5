// The steps of a cloth in their plainest form, every search linear, on containers of the standard library.
#pragma once

#include "ClothMesh.h"

#include <utility>

struct ClothReference
{
    /// Rearranges the mesh as the builder does.
    explicit ClothReference(ClothMesh& mesh);

    struct Points
    {
        std::vector<int> vertices;
        std::vector<Vector3f> positions;
        std::vector<unsigned> blendIndices;
        std::vector<Vector4f> blendWeights;
    };

    std::vector<Vector4f> positions;
    std::vector<float> weights;
    std::vector<std::pair<int, int>> duplicates;
    std::vector<int> indices;
    std::vector<std::pair<int, int>> links;
    Points skinned;
    Points simulated;
    int lostSources = 0; ///< pairs kept although the duplicate fell off

private:
    void FindDuplicates();
    void FindLinks();
    std::vector<bool> Flag() const;
    void Reorder(ClothMesh& mesh, std::vector<bool> flags);
    void Renumber(const std::vector<int>& remap, int count);
    void Split(const ClothMesh& mesh);
};
