// Immediate drawing, looked at: what a device draws for each of the five draws and the full-screen geometry.
#include "CoreFixture.h"

#include "Gleamwork/GWFS.h"

#include <cmath>
#include <fstream>

/// Calls of the operators new in the program and its libraries so far.
std::uint64_t GetOperatorNewCount();

namespace {

constexpr unsigned c_size = 64;
constexpr Pixel c_background = {0, 0, 51, 255};
const Vector4f c_red(1, 0, 0, 1);
const Vector4f c_green(0, 1, 0, 1);

std::uint64_t GetResidentBytes()
{
    std::uint64_t pages = 0;
    std::ifstream statm("/proc/self/statm");
    statm >> pages >> pages;
    return pages * 4096;
}

class ImmediateTest : public DeviceTest
{
protected:
    void SetUp() override
    {
        StartDevice(m_device);
        m_target = MakeTarget(c_size, c_size);
        m_depth = MakeDepth(c_size, c_size);
        m_renderer->Setup2DMode(0, c_size, 0, c_size);
        Begin();
    }

    void TearDown() override
    {
        m_renderer->SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
        m_renderer->RemoveTexture(m_target, true, true);
        m_renderer->RemoveTexture(m_depth, true, true);
        DeviceTest::TearDown();
    }

    void Begin()
    {
        m_renderer->SetRenderTargets(1, &m_target, nullptr, nullptr, m_depth, false, -1);
        m_renderer->SetViewport(Vector4i(c_size, c_size, 0, 0));
        m_renderer->ClearRenderTarget(m_target, -1, Vector4f(0, 0, 0.2f, 1));
        m_renderer->ClearDepthStencil(m_depth, -1, gw::eDepthStencilClearMode_Both, 1.0f, 0);
    }

    void Draw2D(float left, float top, float right, float bottom, gw::EPrefabBlendState blend, const Vector4f& color)
    {
        const Vector2f strip[4] = {{left, top}, {right, top}, {left, bottom}, {right, bottom}};
        m_renderer->drawPlain(gw::ePrimitiveTopology_TriangleStrip, strip, 4, gw::Renderer::BS(blend),
                              gw::Renderer::DS(gw::DS_NONE), color);
    }

    Pixel At(unsigned x, unsigned y) { return ReadPixels(m_target)[y * c_size + x]; }

    void ExpectPixel(unsigned x, unsigned y, const Pixel& expected)
    {
        const Pixel pixel = At(x, y);
        for (int i = 0; i < 4; ++i) {
            EXPECT_NEAR(pixel[i], expected[i], 1) << "channel " << i << " at " << x << ", " << y;
        }
    }

    const char* m_device = "auto";
    qs::ObjectHandle m_target;
    qs::ObjectHandle m_depth;
};

/// The validation layer allocates at every call, so allocations are counted where it is not.
class SteadySceneTest : public ImmediateTest
{
protected:
    SteadySceneTest() { m_device = "null"; }

    /// Blocks of the memory service that are alive, and calls of operator new so far.
    static std::pair<std::int64_t, std::uint64_t> CountMemory()
    {
        std::int64_t blocks = 0;
        for (const qs::MemoryScopeUsage& scope : qs::MemoryManager::GetUsage()) {
            blocks += scope.blocks;
        }
        return {blocks, GetOperatorNewCount()};
    }
};

} // namespace

TEST_F(ImmediateTest, Plain2DCoversItsPixelsAndBlends)
{
    Draw2D(8, 16, 40, 48, gw::BS_OPAQUE, c_red);
    ExpectPixel(8, 16, {255, 0, 0, 255});
    ExpectPixel(39, 47, {255, 0, 0, 255});
    ExpectPixel(7, 16, c_background);
    ExpectPixel(40, 47, c_background);
    ExpectPixel(39, 48, c_background);
    Draw2D(32, 32, 64, 64, gw::BS_ALPHA, Vector4f(0, 1, 0, 0.5f));
    ExpectPixel(36, 36, {128, 128, 0, 255});
    ExpectPixel(60, 60, {0, 128, 26, 255});
    Draw2D(0, 0, 16, 24, gw::BS_ADD, Vector4f(0, 0.4f, 0.4f, 0));
    ExpectPixel(12, 20, {255, 102, 102, 255});
    Draw2D(0, 0, 64, 64, gw::BS_OPAQUE, c_green);
    const Vector2f none[1] = {};
    m_renderer->drawPlain(gw::ePrimitiveTopology_TriangleList, none, 0, gw::Renderer::BS(gw::BS_OPAQUE),
                          gw::Renderer::DS(gw::DS_NONE), c_red);
    ExpectPixel(0, 0, {0, 255, 0, 255});
}

TEST_F(ImmediateTest, Plain3DUsesMatricesAndDepth)
{
    // A view from z = -5 through a perspective that maps depth 1..9 to 0..1.
    Matrix4x4f view;
    view.SetTranslate({0, 0, 5});
    Matrix4x4f projection = Matrix4x4f::Zero();
    projection(0, 0) = projection(1, 1) = 4;
    projection(2, 2) = 9.0f / 8.0f;
    projection(2, 3) = 1;
    projection(3, 2) = -9.0f / 8.0f;
    m_renderer->SetRenderProperties(view, projection, {0, 0, -5}, 0, 0);
    const auto draw = [this](float z, const Vector3f& center, const Vector4f& color) {
        const Vector3f list[3] = {
            {center.x - 1, center.y - 1, z}, {center.x - 1, center.y + 1, z}, {center.x + 1, center.y - 1, z}};
        m_renderer->drawPlain3D(gw::ePrimitiveTopology_TriangleList, list, 3, gw::Renderer::BS(gw::BS_OPAQUE),
                                gw::Renderer::DS(gw::DS_READ_WRITE), color);
    };
    draw(0, {0, 0, 0}, c_red);
    draw(2, {0, 0, 0}, c_green);
    // Half-extent 1 at distance 5 covers 4 / 5 of the half height of 32 pixels.
    ExpectPixel(8, 55, {255, 0, 0, 255});
    ExpectPixel(5, 58, c_background);
    ExpectPixel(50, 20, c_background);

    gw::Renderer::DrawPlain3DIndexedDesc desc;
    const Vector3f corners[4] = {{-1, -1, 0}, {-1, 1, 0}, {1, -1, 0}, {1, 1, 0}};
    const std::uint16_t shortIndices[3] = {2, 1, 3};
    const std::uint32_t longIndices[6] = {0, 1, 2, 2, 1, 3};
    desc.vertices = corners;
    desc.vertexCount = 4;
    desc.indices = shortIndices;
    desc.indexCount = 3;
    desc.indexStride = 2;
    desc.blendState = gw::Renderer::BS(gw::BS_OPAQUE);
    desc.depthState = gw::Renderer::DS(gw::DS_READ);
    desc.rasterizerState = gw::Renderer::RS(gw::RS_SOLID);
    desc.color = Vector4f(0, 0, 1, 1);
    m_renderer->drawPlain3DIndexed(desc);
    ExpectPixel(50, 20, {0, 0, 255, 255});
    ExpectPixel(10, 50, {255, 0, 0, 255});
    // Behind an odd number of short indices, moved to the upper right by its world matrix and behind the red.
    desc.indices = longIndices;
    desc.indexCount = 6;
    desc.indexStride = 4;
    desc.world.SetTranslate({0.5f, 0.5f, -0.5f});
    desc.color = Vector4f(1, 1, 0, 1);
    m_renderer->drawPlain3DIndexed(desc);
    ExpectPixel(60, 4, {255, 255, 0, 255});
    ExpectPixel(30, 34, {255, 255, 0, 255});
    ExpectPixel(10, 50, {255, 0, 0, 255});
    desc.indexStride = 3;
    m_renderer->drawPlain3DIndexed(desc);
    ExpectError("6 indices of 3 bytes cannot be drawn");
}

TEST_F(ImmediateTest, TexturedTakesAlphaFromRed)
{
    const unsigned char texels[4 * 4] = {255, 0, 0, 0, 0, 255, 255, 255, 128, 0, 0, 0, 255, 0, 0, 0};
    const qs::ObjectHandle texture = MakeTexture(2, 2, texels);
    gw::TexVertex strip[4] = {{{0, 0}, {0, 0}, {1, 1, 1}},
                              {{32, 0}, {1, 0}, {1, 1, 1}},
                              {{0, 32}, {0, 1}, {1, 1, 1}},
                              {{32, 32}, {1, 1}, {1, 1, 1}}};
    const auto draw = [&](const Vector2f& offset) {
        m_renderer->drawTextured(gw::ePrimitiveTopology_TriangleStrip, offset, strip, 4, texture,
                                 gw::Renderer::SS(gw::SS_POINT_CLAMP), gw::Renderer::BS(gw::BS_ALPHA),
                                 gw::Renderer::DS(gw::DS_NONE), Vector4f(1, 0.5f, 0, 1));
    };
    draw({32, 16});
    ExpectPixel(34, 18, {255, 128, 0, 255});
    ExpectPixel(62, 18, c_background);
    ExpectPixel(34, 46, {128, 64, 25, 255});
    ExpectPixel(62, 46, {255, 128, 0, 255});
    ExpectPixel(31, 18, c_background);
    for (gw::TexVertex& vertex : strip) {
        vertex.color[0] = 0;
    }
    draw({0, 0});
    ExpectPixel(2, 2, {0, 128, 0, 255});

    // The same quad in clip space, half as large, and upside down through its world matrix.
    Matrix4x4f world;
    world(0, 0) = 1.0f / 32;
    world(1, 1) = 1.0f / 32;
    world.SetTranslate({0, -1, 0});
    m_renderer->SetRenderProperties(Matrix4x4f(), Matrix4x4f(), {}, 0, 0);
    Begin();
    m_renderer->drawTextured3D(gw::ePrimitiveTopology_TriangleStrip, world, strip, 4, texture,
                               gw::Renderer::SS(gw::SS_POINT_CLAMP), gw::Renderer::BS(gw::BS_ALPHA),
                               gw::Renderer::DS(gw::DS_NONE), Vector4f(1, 1, 1, 1));
    ExpectPixel(34, 62, {0, 255, 255, 255});
    ExpectPixel(62, 62, c_background);
    ExpectPixel(62, 34, {0, 255, 255, 255});
    ExpectPixel(30, 62, c_background);
    m_renderer->RemoveTexture(texture, true, true);
}

TEST_F(ImmediateTest, FullScreenGeometryMapsTheTextureToTheScreen)
{
    const char vertex[] = "struct Out { float4 p : SV_Position; float2 t : TEXCOORD0; };"
                          "Out main(float2 p : Position, float2 t : Texcoord, float c : Normal)"
                          "{ Out o; o.p = float4(p, 0.5, 1); o.t = t; return o; }";
    const char pixel[] = "float4 rows; float4x4 m; float4 a[3];"
                         "float4 main(float4 p : SV_Position, float2 t : TEXCOORD0) : SV_Target"
                         "{ return float4(t, rows.z + m[0].w + a[2].y, 1); }";
    const qs::ObjectHandle shader =
        m_renderer->AddShader(gw::ShaderData(vertex, sizeof(vertex) - 1), {}, gw::ShaderData(pixel, sizeof(pixel) - 1),
                              {}, qs::FixedString::Empty, qs::FixedString::Empty, true, nullptr, nullptr, 0);
    m_renderer->CreateShader(shader);
    const qs::ObjectHandle none = gw::Renderer::DS(gw::DS_NONE);
    const qs::ObjectHandle opaque = gw::Renderer::BS(gw::BS_OPAQUE);
    const auto setConstants = [this] {
        // A row-vector matrix reaches the shader transposed: element (0, 3) is the row's last.
        Matrix4x4f matrix;
        matrix(0, 3) = 0.25f;
        const Vector4f array[3] = {{9, 9, 9, 9}, {9, 9, 9, 9}, {9, 0.125f, 9, 9}};
        m_renderer->SetShaderConstant4f(qs::FixedString::Create("rows"), Vector4f(9, 9, 0.5f, 9));
        m_renderer->SetShaderConstant4x4f(qs::FixedString::Create("m"), matrix);
        m_renderer->SetShaderConstantArray4f(qs::FixedString::Create("a"), array, 3);
    };
    const auto expectCorners = [this](bool upright) {
        const std::vector<Pixel> pixels = ReadPixels(m_target);
        const auto at = [&](unsigned x, unsigned y) { return pixels[y * c_size + x]; };
        const unsigned char top = upright ? 2 : 253;
        const unsigned char bottom = upright ? 253 : 2;
        EXPECT_EQ(at(0, 0), (Pixel{2, top, 223, 255}));
        EXPECT_EQ(at(63, 0), (Pixel{253, top, 223, 255}));
        EXPECT_EQ(at(0, 63), (Pixel{2, bottom, 223, 255}));
        EXPECT_EQ(at(63, 63), (Pixel{253, bottom, 223, 255}));
    };

    m_renderer->BeginRenderFullScreenTriangle(shader, none, 0);
    setConstants();
    m_renderer->EndRenderFullScreenTriangle();
    expectCorners(true);

    for (const bool flip : {false, true}) {
        gw::FullScreenQuad quad;
        ASSERT_TRUE(quad.Init(shader, flip, nullptr));
        Begin();
        quad.BeginRenderFullScreenQuad(*m_renderer, shader, none, 0, opaque);
        setConstants();
        quad.EndRenderFullScreenQuad(*m_renderer);
        expectCorners(!flip);
        quad.Destroy(nullptr);
    }
    m_renderer->RemoveShader(shader);
}

TEST_F(ImmediateTest, ManyDrawsInOneFrameStaySmall)
{
    Draw2D(0, 0, 1, 1, gw::BS_OPAQUE, c_red);
    ReadPixels(m_target);
    const std::uint64_t before = GetResidentBytes();
    constexpr int draws = 5000;
    for (int i = 0; i < draws; ++i) {
        const float x = float(i % c_size);
        const float y = float(i / c_size % c_size);
        Draw2D(x, y, x + 1, y + 1, gw::BS_OPAQUE, i < 4096 ? c_red : c_green);
    }
    const std::vector<Pixel> pixels = ReadPixels(m_target);
    const std::uint64_t after = GetResidentBytes();
    EXPECT_LT(after, before + (256u << 20)) << (after - before) / 1048576 << " MiB more";
    for (int i = 0; i < 4096; ++i) {
        ASSERT_EQ(pixels[i], i < draws - 4096 ? (Pixel{0, 255, 0, 255}) : (Pixel{255, 0, 0, 255})) << i;
    }
}

TEST_F(SteadySceneTest, AllocatesNothingAfterTheFirstFrames)
{
    const unsigned char texel[4] = {255, 255, 255, 255};
    const qs::ObjectHandle texture = MakeTexture(1, 1, texel);
    gw::TexVertex triangle[3] = {};
    const auto frame = [&] {
        Begin();
        for (int i = 0; i < 50; ++i) {
            Draw2D(float(i), 0, float(i + 1), 8, i & 1 ? gw::BS_ALPHA : gw::BS_OPAQUE, c_red);
            m_renderer->drawTextured(gw::ePrimitiveTopology_TriangleList, {}, triangle, 3, texture,
                                     gw::Renderer::SS(gw::SS_POINT_CLAMP), gw::Renderer::BS(gw::BS_ALPHA),
                                     gw::Renderer::DS(gw::DS_NONE), c_green);
        }
        gw::DataLoader::InvokeResizeDepthTarget(TEXTURE_NONE, 1, 1);
        m_immediate.ExecuteAll();
        m_renderer->EndFrame(false);
    };
    for (int i = 0; i < 8; ++i) {
        frame();
    }
    const auto before = CountMemory();
    for (int i = 0; i < 32; ++i) {
        frame();
    }
    const auto after = CountMemory();
    EXPECT_EQ(after.first, before.first);
    // Reading the usage takes memory of its own.
    const auto control = CountMemory();
    EXPECT_EQ(after.second - before.second, control.second - after.second);
    m_renderer->RemoveTexture(texture, true, true);
}
