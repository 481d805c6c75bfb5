// Capture from a device: every dimension, mip and slice. The null device keeps contents in memory, which is enough.
#include "TestImages.h"

#include <cstdlib>
#include <gtest/gtest.h>

using namespace DirectX;

namespace {

class Capture : public testing::Test
{
protected:
    void SetUp() override
    {
        setenv("GLEAM_DEVICE", "null", 1);
        const D3D_FEATURE_LEVEL level = D3D_FEATURE_LEVEL_11_0;
        ASSERT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, &level, 1, D3D11_SDK_VERSION,
                                    &m_device, nullptr, &m_context),
                  S_OK);
    }

    void TearDown() override
    {
        if (m_context)
            m_context->Release();
        if (m_device)
            m_device->Release();
    }

    static std::vector<D3D11_SUBRESOURCE_DATA> InitialData(const ScratchImage& image)
    {
        std::vector<D3D11_SUBRESOURCE_DATA> data;
        const TexMetadata& metadata = image.GetMetadata();
        for (std::size_t item = 0; item < metadata.arraySize; ++item) {
            for (std::size_t mip = 0; mip < metadata.mipLevels; ++mip) {
                const Image& part = *image.GetImage(mip, item, 0);
                data.push_back({part.pixels, UINT(part.rowPitch), UINT(part.slicePitch)});
            }
        }
        return data;
    }

    void ExpectSame(ID3D11Resource* resource, const ScratchImage& expected)
    {
        ScratchImage captured;
        ASSERT_EQ(CaptureTexture(m_device, m_context, resource, captured), S_OK);
        resource->Release();
        EXPECT_EQ(captured.GetMetadata().dimension, expected.GetMetadata().dimension);
        EXPECT_EQ(captured.GetMetadata().miscFlags, expected.GetMetadata().miscFlags);
        ASSERT_EQ(captured.GetPixelsSize(), expected.GetPixelsSize());
        EXPECT_EQ(std::memcmp(captured.GetPixels(), expected.GetPixels(), expected.GetPixelsSize()), 0);
    }

    ID3D11Device* m_device = nullptr;
    ID3D11DeviceContext* m_context = nullptr;
};

TEST_F(Capture, AllDimensionsComeBackWhole)
{
    const ScratchImage line = test::MakeNoise({16, 1, 1, 3, 2, 0, 0, DXGI_FORMAT_R8_UNORM, TEX_DIMENSION_TEXTURE1D});
    const D3D11_TEXTURE1D_DESC lineDesc = {
        16, 2, 3, DXGI_FORMAT_R8_UNORM, D3D11_USAGE_DEFAULT, D3D11_BIND_SHADER_RESOURCE, 0, 0};
    ID3D11Texture1D* texture1D = nullptr;
    ASSERT_EQ(m_device->CreateTexture1D(&lineDesc, InitialData(line).data(), &texture1D), S_OK);
    ExpectSame(texture1D, line);

    const ScratchImage cube = test::MakeNoise(test::DescribeCube(DXGI_FORMAT_BC1_UNORM, 16, 3));
    const D3D11_TEXTURE2D_DESC cubeDesc = {16,
                                           16,
                                           3,
                                           6,
                                           DXGI_FORMAT_BC1_UNORM,
                                           {1, 0},
                                           D3D11_USAGE_IMMUTABLE,
                                           D3D11_BIND_SHADER_RESOURCE,
                                           0,
                                           D3D11_RESOURCE_MISC_TEXTURECUBE};
    ID3D11Texture2D* texture2D = nullptr;
    ASSERT_EQ(m_device->CreateTexture2D(&cubeDesc, InitialData(cube).data(), &texture2D), S_OK);
    ExpectSame(texture2D, cube);

    const ScratchImage volume = test::MakeNoise(test::Describe3D(DXGI_FORMAT_R16G16_UNORM, 5, 6, 7, 3));
    const D3D11_TEXTURE3D_DESC volumeDesc = {
        5, 6, 7, 3, DXGI_FORMAT_R16G16_UNORM, D3D11_USAGE_DEFAULT, D3D11_BIND_SHADER_RESOURCE, 0, 0};
    ID3D11Texture3D* texture3D = nullptr;
    ASSERT_EQ(m_device->CreateTexture3D(&volumeDesc, InitialData(volume).data(), &texture3D), S_OK);
    ExpectSame(texture3D, volume);
}

TEST_F(Capture, BuffersAndNullsAreRefused)
{
    ScratchImage captured;
    const D3D11_BUFFER_DESC desc = {64, D3D11_USAGE_DEFAULT, D3D11_BIND_VERTEX_BUFFER, 0, 0, 0};
    ID3D11Buffer* buffer = nullptr;
    ASSERT_EQ(m_device->CreateBuffer(&desc, nullptr, &buffer), S_OK);
    EXPECT_EQ(CaptureTexture(m_device, m_context, buffer, captured), static_cast<HRESULT>(0x80070032));
    EXPECT_EQ(CaptureTexture(m_device, m_context, nullptr, captured), E_INVALIDARG);
    buffer->Release();
}

} // namespace
