// Draws: input assembly, fixed functions and the state between draws.
#include "DeviceKit.h"

class Draws : public DeviceTest
{
protected:
    void SetUp() override
    {
        DeviceTest::SetUp();
        texture = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8);
        target = Target(texture.Get());
        const float black[4] = {0, 0, 0, 0};
        context->ClearRenderTargetView(target.Get(), black);
        SetTarget(target.Get(), 8, 8);
        white = Pixel("float4 main() : SV_Target { return 1; }");
    }

    /// Pixels that are not black, as rows of '#' and '.'.
    std::string Picture()
    {
        const Words words = ReadWords(texture.Get());
        std::string picture;
        for (std::size_t i = 0; i < words.size(); ++i) {
            picture += words[i] ? '#' : '.';
            picture += i % 8 == 7 ? "\n" : "";
        }
        return picture;
    }

    ComPtr<ID3D11InputLayout> Layout(const std::vector<D3D11_INPUT_ELEMENT_DESC>& elements, ID3DBlob* code)
    {
        ComPtr<ID3D11InputLayout> layout;
        EXPECT_EQ(S_OK, device->CreateInputLayout(elements.data(), static_cast<UINT>(elements.size()),
                                                  code->GetBufferPointer(), code->GetBufferSize(), layout.Put()));
        return layout;
    }

    ComPtr<ID3D11Texture2D> texture;
    ComPtr<ID3D11RenderTargetView> target;
    ComPtr<ID3D11PixelShader> white;
};

TEST_F(Draws, ViewportScissorAndCullingFollowThePublishedAxes)
{
    // Clip space y points up, pixels count down; clockwise is the front.
    const auto corner = Vertex("float4 main(uint id : SV_VertexID) : SV_Position"
                               "{ return float4(id == 1 ? 0 : -1, id == 2 ? 0 : 1, 0, 1); }");
    context->VSSetShader(corner.Get(), nullptr, 0);
    context->PSSetShader(white.Get(), nullptr, 0);
    context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    const D3D11_VIEWPORT viewport{2, 2, 6, 6, 0, 1};
    context->RSSetViewports(1, &viewport);
    context->Draw(3, 0);
    EXPECT_EQ("........\n........\n..##....\n..#.....\n........\n........\n........\n........\n", Picture());

    D3D11_RASTERIZER_DESC desc{D3D11_FILL_SOLID, D3D11_CULL_FRONT, FALSE, 0, 0, 0, TRUE, FALSE, FALSE, FALSE};
    ComPtr<ID3D11RasterizerState> state;
    ASSERT_EQ(S_OK, device->CreateRasterizerState(&desc, state.Put()));
    const float black[4] = {0, 0, 0, 0};
    context->ClearRenderTargetView(target.Get(), black);
    context->RSSetState(state.Get());
    context->Draw(3, 0);
    EXPECT_EQ(std::string::npos, Picture().find('#')) << "front faces are culled";

    desc.CullMode = D3D11_CULL_BACK;
    desc.ScissorEnable = TRUE;
    ASSERT_EQ(S_OK, device->CreateRasterizerState(&desc, state.Put()));
    context->RSSetState(state.Get());
    SetTarget(target.Get(), 8, 8);
    const D3D11_RECT rect{1, 5, 4, 7};
    context->RSSetScissorRects(1, &rect);
    Fill(white.Get());
    EXPECT_EQ("........\n........\n........\n........\n........\n.###....\n.###....\n........\n", Picture());
    context->RSSetState(nullptr);
    Fill(white.Get());
    EXPECT_EQ(std::string::npos, Picture().find('.')) << "without a state nothing is cut";
}

TEST_F(Draws, BlendWritesMasksAndFactors)
{
    struct Case
    {
        D3D11_BLEND source, destination;
        D3D11_BLEND_OP op;
        UINT8 mask;
        std::uint32_t expected;
    };
    // Over (128, 64, 0, 255), the shader gives (0.5, 0.25, 1, 0.5) and the factor is 0.25.
    const Case cases[] = {
        {D3D11_BLEND_ONE, D3D11_BLEND_ZERO, D3D11_BLEND_OP_ADD, 15, Rgba(128, 64, 255, 128)},
        {D3D11_BLEND_SRC_ALPHA, D3D11_BLEND_INV_SRC_ALPHA, D3D11_BLEND_OP_ADD, 15, Rgba(128, 64, 128, 255)},
        {D3D11_BLEND_ONE, D3D11_BLEND_ONE, D3D11_BLEND_OP_REV_SUBTRACT, 7, Rgba(0, 0, 0, 255)},
        {D3D11_BLEND_ZERO, D3D11_BLEND_BLEND_FACTOR, D3D11_BLEND_OP_ADD, 1, Rgba(32, 64, 0, 255)},
        {D3D11_BLEND_ONE, D3D11_BLEND_ONE, D3D11_BLEND_OP_MAX, 12, Rgba(128, 64, 255, 255)},
    };
    const auto color = Pixel("float4 main() : SV_Target { return float4(0.5, 0.25, 1, 0.5); }");
    const float base[4] = {128 / 255.f, 64 / 255.f, 0, 1}, factor[4] = {0.25f, 0.25f, 0.25f, 0.25f};
    for (const Case& test : cases) {
        D3D11_BLEND_DESC desc{};
        desc.RenderTarget[0] = {TRUE,
                                test.source,
                                test.destination,
                                test.op,
                                test.source == D3D11_BLEND_SRC_ALPHA ? D3D11_BLEND_ONE : test.source,
                                test.destination,
                                test.op,
                                test.mask};
        ComPtr<ID3D11BlendState> state;
        ASSERT_EQ(S_OK, device->CreateBlendState(&desc, state.Put()));
        context->ClearRenderTargetView(target.Get(), base);
        context->OMSetBlendState(state.Get(), factor, 0xffffffff);
        Fill(color.Get());
        const std::uint32_t got = ReadColor(texture.Get());
        for (unsigned shift = 0; shift < 32; shift += 8) {
            EXPECT_NEAR(test.expected >> shift & 255, got >> shift & 255, 1)
                << "case " << &test - cases << " channel " << shift / 8;
        }
    }
}

TEST_F(Draws, DepthAndStencilTestsDecide)
{
    const auto depthTexture = Texture(DXGI_FORMAT_D24_UNORM_S8_UINT, 8, 8, {.bind = D3D11_BIND_DEPTH_STENCIL});
    ComPtr<ID3D11DepthStencilView> depth;
    ASSERT_EQ(S_OK, device->CreateDepthStencilView(depthTexture.Get(), nullptr, depth.Put()));
    SetTarget(target.Get(), 8, 8, depth.Get());
    context->ClearDepthStencilView(depth.Get(), D3D11_CLEAR_DEPTH | D3D11_CLEAR_STENCIL, 0.25f, 5);
    const auto green = Pixel("float4 main() : SV_Target { return float4(0, 1, 0, 1); }");
    const auto blue = Pixel("float4 main() : SV_Target { return float4(0, 0, 1, 1); }");
    Fill(white.Get()); // the default: LESS, and 0.5 is not less than 0.25
    EXPECT_EQ(0u, ReadColor(texture.Get()));

    const D3D11_DEPTH_STENCILOP_DESC face{D3D11_STENCIL_OP_ZERO, D3D11_STENCIL_OP_INVERT, D3D11_STENCIL_OP_INCR,
                                          D3D11_COMPARISON_EQUAL};
    D3D11_DEPTH_STENCIL_DESC desc{TRUE, D3D11_DEPTH_WRITE_MASK_ALL, D3D11_COMPARISON_GREATER, TRUE, 0xff, 0xff, face,
                                  face};
    ComPtr<ID3D11DepthStencilState> state;
    ASSERT_EQ(S_OK, device->CreateDepthStencilState(&desc, state.Put()));
    context->OMSetDepthStencilState(state.Get(), 5);
    Fill(green.Get()); // passes: depth 0.5, stencil 6
    EXPECT_EQ(Rgba(0, 255, 0), ReadColor(texture.Get()));
    EXPECT_EQ(0x06800000u, ReadColor(depthTexture.Get()));
    Fill(blue.Get()); // stencil 6 is not 5: fails and becomes 0
    EXPECT_EQ(Rgba(0, 255, 0), ReadColor(texture.Get()));
    EXPECT_EQ(0x00800000u, ReadColor(depthTexture.Get()));
    context->OMSetDepthStencilState(state.Get(), 0);
    Fill(blue.Get()); // stencil passes, depth fails: inverted
    EXPECT_EQ(0xff800000u, ReadColor(depthTexture.Get()));
    EXPECT_EQ(Rgba(0, 255, 0), ReadColor(texture.Get()));
}

TEST_F(Draws, IndexedInstancedWithOffsetsAndStrips)
{
    // One pixel for each instance and vertex: x from the vertex stream, y from the instance stream.
    const char* text = "struct In { float x : XPOS; float2 c : COLOR1; float y : YPOS; uint n : NOBODY; };"
                       "float4 main(In i) : SV_Position"
                       "{ return float4((i.x + 0.5) / 4 - 1, 1 - (i.y + 0.5) / 4, i.n, 1); }";
    const auto code = Code(text, "vs_5_0");
    const auto shader = Vertex(text);
    std::vector<D3D11_INPUT_ELEMENT_DESC> elements = {
        {"Color", 1, DXGI_FORMAT_R16G16_FLOAT, 0, 4, D3D11_INPUT_PER_VERTEX_DATA, 0},
        {"XPos", 0, DXGI_FORMAT_R32_FLOAT, 0, 0, D3D11_INPUT_PER_VERTEX_DATA, 0},
        {"YPos", 0, DXGI_FORMAT_R32_FLOAT, 2, 0, D3D11_INPUT_PER_INSTANCE_DATA, 1},
        {"Nobody", 0, DXGI_FORMAT_R32_UINT, 5, 0, D3D11_INPUT_PER_VERTEX_DATA, 0}};
    const auto layout = Layout(elements, code.Get());
    struct VertexData
    {
        float x;
        std::uint16_t color[2];
    };
    const VertexData vertices[] = {{9, {}}, {1, {}}, {3, {}}, {5, {}}, {6, {}}};
    const float rows[] = {9, 2, 5};
    const std::uint16_t indices[] = {0, 0, 0, 1, 2, 3};
    const auto vertexBuffer = Buffer(sizeof vertices, D3D11_BIND_VERTEX_BUFFER, D3D11_USAGE_DEFAULT, vertices);
    const auto rowBuffer = Buffer(sizeof rows, D3D11_BIND_VERTEX_BUFFER, D3D11_USAGE_IMMUTABLE, rows);
    const auto indexBuffer = Buffer(sizeof indices, D3D11_BIND_INDEX_BUFFER, D3D11_USAGE_DYNAMIC, indices);
    ID3D11Buffer* streams[] = {vertexBuffer.Get(), nullptr, rowBuffer.Get()};
    const UINT strides[] = {sizeof(VertexData), 0, 4}, offsets[] = {0, 0, 4};
    context->IASetVertexBuffers(0, 3, streams, strides, offsets);
    context->IASetInputLayout(layout.Get());
    context->IASetIndexBuffer(indexBuffer.Get(), DXGI_FORMAT_R16_UINT, 2);
    context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_POINTLIST);
    context->VSSetShader(shader.Get(), nullptr, 0);
    context->PSSetShader(white.Get(), nullptr, 0);
    context->DrawIndexedInstanced(3, 2, 2, 1, 0); // indices 1, 2, 3 plus base 1
    EXPECT_EQ("........\n........\n...#.##.\n........\n........\n...#.##.\n........\n........\n", Picture());

    // A strip is cut by the highest index; its two triangles share nothing.
    const char* stripText = "float4 main(float2 p : POSITION) : SV_Position { return float4(p, 0, 1); }";
    const auto stripCode = Code(stripText, "vs_5_0");
    elements = {{"POSITION", 0, DXGI_FORMAT_R32G32_FLOAT, 0, 0, D3D11_INPUT_PER_VERTEX_DATA, 0}};
    const float corners[][2] = {{-1, 1}, {0, 1}, {-1, 0}, {0, 0}, {1, 0}, {0, -1}};
    const std::uint32_t strip[] = {0, 1, 2, 0xffffffff, 3, 4, 5};
    const auto cornerBuffer = Buffer(sizeof corners, D3D11_BIND_VERTEX_BUFFER, D3D11_USAGE_DYNAMIC, corners);
    const auto stripBuffer = Buffer(sizeof strip, D3D11_BIND_INDEX_BUFFER, D3D11_USAGE_IMMUTABLE, strip);
    ID3D11Buffer* stream = cornerBuffer.Get();
    const UINT stride = 8, offset = 0;
    context->IASetVertexBuffers(0, 1, &stream, &stride, &offset);
    context->IASetInputLayout(Layout(elements, stripCode.Get()).Get());
    context->IASetIndexBuffer(stripBuffer.Get(), DXGI_FORMAT_R32_UINT, 0);
    context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP);
    context->VSSetShader(Vertex(stripText).Get(), nullptr, 0);
    const float black[4] = {0, 0, 0, 0};
    context->ClearRenderTargetView(target.Get(), black);
    context->DrawIndexed(7, 0, 0);
    EXPECT_EQ("###.....\n##......\n#.......\n........\n....###.\n....##..\n....#...\n........\n", Picture());
}

TEST_F(Draws, InputsThatNobodyFeedsReadZero)
{
    const auto shader = Vertex("struct Out { float4 p : SV_Position; float4 c : COLOR; };"
                               "Out main(uint id : SV_VertexID, float4 a : MISSING, uint b : MISSING1) { Out o;"
                               "o.p = float4(id == 1 ? 3 : -1, id == 2 ? -3 : 1, 0, 1); o.c = a + b; return o; }");
    const auto pixel = Pixel("float4 main(float4 p : SV_Position, float4 c : COLOR, float4 d : ABSENT) : SV_Target"
                             "{ return c + d + float4(0, 0, 1, 1); }");
    context->VSSetShader(shader.Get(), nullptr, 0);
    context->PSSetShader(pixel.Get(), nullptr, 0);
    context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    context->Draw(3, 0);
    EXPECT_EQ(Rgba(0, 0, 255), ReadColor(texture.Get()));
}

TEST_F(Draws, IndirectArgumentsComeFromShaders)
{
    const auto writer = Compute("RWByteAddressBuffer args : register(u0);"
                                "[numthreads(1, 1, 1)] void main() { args.Store4(4, uint4(3, 1, 0, 0)); }");
    const auto arguments = Buffer(32, D3D11_BIND_UNORDERED_ACCESS, D3D11_USAGE_DEFAULT, nullptr,
                                  D3D11_RESOURCE_MISC_DRAWINDIRECT_ARGS | D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS);
    D3D11_UNORDERED_ACCESS_VIEW_DESC desc{DXGI_FORMAT_R32_TYPELESS, D3D11_UAV_DIMENSION_BUFFER, {}};
    desc.Buffer = {0, 8, D3D11_BUFFER_UAV_FLAG_RAW};
    ComPtr<ID3D11UnorderedAccessView> view;
    ASSERT_EQ(S_OK, device->CreateUnorderedAccessView(arguments.Get(), &desc, view.Put()));
    ID3D11UnorderedAccessView* views[] = {view.Get()};
    context->CSSetUnorderedAccessViews(0, 1, views, nullptr);
    context->CSSetShader(writer.Get(), nullptr, 0);
    context->Dispatch(1, 1, 1);
    const auto corner = Vertex("float4 main(uint id : SV_VertexID) : SV_Position"
                               "{ return float4(id == 1 ? 3 : -1, id == 2 ? -3 : 1, 0, 1); }");
    context->VSSetShader(corner.Get(), nullptr, 0);
    context->PSSetShader(white.Get(), nullptr, 0);
    context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    context->DrawInstancedIndirect(arguments.Get(), 4);
    EXPECT_EQ(0xffffffffu, ReadColor(texture.Get()));
}

TEST_F(Draws, WithoutShaderTopologyOrViewportDoNothing)
{
    context->PSSetShader(white.Get(), nullptr, 0);
    context->Draw(3, 0);
    context->DrawIndexed(3, 0, 0);
    context->ClearState();
    context->OMSetRenderTargets(1, std::vector<ID3D11RenderTargetView*>{target.Get()}.data(), nullptr);
    Fill(white.Get());
    EXPECT_EQ(0u, ReadColor(texture.Get()));
}

TEST_F(Draws, GeometryStagesMakePrimitives)
{
    const char* pass = "struct V { float4 p : SV_Position; float c : COLOR; };";
    const auto vertex =
        Vertex(std::string(pass) + "V main(uint id : SV_VertexID) { V v; v.p = 0; v.c = 1; return v; }");
    const auto code = Code(std::string(pass) +
                               "[maxvertexcount(4)] void main(point V v[1], inout TriangleStream<V> s) {"
                               "for (uint i = 0; i < 4; ++i) { V o; o.p = float4(i & 1 ? 1 : -1, i & 2 ? 0 : 1, 0, 1);"
                               "o.c = v[0].c; s.Append(o); } }",
                           "gs_5_0");
    ComPtr<ID3D11GeometryShader> geometry;
    ASSERT_EQ(S_OK,
              device->CreateGeometryShader(code->GetBufferPointer(), code->GetBufferSize(), nullptr, geometry.Put()));
    const auto pixel = Pixel("float4 main(float4 p : SV_Position, float c : COLOR) : SV_Target { return c; }");
    context->VSSetShader(vertex.Get(), nullptr, 0);
    context->GSSetShader(geometry.Get(), nullptr, 0);
    context->PSSetShader(pixel.Get(), nullptr, 0);
    context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_POINTLIST);
    D3D11_RASTERIZER_DESC desc{D3D11_FILL_SOLID, D3D11_CULL_NONE, FALSE, 0, 0, 0, TRUE, FALSE, FALSE, FALSE};
    ComPtr<ID3D11RasterizerState> state;
    ASSERT_EQ(S_OK, device->CreateRasterizerState(&desc, state.Put()));
    context->RSSetState(state.Get());
    context->Draw(1, 0);
    EXPECT_EQ("########\n########\n########\n########\n........\n........\n........\n........\n", Picture());
}

TEST_F(Draws, TessellatedPatchesFillTheirArea)
{
    const auto vertex = Vertex("struct P { float4 p : POINT; }; P main(uint id : SV_VertexID) { P p;"
                               "p.p = float4(id & 1 ? 1 : -1, id & 2 ? -1 : 1, 0, 1); return p; }");
    const auto hull = Code(
        "struct P { float4 p : POINT; }; struct K { float e[4] : SV_TessFactor; float i[2] : SV_InsideTessFactor; };"
        "K factors(InputPatch<P, 4> q) { K k; k.e[0] = k.e[1] = k.e[2] = k.e[3] = 3; k.i[0] = k.i[1] = 3; return k; }"
        "[domain(\"quad\")] [partitioning(\"integer\")] [outputtopology(\"triangle_cw\")] [outputcontrolpoints(4)]"
        "[patchconstantfunc(\"factors\")] P main(InputPatch<P, 4> q, uint i : SV_OutputControlPointID) { return q[i]; "
        "}",
        "hs_5_0");
    const auto domain = Code(
        "struct P { float4 p : POINT; }; struct K { float e[4] : SV_TessFactor; float i[2] : SV_InsideTessFactor; };"
        "[domain(\"quad\")] float4 main(K k, float2 at : SV_DomainLocation, const OutputPatch<P, 4> q) : SV_Position"
        "{ return lerp(lerp(q[0].p, q[1].p, at.x), lerp(q[2].p, q[3].p, at.x), at.y) * float4(0.5, 1, 1, 1); }",
        "ds_5_0");
    ComPtr<ID3D11HullShader> hullShader;
    ComPtr<ID3D11DomainShader> domainShader;
    ASSERT_EQ(S_OK,
              device->CreateHullShader(hull->GetBufferPointer(), hull->GetBufferSize(), nullptr, hullShader.Put()));
    ASSERT_EQ(S_OK, device->CreateDomainShader(domain->GetBufferPointer(), domain->GetBufferSize(), nullptr,
                                               domainShader.Put()));
    const D3D11_RASTERIZER_DESC desc{D3D11_FILL_SOLID, D3D11_CULL_NONE, FALSE, 0, 0, 0, TRUE, FALSE, FALSE, FALSE};
    ComPtr<ID3D11RasterizerState> state;
    ASSERT_EQ(S_OK, device->CreateRasterizerState(&desc, state.Put()));
    context->RSSetState(state.Get());
    context->VSSetShader(vertex.Get(), nullptr, 0);
    context->HSSetShader(hullShader.Get(), nullptr, 0);
    context->DSSetShader(domainShader.Get(), nullptr, 0);
    context->PSSetShader(white.Get(), nullptr, 0);
    context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_4_CONTROL_POINT_PATCHLIST);
    context->Draw(4, 0);
    const std::string row = "..####..\n";
    EXPECT_EQ(row + row + row + row + row + row + row + row, Picture());
}
