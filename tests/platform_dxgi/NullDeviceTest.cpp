// The null device as a device: objects and their lives, bindings, shaders, queries and the counts of calls.
#include <cstring>
#include <thread>

#include "NullFixture.h"
#include "d3dcompiler.h"
#include "gleam_null_device.h"

namespace gleam {
namespace {

using test::NullDeviceTest;
using test::RefCount;

ComPtr<ID3DBlob> Compile(const char* source, const char* profile)
{
    ComPtr<ID3DBlob> code;
    ComPtr<ID3DBlob> errors;
    const HRESULT hr = D3DCompile(source, std::strlen(source), "test", nullptr, nullptr, "main", profile, 0, 0,
                                  code.Put(), errors.Put());
    EXPECT_EQ(hr, S_OK) << (errors ? static_cast<const char*>(errors->GetBufferPointer()) : "");
    return code;
}

TEST_F(NullDeviceTest, CallersAndBindingsHoldObjects)
{
    const ULONG deviceCount = RefCount(m_device.Get());
    ComPtr<ID3D11Buffer> buffer = MakeBuffer(64, D3D11_USAGE_DEFAULT, D3D11_BIND_CONSTANT_BUFFER);
    EXPECT_EQ(RefCount(m_device.Get()), deviceCount + 1) << "an object holds its device";
    ID3D11Buffer* raw = buffer.Get();
    m_context->PSSetConstantBuffers(3, 1, &raw);
    EXPECT_EQ(RefCount(raw), 1u) << "a binding is no caller's reference";
    buffer = nullptr;
    EXPECT_EQ(RefCount(m_device.Get()), deviceCount) << "a bound object alone does not hold the device";
    m_context->PSGetConstantBuffers(3, 1, buffer.Put());
    ASSERT_EQ(buffer.Get(), raw);
    EXPECT_EQ(RefCount(m_device.Get()), deviceCount + 1);
    D3D11_BUFFER_DESC desc;
    buffer->GetDesc(&desc);
    EXPECT_EQ(desc.ByteWidth, 64u);
    buffer = nullptr;
    m_context->ClearState();
    m_context->PSGetConstantBuffers(3, 1, buffer.Put());
    EXPECT_FALSE(buffer);
}

TEST_F(NullDeviceTest, ViewsHoldTheirResources)
{
    ComPtr<ID3D11ShaderResourceView> view;
    {
        const ComPtr<ID3D11Texture2D> texture = MakeTexture({});
        ASSERT_EQ(m_device->CreateShaderResourceView(texture.Get(), nullptr, view.Put()), S_OK);
    }
    ComPtr<ID3D11Resource> resource;
    view->GetResource(resource.Put());
    D3D11_RESOURCE_DIMENSION dimension;
    resource->GetType(&dimension);
    EXPECT_EQ(dimension, D3D11_RESOURCE_DIMENSION_TEXTURE2D);
    ID3D11ShaderResourceView* bound = view.Get();
    m_context->CSSetShaderResources(127, 1, &bound);
    resource = nullptr;
    view = nullptr;
    // The context alone keeps view and texture; ending the device with them bound must free all (leak check).
    m_context = nullptr;
    m_device = nullptr;
}

TEST_F(NullDeviceTest, ContextAndDeviceHoldEachOther)
{
    ComPtr<ID3DUserDefinedAnnotation> annotation;
    ASSERT_EQ(m_context->QueryInterface(IID_ID3DUserDefinedAnnotation, annotation.PutVoid()), S_OK);
    ComPtr<IUnknown> a, b;
    annotation->QueryInterface(IID_IUnknown, a.PutVoid());
    m_context->QueryInterface(IID_IUnknown, b.PutVoid());
    EXPECT_EQ(a.Get(), b.Get());
    EXPECT_EQ(annotation->EndEvent(), -2);
    EXPECT_EQ(annotation->BeginEvent(L"a"), 0);
    EXPECT_EQ(annotation->BeginEvent(L"b"), 1);
    EXPECT_EQ(annotation->EndEvent(), 1);
    EXPECT_EQ(annotation->EndEvent(), 0);
    m_device = nullptr;
    ComPtr<ID3D11Device> device;
    m_context->GetDevice(device.Put());
    ComPtr<ID3D11DeviceContext> context;
    device->GetImmediateContext(context.Put());
    EXPECT_EQ(context.Get(), m_context.Get());
}

TEST_F(NullDeviceTest, EqualStatesAreOneObject)
{
    D3D11_RASTERIZER_DESC desc{};
    desc.FillMode = D3D11_FILL_SOLID;
    desc.CullMode = D3D11_CULL_BACK;
    ComPtr<ID3D11RasterizerState> a, b, c;
    ASSERT_EQ(m_device->CreateRasterizerState(&desc, a.Put()), S_OK);
    desc.ScissorEnable = 7;
    ASSERT_EQ(m_device->CreateRasterizerState(&desc, b.Put()), S_OK);
    desc.ScissorEnable = TRUE;
    ASSERT_EQ(m_device->CreateRasterizerState(&desc, c.Put()), S_OK);
    EXPECT_NE(a.Get(), b.Get());
    EXPECT_EQ(b.Get(), c.Get());
    EXPECT_EQ(RefCount(b.Get()), 2u);
    EXPECT_EQ(m_device->CreateRasterizerState(&desc, nullptr), S_FALSE);
    EXPECT_EQ(RefCount(b.Get()), 2u);
}

TEST_F(NullDeviceTest, UniqueStatesAreLimitedToThoseAlive)
{
    const auto make = [&](int bias, ID3D11RasterizerState** state) {
        D3D11_RASTERIZER_DESC desc{};
        desc.FillMode = D3D11_FILL_SOLID;
        desc.CullMode = D3D11_CULL_BACK;
        desc.DepthBias = bias;
        return m_device->CreateRasterizerState(&desc, state);
    };
    std::vector<ComPtr<ID3D11RasterizerState>> alive(4096);
    for (int i = 0; i < 4096; ++i) {
        ASSERT_EQ(make(i, alive[i].Put()), S_OK);
    }
    ComPtr<ID3D11RasterizerState> more;
    EXPECT_EQ(make(4096, more.Put()), D3D11_ERROR_TOO_MANY_UNIQUE_STATE_OBJECTS);
    EXPECT_EQ(make(17, more.Put()), S_OK) << "a known state needs no room";
    m_context->RSSetState(alive[0].Get());
    alive[0] = nullptr;
    alive[1] = nullptr;
    EXPECT_EQ(make(4096, more.Put()), S_OK) << "a dead state makes room";
    EXPECT_EQ(make(4097, more.Put()), S_OK) << "the state that 4096 had was let go";
    ComPtr<ID3D11RasterizerState> bound;
    m_context->RSGetState(bound.Put());
    EXPECT_EQ(make(0, more.Put()), S_OK);
    EXPECT_EQ(more.Get(), bound.Get()) << "a bound state stays";
}

TEST_F(NullDeviceTest, ShadersAreCheckedContainers)
{
    const ComPtr<ID3DBlob> vertex = Compile(
        "float4 main(float3 p : POSITION, uint i : SV_VertexID) : SV_Position { return float4(p, i); }", "vs_5_0");
    ASSERT_TRUE(vertex);
    const void* code = vertex->GetBufferPointer();
    const SIZE_T size = vertex->GetBufferSize();
    ComPtr<ID3D11VertexShader> shader;
    ASSERT_EQ(m_device->CreateVertexShader(code, size, nullptr, shader.Put()), S_OK);
    m_context->VSSetShader(shader.Get(), nullptr, 0);
    ComPtr<ID3D11VertexShader> bound;
    m_context->VSGetShader(bound.Put(), nullptr, nullptr);
    EXPECT_EQ(bound.Get(), shader.Get());
    ComPtr<ID3D11PixelShader> pixel;
    Expect({E_INVALIDARG, "stage"}, m_device->CreatePixelShader(code, size, nullptr, pixel.Put()),
           "ID3D11Device::CreatePixelShader");
    Expect({E_INVALIDARG, "no compiled shader"}, m_device->CreateVertexShader(code, size - 1, nullptr, shader.Put()),
           "ID3D11Device::CreateVertexShader");
    EXPECT_FALSE(shader) << "a failed creation gives null";
    Expect({E_INVALIDARG, "no compiled shader"}, m_device->CreateVertexShader("text", 4, nullptr, shader.Put()),
           "ID3D11Device::CreateVertexShader");

    ComPtr<ID3D11InputLayout> layout;
    D3D11_INPUT_ELEMENT_DESC element{"POSITION", 0, DXGI_FORMAT_R32G32B32_FLOAT, 0, 0, D3D11_INPUT_PER_VERTEX_DATA, 0};
    EXPECT_EQ(m_device->CreateInputLayout(&element, 1, code, size, layout.Put()), S_OK);
    element.SemanticName = "NORMAL";
    Expect({E_INVALIDARG, "POSITION0"}, m_device->CreateInputLayout(&element, 1, code, size, layout.Put()),
           "ID3D11Device::CreateInputLayout");
}

TEST_F(NullDeviceTest, QueriesAnswerAtOnce)
{
    const auto make = [&](D3D11_QUERY kind) {
        const D3D11_QUERY_DESC desc{kind, 0};
        ComPtr<ID3D11Query> query;
        EXPECT_EQ(m_device->CreateQuery(&desc, query.Put()), S_OK);
        return query;
    };
    const ComPtr<ID3D11Query> first = make(D3D11_QUERY_TIMESTAMP);
    const ComPtr<ID3D11Query> second = make(D3D11_QUERY_TIMESTAMP);
    const ComPtr<ID3D11Query> disjoint = make(D3D11_QUERY_TIMESTAMP_DISJOINT);
    const ComPtr<ID3D11Query> event = make(D3D11_QUERY_EVENT);
    UINT64 start = 0;
    Expect({DXGI_ERROR_INVALID_CALL, "not ended"}, m_context->GetData(first.Get(), &start, 8, 0),
           "ID3D11DeviceContext::GetData");
    m_context->Begin(disjoint.Get());
    m_context->End(first.Get());
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    m_context->End(second.Get());
    m_context->End(disjoint.Get());
    UINT64 end = 0;
    D3D11_QUERY_DATA_TIMESTAMP_DISJOINT clock{};
    EXPECT_EQ(m_context->GetData(first.Get(), &start, 8, D3D11_ASYNC_GETDATA_DONOTFLUSH), S_OK);
    EXPECT_EQ(m_context->GetData(second.Get(), &end, 8, 0), S_OK);
    EXPECT_EQ(m_context->GetData(disjoint.Get(), &clock, sizeof(clock), 0), S_OK);
    EXPECT_FALSE(clock.Disjoint);
    const double seconds = static_cast<double>(end - start) / static_cast<double>(clock.Frequency);
    EXPECT_GE(seconds, 0.002);
    EXPECT_LT(seconds, 10.0);
    Expect({E_INVALIDARG, "DataSize 4"}, m_context->GetData(first.Get(), &start, 4, 0), "ID3D11DeviceContext::GetData");
    m_context->End(event.Get());
    BOOL done = FALSE;
    EXPECT_EQ(m_context->GetData(event.Get(), nullptr, 0, 0), S_OK);
    EXPECT_EQ(m_context->GetData(event.Get(), &done, sizeof(done), 0), S_OK);
    EXPECT_TRUE(done);
}

TEST_F(NullDeviceTest, BindingsComeBackAndBadOnesAreRefused)
{
    const ComPtr<ID3D11Texture2D> texture = MakeTexture({});
    const ComPtr<ID3D11Texture2D> other = MakeTexture({.width = 16});
    ComPtr<ID3D11RenderTargetView> target, otherTarget;
    ASSERT_EQ(m_device->CreateRenderTargetView(texture.Get(), nullptr, target.Put()), S_OK);
    ASSERT_EQ(m_device->CreateRenderTargetView(other.Get(), nullptr, otherTarget.Put()), S_OK);
    ID3D11RenderTargetView* targets[] = {nullptr, target.Get()};
    m_context->OMSetRenderTargets(2, targets, nullptr);
    ID3D11RenderTargetView* mixed[] = {otherTarget.Get(), target.Get()};
    ExpectLine([&] { m_context->OMSetRenderTargets(2, mixed, nullptr); }, "views differ");
    ID3D11RenderTargetView* bound[8] = {};
    m_context->OMGetRenderTargets(8, bound, nullptr);
    EXPECT_EQ(bound[0], nullptr);
    EXPECT_EQ(bound[1], target.Get()) << "a refused call changes nothing";
    bound[1]->Release();

    const ComPtr<ID3D11Buffer> vertices = MakeBuffer(64, D3D11_USAGE_DEFAULT, D3D11_BIND_VERTEX_BUFFER);
    ID3D11Buffer* buffer = vertices.Get();
    const UINT stride = 12, offset = 4;
    m_context->IASetVertexBuffers(31, 1, &buffer, &stride, &offset);
    UINT strides[2] = {1, 1};
    ExpectLine([&] { m_context->IASetVertexBuffers(31, 2, &buffer, strides, strides); }, "not in 32");
    ExpectLine([&] { m_context->PSSetConstantBuffers(0, 1, &buffer); }, "bind flag 0x4");
    ExpectLine([&] { m_context->IASetIndexBuffer(buffer, DXGI_FORMAT_R16_UINT, 0); }, "bind flag 0x2");
    ComPtr<ID3D11Buffer> found;
    UINT foundStride = 0;
    m_context->IAGetVertexBuffers(31, 1, found.Put(), &foundStride, nullptr);
    EXPECT_EQ(found.Get(), buffer);
    EXPECT_EQ(foundStride, 12u);

    const D3D11_VIEWPORT viewports[2] = {{0, 0, 8, 8, 0, 1}, {1, 1, 4, 4, 0, 1}};
    m_context->RSSetViewports(2, viewports);
    D3D11_VIEWPORT back[3] = {};
    UINT count = 3;
    m_context->RSGetViewports(&count, back);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(back[1].Width, 4.0f);
    ExpectLine([&] { m_context->DrawInstancedIndirect(nullptr, 0); }, "null");
    ExpectLine([&] { m_context->ClearRenderTargetView(nullptr, nullptr); }, "null");
}

TEST_F(NullDeviceTest, CountsCallsByKind)
{
    GleamNullResetCalls();
    EXPECT_EQ(GleamNullCallCountOf("DrawIndex"), UINT64_MAX) << "no such kind";
    EXPECT_EQ(GleamNullCallName(GleamNullCallKinds()), nullptr);
    for (int i = 0; i < 1000; ++i) {
        m_context->Draw(3, 0);
    }
    m_context->DrawIndexed(3, 0, 0);
    ExpectLine([&] { m_context->Dispatch(70000, 1, 1); }, "65535");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 250; ++k) {
                MakeBuffer(16, D3D11_USAGE_DEFAULT, D3D11_BIND_VERTEX_BUFFER);
                const D3D11_SAMPLER_DESC desc{D3D11_FILTER_MIN_MAG_MIP_POINT, D3D11_TEXTURE_ADDRESS_WRAP,
                                              D3D11_TEXTURE_ADDRESS_WRAP, D3D11_TEXTURE_ADDRESS_WRAP,
                                              static_cast<float>(k % 8)};
                ComPtr<ID3D11SamplerState> state;
                EXPECT_EQ(m_device->CreateSamplerState(&desc, state.Put()), S_OK);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(GleamNullCallCountOf("Draw"), 1000u);
    EXPECT_EQ(GleamNullCallCountOf("Dispatch"), 1u) << "refused calls count too";
    EXPECT_EQ(GleamNullCallCountOf("CreateBuffer"), 1000u);
    std::uint64_t all = 0;
    for (size_t kind = 0; kind < GleamNullCallKinds(); ++kind) {
        all += GleamNullCallCount(kind);
    }
    EXPECT_EQ(all, 1000u + 1 + 1 + 1000 + 1000);
    m_context = nullptr;
    m_device = nullptr;
    EXPECT_EQ(GleamNullCallCountOf("Draw"), 1000u) << "an ended device leaves its counts";
}

} // namespace
} // namespace gleam
