// Cloth models: split vertices, shared and own buffers, what is left behind, and a cloth that moves on the screen.
#include "ClothMesh.h"

#include "Gleamwork/ClothModel.h"
#include "Gleamwork/RendererCommandBuffer.h"
#include "gleamwork_draw/DrawFixture.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace {

const char VERTEX[] = R"(
struct Out { float4 position : SV_Position; float4 color : COLOR0; };
Out main(float2 uv : TEXCOORD0, float3 position : POSITION, float4 color : COLOR0, float4 weights : BLENDWEIGHT0,
         uint4 bones : BLENDINDICES0)
{
    Out o;
    o.position = float4(position, 1);
    // The number of the vertex that a render mesh had first, its weight colour, and the bone of the first weight.
    o.color = float4(uv.x / 255, color.x, weights.x, bones.x / 255.0);
    return o;
}
)";
const char FRAGMENT[] =
    "float4 main(float4 position : SV_Position, float4 color : COLOR0) : SV_Target0 { return color; }";

using Skin = std::array<std::uint8_t, 12>; // colour, weights, bones: slot 2 in the order of the format

class ClothModelTest : public DrawTest
{
protected:
    void Start(const char* device)
    {
        StartDevice(device);
        m_commands.emplace();
        m_commands->SetRecording(false);
    }
    void SetUp() override {}
    void TearDown() override
    {
        m_immediate.ExecuteAll();
        m_commands.reset();
        DrawTest::TearDown();
    }

    /// Two triangles over the left half, of which the right edge moves, and behind them `extra` loose vertices.
    void FillMesh(int extra)
    {
        m_mesh = ClothMesh();
        for (int i = 0; i < extra; ++i) {
            m_mesh.AddVertex(-3.0f - float(i), 5, 0, 0);
        }
        for (int i = 0; i < 4; ++i) {
            m_mesh.AddVertex(i & 1 ? 0.0f : -1.0f, i & 2 ? 1.0f : -1.0f, 0.5f, i & 1 ? 255 : 0);
        }
        const auto first = std::uint32_t(extra);
        m_mesh.indices = {first, first + 2, first + 1, first + 1, first + 2, first + 3};
    }
    void Prepare(gw::ClothModel& model)
    {
        const gw::StagingModelData staging = m_mesh.Get<std::uint16_t>();
        const std::size_t count = m_mesh.vertices.size();
        model.BuildClothData(staging, qs::FixedString::Create("flag"));
        m_positions.assign(count, Vector3f(9, 9, 9));
        m_skin.assign(count, Skin());
        m_others.assign(count * 2, 9.0f);
        m_format = CLOTH_FORMAT;
        model.PrepareCloth(staging, m_positions.data(), reinterpret_cast<char*>(m_skin.data()),
                           reinterpret_cast<char*>(m_others.data()), m_format.data());
    }
    void Upload(gw::ClothModel& model)
    {
        const auto count = std::uint32_t(m_mesh.vertices.size());
        model.SetIndices(6, 2, m_mesh.narrow.data(), false);
        model.SetVertices(count, m_others.data(), m_format.data(), std::uint32_t(m_format.size()), false);
        model.SetClothPositionsVertexBuffer(count, 12, MakeBuffer(m_positions.data(), count * 12));
        model.SetClothSkinningVertexBuffer(count, 12, MakeBuffer(m_skin.data(), count * 12));
    }
    static VertexBufferID MakeBuffer(const void* data, std::size_t size)
    {
        return gw::DataLoader::InvokeAddVertexBuffer(long(size), gw::eResourceUsage_Default, data);
    }
    template <class Element>
    std::vector<Element> Read(VertexBufferID buffer)
    {
        const std::size_t size = m_renderer->GetVertexBufferSize(buffer);
        const VertexBufferID copy =
            gw::DataLoader::InvokeAddVertexBuffer(long(size), gw::eResourceUsage_Staging, nullptr);
        m_renderer->CopyVertexBuffer(buffer, copy);
        void* data = nullptr;
        std::vector<Element> elements(size / sizeof(Element));
        EXPECT_TRUE(m_renderer->LockVertexBuffer(copy, 0, 0, &data, gw::eResourceAccess_Read));
        if (data) {
            std::memcpy(elements.data(), data, size);
            m_renderer->UnlockVertexBuffer(copy);
        }
        m_renderer->RemoveVertexBuffer(copy);
        return elements;
    }
    void Write(gw::ClothModel& model, const std::vector<Vector3f>& positions)
    {
        void* data = nullptr;
        ASSERT_TRUE(model.LockClothPositionBuffer(*m_commands, 0, std::uint32_t(positions.size() * 12), &data,
                                                  gw::eResourceAccess_WriteDiscard));
        std::memcpy(data, positions.data(), positions.size() * 12);
        EXPECT_TRUE(model.UnlockClothPositionBuffer(*m_commands));
    }

    ClothMesh m_mesh;
    std::vector<Vector3f> m_positions;
    std::vector<Skin> m_skin;
    std::vector<float> m_others;
    std::array<gw::FormatDesc, 5> m_format;
    std::optional<gw::RendererCommandBuffer> m_commands;
};

TEST_F(ClothModelTest, VerticesAreSplitBySlotAndTheRestIsKept)
{
    Start("null");
    FillMesh(3);
    gw::ClothModel model(qs::FixedString::Create("flag model"));
    Prepare(model);
    // The four simulated vertices came to the front, three of them by an exchange.
    const float order[] = {4, 5, 6, 3, 0, 1, 2};
    for (std::size_t i = 0; i < 7; ++i) {
        const ClothVertex& vertex = m_mesh.vertices[i];
        EXPECT_EQ(vertex.texCoord[0], order[i]);
        EXPECT_EQ(std::memcmp(&m_others[i * 2], vertex.texCoord, 8), 0);
        EXPECT_EQ(std::memcmp(&m_positions[i], vertex.position, 12), 0);
        EXPECT_EQ(std::memcmp(&m_skin[i], vertex.color, 12), 0);
    }
    const std::int8_t slots[] = {0, 1, 2, 2, 2};
    EXPECT_TRUE(std::equal(m_format.begin(), m_format.end(), slots,
                           [](const gw::FormatDesc& attribute, int slot) { return attribute.stream == slot; }));
    const gw::ClothData& data = *model.GetClothData();
    EXPECT_STREQ(data.id.ToChar(), "flag");
    ASSERT_EQ(data.extraVertexCount, 3u);
    EXPECT_EQ(std::memcmp(data.extraPositions, &m_positions[4], 36), 0);
    EXPECT_EQ(std::memcmp(data.extraSkinningData, &m_skin[4], 36), 0);
    EXPECT_EQ(qs::MemoryManager::GetUsage("\"ClothExtraPositions\"").bytes, 36);
    EXPECT_EQ(qs::MemoryManager::GetUsage("\"ClothExtraSkinningData\"").bytes, 36);
    model.RemoveClothData();
    EXPECT_EQ(model.GetClothData(), nullptr);
    EXPECT_EQ(qs::MemoryManager::GetUsage("\"ClothExtraPositions\"").blocks, 0);

    FillMesh(0);
    Prepare(model);
    EXPECT_EQ(model.GetClothData()->extraVertexCount, 0u);
    EXPECT_EQ(model.GetClothData()->extraPositions, nullptr);
    EXPECT_EQ(model.GetClothData()->extraSkinningData, nullptr);
}

TEST_F(ClothModelTest, InstancesShareAllButTheirPositions)
{
    Start("null");
    FillMesh(2);
    gw::ClothModel base(qs::FixedString::Create("flag model"));
    Prepare(base);
    Upload(base);
    base.SetBound(qs::Bound::computeAABB(m_positions.data(), 12, 4));
    EXPECT_TRUE(base.IsBaseClothModel());
    EXPECT_FALSE(base.CanSimulate());
    EXPECT_EQ(base.GetRTTI(), 3);
    const VertexBufferID skinned = base.GetClothSkinnedVertexBuffer();
    {
        gw::ClothModel first{qs::FixedString::Create("a")};
        gw::ClothModel second{qs::FixedString::Create("a")};
        first.CreateClothInstance(&base);
        second.CreateClothInstance(&base);
        m_immediate.ExecuteAll();
        EXPECT_TRUE(first.CanSimulate());
        EXPECT_EQ(first.GetBaseID(), base.GetId());
        EXPECT_EQ(first.GetName(), base.GetName());
        EXPECT_NE(first.GetId(), second.GetId());
        EXPECT_EQ(first.GetId().GetLength(), 36u);
        EXPECT_EQ(first.GetClothData(), base.GetClothData());
        EXPECT_EQ(first.GetVertexBuffer(), base.GetVertexBuffer());
        EXPECT_EQ(first.GetIndexBuffer(), base.GetIndexBuffer());
        EXPECT_EQ(first.GetIndexCount(), 6u);
        EXPECT_EQ(first.GetFormatDesc(), base.GetFormatDesc());
        EXPECT_EQ(first.GetBound().maximum, base.GetBound().maximum);
        EXPECT_NE(first.GetClothPositionsVertexBuffer(), second.GetClothPositionsVertexBuffer());
        std::vector<Vector3f> moved(6, Vector3f(1, 2, 3));
        Write(first, moved);
        EXPECT_EQ(Read<Vector3f>(first.GetClothPositionsVertexBuffer()), moved);
        EXPECT_EQ(Read<Vector3f>(second.GetClothPositionsVertexBuffer()), m_positions);

        // The first to be simulated makes the buffer, the second takes it.
        EXPECT_EQ(first.GetClothSkinningVertexBuffer(), skinned);
        const auto disable = [&](gw::ClothModel& model, std::uint64_t bone) {
            return CountCalls("CreateBuffer", [&] { model.DisableClothGPUSkinningAndVertexColorAnimation(bone); });
        };
        EXPECT_EQ(disable(first, 0x107), 1u);
        EXPECT_EQ(disable(second, 9), 0u);
        EXPECT_TRUE(second.IsSimulationInitialized());
        EXPECT_EQ(base.GetClothData()->extraSkinningData, nullptr);
        const VertexBufferID unskinned = first.GetClothSkinningVertexBuffer();
        EXPECT_NE(unskinned, skinned);
        EXPECT_EQ(second.GetClothSkinningVertexBuffer(), unskinned);
        EXPECT_EQ(base.GetClothUnskinnedVertexBuffer(), unskinned);
        std::vector<Skin> expected = m_skin;
        std::fill_n(expected.begin(), 4, Skin{0, 0, 0, 0, 255, 0, 0, 0, 7, 7, 7, 7});
        EXPECT_EQ(Read<Skin>(unskinned), expected);

        const VertexBufferID own = first.GetClothPositionsVertexBuffer();
        first.RemoveClothRenderData();
        second.RemoveClothRenderData();
        m_immediate.ExecuteAll();
        EXPECT_FALSE(m_renderer->IsVertexBufferAlive(own));
        EXPECT_TRUE(m_renderer->IsVertexBufferAlive(unskinned));
        EXPECT_FALSE(first.CanSimulate());
    }
    EXPECT_TRUE(m_renderer->IsVertexBufferAlive(base.GetVertexBuffer()));
    base.RemoveClothRenderData();
    m_immediate.ExecuteAll();
    EXPECT_FALSE(m_renderer->IsVertexBufferAlive(skinned));
    EXPECT_EQ(base.GetClothData(), nullptr);
    EXPECT_EQ(qs::MemoryManager::GetUsage("gw::ClothData").blocks, 0);
}

TEST_F(ClothModelTest, WrongCallsAreReported)
{
    Start("null");
    FillMesh(1);
    gw::ClothModel model(qs::FixedString::Create("flag model"));
    model.DisableClothGPUSkinningAndVertexColorAnimation(0);
    ExpectAssert("is no instance with cloth data");
    model.PrepareCloth(m_mesh.Get(), nullptr, nullptr, nullptr, m_format.data());
    ExpectAssert("has no cloth data; build it first");
    model.SetClothPositionsVertexBuffer(0, 12, qs::ObjectHandle::Unassigned);
    ExpectAssert("Vertex size is 0!");
    Prepare(model);
    Upload(model);
    ExpectQuiet();
    const VertexBufferID positions = model.GetClothPositionsVertexBuffer();
    const VertexBufferID skinned = model.GetClothSkinnedVertexBuffer();
    model.SetClothPositionsVertexBuffer(5, 12, positions);
    ExpectAssert("Model already has a cloth VB. Leak detected!");
    model.SetClothSkinningVertexBuffer(4, 12, qs::ObjectHandle::Unassigned);
    EXPECT_EQ(m_log.CountContaining("Adding a different amount of cloth positions than other data!"), 1u);
    m_log.Clear();
    model.SetClothSkinningVertexBuffer(5, 8, skinned); // not the bytes that the format has
    {
        gw::ClothModel instance(qs::FixedString::Create("a"));
        instance.CreateClothInstance(&model);
        instance.DisableClothGPUSkinningAndVertexColorAnimation(0);
        ExpectAssert("have 5 vertices of 8 bytes of skin, the cloth data 5 of 12");
        instance.BuildClothData(m_mesh.Get(), qs::FixedString::Create("flag"));
        ExpectAssert("cloth data belongs to its base model");
        instance.RemoveClothRenderData();
    }
    std::array<gw::FormatDesc, 5> wide = CLOTH_FORMAT;
    wide[1].count = 1;
    gw::StagingModelData staging = m_mesh.Get();
    staging.format = wide.data();
    model.PrepareCloth(staging, nullptr, nullptr, nullptr, m_format.data());
    ExpectError("Positions in the mesh of cloth \"flag\" have 4 bytes");
    {
        gw::ClothModel copy(qs::FixedString::Create("b"));
        Prepare(copy);
        Upload(copy);
        copy.RemoveRenderData();
    }
    m_immediate.ExecuteAll();
    model.RemoveRenderData();
}

TEST_F(ClothModelTest, PositionsWrittenEachFrameMoveThePicture)
{
    Start("software");
    FillMesh(2);
    gw::ClothModel base(qs::FixedString::Create("flag model"));
    gw::ClothModel flag(qs::FixedString::Create("a"));
    Prepare(base);
    Upload(base);
    flag.CreateClothInstance(&base);
    m_immediate.ExecuteAll();
    const qs::ObjectHandle shader = MakeShader(VERTEX, FRAGMENT);
    const qs::ObjectHandle target = MakeTarget(8, 8);
    const qs::ObjectHandle format = gw::DataLoader::InvokeAddVertexFormat(m_format.data(), 5, shader);
    const auto draw = [&](const std::vector<Vector3f>& positions) {
        Write(flag, positions);
        m_commands->SetRenderTargets(1, &target, nullptr, nullptr, TEXTURE_NONE, false, -1);
        m_commands->ClearRenderTarget(target, -1, Vector4f(0, 0, 0, 0));
        m_commands->SetShader(shader);
        m_commands->SetRasterizerState(gw::RS_SOLID);
        m_commands->SetDepthState(gw::DS_NONE, 0);
        m_commands->SetBlendState(gw::BS_OPAQUE, 0xffffffffu);
        m_commands->SetVertexFormat(format);
        m_commands->SetVertexBuffer(0, flag.GetVertexBuffer(), 0);
        m_commands->SetVertexBuffer(1, flag.GetClothPositionsVertexBuffer(), 0);
        m_commands->SetVertexBuffer(2, flag.GetClothSkinningVertexBuffer(), 0);
        m_commands->SetIndexBuffer(flag.GetIndexBuffer());
        m_commands->SetPrimitiveTopology(flag.GetTopology());
        flag.Draw(&*m_commands);
        return ReadPixels(target);
    };
    std::vector<Vector3f> positions = m_positions;
    std::vector<Pixel> pixels = draw(positions);
    EXPECT_NE(pixels[3][0], 0);            // the number of a vertex
    EXPECT_GT(pixels[3][1], pixels[1][1]); // the right edge has a weight
    EXPECT_EQ(pixels[4], (Pixel{0, 0, 0, 0}));
    flag.DisableClothGPUSkinningAndVertexColorAnimation(51);
    for (std::size_t i = 0; i < 4; ++i) {
        positions[i].x += 1.0f;
    }
    pixels = draw(positions);
    EXPECT_EQ(pixels[3], (Pixel{0, 0, 0, 0}));
    EXPECT_EQ(pixels[4][1], 0);
    EXPECT_EQ(pixels[4][2], 255);
    EXPECT_EQ(pixels[4][3], 51);
    EXPECT_NE(pixels[4 + 8 * 7][0], 0);
    flag.RemoveClothRenderData();
    base.RemoveRenderData();
    m_renderer->RemoveTexture(target, true, true);
}

TEST(ClothModelDeathTest, AFormatWithAnotherSlotEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto prepare = [] {
        ClothMesh mesh;
        mesh.AddVertex(0, 0, 0, 255);
        gw::ClothModel model(qs::FixedString::Create("m"));
        model.BuildClothData(mesh.Get(), qs::FixedString::Create("c"));
        std::array<gw::FormatDesc, 5> format = CLOTH_FORMAT;
        format[0].stream = 3;
        char blocks[3][64];
        model.PrepareCloth(mesh.Get(), reinterpret_cast<Vector3f*>(blocks[0]), blocks[1], blocks[2], format.data());
    };
    EXPECT_DEATH(prepare(), "");
}

} // namespace
