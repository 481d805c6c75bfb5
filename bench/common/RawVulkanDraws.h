// Draws with one changed constant each, recorded straight in Vulkan: what the same draws cost without any layer. The
// limit of the rows draw_cpu and draw_total.
#pragma once

#include <memory>

namespace bench {

/// The scene of both sides: one triangle in a target of `Target` by `Target` pixels of R8G8B8A8_UNORM, cleared at the
/// start, drawn without vertex buffers by a shader that reads the whole constant block.
struct DrawScene
{
    static constexpr unsigned Draws = 10000;
    static constexpr unsigned Target = 64;
    static constexpr unsigned ConstantBytes = 256;
    /// Constants of draw `index`: word 0 places the triangle, the rest tints it.
    static void FillConstants(float constants[ConstantBytes / 4], unsigned index);
    /// HLSL of the other side, the same arithmetic as here.
    static const char* VertexText();
    static const char* PixelText();
};

/// The first device that the Vulkan loader names that matches the platform layer's own choice (a discrete GPU, else an
/// integrated one, else the processor). One thread.
class RawVulkanDraws
{
public:
    RawVulkanDraws();
    ~RawVulkanDraws();
    RawVulkanDraws(const RawVulkanDraws&) = delete;
    RawVulkanDraws& operator=(const RawVulkanDraws&) = delete;

    /// Why it cannot run, null when it can.
    const char* Problem() const;

    /// Writes the constants, records all draws and hands them to the device.
    void Frame();
    /// Waits for the end of the device's work.
    void Wait();
    /// The pixel in the middle of the target after the last frame, for a comparison of both sides.
    unsigned MiddlePixel();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace bench
