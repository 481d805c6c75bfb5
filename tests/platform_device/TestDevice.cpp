// The device itself: creation, refusals, running out of memory, being lost, and many threads.
#include <cstdlib>
#include <thread>

#include "DeviceKit.h"
#include "dxgi.h"
#include "gleam_platform_debug.h"
#include "vulkan/ValidationLog.h"

class DeviceRules : public DeviceTest
{
};

namespace {

HRESULT CreateDevice(D3D_FEATURE_LEVEL level, ComPtr<ID3D11Device>& device, ComPtr<ID3D11DeviceContext>& context)
{
    return D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, &level, 1, D3D11_SDK_VERSION, device.Put(),
                             nullptr, context.Put());
}

void CollectLines(void* user, const char* text)
{
    static_cast<std::vector<std::string>*>(user)->emplace_back(text);
}

} // namespace

TEST_F(DeviceRules, CreationAnswersAsPublished)
{
    ComPtr<ID3D11Device> second;
    ComPtr<ID3D11DeviceContext> secondContext;
    EXPECT_EQ(S_OK, CreateDevice(D3D_FEATURE_LEVEL_11_0, second, secondContext));
    EXPECT_EQ(D3D_FEATURE_LEVEL_11_0, second->GetFeatureLevel());
    EXPECT_EQ(D3D_FEATURE_LEVEL_11_1, device->GetFeatureLevel());
    EXPECT_EQ(E_INVALIDARG, CreateDevice(D3D_FEATURE_LEVEL_12_0, second, secondContext));
    EXPECT_EQ(nullptr, second.Get());
    EXPECT_EQ(E_INVALIDARG, D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, nullptr, 0, 6, nullptr,
                                              nullptr, nullptr));
    EXPECT_EQ(S_FALSE, D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION,
                                         nullptr, nullptr, nullptr));
    ComPtr<IDXGIDevice> dxgi;
    ComPtr<IDXGIAdapter> adapter;
    ASSERT_EQ(S_OK, device->QueryInterface(IID_IDXGIDevice, dxgi.PutVoid()));
    ASSERT_EQ(S_OK, dxgi->GetAdapter(adapter.Put()));
    EXPECT_EQ(S_OK, D3D11CreateDevice(adapter.Get(), D3D_DRIVER_TYPE_UNKNOWN, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION,
                                      second.Put(), nullptr, nullptr));
    EXPECT_EQ(E_INVALIDARG, D3D11CreateDevice(adapter.Get(), D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, nullptr, 0,
                                              D3D11_SDK_VERSION, second.Put(), nullptr, nullptr));
}

TEST_F(DeviceRules, WhatCannotBeMadeIsRefusedWithOneLine)
{
    std::vector<std::string> lines;
    GleamPlatformSetDebugSink(CollectLines, &lines);
    const auto refusal = [&](HRESULT expected, auto call) {
        lines.clear();
        EXPECT_EQ(expected, call());
        EXPECT_EQ(1u, lines.size()) << expected;
    };
    ComPtr<ID3D11Texture2D> texture;
    D3D11_TEXTURE2D_DESC desc{
        16, 16, 1, 1, DXGI_FORMAT_R8G8B8A8_UNORM, {3, 0}, D3D11_USAGE_DEFAULT, D3D11_BIND_RENDER_TARGET, 0, 0};
    refusal(E_INVALIDARG, [&] { return device->CreateTexture2D(&desc, nullptr, texture.Put()); });
    desc = {16385, 16, 1, 1, DXGI_FORMAT_R8G8B8A8_UNORM, {1, 0}, D3D11_USAGE_DEFAULT, D3D11_BIND_RENDER_TARGET, 0, 0};
    refusal(E_INVALIDARG, [&] { return device->CreateTexture2D(&desc, nullptr, texture.Put()); });
    const D3D11_TEXTURE3D_DESC huge{
        2048, 2048, 2048, 1, DXGI_FORMAT_R32G32B32A32_FLOAT, D3D11_USAGE_DEFAULT, D3D11_BIND_SHADER_RESOURCE, 0, 0};
    ComPtr<ID3D11Texture3D> volume;
    refusal(E_OUTOFMEMORY, [&] { return device->CreateTexture3D(&huge, nullptr, volume.Put()); });
    ComPtr<ID3D11VertexShader> shader;
    const char junk[64] = "no shader";
    refusal(E_INVALIDARG, [&] { return device->CreateVertexShader(junk, sizeof junk, nullptr, shader.Put()); });
    const auto pixel = Code("float4 main() : SV_Target { return 1; }", "ps_5_0");
    refusal(E_INVALIDARG, [&] {
        return device->CreateVertexShader(pixel->GetBufferPointer(), pixel->GetBufferSize(), nullptr, shader.Put());
    });
    const auto buffer = Buffer(64, D3D11_BIND_VERTEX_BUFFER);
    D3D11_MAPPED_SUBRESOURCE mapped;
    refusal(E_INVALIDARG, [&] { return context->Map(buffer.Get(), 0, D3D11_MAP_WRITE_DISCARD, 0, &mapped); });
    GleamPlatformSetDebugSink(nullptr, nullptr);

    // Equal states are one object, and all the device says about formats it can do.
    D3D11_RASTERIZER_DESC raster{D3D11_FILL_SOLID, D3D11_CULL_NONE, FALSE, 0, 0, 0, TRUE, FALSE, FALSE, FALSE};
    ComPtr<ID3D11RasterizerState> one, two;
    device->CreateRasterizerState(&raster, one.Put());
    device->CreateRasterizerState(&raster, two.Put());
    EXPECT_EQ(one.Get(), two.Get());
    UINT support = 0;
    EXPECT_EQ(S_OK, device->CheckFormatSupport(DXGI_FORMAT_BC7_UNORM, &support));
    EXPECT_TRUE(support & D3D11_FORMAT_SUPPORT_SHADER_SAMPLE);
    EXPECT_FALSE(support & D3D11_FORMAT_SUPPORT_RENDER_TARGET);
    EXPECT_EQ(S_OK, device->CheckFormatSupport(DXGI_FORMAT_D24_UNORM_S8_UINT, &support));
    EXPECT_TRUE(support & D3D11_FORMAT_SUPPORT_DEPTH_STENCIL);
}

TEST_F(DeviceRules, PrivateDataAndAnnotations)
{
    const auto texture = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8);
    EXPECT_EQ(S_OK, texture->SetPrivateData(WKPDID_D3DDebugObjectName, 4, "Name"));
    char text[8] = {};
    UINT size = sizeof text;
    EXPECT_EQ(S_OK, texture->GetPrivateData(WKPDID_D3DDebugObjectName, &size, text));
    EXPECT_STREQ("Name", text);
    ComPtr<ID3DUserDefinedAnnotation> annotation;
    ASSERT_EQ(S_OK, context->QueryInterface(IID_ID3DUserDefinedAnnotation, annotation.PutVoid()));
    EXPECT_TRUE(annotation->GetStatus());
    for (int frame = 0; frame < 8; ++frame) {
        EXPECT_EQ(0, annotation->BeginEvent(L"Größe"));
        EXPECT_EQ(1, annotation->BeginEvent(L"inner"));
        context->Flush(); // ranges may span submissions
        annotation->SetMarker(L"here");
        EXPECT_EQ(1, annotation->EndEvent());
        EXPECT_EQ(0, annotation->EndEvent());
    }
    EXPECT_EQ(-2, annotation->EndEvent());
}

TEST(DeviceLoss, ReachesEveryCallAsACode)
{
    setenv("GLEAM_DEBUG", "validation,lose-device=2", 1);
    gleam::TakeValidationMessages();
    ComPtr<ID3D11Device> device;
    ComPtr<ID3D11DeviceContext> context;
    ASSERT_EQ(S_OK, CreateDevice(D3D_FEATURE_LEVEL_11_0, device, context));
    setenv("GLEAM_DEBUG", "validation", 1);
    const D3D11_TEXTURE2D_DESC desc{
        16, 16, 1, 1, DXGI_FORMAT_R8G8B8A8_UNORM, {1, 0}, D3D11_USAGE_DEFAULT, D3D11_BIND_RENDER_TARGET, 0, 0};
    D3D11_TEXTURE2D_DESC stagingDesc = desc;
    stagingDesc.Usage = D3D11_USAGE_STAGING, stagingDesc.BindFlags = 0,
    stagingDesc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
    ComPtr<ID3D11Texture2D> texture, staging, late;
    ComPtr<ID3D11RenderTargetView> target;
    ASSERT_EQ(S_OK, device->CreateTexture2D(&desc, nullptr, texture.Put()));
    ASSERT_EQ(S_OK, device->CreateTexture2D(&stagingDesc, nullptr, staging.Put()));
    ASSERT_EQ(S_OK, device->CreateRenderTargetView(texture.Get(), nullptr, target.Put()));
    const D3D11_QUERY_DESC queryDesc{D3D11_QUERY_EVENT, 0};
    ComPtr<ID3D11Query> query;
    ASSERT_EQ(S_OK, device->CreateQuery(&queryDesc, query.Put()));
    const float color[4] = {};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(i < 2 ? S_OK : DXGI_ERROR_DEVICE_REMOVED, device->GetDeviceRemovedReason());
        context->ClearRenderTargetView(target.Get(), color);
        context->CopyResource(staging.Get(), texture.Get());
        context->End(query.Get());
        context->Flush();
    }
    D3D11_MAPPED_SUBRESOURCE mapped;
    EXPECT_EQ(DXGI_ERROR_DEVICE_REMOVED, context->Map(staging.Get(), 0, D3D11_MAP_READ, 0, &mapped));
    EXPECT_EQ(DXGI_ERROR_DEVICE_REMOVED, context->GetData(query.Get(), nullptr, 0, 0));
    EXPECT_EQ(DXGI_ERROR_DEVICE_REMOVED, device->CreateTexture2D(&desc, nullptr, late.Put()));
    EXPECT_EQ(nullptr, late.Get());
    query = nullptr, target = nullptr, texture = nullptr, staging = nullptr, context = nullptr, device = nullptr;
    EXPECT_EQ("", gleam::TakeValidationMessages());
}

TEST_F(DeviceRules, ThreadsCreateWhileTheContextDraws)
{
    const auto texture = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 4, 4);
    const auto target = Target(texture.Get());
    SetTarget(target.Get(), 4, 4);
    const auto shader = Pixel("Texture2D t; float4 main() : SV_Target { return t.Load(0); }");
    constexpr int threads = 3, each = 40;
    std::vector<ComPtr<ID3D11ShaderResourceView>> views[threads];
    std::vector<std::thread> workers;
    for (int worker = 0; worker < threads; ++worker) {
        workers.emplace_back([&, worker] {
            for (int i = 0; i < each; ++i) {
                const Words pixels(64 * 64, Rgba(static_cast<unsigned>(worker), static_cast<unsigned>(i), 0));
                const D3D11_SUBRESOURCE_DATA data{pixels.data(), 256, 0};
                const auto made = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 64, 64, {.data = &data});
                views[worker].push_back(View(made.Get()));
                Buffer(1008, D3D11_BIND_CONSTANT_BUFFER, D3D11_USAGE_DYNAMIC);
                PointSampler();
                Target(made.Get());
            }
        });
    }
    const float black[4] = {0, 0, 0, 1};
    for (int i = 0; i < 60; ++i) {
        context->ClearRenderTargetView(target.Get(), black);
        Fill(shader.Get());
        context->Flush();
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    for (int worker = 0; worker < threads; ++worker) {
        for (int i = 0; i < each; i += 13) {
            ID3D11ShaderResourceView* bound[] = {views[worker][static_cast<std::size_t>(i)].Get()};
            context->PSSetShaderResources(0, 1, bound);
            Fill(shader.Get());
            EXPECT_EQ(Rgba(static_cast<unsigned>(worker), static_cast<unsigned>(i), 0), ReadColor(texture.Get()));
        }
    }
}
