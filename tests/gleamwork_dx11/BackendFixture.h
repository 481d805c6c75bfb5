// What the tests of the back end share: the protected state of the renderer, and textures with known bytes.
#pragma once

#include "gleamwork_core/CoreFixture.h"

#include <cstdint>
#include <string>
#include <vector>

/// Names the protected members that tests look at, as pointers to members.
struct Peek : gw::Renderer
{
    using gw::Renderer::m_delayedRemovals;
    using gw::Renderer::m_frameCounter;
    using gw::Renderer::m_rollingIB;
    using gw::Renderer::m_rollingVB;
    using gw::Renderer::m_texturedShader;
    using gw::Renderer::rollingIBSize;
    using gw::Renderer::rollingVBSize;
};

struct TextureSpec
{
    const char* name;
    gw::EFormat format = gw::FORMAT_RGBA8;
    unsigned width = 4;
    unsigned height = 4;
    unsigned depth = 0;
    unsigned mips = 1;
    unsigned slices = 1; ///< of a cube: cubes
    unsigned samples = 1;
    unsigned usage = gw::eTextureUsageFlag_ShaderResource;
    unsigned access = 12;
};

/// Runs under the validation layer where that is installed; a message of it fails the test.
class BackendTest : public DeviceTest
{
protected:
    BackendTest();
    void TearDown() override;

    /// Makes a texture, with `bytes` as contents unless they are empty; gives what CreateTexture gave.
    bool Create(qs::ObjectHandle handle, const TextureSpec& wanted, const std::vector<std::uint8_t>& bytes = {});
    qs::ObjectHandle Make(const TextureSpec& wanted, const std::vector<std::uint8_t>& bytes = {});
    /// All slices and mips as they lie on the device, in the order of a texture's initial data.
    std::vector<std::uint8_t> ReadAll(qs::ObjectHandle texture);
    /// Marks a texture as bound in this frame and gives the view that a shader would get.
    ID3D11ShaderResourceView* Bind(qs::ObjectHandle texture);

    std::uint32_t Frame() const { return m_renderer->*(&Peek::m_frameCounter); }
    unsigned DelayedCount() const { return (m_renderer->*(&Peek::m_delayedRemovals)).GetLiveCount(); }
};

/// Names the runs of a test by the device they are on.
inline std::string DeviceName(const testing::TestParamInfo<const char*>& info)
{
    return info.param;
}

/// Bytes of one mip of all depth slices of one array slice.
std::uint64_t MipBytes(const TextureSpec& wanted, unsigned mip);
/// Distinct-looking contents for every slice and mip.
std::vector<std::uint8_t> MakeContents(const TextureSpec& wanted);
/// Array slices as the device counts them.
unsigned SliceCount(const TextureSpec& wanted);
