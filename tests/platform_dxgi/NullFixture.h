// A null device for each test, with short ways to make resources.
#pragma once

#include "Support.h"
#include "null/NullDevice.h"

namespace gleam::test {

struct TextureOptions
{
    UINT width = 8;
    UINT height = 8;
    UINT mips = 1;
    UINT slices = 1;
    DXGI_FORMAT format = DXGI_FORMAT_R8G8B8A8_UNORM;
    D3D11_USAGE usage = D3D11_USAGE_DEFAULT;
    UINT bind = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET;
    UINT cpu = 0;
    UINT samples = 1;
};

class NullDeviceTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(CreateNullDevice(D3D_FEATURE_LEVEL_11_1, m_device.Put(), m_context.Put()), S_OK);
    }
    void TearDown() override { EXPECT_THAT(m_capture.Lines(), testing::IsEmpty()); }

    ComPtr<ID3D11Buffer> MakeBuffer(UINT bytes, D3D11_USAGE usage, UINT bind, UINT cpu = 0, UINT misc = 0,
                                    UINT stride = 0)
    {
        const D3D11_BUFFER_DESC desc{bytes, usage, bind, cpu, misc, stride};
        ComPtr<ID3D11Buffer> buffer;
        EXPECT_EQ(m_device->CreateBuffer(&desc, nullptr, buffer.Put()), S_OK);
        return buffer;
    }

    ComPtr<ID3D11Texture2D> MakeTexture(const TextureOptions& options, const D3D11_SUBRESOURCE_DATA* data = nullptr)
    {
        const D3D11_TEXTURE2D_DESC desc{
            options.width,        options.height, options.mips, options.slices, options.format,
            {options.samples, 0}, options.usage,  options.bind, options.cpu,    0};
        ComPtr<ID3D11Texture2D> texture;
        EXPECT_EQ(m_device->CreateTexture2D(&desc, data, texture.Put()), S_OK);
        return texture;
    }

    void Expect(const Outcome& outcome, HRESULT actual, const char* call)
    {
        ExpectOutcome(m_capture, actual, outcome, call);
    }

    /// For calls without a result: exactly one line with `part`.
    template <class Call>
    void ExpectLine(Call call, const char* part)
    {
        call();
        EXPECT_THAT(m_capture.Lines(), testing::ElementsAre(testing::HasSubstr(part)));
    }

    DebugCapture m_capture;
    ComPtr<ID3D11Device> m_device;
    ComPtr<ID3D11DeviceContext> m_context;
};

} // namespace gleam::test
