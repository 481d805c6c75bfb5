// Models: buffers taken over and removed, leaks, draws, locks, picking.
#include "ModelFixture.h"

#include <gleam_null_device.h>

namespace {

constexpr gw::FormatDesc FORMAT[] = {{0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 3},
                                     {0, gw::eAttributeUsage_Texcoord, 0, 0, gw::eAttributeFormat_Float16, 2},
                                     {1, gw::eAttributeUsage_Texcoord, 1, 0, gw::eAttributeFormat_Float32, 2}};

class ModelTest : public ModelFixture
{
protected:
    template <class Work>
    static std::uint64_t CountCalls(const char* kind, const Work& work)
    {
        const std::uint64_t before = GleamNullCallCountOf(kind);
        work();
        return GleamNullCallCountOf(kind) - before;
    }

    std::vector<float> m_vertices = std::vector<float>(64, 1.0f);
};

qs::PickResult Pick(const gw::Model& model, const qs::Ray& ray, const Matrix4x4f& transform = {})
{
    qs::PickResult result;
    model.Pick(ray, transform, result);
    return result;
}

} // namespace

TEST_F(ModelTest, DrawsWhatItHas)
{
    EXPECT_EQ(m_model.GetRTTI(), 3);
    EXPECT_EQ(gw::BasicModel().GetRTTI(), 1);
    EXPECT_EQ(m_model.GetId(), m_model.GetName());
    const std::uint16_t indices[6] = {0, 1, 2, 2, 1, 3};
    const VertexBufferID vertices = m_model.SetVertices(4, m_vertices.data(), FORMAT, 3, true);
    EXPECT_EQ(m_renderer->GetVertexBufferSize(vertices), 64u);
    EXPECT_EQ(m_model.GetVertexSize(), 16u);
    gw::RendererCommandBuffer& commands = *m_commands;
    commands.SetRecording(false);
    EXPECT_EQ(CountCalls("Draw", [&] { m_model.Draw(&commands); }), 1u);
    EXPECT_EQ(CountCalls("Draw", [&] { m_model.DrawInstanced(&commands, 5); }), 1u);
    m_model.SetIndices(6, 2, indices, false);
    EXPECT_EQ(CountCalls("DrawIndexed", [&] { m_model.Draw(&commands); }), 1u);
    EXPECT_EQ(CountCalls("DrawIndexedInstanced", [&] { m_model.DrawInstanced(&commands, 5); }), 1u);

    m_log.Clear(); // no shader is set, as the renderer says of each draw
    std::uint32_t offset;
    EXPECT_TRUE(m_model.GetAttributeUsageOffset(gw::eAttributeUsage_Texcoord, offset));
    EXPECT_EQ(offset, 12u);
    EXPECT_FALSE(m_model.GetAttributeUsageOffset(gw::eAttributeUsage_Color, offset));
    EXPECT_EQ(offset, 24u);
    EXPECT_EQ(m_model.GetTexCoordCount(), 2u);
    EXPECT_FALSE(m_model.ContainsAttributeType(gw::eAttributeUsage_Normal));

    gw::Model clone;
    clone.CloneIndices(&m_model, gw::eResourceUsage_Default);
    m_immediate.ExecuteAll();
    EXPECT_EQ(m_renderer->GetIndexBufferSize(clone.GetIndexBuffer()), 12u);
    const IndexBufferID lost = clone.GetIndexBuffer();
    clone.CloneIndices(&m_model, gw::eResourceUsage_Default);
    ExpectAssert("Model already has an IB. Leak detected!");
    m_immediate.ExecuteAll();
    gw::DataLoader::InvokeRemoveIndexBuffer(lost);
    clone.RemoveRenderData();
    commands.SetRecording(true);
    m_model.RemoveRenderData(commands);
    EXPECT_TRUE(m_renderer->IsVertexBufferAlive(vertices));
    Replay();
    EXPECT_FALSE(m_renderer->IsVertexBufferAlive(vertices));
    m_model.RemoveRenderData();
    EXPECT_EQ(m_model.GetFormatDesc(), nullptr);
    EXPECT_EQ(m_model.GetNumFormatDescAttrib() + m_model.GetVertexSize(), 0u);
}

TEST_F(ModelTest, LeaksAndOddCountsAreReported)
{
    const VertexBufferID first = m_model.SetVertices(4, m_vertices.data(), FORMAT, 2, true);
    const VertexBufferID second = gw::DataLoader::InvokeAddVertexBuffer(64, gw::eResourceUsage_Dynamic, nullptr);
    m_model.SetVertexBuffer(2, 0, second, FORMAT, 1);
    for (const char* text : {"Model already has a FormatDesc. Leak detected!", "Vertex size is 0!",
                             "Model already has a VB. Leak detected!", "Invalid vertex count!"}) {
        EXPECT_EQ(m_log.CountContaining(text, qs::LogLevelAssertion), 1u) << text;
    }
    EXPECT_EQ(m_log.Count(), 4u);
    m_log.Clear();
    EXPECT_EQ(m_model.GetVertexBuffer(), second);
    EXPECT_EQ(m_model.GetNumFormatDescAttrib(), 1u);
    m_model.SetTopology(gw::ePrimitiveTopology_LineList);
    m_model.SetIndexCount(2);
    ExpectQuiet();
    m_model.SetTopology(gw::ePrimitiveTopology_TriangleList);
    m_model.SetIndexCount(1);
    ExpectAssert("Invalid index count!");
    gw::DataLoader::InvokeRemoveVertexBuffer(first);
    {
        gw::Model copy(m_model);
        EXPECT_EQ(copy.GetVertexBuffer(), second);
    }
    ExpectAssert("Destroying model that still has a index/vertex buffer!");
    m_model.RemoveRenderData();
}

TEST_F(ModelTest, LocksReachTheBufferAndNoFurther)
{
    m_model.SetVertices(4, m_vertices.data(), FORMAT, 2, true);
    gw::RendererCommandBuffer& commands = *m_commands;
    void* data = nullptr;
    ASSERT_TRUE(m_model.Lock(commands, 0, 16, &data, gw::eResourceAccess_WriteNoOverwrite));
    std::memset(data, 7, 16);
    EXPECT_TRUE(m_model.Unlock(commands));
    Replay();
    float expected;
    std::memset(&expected, 7, sizeof expected);
    EXPECT_EQ(ReadVertices()[3], expected);
    EXPECT_NE(ReadVertices()[4], expected);
    m_model.Lock(commands, 49, 16, &data, gw::eResourceAccess_WriteNoOverwrite);
    EXPECT_EQ(m_log.CountContaining("Trying to lock too much. 65 > 64", qs::LogLevelAssertion), 1u);
    m_model.Unlock(commands);
    Replay(); // what the device says of it is its own affair
    m_log.Clear();
    m_model.RemoveRenderData();
}

TEST_F(ModelTest, PicksTheNearestTriangle)
{
    const qs::Ray ray{{0.2f, 0.2f, -10.0f}, {0.0f, 0.0f, 1.0f}};
    EXPECT_TRUE(Pick(m_model, ray).IsMiss());
    // Two triangles, at z 5 and z 2, and one that names a vertex beyond the last.
    const float corners[] = {0, 0, 5, 1, 0, 5, 0, 1, 5, 0, 0, 2, 1, 0, 2, 0, 1, 2};
    const std::uint32_t order[] = {0, 1, 2, 3, 4, 5, 3, 4, 6};
    gw::PickingData picking;
    picking.vertices = static_cast<float*>(
        qs::MemoryManager::Allocate(sizeof corners, qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true));
    picking.indices = static_cast<std::uint32_t*>(
        qs::MemoryManager::Allocate(sizeof order, qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true));
    std::memcpy(picking.vertices, corners, sizeof corners);
    std::memcpy(picking.indices, order, sizeof order);
    picking.vertexCount = 6;
    picking.indexCount = 9;
    m_model.SetPickingData(picking);

    qs::PickResult hit = Pick(m_model, ray);
    EXPECT_FLOAT_EQ(hit.distance, 12.0f);
    EXPECT_EQ(hit.name, m_model.GetId());
    Matrix4x4f moved;
    moved.SetTranslate({0, 0, -1});
    EXPECT_FLOAT_EQ(Pick(m_model, ray, moved).distance, 11.0f);
    // The caller's hit stays when it is nearer.
    hit.distance = 3.0f;
    hit.name = qs::FixedString();
    m_model.Pick(ray, {}, hit);
    EXPECT_FLOAT_EQ(hit.distance, 3.0f);
    EXPECT_EQ(hit.name, qs::FixedString());
    EXPECT_TRUE(Pick(m_model, {{0.9f, 0.9f, -10.0f}, {0, 0, 1}}).IsMiss());
    m_model.Clear();
    EXPECT_TRUE(Pick(m_model, ray).IsMiss());
}
