// Dispatches, unordered access in all forms, and hazards between dispatches and draws.
#include "DeviceKit.h"

class ComputeWork : public DeviceTest
{
protected:
    ComPtr<ID3D11UnorderedAccessView> Unordered(ID3D11Resource* resource,
                                                const D3D11_UNORDERED_ACCESS_VIEW_DESC* desc = nullptr)
    {
        ComPtr<ID3D11UnorderedAccessView> view;
        EXPECT_EQ(S_OK, device->CreateUnorderedAccessView(resource, desc, view.Put()));
        return view;
    }
    ComPtr<ID3D11Buffer> Structured(UINT count, UINT stride, const void* data = nullptr)
    {
        return Buffer(count * stride, D3D11_BIND_UNORDERED_ACCESS | D3D11_BIND_SHADER_RESOURCE, D3D11_USAGE_DEFAULT,
                      data, D3D11_RESOURCE_MISC_BUFFER_STRUCTURED, stride);
    }
    void Run(std::string_view text, std::vector<ID3D11UnorderedAccessView*> views, UINT groups = 1,
             const UINT* counts = nullptr)
    {
        context->CSSetShader(Compute(text).Get(), nullptr, 0);
        context->CSSetUnorderedAccessViews(0, static_cast<UINT>(views.size()), views.data(), counts);
        context->Dispatch(groups, 1, 1);
    }
};

TEST_F(ComputeWork, DispatchesSeeEachOthersWrites)
{
    const auto values = Structured(64, 8);
    const auto view = Unordered(values.Get());
    Run("struct S { uint a; uint b; }; RWStructuredBuffer<S> o; [numthreads(64, 1, 1)] void main(uint3 id :"
        "SV_DispatchThreadID) { S s; s.a = id.x; s.b = 1; o[id.x] = s; }",
        {view.Get()});
    for (int i = 0; i < 10; ++i) {
        Run("struct S { uint a; uint b; }; RWStructuredBuffer<S> o; [numthreads(64, 1, 1)] void main(uint3 id :"
            "SV_DispatchThreadID) { uint n = o[63 - id.x].b; AllMemoryBarrierWithGroupSync(); o[id.x].b += n; }",
            {view.Get()});
    }
    // A draw reads them as a resource; the binding for writing gives way.
    const auto texture = Texture(DXGI_FORMAT_R32_UINT, 4, 4);
    const auto target = Target(texture.Get());
    SetTarget(target.Get(), 4, 4);
    const auto read = View(values.Get());
    ID3D11ShaderResourceView* reads[] = {read.Get()};
    context->PSSetShaderResources(0, 1, reads);
    Fill(Pixel("struct S { uint a; uint b; }; StructuredBuffer<S> t; uint main() : SV_Target"
               "{ return t[63].b + t[63].a; }")
             .Get());
    EXPECT_EQ(1024u + 63, ReadColor(texture.Get()));
}

TEST_F(ComputeWork, AppendAndConsumeCountAndKeepTheirCount)
{
    const auto values = Structured(32, 4);
    D3D11_UNORDERED_ACCESS_VIEW_DESC desc{DXGI_FORMAT_UNKNOWN, D3D11_UAV_DIMENSION_BUFFER, {}};
    desc.Buffer = {0, 32, D3D11_BUFFER_UAV_FLAG_APPEND};
    const auto view = Unordered(values.Get(), &desc);
    const auto count = Buffer(16, D3D11_BIND_VERTEX_BUFFER);
    const UINT start = 3, keep = ~0u;
    const char* append = "AppendStructuredBuffer<uint> o; [numthreads(8, 1, 1)] void main(uint3 id :"
                         "SV_DispatchThreadID) { if (id.x % 2) o.Append(id.x); }";
    Run(append, {view.Get()}, 1, &start);
    context->CopyStructureCount(count.Get(), 4, view.Get());
    EXPECT_EQ(7u, ReadWords(count.Get())[1]);
    Run(append, {nullptr});
    Run(append, {view.Get()}, 1, &keep);
    context->CopyStructureCount(count.Get(), 8, view.Get());
    EXPECT_EQ(11u, ReadWords(count.Get())[2]);
    Words written = ReadWords(values.Get());
    EXPECT_EQ(16u, written[3] + written[4] + written[5] + written[6]);
}

TEST_F(ComputeWork, ImagesAndTypedBuffers)
{
    const auto image = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8,
                               {.slices = 2, .bind = D3D11_BIND_UNORDERED_ACCESS | D3D11_BIND_SHADER_RESOURCE});
    const auto typed = Buffer(64, D3D11_BIND_UNORDERED_ACCESS | D3D11_BIND_SHADER_RESOURCE);
    D3D11_UNORDERED_ACCESS_VIEW_DESC desc{DXGI_FORMAT_R32_UINT, D3D11_UAV_DIMENSION_BUFFER, {}};
    desc.Buffer = {0, 16, 0};
    const auto imageView = Unordered(image.Get()), typedView = Unordered(typed.Get(), &desc);
    Run("RWTexture2DArray<unorm float4> i : register(u0); RWBuffer<uint> b : register(u1); [numthreads(8, 8, 2)]"
        "void main(uint3 id : SV_DispatchThreadID) { i[id] = float4(id / 255.0, 1);"
        "if (id.z == 1 && id.y == 0) b[id.x] = id.x * id.x; }",
        {imageView.Get(), typedView.Get()});
    EXPECT_EQ(Rgba(3, 5, 1), ReadWords(image.Get(), 1)[3 + 5 * 8]);
    EXPECT_EQ(49u, ReadWords(typed.Get())[7]);
}

TEST_F(ComputeWork, ClearsPackByTheFormat)
{
    const float color[4] = {1, 0.5f, 0, 1};
    const UINT words[4] = {0x1ff, 2, 3, 4};
    const auto image = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 4, 4,
                               {.mips = 2, .bind = D3D11_BIND_UNORDERED_ACCESS | D3D11_BIND_SHADER_RESOURCE});
    D3D11_UNORDERED_ACCESS_VIEW_DESC desc{DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_UAV_DIMENSION_TEXTURE2D, {}};
    const auto first = Unordered(image.Get(), &desc);
    desc.Texture2D.MipSlice = 1;
    const auto second = Unordered(image.Get(), &desc);
    context->ClearUnorderedAccessViewFloat(first.Get(), color);
    context->ClearUnorderedAccessViewUint(second.Get(), words);
    EXPECT_EQ(Rgba(255, 128, 0), ReadColor(image.Get(), 0));
    EXPECT_EQ(Rgba(255, 2, 3, 4), ReadColor(image.Get(), 1));
    const auto structured = Structured(16, 12);
    context->ClearUnorderedAccessViewUint(Unordered(structured.Get()).Get(), words);
    EXPECT_EQ(0x1ffu, ReadColor(structured.Get()));
    const auto typed = Buffer(64, D3D11_BIND_UNORDERED_ACCESS);
    desc = {DXGI_FORMAT_R16G16_UINT, D3D11_UAV_DIMENSION_BUFFER, {}};
    desc.Buffer = {4, 8, 0};
    context->ClearUnorderedAccessViewUint(Unordered(typed.Get(), &desc).Get(), words);
    const Words result = ReadWords(typed.Get());
    EXPECT_EQ(0x000201ffu, result[4]);
    EXPECT_EQ(0x000201ffu, result[11]);
    EXPECT_NE(0x000201ffu, result[12]);
}

TEST_F(ComputeWork, IndirectAndPixelStageWrites)
{
    const UINT groups[4] = {0, 3, 1, 1};
    const auto arguments = Buffer(16, 0, D3D11_USAGE_DEFAULT, groups, D3D11_RESOURCE_MISC_DRAWINDIRECT_ARGS);
    const auto values = Structured(4, 4);
    const auto view = Unordered(values.Get());
    const UINT zero[4] = {};
    context->ClearUnorderedAccessViewUint(view.Get(), zero);
    ID3D11UnorderedAccessView* views[] = {view.Get()};
    context->CSSetShader(
        Compute("RWStructuredBuffer<uint> o; [numthreads(2, 1, 1)] void main() { InterlockedAdd(o[0], 1); }").Get(),
        nullptr, 0);
    context->CSSetUnorderedAccessViews(0, 1, views, nullptr);
    context->DispatchIndirect(arguments.Get(), 4);
    EXPECT_EQ(6u, ReadWords(values.Get())[0]);

    const auto texture = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 4, 4);
    ID3D11RenderTargetView* targets[] = {nullptr};
    const auto target = Target(texture.Get());
    targets[0] = target.Get();
    SetTarget(target.Get(), 4, 4);
    context->OMSetRenderTargetsAndUnorderedAccessViews(1, targets, nullptr, 1, 1, views, nullptr);
    const auto shader = Pixel("RWStructuredBuffer<uint> o : register(u1); float4 main() : SV_Target"
                              "{ InterlockedAdd(o[1], 2); return 1; }");
    Fill(shader.Get());
    Fill(shader.Get());
    EXPECT_EQ(64u, ReadWords(values.Get())[1]);
}
