// The byte format of the command stream: what every operation writes, against a table of its own.
#include "RecordFixture.h"

#include <cstring>
#include <functional>

namespace {

using Buffer = gw::RendererCommandBuffer;
using Bytes = std::vector<unsigned char>;

/// Bytes that must stand at an offset from the start of the record.
struct Field
{
    template <class T>
    Field(std::size_t at, const T& value) : offset(at), bytes(sizeof(T))
    {
        std::memcpy(bytes.data(), &value, sizeof(T));
    }

    std::size_t offset;
    Bytes bytes;
};

struct Row
{
    unsigned id;
    std::size_t size;
    std::size_t alignment;
    std::function<void(Buffer&)> record;
    std::vector<Field> fields;
};

using Byte = unsigned char;

/// Distinct values of which no two bytes are alike, so that a field in the wrong place shows.
qs::ObjectHandle Handle(unsigned n)
{
    const std::uint64_t value = 0x1122334455667700u + n * 0x0101010101010111u;
    qs::ObjectHandle handle;
    std::memcpy(static_cast<void*>(&handle), &value, sizeof(value));
    return handle;
}

Vector4f Floats(float first)
{
    return {first, first + 1, first + 2, first + 3};
}

Vector3f Three(float first)
{
    return {first, first + 1, first + 2};
}

Matrix4x4f Matrix(float first)
{
    Matrix4x4f matrix;
    for (int i = 0; i < 16; ++i) {
        matrix.m[i] = first + float(i);
    }
    return matrix;
}

class StreamFormat : public RecordTest
{
protected:
    std::vector<Row> Rows();
    /// Records a row alone, compares its bytes, and gives what the replay says its size is.
    void Check(const Row& row, const std::string& name);

    Vector2f m_points[3] = {{1, 2}, {3, 4}, {5, 6}};
    Vector3f m_corners[3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    gw::TexVertex m_glyphs[3] = {};
    unsigned short m_order[3] = {0, 1, 2};
    void* m_room = nullptr;
    int m_pitch = 0;
};

std::vector<Row> StreamFormat::Rows()
{
    const qs::ObjectHandle a = Handle(1), b = Handle(2), c = Handle(3), d = Handle(4), targets[] = {a, b};
    const int slices[] = {5, 6}, mips[] = {7, 8};
    const Byte payload[] = {9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 11, 12};
    const gw::EPrimitiveTopology strip = gw::ePrimitiveTopology_TriangleStrip;
    const qs::FixedString& name = m_base;
    const char* text = name.ToChar();
    gw::PrepareDrawData draw = DrawData();
    draw.depthState = a, draw.rasterizerState = b, draw.blendState = c, draw.vertexFormat = d;
    draw.stencilRef = 0x31323334;
    draw.vertexBuffers[1] = Handle(5), draw.vertexBuffers[2] = Handle(6);
    SetTextureDesc view;
    EXPECT_TRUE(m_renderer->PrepareSetTexture(m_renderer->GetShader(m_shader), m_base, m_texture, -1, view));
    const SetShaderConstantRawDesc place =
        m_renderer->PrepareSetShaderConstantRaw(m_renderer->GetShader(m_shader), m_place);
    const StageConstantLocation(&in)[3] = place.stages;
    const Vector4f v = Floats(1.5f);
    const Matrix4x4f m = Matrix(3.25f), n = Matrix(100.5f);

    // clang-format off
    return {
        {3, 40, 8, [=](Buffer& o) { o.ClearRenderTarget(a, 77, v); }, {{8, a}, {16, 77}, {20, v}}},
        {4, 32, 8, [=](Buffer& o) { o.ClearDepthStencil(a, 77, gw::eDepthStencilClearMode_Both, 0.25f, 99); }, {{8, a},
         {16, 77}, {20, Byte(2)}, {24, 0.25f}, {28, Byte(99)}}},
        {5, 24, 8, [=](Buffer& o) { o.SetBlendState(a, 0x71727374u); }, {{8, a}, {16, 0x71727374u}}},
        {5, 24, 8, [=](Buffer& o) { o.SetBlendState(gw::BS_ADD, 3u); }, {{8, gw::Renderer::BS(gw::BS_ADD)}, {16, 3u}}},
        {6, 16, 8, [=](Buffer& o) { o.SetRasterizerState(a); }, {{8, a}}},
        {6, 16, 8, [=](Buffer& o) { o.SetRasterizerState(gw::RS_WIREFRAME); }, {{8,
         gw::Renderer::RS(gw::RS_WIREFRAME)}}},
        {7, 24, 8, [=](Buffer& o) { o.SetDepthState(a, 0x71727374u); }, {{8, a}, {16, 0x71727374u}}},
        {7, 24, 8, [=](Buffer& o) { o.SetDepthState(gw::DS_READ, 3u); }, {{8, gw::Renderer::DS(gw::DS_READ)}, {16,
         3u}}},
        {8, 16, 8, [=, this](Buffer& o) { o.SetShader(m_shader); }, {{8, m_shader}}},
        {9, 16, 8, [=](Buffer& o) { o.SetVertexFormat(a); }, {{8, a}}},
        {10, 24, 8, [=](Buffer& o) { o.SetVertexBuffer(3, a, 0x7172737475767778); }, {{4, 3}, {8, a}, {16,
         0x7172737475767778ll}}},
        {11, 16, 8, [=](Buffer& o) { o.SetIndexBuffer(a); }, {{8, a}}},
        {12, 2, 1, [=](Buffer& o) { o.SetPrimitiveTopology(strip); }, {{1, Byte(3)}}},
        {13, 24, 8, [=](Buffer& o) { o.SetUAV(name, a); }, {{8, a}, {16, text}}},
        {14, 24, 8, [=, this](Buffer& o) { o.SetTexture(m_base, m_texture, -1); }, {{8, view.view}, {16, view.slots}}},
        {15, 24, 8, [=](Buffer& o) { o.SetStructuredBuffer(name, a); }, {{8, text}, {16, a}}},
        {16, 24, 8, [=](Buffer& o) { o.SetSamplerState(name, a); }, {{8, text}, {16, a}}},
        {17, 20, 4, [=](Buffer& o) { o.SetViewport(1, 2, 3, 4); }, {{4, 1}, {8, 2}, {12, 3}, {16, 4}}},
        {18, 20, 4, [=](Buffer& o) { o.SetScissorRect(1, 2, 3, 4); }, {{4, 1}, {8, 2}, {12, 3}, {16, 4}}},
        {19, 20, 4, [=](Buffer& o) { o.SetClusteredLightingProperties(v.x, v.y, v.z, v.w); }, {{4, v}}},
        {20, 96, 8, [=](Buffer& o) { o.PrepareDraw(gw::PrepareDrawData(draw)); }, {{8, m_shader}, {16, a}, {24,
         0x31323334u}, {32, b}, {40, c}, {48, d}, {56, m_vertices}, {64, Handle(5)}, {72, Handle(6)}, {80, m_indices},
         {88, Byte(1)}}},
        {21, 64, 8, [=](Buffer& o) { o.SetRenderTargets(2, targets, slices, mips, c, true, 12); }, {{4, 2u}, {8, 2u},
         {12, 2u}, {16, c}, {24, true}, {28, 12}, {32, targets}, {48, slices}, {56, mips}}},
        {21, 56, 8, [=](Buffer& o) { o.SetRenderTargets(2, targets, nullptr, mips, c, false, -1); }, {{4, 2u}, {8, 0u},
         {12, 2u}, {24, false}, {28, -1}, {32, targets}, {48, mips}}},
        {22, 152, 4, [=](Buffer& o) { o.SetRenderProperties(m, n, Three(7), 0.5f, 0.75f); }, {{4, Three(7)}, {16, 0.5f},
         {20, m}, {84, n}, {148, 0.75f}}},
        {23, 76, 4, [=](Buffer& o) { o.SetRenderFrustrumCorners(Three(1), Three(2), Three(3), Three(4), Three(5),
         Three(6)); }, {{4, Three(1)}, {16, Three(2)}, {28, Three(3)}, {40, Three(4)}, {52, Three(5)}, {64, Three(6)}}},
        {24, 16, 8, [=](Buffer& o) { o.SetFrustumShaderParam(name); }, {{8, text}}},
        {25, 16, 8, [=](Buffer& o) { o.SetFrustumShaderParamViewSpace(name); }, {{8, text}}},
        {26, 1, 1, [=](Buffer& o) { o.UpdateGlobalConstants(); }, {}},
        {27, 80, 8, [=, this](Buffer& o) { o.SetShaderConstant4f(m_place, v); }, {{8, in[0].buffer}, {16, in[0].offset},
         {24, in[1].buffer}, {32, in[1].offset}, {40, in[2].buffer}, {48, in[2].offset}, {56, 16u}, {64, v}}},
        {27, 128, 8, [=, this](Buffer& o) { o.SetShaderConstant4x4f(m_place, m); }, {{8, in[0].buffer}, {16,
         in[0].offset}, {56, 64u}, {64, m.Transposed()}}},
        {28, 44, 8, [=](Buffer& o) { o.RemoveVertexBuffer(o.CreateVertexBuffer(12, gw::eResourceUsage_Dynamic,
         payload)); }, {{16, std::uint64_t(12)}, {24, Byte(2)}, {25, true}, {32, payload}}},
        {28, 32, 8, [=](Buffer& o) { o.RemoveVertexBuffer(o.CreateVertexBuffer(12, gw::eResourceUsage_Default,
         nullptr)); }, {{16, std::uint64_t(12)}, {24, Byte(1)}, {25, false}}},
        {29, 44, 8, [=](Buffer& o) { o.RemoveIndexBuffer(o.CreateIndexBuffer(6, 2, gw::eResourceUsage_Dynamic,
         payload)); }, {{16, 6u}, {20, 2u}, {24, Byte(2)}, {25, true}, {32, payload}}},
        {29, 32, 8, [=](Buffer& o) { o.RemoveIndexBuffer(o.CreateIndexBuffer(6, 2, gw::eResourceUsage_Dynamic,
         nullptr)); }, {{16, 6u}, {20, 2u}, {25, false}}},
        {30, 16, 8, [=](Buffer& o) { o.RemoveVertexBuffer(a); }, {{8, a}}},
        {31, 16, 8, [=](Buffer& o) { o.RemoveIndexBuffer(a); }, {{8, a}}},
        {32, 1, 1, [=](Buffer& o) { o.ApplyTextures(); }, {}},
        {33, 1, 1, [=](Buffer& o) { o.ApplyUAVs(); }, {}},
        {34, 12, 4, [=](Buffer& o) { o.DrawArrays(1, 2); }, {{4, 1}, {8, 2}}},
        {35, 20, 4, [=](Buffer& o) { o.DrawElements(1, 2, 3, 4); }, {{4, 1}, {8, 2}, {12, 3}, {16, 4}}},
        {36, 28, 4, [=](Buffer& o) { o.DrawElementsInstanced(1, 2, 3, 4, 5, 6); }, {{4, 1}, {8, 2}, {12, 3}, {16, 4},
         {20, 5}, {24, 6}}},
        {37, 80, 8, [=, this](Buffer& o) { o.DrawTextured(strip, Vector2f(8, 9), m_glyphs, 3, false, a, b, c, d, v); },
         {{1, Byte(3)}, {4, Vector2f(8, 9)}, {16, &m_glyphs[0]}, {24, 3u}, {32, a}, {40, b}, {48, c}, {56, d}, {64,
         v}}},
        {39, 56, 8, [=, this](Buffer& o) { o.DrawPlain(strip, m_points, 3, false, a, b, v); }, {{1, Byte(3)}, {8,
         &m_points[0]}, {16, 3u}, {24, a}, {32, b}, {40, v}}},
        {40, 56, 8, [=, this](Buffer& o) { o.DrawPlain3D(strip, m_corners, 3, false, a, b, v); }, {{1, Byte(3)}, {8,
         &m_corners[0]}, {16, 3u}, {24, a}, {32, b}, {40, v}}},
        {41, 152, 8, [=, this](Buffer& o) { o.DrawPlain3DIndexed(m, strip, m_corners, 3, m_order, 3, 2, false, a, b, c,
         v); }, {{8, m}, {72, Byte(3)}, {80, &m_corners[0]}, {88, 3u}, {96, &m_order[0]}, {104, 3u}, {108, 2u}, {112,
         a}, {120, b}, {128, c}, {136, v}}},
        {42, 16, 4, [=](Buffer& o) { o.Dispatch(1, 2, 3); }, {{4, 1}, {8, 2}, {12, 3}}},
        {43, 47 + 24, 8, [=, this](Buffer& o) { o.LockTexture(a, 0, {3, 2}, 4, &m_room, &m_pitch,
         gw::eResourceAccess_WriteDiscard); }, {{8, a}, {16, 0u}, {20, 12u}, {24, 2}, {28, Byte(4)}}},
        {44, 24, 8, [=](Buffer& o) { o.UnlockTexture(a, 0x71727374u); }, {{8, a}, {16, 0x71727374u}}},
        {45, 47 + 20, 8, [=, this](Buffer& o) { o.LockVertexBuffer(a, 4, 20, &m_room, gw::eResourceAccess_Write); },
         {{8, a}, {16, 4u}, {20, 20u}, {24, Byte(2)}}},
        {46, 24, 8, [=](Buffer& o) { o.CopyVertexBuffer(a, b); }, {{8, a}, {16, b}}},
        {47, 16, 8, [=](Buffer& o) { o.UnlockVertexBuffer(a); }, {{8, a}}},
        {48, 47 + 20, 8, [=, this](Buffer& o) { o.LockIndexBuffer(a, 4, 20, &m_room, gw::eResourceAccess_Write); }, {{8,
         a}, {16, 4u}, {20, 20u}, {24, Byte(2)}}},
        {49, 16, 8, [=](Buffer& o) { o.UnlockIndexBuffer(a); }, {{8, a}}},
        {50, 24, 8, [=](Buffer& o) { o.CopyIndexBuffer(a, b); }, {{8, a}, {16, b}}},
        {51, 24, 8, [=](Buffer& o) { o.CopyTexture(a, b); }, {{8, a}, {16, b}}},
        {52, 40, 8, [=](Buffer& o) { o.CopyTextureSlice(a, 1, b, 2); }, {{8, a}, {16, 1}, {24, b}, {32, 2}}},
        {53, 20, 4, [=](Buffer& o) { o.Setup2DMode(v.x, v.y, v.z, v.w); }, {{4, v}}},
        {54, 32, 8, [=](Buffer& o) { o.GPUWait(gw::ESyncType(13), a, text, 7, 8); }, {{1, Byte(13)}, {8, a}, {16, text},
         {24, 7}, {28, 8}}},
        {55, 16, 8, [=](Buffer& o) { o.BeginRenderEvent(name); }, {{8, text}}},
        {56, 16, 8, [=](Buffer& o) { o.EndRenderEvent(name); }, {{8, text}}},
        {57, 12, 4, [=](Buffer& o) { o.SetSampleLocations(5, true); }, {{4, 5}, {8, true}}},
        {58, 2, 1, [=](Buffer& o) { o.EnableEQAA(true); }, {{1, true}}},
        {59, 2, 1, [=](Buffer& o) { o.EnableIDBuffer(true); }, {{1, true}}},
        {60, 12, 4, [=](Buffer& o) { o.SetGradientAdjust(5, true, false); }, {{4, 5}, {8, true}, {9, false}}},
        {61, 24, 8, [=](Buffer& o) { o.ResolveDepthBuffer(a, b); }, {{8, a}, {16, b}}},
    };
    // clang-format on
}

void StreamFormat::Check(const Row& row, const std::string& name)
{
    SCOPED_TRACE(name);
    Buffer buffer;
    buffer.SetShader(m_shader); // a record of 16 bytes, so that the row's header is where alignment matters
    row.record(buffer);
    qs::CommandDispatcherBuffer& stream = buffer.GetCommandStream();
    auto context = stream.PreExecuteCommandBuffer();
    ASSERT_TRUE(stream.NextCommand(context, 0));
    ASSERT_NE(stream.LocateRecord(context), nullptr);
    ASSERT_TRUE(stream.NextCommand(context, 16));
    EXPECT_EQ(std::size_t(*context.position), row.alignment);
    const char* record = stream.LocateRecord(context);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(record) % row.alignment, 0u);
    EXPECT_EQ(unsigned(Byte(*record)), row.id);
    for (const Field& field : row.fields) {
        EXPECT_EQ(std::memcmp(record + field.offset, field.bytes.data(), field.bytes.size()), 0)
            << "field at " << field.offset;
    }
    // What the rows that lead and clean up recorded beside it must not count.
    const bool isAlone = row.id != 28 && row.id != 29;
    EXPECT_EQ(isAlone ? std::size_t(context.end - record) : row.size, row.size);
    if (row.id == 43 || row.id == 45 || row.id == 48) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(m_room) % 16, 0u);
        EXPECT_GE(static_cast<char*>(m_room) - record, 32);
        EXPECT_LE(static_cast<char*>(m_room) + (row.size - 47), record + row.size);
    }
    // Most handles are dead: the replay reports them, if it does, and goes on behind the record.
    EXPECT_EQ(buffer.ProcessCommand(Byte(*record), record), row.size);
    stream.PostExecuteCommandBuffer(context, false);
    Replay(buffer);
    EXPECT_TRUE(stream.IsEmpty());
    EXPECT_EQ(m_log.CountContaining("command stream"), 0u);
}

TEST_F(StreamFormat, EveryOperationWritesTheRecordOfTheTable)
{
    std::vector<bool> seen(62);
    for (const Row& row : Rows()) {
        Check(row, "id " + std::to_string(row.id));
        seen[row.id] = true;
    }
    ForgetMessages();
    seen[38] = true; // the one that only text records
    for (unsigned id = 3; id <= 61; ++id) {
        EXPECT_TRUE(seen[id]) << id;
    }
}

TEST_F(StreamFormat, WhatCannotBeRecordedIsRefusedByName)
{
    Buffer buffer;
    buffer.SetTexture(m_base, m_texture, -1);
    ExpectAssert("Selected shader is nullptr!");
    buffer.SetBlendState(gw::BS_INVALID, 0);
    ExpectAssert("[SetBlendState] incorrect index passed");
    buffer.SetRasterizerState(gw::RS_INVALID);
    ExpectAssert("[SetRasterizerState] incorrect index passed");
    buffer.SetDepthState(gw::EPrefabDepthState(200), 0);
    ExpectAssert("[SetDepthState] incorrect index passed");
    for (const Vector2i size : {Vector2i(-1, 4), Vector2i(4, -1), Vector2i(0x7fffffff, 0x7fffffff)}) {
        m_room = &m_room;
        buffer.LockTexture(m_texture, 0, size, 4, &m_room, nullptr, gw::eResourceAccess_WriteDiscard);
        EXPECT_EQ(m_room, nullptr);
        ExpectAssert("cannot be recorded");
    }
    EXPECT_TRUE(buffer.GetCommandStream().IsEmpty());
    buffer.LockVertexBuffer(m_vertices, 0, 0, &m_room, gw::eResourceAccess_Write);
    ExpectAssert("Trying to map/unmap a vertex buffer to write 0 bytes?");
    EXPECT_NE(m_room, nullptr);
    buffer.SetRecording(false);
    buffer.SetBlendState(gw::BS_INVALID, 0);
    ExpectAssert("[SetBlendState] incorrect index passed");
    buffer.SetShader(m_shader); // the shadow follows in this mode too
    buffer.SetTexture(m_base, m_texture, -1);
    ExpectQuiet();
}

TEST_F(StreamFormat, VerticesAreCopiedWhereAskedAndConstantsOfUnknownNamesAreKept)
{
    Buffer buffer;
    const qs::ObjectHandle none;
    buffer.DrawPlain(gw::ePrimitiveTopology_TriangleList, m_points, 3, true, none, none, Floats(1));
    const auto stream = [&] { return &buffer.GetCommandStream(); };
    auto context = stream()->PreExecuteCommandBuffer();
    ASSERT_TRUE(stream()->NextCommand(context, 0));
    const char* kept;
    std::memcpy(&kept, stream()->LocateRecord(context) + 8, sizeof(kept));
    EXPECT_NE(static_cast<const void*>(kept), m_points);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(kept) % 16, 0u);
    EXPECT_EQ(std::memcmp(kept, m_points, sizeof(m_points)), 0);
    stream()->PostExecuteCommandBuffer(context, true);

    buffer.SetShader(m_shader);
    const std::size_t before = stream()->GetUsedBytes();
    buffer.SetShaderConstant1f(Name("nobody"), 1);
    EXPECT_GT(stream()->GetUsedBytes(), before);
    buffer.SetTexture(Name("nobody"), m_texture, -1);
    Replay(buffer);
    ExpectQuiet();
}

} // namespace
