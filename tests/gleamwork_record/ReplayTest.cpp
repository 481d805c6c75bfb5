// Replay: recorded work does what direct calls do, damage and dead resources are survived, memory is kept.
#include "RecordFixture.h"

#include "Gleamwork/image/GraphicsBuffer.h"

#include <cstring>
#include <d3d11.h>
#include <map>

/// Calls of the operators new in the program and its libraries so far.
std::uint64_t GetOperatorNewCount();

namespace {

using Buffer = gw::RendererCommandBuffer;
using gw::Renderer;

/// Blocks that the memory service has handed out.
std::int64_t GetBlocks()
{
    std::int64_t blocks = 0;
    for (const qs::MemoryScopeUsage& scope : qs::MemoryManager::GetUsage()) {
        blocks += scope.blocks;
    }
    return blocks;
}

class ReplayTest : public RecordTest
{
protected:
    /// Every operation once, with resources that are there.
    void Everything(Buffer& o);
    std::map<std::string, std::uint64_t> CallsOf(bool recording);
    std::vector<unsigned char> ReadVertices(VertexBufferID id, std::size_t size);
};

void ReplayTest::Everything(Buffer& o)
{
    const qs::ObjectHandle none, blend = Renderer::BS(gw::BS_ALPHA), depth = Renderer::DS(gw::DS_NONE);
    const gw::EPrimitiveTopology list = gw::ePrimitiveTopology_TriangleList;
    const Vector4f red(1, 0, 0, 1);
    const Vector2f points[] = {{0, 0}, {8, 0}, {0, 8}};
    const Vector3f corners[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    const unsigned short order[] = {0, 1, 2};
    gw::TexVertex glyphs[3] = {};
    const Pixel pixels[4] = {};
    const int all = -1;

    o.BeginRenderEvent(m_base);
    o.SetRenderTargets(1, &m_target, &all, &all, TEXTURE_NONE, false, -1);
    o.ClearRenderTarget(m_target, -1, red);
    o.SetViewport(8, 8, 0, 0);
    o.SetScissorRect(0, 0, 8, 8);
    o.Setup2DMode(0, 8, 0, 8);
    o.SetRenderProperties(Matrix4x4f(), Matrix4x4f(), Vector3f(), 0, 0);
    o.SetRenderFrustrumCorners({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1});
    o.SetClusteredLightingProperties(1, 2, 3, 4);
    o.UpdateGlobalConstants();
    RecordDraw(o, m_texture, red);
    o.SetFrustumShaderParam(m_world);
    o.SetFrustumShaderParamViewSpace(m_world);
    o.DrawElementsInstanced(0, 2, 0, 6, 0, 4);
    o.DrawArrays(0, 3);
    o.SetShader(m_shader);
    o.SetBlendState(gw::BS_ADD, ~0u);
    o.SetRasterizerState(gw::RS_WIREFRAME);
    o.SetDepthState(gw::DS_READ, 1);
    o.SetVertexFormat(m_format);
    o.SetVertexBuffer(0, m_vertices, 0);
    o.SetIndexBuffer(m_indices);
    o.SetPrimitiveTopology(list);
    o.ApplyTextures();
    o.ApplyUAVs();
    o.DrawPlain(list, points, 3, true, blend, depth, red);
    o.DrawPlain3D(list, corners, 3, true, blend, depth, red);
    o.DrawPlain3DIndexed(Matrix4x4f(), list, corners, 3, order, 3, 2, true, blend, depth, Renderer::RS(gw::RS_SOLID),
                         red);
    o.DrawTextured(list, Vector2f(1, 1), glyphs, 3, true, m_texture, Renderer::SS(gw::SS_POINT_WRAP), blend, depth,
                   red);

    const VertexBufferID vertices = o.CreateVertexBuffer(24, gw::eResourceUsage_Dynamic, points);
    const VertexBufferID copy = o.CreateVertexBuffer(24, gw::eResourceUsage_Default, nullptr);
    const IndexBufferID indices = o.CreateIndexBuffer(3, 2, gw::eResourceUsage_Dynamic, order);
    const IndexBufferID indexCopy = o.CreateIndexBuffer(3, 2, gw::eResourceUsage_Default, nullptr);
    void* data = nullptr;
    o.LockVertexBuffer(vertices, 0, 24, &data, gw::eResourceAccess_WriteDiscard);
    std::memcpy(data, points, 24);
    o.UnlockVertexBuffer(vertices);
    o.LockIndexBuffer(indices, 0, 6, &data, gw::eResourceAccess_WriteDiscard);
    std::memcpy(data, order, 6);
    o.UnlockIndexBuffer(indices);
    o.CopyVertexBuffer(vertices, copy);
    o.CopyIndexBuffer(indices, indexCopy);
    o.RemoveVertexBuffer(vertices);
    o.RemoveVertexBuffer(copy);
    o.RemoveIndexBuffer(indices);
    o.RemoveIndexBuffer(indexCopy);
    const qs::ObjectHandle texture =
        MakeTexture(2, 2, pixels, gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_CPUWrite);
    o.UpdateTextureData(texture, pixels[0].data(), 2, 2, 4);
    const qs::ObjectHandle target = MakeTarget(8, 8);
    o.CopyTexture(m_target, target);
    o.CopyTextureSlice(m_target, 0, target, 0);
    o.BeginRenderFullScreenTriangle(m_shader, depth, 0);
    o.EndRenderFullScreenTriangle();
    o.GPUWait(gw::eSyncType_ClearState, none, "", 0, 0);
    o.SetSampleLocations(1, true);
    o.EnableEQAA(true);
    o.EnableIDBuffer(true);
    o.SetGradientAdjust(1, true, true);
    o.ResolveDepthBuffer(none, none);
    o.EndRenderEvent(m_base);
    o.Finalize();
    if (o.IsRecording()) {
        Replay(o);
    }
    m_renderer->RemoveTexture(texture, true, true);
    m_renderer->RemoveTexture(target, true, true);
}

std::map<std::string, std::uint64_t> ReplayTest::CallsOf(bool recording)
{
    m_renderer->ClearState();
    Buffer buffer;
    buffer.SetRecording(recording);
    GleamNullResetCalls();
    Everything(buffer);
    std::map<std::string, std::uint64_t> calls;
    for (std::size_t kind = 0; kind < GleamNullCallKinds(); ++kind) {
        calls[GleamNullCallName(kind)] = GleamNullCallCount(kind);
    }
    return calls;
}

std::vector<unsigned char> ReplayTest::ReadVertices(VertexBufferID id, std::size_t size)
{
    std::vector<unsigned char> bytes(size);
    void* data = nullptr;
    EXPECT_TRUE(m_renderer->LockVertexBuffer(id, 0, 0, &data, gw::eResourceAccess_Read));
    if (data) {
        std::memcpy(bytes.data(), data, size);
        m_renderer->UnlockVertexBuffer(id);
    }
    return bytes;
}

TEST_F(ReplayTest, MakesTheDeviceCallsOfDirectOperation)
{
    CallsOf(false); // the first pass makes what is made once: rolling buffers, compiled states
    const auto direct = CallsOf(false);
    EXPECT_EQ(CallsOf(true), direct);
    EXPECT_GT(direct.at("DrawIndexed"), 0u);
    EXPECT_GT(direct.at("Draw"), 0u);
    ExpectQuiet();
}

TEST_F(ReplayTest, RecordedBuffersAreFilledAndKeepTheirHandles)
{
    Buffer buffer;
    const VertexBufferID id = buffer.CreateVertexBuffer(8, gw::eResourceUsage_Staging, "abcdefg");
    EXPECT_TRUE(m_renderer->IsVertexBufferAlive(id));
    EXPECT_EQ(m_renderer->GetVertexBufferSize(id), 0u);
    Replay(buffer);
    EXPECT_EQ(std::memcmp(ReadVertices(id, 8).data(), "abcdefg", 8), 0);
    void* data = nullptr;
    buffer.LockVertexBuffer(id, 0, 4, &data, gw::eResourceAccess_Write);
    std::memcpy(data, "ABCD", 4);
    buffer.UnlockVertexBuffer(id);
    Replay(buffer);
    EXPECT_EQ(std::memcmp(ReadVertices(id, 8).data(), "ABCDefg", 8), 0);
    // More than the buffer holds is cut, not written behind it.
    buffer.LockVertexBuffer(id, 0, 1 << 20, &data, gw::eResourceAccess_Write);
    std::memset(data, 'z', 1 << 20);
    buffer.UnlockVertexBuffer(id);
    Replay(buffer);
    ExpectError("1048576 bytes were recorded for a vertex buffer that holds 8");
    EXPECT_EQ(std::memcmp(ReadVertices(id, 8).data(), "zzzzzzzz", 8), 0);
    m_renderer->RemoveVertexBuffer(id);
}

TEST_F(ReplayTest, TextureRowsFollowTheDevicesPitch)
{
    const qs::ObjectHandle texture = m_renderer->AddTexture();
    ASSERT_TRUE(m_renderer->CreateTexture(texture, gw::GraphicsBuffer::Empty, gw::FORMAT_RGBA8, 2, 4, 0, 1, 1, nullptr,
                                          1, 1, gw::eTextureUsageFlag_None,
                                          gw::eTextureAccessFlag_CPURead | gw::eTextureAccessFlag_CPUWrite));
    Buffer buffer;
    void* data = nullptr;
    int pitch = 0;
    buffer.LockTexture(texture, 0, {1, 2}, 4, &data, &pitch, gw::eResourceAccess_Write);
    EXPECT_EQ(pitch, 4);
    std::memcpy(data, "onlytwo.", 8);
    buffer.UnlockTexture(texture, 0);
    Replay(buffer);
    ASSERT_TRUE(m_renderer->LockTexture(texture, 0, &data, &pitch, gw::eResourceAccess_Read));
    const char* rows = static_cast<const char*>(data);
    EXPECT_EQ(std::string(rows, 4), "only");
    EXPECT_EQ(std::string(rows + pitch, 4), "two.");
    EXPECT_EQ(std::string(rows + 4, 4), std::string(4, '\0'));
    m_renderer->UnlockTexture(texture, 0);

    buffer.LockTexture(texture, 0, {64, 64}, 4, &data, &pitch, gw::eResourceAccess_Write);
    std::memset(data, 1, 64 * 64 * 4);
    buffer.UnlockTexture(texture, 0);
    Replay(buffer);
    EXPECT_EQ(m_log.CountContaining("were recorded for a texture", qs::LogLevelError), 2u);
    m_log.Clear();
    m_renderer->RemoveTexture(texture, true, true);
}

TEST_F(ReplayTest, DeadResourcesAndDamageDoNotStopTheRest)
{
    Buffer buffer;
    const VertexBufferID vertices = buffer.CreateVertexBuffer(8, gw::eResourceUsage_Dynamic, nullptr);
    Replay(buffer);
    const qs::ObjectHandle texture =
        MakeTexture(1, 1, "abc", gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_CPUWrite);
    void* data = nullptr;
    buffer.LockVertexBuffer(vertices, 0, 8, &data, gw::eResourceAccess_WriteDiscard);
    buffer.UnlockVertexBuffer(vertices);
    buffer.UpdateTextureData(texture, reinterpret_cast<const unsigned char*>("abc"), 1, 1, 4);
    buffer.ClearRenderTarget(m_target, -1, Vector4f(0, 1, 0, 1));
    m_renderer->RemoveVertexBuffer(vertices);
    m_renderer->RemoveTexture(texture, true, true);
    m_renderer->SetRenderTargets(1, &m_target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    Replay(buffer);
    ExpectQuiet();
    EXPECT_EQ(ReadPixels(m_target)[0], (Pixel{0, 255, 0, 255}));

    const auto damage = [&](std::size_t offset, char value) {
        buffer.SetShader(m_shader);
        buffer.ClearRenderTarget(m_target, -1, Vector4f(1, 0, 0, 1));
        qs::CommandDispatcherBuffer& stream = buffer.GetCommandStream();
        auto context = stream.PreExecuteCommandBuffer();
        EXPECT_TRUE(stream.NextCommand(context, 0));
        stream.LocateRecord(context)[offset] = value;
        stream.PostExecuteCommandBuffer(context, false);
        Replay(buffer);
        EXPECT_TRUE(stream.IsEmpty());
    };
    damage(0, char(200));
    ExpectAssert("Unknown command id 200 in a command stream");
    damage(16, char(3)); // the next record's alignment
    ExpectAssert("the stream was overwritten");
    EXPECT_EQ(ReadPixels(m_target)[0], (Pixel{0, 255, 0, 255}));
    buffer.ClearRenderTarget(m_target, -1, Vector4f(0, 0, 1, 1));
    Replay(buffer);
    EXPECT_EQ(ReadPixels(m_target)[0], (Pixel{0, 0, 255, 255}));
}

TEST_F(ReplayTest, ASecondRecordingTakesTheSameBlocks)
{
    Buffer buffer;
    const qs::ObjectHandle blend = Renderer::BS(gw::BS_ALPHA);
    const Vector2f points[64] = {};
    const auto record = [&] {
        for (int i = 0; i < 2000; ++i) {
            RecordDraw(buffer, m_texture, Vector4f(1, 1, 1, 1));
            buffer.DrawPlain(gw::ePrimitiveTopology_LineList, points, 64, true, blend, blend, Vector4f());
        }
    };
    record();
    Replay(buffer);
    ForgetMessages();
    const std::size_t reserved = buffer.GetCommandStream().GetReservedBytes();
    const std::int64_t blocks = GetBlocks();
    const std::uint64_t news = GetOperatorNewCount();
    record();
    EXPECT_EQ(GetOperatorNewCount(), news);
    EXPECT_EQ(GetBlocks(), blocks);
    EXPECT_EQ(buffer.GetCommandStream().GetReservedBytes(), reserved);
    buffer.Discard();
    EXPECT_TRUE(buffer.GetCommandStream().IsEmpty());
}

TEST_F(ReplayTest, RecordedViewsKeepARemovedTextureForFourFrames)
{
    const qs::ObjectHandle texture = MakeTexture(1, 1, "red");
    ID3D11ShaderResourceView* view = m_renderer->GetSRV(texture)->views[0];
    const auto references = [view] {
        view->AddRef();
        return view->Release();
    };
    view->AddRef();
    Buffer buffer;
    RecordDraw(buffer, texture, Vector4f(1, 1, 1, 1));
    gw::DataLoader::InvokeRemoveTexture(texture, false);
    m_relaxed.ExecuteAll();
    EXPECT_FALSE(m_renderer->IsAlive(texture));
    for (unsigned frame = 0; frame < Renderer::TEXTURE_REMOVE_DELAY; ++frame) {
        m_renderer->EndFrame(false);
        EXPECT_EQ(references(), 2u) << "the renderer let go in frame " << frame;
    }
    m_renderer->SetRenderTargets(1, &m_target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    const std::uint64_t before = GleamNullCallCountOf("PSSetShaderResources");
    gw::DataLoader::InvokeExecuteRCB(&buffer);
    m_immediate.ExecuteAll();
    EXPECT_EQ(GleamNullCallCountOf("PSSetShaderResources"), before + 1);
    RecordDraw(buffer, texture, Vector4f(1, 1, 1, 1)); // a dead handle has no view any more
    Replay(buffer);
    m_renderer->SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
    m_renderer->ClearState();
    m_renderer->EndFrame(false);
    EXPECT_EQ(references(), 1u);
    view->Release();
    ExpectQuiet();
    gw::DataLoader::InvokeExecuteRCB(nullptr);
    ExpectAssert("There is no command buffer to execute.");
}

/// The same scene drawn through the renderer itself, through a buffer that acts at once, and through a recording.
class ReplayPixels : public RecordTest
{
protected:
    ReplayPixels() { m_device = "software"; }

    void Scene(Buffer& o)
    {
        o.SetRenderTargets(1, &m_target, nullptr, nullptr, TEXTURE_NONE, false, -1);
        o.ClearRenderTarget(m_target, -1, Vector4f(0, 0, 0.2f, 1));
        o.Setup2DMode(0, 8, 0, 8);
        RecordDraw(o, m_texture, Vector4f(0.4f, 0.6f, 0.8f, 1));
        const Vector2f strip[4] = {{2, 2}, {6, 2}, {2, 6}, {6, 6}};
        o.DrawPlain(gw::ePrimitiveTopology_TriangleStrip, strip, 4, true, Renderer::BS(gw::BS_ADD),
                    Renderer::DS(gw::DS_NONE), Vector4f(0.2f, 0, 0, 1));
        o.SetViewport(4, 4, 4, 4);
        o.BeginRenderFullScreenTriangle(m_shader, Renderer::DS(gw::DS_NONE), 0);
        o.SetTexture(m_base, m_renderer->GetDefaultWhiteTexture(), -1);
        o.SetShaderConstant4f(m_tint, Vector4f(1, 0, 1, 1));
        o.EndRenderFullScreenTriangle();
    }
};

TEST_F(ReplayPixels, AreThoseOfDirectOperation)
{
    Buffer direct;
    direct.SetRecording(false);
    Scene(direct);
    const std::vector<Pixel> expected = ReadPixels(m_target);
    EXPECT_EQ(expected[0], (Pixel{102, 153, 204, 255}));
    EXPECT_EQ(expected[2 * 8 + 2], (Pixel{153, 153, 204, 255}));
    m_renderer->ClearState();
    Buffer recorded;
    Scene(recorded);
    Replay(recorded);
    EXPECT_EQ(ReadPixels(m_target), expected);
}

} // namespace
