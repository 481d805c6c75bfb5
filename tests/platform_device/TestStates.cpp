// State objects and what they do to pixels, with dynamic state and with everything baked into pipelines.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <unistd.h>

#include "DeviceKit.h"
#include "gleam_platform_debug.h"

// Runs twice: on the extensions for dynamic state, and without them.
class States : public DeviceTest, public ::testing::WithParamInterface<bool>
{
protected:
    void SetUp() override
    {
        setenv("GLEAM_DEBUG", GetParam() ? "validation,baked-state" : "validation", 1);
        DeviceTest::SetUp();
        setenv("GLEAM_DEBUG", "validation", 1);
        texture = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8);
        target = Target(texture.Get());
        Clear();
        SetTarget(target.Get(), 8, 8);
        white = Pixel("float4 main() : SV_Target { return 1; }");
    }

    void Clear()
    {
        const float black[4] = {};
        context->ClearRenderTargetView(target.Get(), black);
    }

    std::size_t Lit()
    {
        const Words words = ReadWords(texture.Get());
        return static_cast<std::size_t>(std::count_if(words.begin(), words.end(), [](std::uint32_t w) { return w; }));
    }

    void SetRaster(D3D11_RASTERIZER_DESC desc)
    {
        ComPtr<ID3D11RasterizerState> state;
        ASSERT_EQ(S_OK, device->CreateRasterizerState(&desc, state.Put()));
        context->RSSetState(state.Get());
    }

    static D3D11_RASTERIZER_DESC PlainRaster()
    {
        return {D3D11_FILL_SOLID, D3D11_CULL_NONE, FALSE, 0, 0, 0, TRUE, FALSE, FALSE, FALSE};
    }

    ComPtr<ID3D11Texture2D> texture;
    ComPtr<ID3D11RenderTargetView> target;
    ComPtr<ID3D11PixelShader> white;
};

INSTANTIATE_TEST_SUITE_P(Paths, States, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "Baked" : "Dynamic"; });

TEST_P(States, TargetsBlendOnTheirOwn)
{
    // Slot 1 is left empty, slot 2 is an integer target.
    const auto second = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8), third = Texture(DXGI_FORMAT_R32_UINT, 8, 8);
    const auto secondTarget = Target(second.Get()), thirdTarget = Target(third.Get());
    ID3D11RenderTargetView* views[] = {target.Get(), nullptr, thirdTarget.Get(), secondTarget.Get()};
    const float half[4] = {0.5f, 0.5f, 0.5f, 0.5f};
    context->ClearRenderTargetView(secondTarget.Get(), half);
    context->ClearRenderTargetView(target.Get(), half);
    context->OMSetRenderTargets(4, views, nullptr);
    D3D11_BLEND_DESC desc{};
    desc.IndependentBlendEnable = TRUE;
    for (auto& blend : desc.RenderTarget) {
        blend.RenderTargetWriteMask = 15;
    }
    desc.RenderTarget[3] = {TRUE,
                            D3D11_BLEND_ONE,
                            D3D11_BLEND_ONE,
                            D3D11_BLEND_OP_SUBTRACT,
                            D3D11_BLEND_ONE,
                            D3D11_BLEND_ZERO,
                            D3D11_BLEND_OP_ADD,
                            13};
    ComPtr<ID3D11BlendState> state;
    ASSERT_EQ(S_OK, device->CreateBlendState(&desc, state.Put()));
    context->OMSetBlendState(state.Get(), nullptr, 0xffffffff);
    Fill(Pixel("struct O { float4 a : SV_Target0; uint b : SV_Target2; float4 c : SV_Target3; };"
               "O main() { O o; o.a = float4(1, 0, 0, 1); o.b = 77; o.c = 1; return o; }")
             .Get());
    EXPECT_EQ(Rgba(255, 0, 0), ReadColor(texture.Get()));
    EXPECT_EQ(77u, ReadColor(third.Get()));
    const std::uint32_t blended = ReadColor(second.Get());
    EXPECT_NEAR(127, blended & 255, 1);
    EXPECT_NEAR(128, blended >> 8 & 255, 1) << "green is masked";
    EXPECT_EQ(255u, blended >> 24);
}

TEST_P(States, RasterizerFillsClipsAndBiases)
{
    D3D11_RASTERIZER_DESC desc = PlainRaster();
    desc.FillMode = D3D11_FILL_WIREFRAME;
    SetRaster(desc);
    const auto triangle = Vertex("float4 main(uint id : SV_VertexID) : SV_Position"
                                 "{ return float4(id == 1 ? 0.9 : -0.9, id == 2 ? -0.9 : 0.9, 0.5, 1); }");
    context->VSSetShader(triangle.Get(), nullptr, 0);
    context->PSSetShader(white.Get(), nullptr, 0);
    context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    context->Draw(3, 0);
    const Words lines = ReadWords(texture.Get());
    EXPECT_NE(0u, lines[3]);
    EXPECT_EQ(0u, lines[2 + 2 * 8]) << "the inside stays empty";
    // Points in front of the near plane are cut off with depth clip, and kept without.
    const auto near = Vertex("float4 main(uint id : SV_VertexID) : SV_Position"
                             "{ return float4(id == 1 ? 3 : -1, id == 2 ? -3 : 1, -0.5, 1); }");
    for (const BOOL clip : {TRUE, FALSE}) {
        Clear();
        desc = PlainRaster();
        desc.DepthClipEnable = clip;
        SetRaster(desc);
        context->VSSetShader(near.Get(), nullptr, 0);
        context->Draw(3, 0);
        EXPECT_EQ(clip ? 0u : 64u, Lit());
    }
    // Bias moves coplanar pixels in front.
    const auto depthTexture = Texture(DXGI_FORMAT_D32_FLOAT, 8, 8, {.bind = D3D11_BIND_DEPTH_STENCIL});
    ComPtr<ID3D11DepthStencilView> depth;
    ASSERT_EQ(S_OK, device->CreateDepthStencilView(depthTexture.Get(), nullptr, depth.Put()));
    context->ClearDepthStencilView(depth.Get(), D3D11_CLEAR_DEPTH, 0.5f, 0);
    SetTarget(target.Get(), 8, 8, depth.Get());
    for (const INT bias : {0, -16}) {
        Clear();
        desc = PlainRaster();
        desc.DepthBias = bias;
        SetRaster(desc);
        Fill(white.Get());
        EXPECT_EQ(bias ? 64u : 0u, Lit());
    }
}

TEST_P(States, SampleMaskAndCoverageReachTheSamples)
{
    const auto multi = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8, {.samples = 4, .bind = D3D11_BIND_RENDER_TARGET});
    const auto multiTarget = Target(multi.Get());
    const auto half = Pixel("float4 main() : SV_Target { return float4(1, 1, 1, 0.5); }");
    D3D11_BLEND_DESC desc{};
    desc.RenderTarget[0].RenderTargetWriteMask = 15;
    for (const auto& [coverage, mask, low, high] :
         {std::tuple{FALSE, 0x7u, 190u, 192u}, {FALSE, 0x1u, 63u, 65u}, {TRUE, 0xfu, 60u, 200u}}) {
        const float black[4] = {};
        context->ClearRenderTargetView(multiTarget.Get(), black);
        SetTarget(multiTarget.Get(), 8, 8);
        desc.AlphaToCoverageEnable = coverage;
        ComPtr<ID3D11BlendState> state;
        ASSERT_EQ(S_OK, device->CreateBlendState(&desc, state.Put()));
        context->OMSetBlendState(state.Get(), nullptr, mask);
        Fill(half.Get());
        context->ResolveSubresource(texture.Get(), 0, multi.Get(), 0, DXGI_FORMAT_R8G8B8A8_UNORM);
        const std::uint32_t red = ReadWords(texture.Get())[9] & 255;
        EXPECT_GE(red, low) << "mask " << mask;
        EXPECT_LE(red, high) << "mask " << mask;
    }
}

TEST_P(States, LayoutsAndTopologiesChangeBetweenDraws)
{
    // The same two vertex buffers through three layouts, drawn as points, lines and triangles in turn.
    const char* text =
        "float4 main(float2 p : POS, float2 move : MOVE) : SV_Position { return float4(p + move, 0, 1); }";
    const auto code = Code(text, "vs_5_0");
    const float corners[] = {-1, 1, 0, 1, -1, 0, 9, 9};
    const float moves[] = {0, 0, 1, 0, 0, -1, 1, -1};
    const auto cornerBuffer = Buffer(sizeof corners, D3D11_BIND_VERTEX_BUFFER, D3D11_USAGE_IMMUTABLE, corners);
    const auto moveBuffer = Buffer(sizeof moves, D3D11_BIND_VERTEX_BUFFER, D3D11_USAGE_DYNAMIC, moves);
    ID3D11Buffer* buffers[] = {cornerBuffer.Get(), moveBuffer.Get()};
    const UINT strides[] = {8, 8}, offsets[] = {0, 0};
    context->IASetVertexBuffers(0, 2, buffers, strides, offsets);
    context->VSSetShader(Vertex(text).Get(), nullptr, 0);
    context->PSSetShader(white.Get(), nullptr, 0);
    SetRaster(PlainRaster());
    const auto run = [&](D3D11_INPUT_CLASSIFICATION moveClass, UINT step, D3D11_PRIMITIVE_TOPOLOGY topology) {
        const D3D11_INPUT_ELEMENT_DESC elements[] = {
            {"POS", 0, DXGI_FORMAT_R32G32_FLOAT, 0, 0, D3D11_INPUT_PER_VERTEX_DATA, 0},
            {"MOVE", 0, DXGI_FORMAT_R32G32_FLOAT, 1, 0, moveClass, step}};
        ComPtr<ID3D11InputLayout> layout;
        EXPECT_EQ(S_OK, device->CreateInputLayout(elements, 2, code->GetBufferPointer(), code->GetBufferSize(),
                                                  layout.Put()));
        context->IASetInputLayout(layout.Get());
        context->IASetPrimitiveTopology(topology);
        Clear();
        context->DrawInstanced(3, 4, 0, 0);
        return Lit();
    };
    const std::size_t once = run(D3D11_INPUT_PER_INSTANCE_DATA, 4, D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    EXPECT_NEAR(8, once, 3);
    EXPECT_EQ(once * 4, run(D3D11_INPUT_PER_INSTANCE_DATA, 1, D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST));
    EXPECT_EQ(once * 2, run(D3D11_INPUT_PER_INSTANCE_DATA, 2, D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST));
    EXPECT_GE(run(D3D11_INPUT_PER_VERTEX_DATA, 0, D3D_PRIMITIVE_TOPOLOGY_LINESTRIP), 8u);
    EXPECT_LE(run(D3D11_INPUT_PER_VERTEX_DATA, 0, D3D_PRIMITIVE_TOPOLOGY_POINTLIST), 3u);
}

TEST_P(States, SwitchingShadersKeepsEachStagesResources)
{
    // Two pixel shaders with other slots and one vertex shader: sets have to follow the pipeline layout.
    struct Block
    {
        float value[4];
    };
    const auto make = [&](float x) {
        const Block block{{x, x / 2, 0, 1}};
        return Buffer(sizeof block, D3D11_BIND_CONSTANT_BUFFER, D3D11_USAGE_IMMUTABLE, &block);
    };
    const auto low = make(0.2f), high = make(0.8f), place = make(0);
    ID3D11Buffer* buffers[] = {low.Get(), high.Get()};
    const std::uint32_t blue = Rgba(0, 0, 255);
    const D3D11_SUBRESOURCE_DATA data{&blue, 4, 0};
    const auto view = View(Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 1, 1, {.data = &data}).Get());
    ID3D11ShaderResourceView* views[] = {view.Get()};
    const auto plain = Pixel("cbuffer C : register(b0) { float4 c; } float4 main() : SV_Target { return c; }");
    const auto rich =
        Pixel("cbuffer D : register(b1) { float4 d; } Texture2D t : register(t3); float4 main() : SV_Target"
              "{ return d + t.Load(0); }");
    const auto vertex = Vertex("cbuffer P : register(b0) { float4 p; } float4 main(uint id : SV_VertexID) : SV_Position"
                               "{ return float4((id == 1 ? 3 : -1) + p.x, id == 2 ? -3 : 1, 0, 1); }");
    ID3D11Buffer* places[] = {place.Get()};
    context->VSSetShader(vertex.Get(), nullptr, 0);
    context->VSSetConstantBuffers(0, 1, places);
    context->PSSetConstantBuffers(0, 2, buffers);
    context->PSSetShaderResources(3, 1, views);
    context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    for (int i = 0; i < 8; ++i) {
        const D3D11_VIEWPORT column{float(i), 0, 1, 8, 0, 1};
        context->RSSetViewports(1, &column);
        context->PSSetShader(i % 2 ? rich.Get() : plain.Get(), nullptr, 0);
        context->Draw(3, 0);
    }
    const Words words = ReadWords(texture.Get());
    for (std::size_t i = 0; i < 64; ++i) {
        ASSERT_EQ(i % 2 ? Rgba(204, 102, 255) : Rgba(51, 26, 0), words[i]) << i;
    }
}

TEST_P(States, ConstantBuffersOfAllSlotsAndSizes)
{
    std::string text = "cbuffer L : register(b13) { float4 l[4096]; }";
    std::string sum = "l[4095].x";
    for (int slot = 0; slot < 13; ++slot) {
        text += "cbuffer C" + std::to_string(slot) + " : register(b" + std::to_string(slot) + ") { float4 c" +
                std::to_string(slot) + "[2]; }";
        sum += " + c" + std::to_string(slot) + "[1].y";
    }
    std::vector<ComPtr<ID3D11Buffer>> owned;
    std::vector<float> large(4096 * 4);
    large[4095 * 4] = 0.5f;
    for (int slot = 0; slot < 13; ++slot) {
        float block[8] = {};
        block[5] = 1 / 32.f;
        // Slot 4 holds too little, slot 7 nothing: the rest of both reads zero.
        owned.push_back(
            slot == 7 ? nullptr : Buffer(slot == 4 ? 16 : 32, D3D11_BIND_CONSTANT_BUFFER, D3D11_USAGE_DEFAULT, block));
    }
    owned.push_back(Buffer(65536, D3D11_BIND_CONSTANT_BUFFER, D3D11_USAGE_DYNAMIC, large.data()));
    std::vector<ID3D11Buffer*> buffers;
    for (const auto& buffer : owned) {
        buffers.push_back(buffer.Get());
    }
    context->PSSetConstantBuffers(0, 14, buffers.data());
    Fill(Pixel(text + "float4 main() : SV_Target { return " + sum + "; }").Get());
    EXPECT_NEAR(255 * (0.5 + 11 / 32.0), ReadColor(texture.Get()) & 255, 1);
}

class Samplers : public DeviceTest
{
};

TEST_F(Samplers, AddressesBordersLevelsAndComparisons)
{
    const auto output = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 1, 1);
    const auto target = Target(output.Get());
    SetTarget(target.Get(), 1, 1);
    const std::uint32_t top[4] = {Rgba(10, 0, 0), Rgba(20, 0, 0), Rgba(30, 0, 0), Rgba(40, 0, 0)};
    const std::uint32_t lower[2] = {Rgba(100, 0, 0), Rgba(200, 0, 0)}, last[1] = {Rgba(250, 0, 0)};
    const D3D11_SUBRESOURCE_DATA data[3] = {{top, 16, 0}, {lower, 8, 0}, {last, 4, 0}};
    const D3D11_TEXTURE1D_DESC desc{
        4, 3, 1, DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_USAGE_IMMUTABLE, D3D11_BIND_SHADER_RESOURCE, 0, 0};
    ComPtr<ID3D11Texture1D> texture;
    ASSERT_EQ(S_OK, device->CreateTexture1D(&desc, data, texture.Put()));
    const auto view = View(texture.Get());
    ID3D11ShaderResourceView* views[] = {view.Get()};
    context->PSSetShaderResources(0, 1, views);
    struct Case
    {
        float at, level;
        D3D11_TEXTURE_ADDRESS_MODE address;
        D3D11_FILTER filter;
        float bias, lowest, highest;
        unsigned expected;
    };
    const D3D11_FILTER point = D3D11_FILTER_MIN_MAG_MIP_POINT, linear = D3D11_FILTER_MIN_MAG_MIP_LINEAR;
    const Case cases[] = {
        {1.375f, 0, D3D11_TEXTURE_ADDRESS_WRAP, point, 0, 0, 9, 20},
        {1.125f, 0, D3D11_TEXTURE_ADDRESS_MIRROR, point, 0, 0, 9, 40},
        {7.0f, 0, D3D11_TEXTURE_ADDRESS_CLAMP, point, 0, 0, 9, 40},
        {-0.125f, 0, D3D11_TEXTURE_ADDRESS_MIRROR_ONCE, point, 0, 0, 9, 10},
        {7.0f, 0, D3D11_TEXTURE_ADDRESS_BORDER, point, 0, 0, 9, 51},
        {0.25f, 0, D3D11_TEXTURE_ADDRESS_CLAMP, linear, 0, 0, 9, 15},
        {0.25f, 1, D3D11_TEXTURE_ADDRESS_CLAMP, point, 0, 0, 9, 100},
        {0.25f, 0, D3D11_TEXTURE_ADDRESS_CLAMP, point, 0, 2, 9, 250},
        {0.25f, 9, D3D11_TEXTURE_ADDRESS_CLAMP, point, 0, 0, 1, 100},
        {0.25f, 1.5f, D3D11_TEXTURE_ADDRESS_CLAMP, linear, 0, 0, 9, 175},
    };
    for (const Case& test : cases) {
        const D3D11_SAMPLER_DESC samplerDesc{test.filter,
                                             test.address,
                                             test.address,
                                             test.address,
                                             test.bias,
                                             1,
                                             D3D11_COMPARISON_NEVER,
                                             {0.2f, 0.4f, 0.6f, 0.8f},
                                             test.lowest,
                                             test.highest};
        ComPtr<ID3D11SamplerState> sampler;
        ASSERT_EQ(S_OK, device->CreateSamplerState(&samplerDesc, sampler.Put()));
        ID3D11SamplerState* samplers[] = {sampler.Get()};
        context->PSSetSamplers(0, 1, samplers);
        const float values[4] = {test.at, test.level, 0, 0};
        const auto constants = Buffer(16, D3D11_BIND_CONSTANT_BUFFER, D3D11_USAGE_DEFAULT, values);
        ID3D11Buffer* buffers[] = {constants.Get()};
        context->PSSetConstantBuffers(0, 1, buffers);
        Fill(Pixel("cbuffer C { float2 c; } Texture1D t; SamplerState s; float4 main() : SV_Target { return "
                   "t.SampleLevel(s, c.x, c.y); }")
                 .Get());
        EXPECT_NEAR(test.expected, ReadColor(output.Get()) & 255, 1) << "case " << &test - cases;
    }
    const auto depth =
        Texture(DXGI_FORMAT_R32_TYPELESS, 4, 4, {.bind = D3D11_BIND_DEPTH_STENCIL | D3D11_BIND_SHADER_RESOURCE});
    D3D11_DEPTH_STENCIL_VIEW_DESC depthDesc{DXGI_FORMAT_D32_FLOAT, D3D11_DSV_DIMENSION_TEXTURE2D, 0, {}};
    ComPtr<ID3D11DepthStencilView> depthView;
    ASSERT_EQ(S_OK, device->CreateDepthStencilView(depth.Get(), &depthDesc, depthView.Put()));
    context->ClearDepthStencilView(depthView.Get(), D3D11_CLEAR_DEPTH, 0.5f, 0);
    D3D11_SHADER_RESOURCE_VIEW_DESC viewDesc{DXGI_FORMAT_R32_FLOAT, D3D_SRV_DIMENSION_TEXTURE2D, {}};
    viewDesc.Texture2D = {0, 1};
    const auto shadow = View(depth.Get(), &viewDesc);
    views[0] = shadow.Get();
    context->PSSetShaderResources(0, 1, views);
    D3D11_SAMPLER_DESC compare{D3D11_FILTER_COMPARISON_MIN_MAG_MIP_POINT,
                               D3D11_TEXTURE_ADDRESS_CLAMP,
                               D3D11_TEXTURE_ADDRESS_CLAMP,
                               D3D11_TEXTURE_ADDRESS_CLAMP,
                               0,
                               1,
                               D3D11_COMPARISON_LESS,
                               {},
                               0,
                               9};
    ComPtr<ID3D11SamplerState> sampler;
    ASSERT_EQ(S_OK, device->CreateSamplerState(&compare, sampler.Put()));
    ID3D11SamplerState* samplers[] = {sampler.Get()};
    context->PSSetSamplers(0, 1, samplers);
    Fill(Pixel("Texture2D t; SamplerComparisonState s; float4 main() : SV_Target"
               "{ return float4(t.SampleCmpLevelZero(s, 0.5, 0.4), t.SampleCmpLevelZero(s, 0.5, 0.6), 0, 1); }")
             .Get());
    EXPECT_EQ(Rgba(255, 0, 0), ReadColor(output.Get()));
}

TEST(PipelineCache, DamagedFilesCountAsAbsent)
{
    const auto folder = std::filesystem::temp_directory_path() / ("gleam-pipelines-" + std::to_string(getpid()));
    const std::string previous = getenv("GLEAM_CACHE") ? getenv("GLEAM_CACHE") : "";
    setenv("GLEAM_CACHE", folder.c_str(), 1);
    const auto run = [] {
        ComPtr<ID3D11Device> device;
        return D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION,
                                 device.Put(), nullptr, nullptr);
    };
    EXPECT_EQ(S_OK, run());
    std::filesystem::path file;
    if (std::filesystem::exists(folder / "pipelines")) {
        for (const auto& entry : std::filesystem::directory_iterator(folder / "pipelines")) {
            file = entry.path();
        }
    }
    ASSERT_FALSE(file.empty());
    for (const auto size : {std::uintmax_t(0), std::uintmax_t(10), std::filesystem::file_size(file) - 1}) {
        std::filesystem::resize_file(file, size);
        EXPECT_EQ(S_OK, run());
        EXPECT_GT(std::filesystem::file_size(file), size) << "a whole file takes its place";
    }
    std::fstream(file, std::ios::in | std::ios::out | std::ios::binary).seekp(40).put('\x7f');
    EXPECT_EQ(S_OK, run());
    std::filesystem::remove_all(folder);
    setenv("GLEAM_CACHE", previous.c_str(), 1);
}

TEST(DebugSwitches, MarkersAreLines)
{
    setenv("GLEAM_DEBUG", "validation,markers,sync", 1);
    std::vector<std::string> lines;
    ComPtr<ID3D11Device> device;
    ComPtr<ID3D11DeviceContext> context;
    ASSERT_EQ(S_OK, D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION,
                                      device.Put(), nullptr, context.Put()));
    setenv("GLEAM_DEBUG", "validation", 1);
    GleamPlatformSetDebugSink(
        [](void* user, const char* text) { static_cast<std::vector<std::string>*>(user)->emplace_back(text); }, &lines);
    ComPtr<ID3DUserDefinedAnnotation> annotation;
    ASSERT_EQ(S_OK, context->QueryInterface(IID_ID3DUserDefinedAnnotation, annotation.PutVoid()));
    annotation->BeginEvent(L"Größe");
    annotation->SetMarker(L"x");
    annotation->EndEvent();
    GleamPlatformSetDebugSink(nullptr, nullptr);
    ASSERT_EQ(2u, lines.size());
    EXPECT_NE(std::string::npos, lines[0].find("Größe"));
    EXPECT_NE(std::string::npos, lines[1].find("x"));
}
