// Separate draws of small meshes, recorded straight in Vulkan: the limit of the row scene.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace bench {

/// The scene of both sides: boxes on a grid, each its own draw with its own matrix, one of ten meshes and one of a
/// hundred textures, in a target of R8G8B8A8_UNORM that is cleared at the start. Only faces that turn to the front are
/// drawn, so that no depth buffer is needed.
struct MeshScene
{
    static constexpr unsigned Draws = 10000;
    static constexpr unsigned Meshes = 10;
    static constexpr unsigned Textures = 100;
    static constexpr unsigned TextureSide = 16;
    static constexpr unsigned Target = 512;
    static constexpr unsigned Vertices = 24;
    static constexpr unsigned Indices = 36;

    struct Vertex
    {
        float position[3], uv[2];
    };

    static void FillMesh(unsigned mesh, Vertex (&vertices)[Vertices], std::uint16_t (&indices)[Indices]);
    static void FillTexture(unsigned texture, std::uint32_t (&pixels)[TextureSide * TextureSide]);
    /// For row vectors, from the mesh to clip space.
    static void FillMatrix(unsigned draw, float (&matrix)[16]);
    /// HLSL of the other side, the same arithmetic as here.
    static const char* VertexText();
    static const char* PixelText();
};

class RawVulkanMeshes
{
public:
    RawVulkanMeshes();
    ~RawVulkanMeshes();
    RawVulkanMeshes(const RawVulkanMeshes&) = delete;
    RawVulkanMeshes& operator=(const RawVulkanMeshes&) = delete;

    /// Why it cannot run, null when it can.
    const char* Problem() const;

    /// Writes the matrices, records all draws and hands them to the device.
    void Frame();
    /// Waits for the end of the device's work.
    void Wait();
    /// The target after the last frame, for a comparison of both sides.
    std::vector<unsigned> Pixels();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace bench
