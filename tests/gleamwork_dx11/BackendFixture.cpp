// Textures with known bytes, there and back.
#include "BackendFixture.h"

#include "Gleamwork/GWFS.h"
#include "Gleamwork/image/GraphicsBuffer.h"

#include <DirectXTex.h>
#include <algorithm>
#include <cstdlib>

extern "C" unsigned GleamPlatformTakeValidationMessages(char* text, unsigned capacity);

BackendTest::BackendTest()
{
    setenv("GLEAM_DEBUG", "validation", 1);
}

void BackendTest::TearDown()
{
    DeviceTest::TearDown();
    char text[4096] = "";
    EXPECT_EQ(GleamPlatformTakeValidationMessages(text, sizeof(text)), 0u) << text;
}

unsigned SliceCount(const TextureSpec& wanted)
{
    return wanted.usage & gw::eTextureUsageFlag_CubeMap ? wanted.slices * 6 : wanted.slices;
}

std::uint64_t MipBytes(const TextureSpec& wanted, unsigned mip)
{
    const gw::image::FormatDescription format = gw::image::GetFormatDescription(wanted.format);
    const auto size = [mip](unsigned top) { return std::max(top >> mip, 1u); };
    const unsigned block = format.isBlockCompressed ? 4 : 1;
    const auto blocks = [&](unsigned top) { return (size(top) + block - 1) / block; };
    return format.elementBytes * blocks(wanted.width) * blocks(wanted.height) * size(wanted.depth);
}

std::vector<std::uint8_t> MakeContents(const TextureSpec& wanted)
{
    std::uint64_t size = 0;
    for (unsigned mip = 0; mip < wanted.mips; ++mip) {
        size += MipBytes(wanted, mip);
    }
    std::vector<std::uint8_t> bytes(size * SliceCount(wanted));
    std::uint32_t state = 12345;
    for (std::uint8_t& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = std::uint8_t(state >> 24) & 0x3b; // no bit pattern that a float format could take for a NaN
    }
    return bytes;
}

bool BackendTest::Create(qs::ObjectHandle handle, const TextureSpec& wanted, const std::vector<std::uint8_t>& bytes)
{
    std::vector<unsigned> mipSizes;
    for (unsigned mip = 0; mip < wanted.mips; ++mip) {
        mipSizes.push_back(unsigned(MipBytes(wanted, mip) * SliceCount(wanted)));
    }
    gw::GraphicsBuffer mem;
    if (!bytes.empty()) {
        mem.CopyData(bytes.data(), bytes.size());
    }
    return m_renderer->CreateTexture(handle, mem, wanted.format, wanted.width, wanted.height, wanted.depth, wanted.mips,
                                     wanted.mips, bytes.empty() ? nullptr : mipSizes.data(), wanted.slices,
                                     wanted.samples, gw::ETextureUsageFlag(wanted.usage),
                                     gw::ETextureAccessFlag(wanted.access));
}

qs::ObjectHandle BackendTest::Make(const TextureSpec& wanted, const std::vector<std::uint8_t>& bytes)
{
    const qs::ObjectHandle handle = m_renderer->AddTexture();
    EXPECT_TRUE(Create(handle, wanted, bytes)) << wanted.name;
    return handle;
}

std::vector<std::uint8_t> BackendTest::ReadAll(qs::ObjectHandle texture)
{
    const api::D3D11APIData& data = m_renderer->GetDeviceData();
    DirectX::ScratchImage image;
    const HRESULT hr =
        DirectX::CaptureTexture(data.device, data.context, m_renderer->GetTextureById(texture)->resource, image);
    EXPECT_EQ(hr, S_OK);
    return {image.GetPixels(), image.GetPixels() + image.GetPixelsSize()};
}

ID3D11ShaderResourceView* BackendTest::Bind(qs::ObjectHandle texture)
{
    SetTextureDesc desc;
    const Shader* shader = m_renderer->GetShader(m_renderer->*(&Peek::m_texturedShader));
    EXPECT_TRUE(m_renderer->PrepareSetTexture(shader, GWFS::strBase, texture, -1, desc));
    return desc.view;
}
