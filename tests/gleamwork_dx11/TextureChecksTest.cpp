// Every check that texture creation makes, and what a record holds behind a success and behind a failure.
#include "BackendFixture.h"

#include <d3d11.h>
#include <string>

namespace {

constexpr unsigned SRGB = gw::eTextureUsageFlag_SRGB;
constexpr unsigned CUBE = gw::eTextureUsageFlag_CubeMap;
constexpr unsigned SHADER = gw::eTextureUsageFlag_ShaderResource;
constexpr unsigned SHADER_SLICES = gw::eTextureUsageFlag_ShaderResourceSlices;
constexpr unsigned SHADER_MIPS = gw::eTextureUsageFlag_ShaderResourceMips;
constexpr unsigned TARGET = gw::eTextureUsageFlag_RenderTarget;
constexpr unsigned TARGET_SLICES = gw::eTextureUsageFlag_RenderTargetSlices;
constexpr unsigned TARGET_MIPS = gw::eTextureUsageFlag_RenderTargetMips;
constexpr unsigned DEPTH = gw::eTextureUsageFlag_DepthStencil;
constexpr unsigned DEPTH_SLICES = gw::eTextureUsageFlag_DepthStencilSlices;
constexpr unsigned UNORDERED = gw::eTextureUsageFlag_UnorderedAccess;
constexpr unsigned UNORDERED_SLICES = gw::eTextureUsageFlag_UnorderedAccessSlices;
constexpr unsigned GENERATE = gw::eTextureUsageFlag_GenerateMips;

class TextureChecks : public BackendTest
{
protected:
    void SetUp() override { StartDevice("null"); }

    D3D11_TEXTURE2D_DESC Describe2D(qs::ObjectHandle handle)
    {
        D3D11_TEXTURE2D_DESC desc = {};
        static_cast<ID3D11Texture2D*>(m_renderer->GetTextureById(handle)->resource)->GetDesc(&desc);
        return desc;
    }
};

struct Refusal
{
    TextureSpec wanted;
    bool withBytes;
    const char* message;
};

} // namespace

TEST_F(TextureChecks, RefuseWithAMessageAndLeaveNothing)
{
    const Refusal refusals[] = {
        {{"no width", gw::FORMAT_RGBA8, 0, 4, 2}, false, "Invalid dimensions (0 x 4 x 2)."},
        {{"1D too wide", gw::FORMAT_RGBA8, 16385, 0}, false, "1D texture width must be in range [1, 16384]."},
        {{"2D too wide", gw::FORMAT_RGBA8, 16385, 1},
         false,
         "2D texture dimensions must be in range [1, 16384] (was 16385, 1)."},
        {{"small blocks", gw::FORMAT_DXT1, 2, 2}, false, "2D texture dimensions must be at least[4, 4]."},
        {{"3D too wide", gw::FORMAT_RGBA8, 2049, 1, 1},
         false,
         "3D texture dimensions must be in range [1, 2048] (was 2049 x 1 x 1)."},
        {{"3D array", gw::FORMAT_RGBA8, 4, 4, 4, 1, 2}, false, "3D texture arrays are not supported!"},
        {{"read back and written", gw::FORMAT_RGBA8, 4, 4, 0, 1, 1, 1, 0, 13},
         false,
         "Can not perform GPU read/write on staging resources!"},
        {{"read back samples", gw::FORMAT_RGBA8, 4, 4, 0, 1, 1, 4, 0, 1},
         false,
         "D3D11_USAGE_STAGING does not support multisampling."},
        {{"read back depth", gw::FORMAT_D16, 4, 4, 0, 1, 1, 1, DEPTH, 1},
         false,
         "D3D11_USAGE_STAGING does not support depth-stencil buffers."},
        {{"immutable and empty", gw::FORMAT_RGBA8, 4, 4, 0, 1, 1, 1, SHADER, 4},
         false,
         "Usage is D3D11_USAGE_IMMUTABLE but mem == NULL!"},
        {{"read back and sampled", gw::FORMAT_RGBA8, 4, 4, 0, 1, 1, 1, SHADER, 5},
         false,
         "A texture can only be a shader resource when usage is default, dynamic or immutable!"},
        {{"dynamic target", gw::FORMAT_RGBA8, 4, 4, 0, 1, 1, 1, TARGET_SLICES, 6},
         false,
         "A texture can only be a render target when usage is default!"},
        {{"dynamic depth", gw::FORMAT_D16, 4, 4, 0, 1, 1, 1, DEPTH_SLICES, 6},
         false,
         "A texture can only be a depth stencil target when usage is default!"},
        {{"1D cube", gw::FORMAT_RGBA8, 4, 0, 0, 1, 1, 1, SHADER | CUBE}, false, "CubeMap has to be a 2D texture!"},
        {{"mips of no target", gw::FORMAT_RGBA8, 4, 4, 0, 2, 1, 1, SHADER | GENERATE},
         false,
         "A texture can only be set to generate mips if it is a shader resource and a render target!"},
        {{"mips of the full chain", gw::FORMAT_RGBA8, 4, 4, 0, 0, 1, 1, SHADER | TARGET | GENERATE},
         false,
         "Cannot generate mips! Texture has no mips!"},
        {{"3D samples", gw::FORMAT_RGBA8, 4, 4, 4, 1, 1, 4, TARGET}, false, "Only 2D textures support multisampling!"},
        {{"33 samples", gw::FORMAT_RGBA8, 4, 4, 0, 1, 1, 33, TARGET},
         false,
         "msaaSamples is too large! max value = 32"},
        {{"samples with contents", gw::FORMAT_RGBA8, 4, 4, 0, 1, 1, 4, TARGET},
         true,
         "mem must be NULL when creating multisampled textures"},
        {{"no device format", gw::FORMAT_RGB8, 4, 4}, false, "ID3D11Device::CreateTexture2D failed!"},
    };
    const qs::ObjectHandle handle = m_renderer->AddTexture();
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.wanted.name);
        const std::vector<std::uint8_t> bytes =
            refusal.withBytes ? MakeContents(refusal.wanted) : std::vector<std::uint8_t>();
        EXPECT_FALSE(Create(handle, refusal.wanted, bytes));
        ExpectAssert(refusal.message);
        EXPECT_EQ(m_renderer->GetTextureSize(handle), 0u);
        EXPECT_EQ(m_renderer->GetSRV(handle), nullptr);
    }
    EXPECT_FALSE(Create(TEXTURE_NONE, {"none"}));
    ExpectAssert("CreateTexture failed! texID == TEXTURE_NONE.");
    const TextureSpec chain = {"short contents", gw::FORMAT_RGBA8, 8, 8, 0, 4};
    std::vector<std::uint8_t> bytes = MakeContents(chain);
    bytes.resize(bytes.size() - 4);
    EXPECT_FALSE(Create(handle, chain, bytes));
    ExpectAssert("slice 0 mip 3 needs 340");
    m_renderer->RemoveTexture(handle, true, false);
}

TEST_F(TextureChecks, AcceptTheLimits)
{
    const TextureSpec cases[] = {
        {"widest 2D", gw::FORMAT_R8, 16384, 1},
        {"widest 1D", gw::FORMAT_R8, 16384, 0},
        {"small plain 2D", gw::FORMAT_RGBA8, 2, 2},
        {"read back", gw::FORMAT_RGBA8, 4, 4, 0, 1, 1, 1, 0, 5},
        {"dynamic", gw::FORMAT_RGBA8, 4, 4, 0, 1, 1, 1, SHADER, 6},
    };
    const D3D11_USAGE usages[] = {D3D11_USAGE_DEFAULT, D3D11_USAGE_DEFAULT, D3D11_USAGE_DEFAULT, D3D11_USAGE_STAGING,
                                  D3D11_USAGE_DYNAMIC};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const qs::ObjectHandle handle = Make(cases[i]);
        if (cases[i].height != 0) {
            EXPECT_EQ(Describe2D(handle).Usage, usages[i]) << cases[i].name;
        }
        EXPECT_EQ(m_renderer->GetTextureSize(handle), MipBytes(cases[i], 0)) << cases[i].name;
        m_renderer->RemoveTexture(handle, true, false);
    }
}

TEST_F(TextureChecks, RecordWhatTheDeviceMade)
{
    const qs::ObjectHandle full = Make({"full chain", gw::FORMAT_RGBA8, 20, 9, 0, 0});
    EXPECT_EQ(m_renderer->GetNumMipMaps(full), 5);
    EXPECT_EQ(m_renderer->GetTextureSize(full), 4u * (20 * 9 + 10 * 4 + 5 * 2 + 2 + 1));
    const qs::ObjectHandle samples = Make({"samples", gw::FORMAT_RGBA8, 8, 8, 0, 1, 1, 4, TARGET});
    EXPECT_EQ(m_renderer->GetTextureById(samples)->msaaSamples, 4u);
    EXPECT_EQ(Describe2D(samples).SampleDesc.Count, 4u);
    const qs::ObjectHandle cube = Make({"cube", gw::FORMAT_DXT1, 8, 8, 0, 1, 1, 1, SHADER | CUBE | SRGB});
    EXPECT_EQ(m_renderer->GetTextureById(cube)->arraySize, 6);
    EXPECT_EQ(m_renderer->GetTextureById(cube)->textureFormat, api::DxgiFormat(DXGI_FORMAT_BC1_UNORM_SRGB));
    EXPECT_EQ(m_renderer->GetTextureSize(cube), 6u * 4 * 8);
    EXPECT_EQ(m_renderer->GetUsageFlags(cube), SHADER | CUBE | SRGB);
    EXPECT_EQ(m_renderer->GetAccessFlags(cube), 12);
    EXPECT_EQ(m_renderer->GetFormat(cube), gw::FORMAT_DXT1);
    EXPECT_EQ(m_renderer->GetUsageFlags(TEXTURE_NONE), 0);
    EXPECT_EQ(m_renderer->GetAccessFlags(TEXTURE_NONE), 4);
    EXPECT_EQ(m_renderer->GetNumMipMaps(TEXTURE_NONE), 1);
    EXPECT_EQ(m_renderer->GetFormat(TEXTURE_NONE), gw::FORMAT_NONE);
    ExpectAssert("Invalid TextureID: 0");
    EXPECT_EQ(m_renderer->GetTextureHandleById(2), cube);
    EXPECT_EQ(m_renderer->GetTextureHandleById(3), TEXTURE_NONE);
    ExpectAssert("Index 3 out of range.");
    for (const qs::ObjectHandle handle : {full, samples, cube}) {
        m_renderer->RemoveTexture(handle, true, false);
    }
}

TEST_F(TextureChecks, MakeTheViewsThatTheUsageNames)
{
    struct Views
    {
        TextureSpec wanted;
        int srvs, sliceSrvs, rtvs, sliceRtvs, dsvs, sliceDsvs, uavs;
    };
    const Views table[] = {
        {{"plain", gw::FORMAT_RGBA8, 8, 8}, 1, 0, 0, 0, 0, 0, 0},
        {{"slices and mips", gw::FORMAT_RGBA8, 8, 8, 0, 3, 4, 1,
          SHADER | SHADER_SLICES | SHADER_MIPS | TARGET | TARGET_SLICES | TARGET_MIPS},
         1,
         12,
         1,
         12,
         0,
         0,
         0},
        {{"slices", gw::FORMAT_RGBA8, 8, 8, 0, 2, 3, 1, SHADER_SLICES | TARGET | TARGET_SLICES}, 0, 3, 1, 3, 0, 0, 0},
        {{"slices of a single one", gw::FORMAT_RGBA8, 8, 8, 0, 2, 1, 1,
          SHADER | SHADER_SLICES | TARGET | TARGET_SLICES},
         1,
         0,
         1,
         0,
         0,
         0,
         0},
        {{"readable depth and stencil", gw::FORMAT_D24S8, 8, 8, 0, 1, 1, 1, SHADER | DEPTH}, 2, 0, 0, 0, 2, 0, 0},
        {{"depth array", gw::FORMAT_D16, 8, 8, 0, 1, 3, 1, DEPTH | DEPTH_SLICES}, 0, 0, 0, 0, 2, 6, 0},
        {{"cube", gw::FORMAT_RGBA8, 8, 8, 0, 1, 1, 1, SHADER | SHADER_SLICES | CUBE}, 1, 6, 0, 0, 0, 0, 0},
        {{"cube array", gw::FORMAT_RGBA8, 8, 8, 0, 1, 2, 1, SHADER | CUBE}, 1, 0, 0, 0, 0, 0, 0},
        {{"volume", gw::FORMAT_RGBA8, 8, 8, 4, 1, 1, 1, SHADER | TARGET | UNORDERED}, 1, 0, 1, 0, 0, 0, 1},
        {{"unordered array", gw::FORMAT_R32UI, 8, 8, 0, 1, 2, 1, UNORDERED}, 0, 0, 0, 0, 0, 0, 1},
        {{"unordered 1D", gw::FORMAT_R32F, 8, 0, 0, 1, 1, 1, UNORDERED_SLICES}, 0, 0, 0, 0, 0, 0, 1},
        {{"1D array", gw::FORMAT_R32F, 8, 0, 0, 2, 3, 1, SHADER}, 1, 0, 0, 0, 0, 0, 0},
    };
    const auto count = [](auto** views, int entries) {
        int found = 0;
        for (int i = 0; views && i < entries; ++i) {
            found += views[i] != nullptr;
        }
        return found;
    };
    for (const Views& want : table) {
        SCOPED_TRACE(want.wanted.name);
        const qs::ObjectHandle handle = Make(want.wanted);
        const Texture& texture = *m_renderer->GetTextureById(handle);
        const SRV* srv = m_renderer->GetSRV(handle);
        const int all = texture.arraySize * texture.mipCount;
        const int slices = want.sliceSrvs == all ? all : texture.arraySize;
        EXPECT_EQ(srv ? count(srv->views, srv->stencilFormat ? 2 : 1) : 0, want.srvs);
        EXPECT_EQ(srv ? count(srv->sliceViews, slices) : 0, want.sliceSrvs);
        EXPECT_EQ(texture.rtv != nullptr, want.rtvs == 1);
        EXPECT_EQ(count(texture.rtvSlices, want.sliceRtvs == all ? all : texture.arraySize), want.sliceRtvs);
        EXPECT_EQ((texture.dsv != nullptr) + (texture.dsvReadOnly != nullptr), want.dsvs);
        EXPECT_EQ(count(texture.dsvSlices, texture.arraySize) + count(texture.dsvReadOnlySlices, texture.arraySize),
                  want.sliceDsvs);
        EXPECT_EQ(texture.uav != nullptr, want.uavs == 1);
        m_renderer->RemoveTexture(handle, true, false);
        ExpectQuiet();
    }
    const qs::ObjectHandle array =
        Make({"unordered slices", gw::FORMAT_R32F, 8, 8, 0, 1, 2, 1, SHADER | UNORDERED_SLICES});
    EXPECT_EQ(m_renderer->GetTextureById(array)->uav, nullptr);
    EXPECT_EQ(m_log.Count(qs::LogLevelAssertion), 1u);
    m_log.Clear();
    m_renderer->RemoveTexture(array, true, false);
}
