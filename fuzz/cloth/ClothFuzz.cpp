// Makes a cloth and a proxy of the input and checks that they stay inside of what they name.
//
// The input: bytes for the number of attributes, the index size, the vertex size and the vertices; three bytes for each
// attribute (usage, format, count); the vertices; and the indices, as many as there are.
#include "Gleamwork/ClothData.h"
#include "Gleamwork/ModelProxy.h"

#include <algorithm>
#include <cstring>
#include <qs/Log.h>
#include <vector>

namespace {

void Check(bool holds)
{
    if (!holds) {
        __builtin_trap();
    }
}

class Input
{
public:
    Input(const unsigned char* data, size_t size) : m_data(data), m_size(size) {}

    unsigned TakeByte() { return m_size != 0 ? (--m_size, *m_data++) : 0; }
    // A block of its own, so that a step beyond its end is seen.
    std::vector<unsigned char> Take(size_t size)
    {
        size = std::min(size, m_size);
        std::vector<unsigned char> block(m_data, m_data + size);
        m_data += size;
        m_size -= size;
        return block;
    }
    size_t GetSize() const { return m_size; }

private:
    const unsigned char* m_data;
    size_t m_size;
};

struct Mesh
{
    explicit Mesh(Input input)
    {
        format.resize(input.TakeByte() % 8);
        indexSize = input.TakeByte() % 2 ? 2 : 4;
        vertexSize = input.TakeByte();
        const unsigned count = input.TakeByte();
        for (gw::FormatDesc& attribute : format) {
            attribute.usage = gw::EAttributeUsage(input.TakeByte());
            attribute.format = gw::EAttributeFormat(input.TakeByte());
            attribute.count = std::uint8_t(input.TakeByte());
        }
        vertices = input.Take(size_t(count) * vertexSize);
        indices = input.Take(input.GetSize() / size_t(indexSize) * size_t(indexSize));
    }

    gw::StagingModelData Get()
    {
        return gw::StagingModelData(indices.data(), GetIndexCount(), indexSize, vertices.data(), GetVertexCount(),
                                    vertexSize, format.data(), format.size());
    }
    std::int32_t GetVertexCount() const { return vertexSize != 0 ? std::int32_t(vertices.size() / vertexSize) : 0; }
    std::int32_t GetIndexCount() const { return std::int32_t(indices.size()) / indexSize; }

    std::vector<gw::FormatDesc> format;
    std::int32_t indexSize;
    std::uint32_t vertexSize;
    std::vector<unsigned char> vertices;
    std::vector<unsigned char> indices;
};

void CheckTriangles(const qs::PrimitiveArray<std::int32_t>& indices, std::uint32_t count)
{
    Check(indices.GetSize() % 3 == 0);
    for (std::uint32_t i = 0; i < indices.GetSize(); ++i) {
        Check(indices[i] >= 0 && std::uint32_t(indices[i]) < count);
    }
}

void CheckCloth(const Mesh& before)
{
    Mesh mesh = before;
    gw::ClothData data;
    gw::BuildClothData(mesh.Get(), data);
    const std::uint32_t count = data.positions.GetSize();
    Check(count <= std::uint32_t(mesh.GetVertexCount()) && data.weights.GetSize() == count);
    CheckTriangles(data.indices, count);
    for (const gw::ClothLink& link : data.links) {
        Check(std::uint32_t(link.first) < count && std::uint32_t(link.second) < count);
    }
    for (const gw::DuplicateIndices& pair : data.duplicates) {
        Check(std::uint32_t(pair.source) < count);
    }
    Check(data.skinnedPoints.vertices.GetSize() + data.simulatedPoints.vertices.GetSize() <= count);
    // Each triangle names the vertices that it named, wherever they are now.
    Mesh first = before;
    const gw::StagingModelData now = mesh.Get();
    const gw::StagingModelData then = first.Get();
    for (std::int32_t i = 0; i < mesh.GetIndexCount(); ++i) {
        const std::uint32_t index = now.GetIndex(i);
        if (index != then.GetIndex(i)) {
            Check(index < std::uint32_t(mesh.GetVertexCount()));
            Check(std::memcmp(now.GetVertex(std::int32_t(index)), then.GetVertex(std::int32_t(then.GetIndex(i))),
                              mesh.vertexSize) == 0);
        }
    }
}

void CheckProxy(Mesh mesh)
{
    gw::ModelProxyData data;
    gw::BuildModelProxyData(mesh.Get(), data);
    Check(data.vertices.GetSize() <= std::uint32_t(mesh.GetVertexCount()));
    CheckTriangles(data.indices, data.vertices.GetSize());
    gw::ModelProxy proxy(qs::FixedString::Empty);
    proxy.SetData(data);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    static qs::LogCapture quiet;
    quiet.Clear();
    const Mesh mesh{Input(data, size)};
    CheckCloth(mesh);
    CheckProxy(mesh);
    return 0;
}
