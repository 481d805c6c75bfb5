// Vertex, index and structured buffers: views, locks, copies, and the rolling buffers of immediate drawing.
#include "BackendFixture.h"

#include <chrono>
#include <cstring>
#include <d3d11.h>
#include <numeric>
#include <thread>

namespace {

class Buffers : public BackendTest, public testing::WithParamInterface<const char*>
{
protected:
    void SetUp() override { StartDevice(GetParam()); }

    VertexBufferID MakeVB(long size, gw::EResourceUsage usage, const void* data = nullptr)
    {
        const VertexBufferID id = m_renderer->AddVertexBuffer();
        m_renderer->CreateVertexBuffer(id, size, usage, data);
        return id;
    }
    IndexBufferID MakeIB(unsigned count, unsigned size, gw::EResourceUsage usage, const void* data = nullptr)
    {
        const IndexBufferID id = m_renderer->AddIndexBuffer();
        m_renderer->CreateIndexBuffer(id, count, size, usage, data);
        return id;
    }
    StructuredBufferID MakeSB(unsigned count, unsigned size, gw::EResourceUsage usage, bool raw,
                              const void* data = nullptr)
    {
        const StructuredBufferID id = m_renderer->AddStructuredBuffer();
        m_renderer->CreateStructuredBuffer(id, count, size, usage, raw, data);
        return id;
    }

    const unsigned char* LockRead(VertexBufferID id)
    {
        void* data = nullptr;
        EXPECT_TRUE(m_renderer->LockVertexBuffer(id, 0, 0, &data, gw::eResourceAccess_Read));
        return static_cast<unsigned char*>(data);
    }
    Texture& TextureOf(StructuredBufferID id)
    {
        struct Tables : gw::Renderer
        {
            using gw::Renderer::m_structuredBuffers;
        };
        return *m_renderer->GetTextureById((m_renderer->*(&Tables::m_structuredBuffers)).Get(id)->texture);
    }
    static D3D11_SHADER_RESOURCE_VIEW_DESC Describe(const SRV* srv)
    {
        D3D11_SHADER_RESOURCE_VIEW_DESC desc = {};
        srv->views[0]->GetDesc(&desc);
        return desc;
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Devices, Buffers, testing::Values("null", "software"), DeviceName);

TEST_P(Buffers, GetTheViewsOfTheirUsage)
{
    unsigned char bytes[64] = {};
    const VertexBufferID dynamicVB = MakeVB(64, gw::eResourceUsage_Dynamic);
    const VertexBufferID staticVB = MakeVB(64, gw::eResourceUsage_Immutable, bytes);
    EXPECT_EQ(m_renderer->GetSRV(dynamicVB), nullptr);
    const D3D11_SHADER_RESOURCE_VIEW_DESC vertexView = Describe(m_renderer->GetSRV(staticVB));
    EXPECT_EQ(vertexView.Format, DXGI_FORMAT_R32_FLOAT);
    EXPECT_EQ(vertexView.Buffer.NumElements, 16u);
    const IndexBufferID shortIB = MakeIB(32, 2, gw::eResourceUsage_Default);
    const IndexBufferID oddIB = MakeIB(10, 3, gw::eResourceUsage_Default);
    ExpectError("index size is 3");
    EXPECT_EQ(Describe(m_renderer->GetSRV(shortIB)).Format, DXGI_FORMAT_R16_UINT);
    EXPECT_EQ(m_renderer->GetSRV(oddIB), nullptr);
    EXPECT_EQ(m_renderer->GetIndexBufferUsage(VertexBufferID(shortIB)), gw::eResourceUsage_Default);
    EXPECT_EQ(m_renderer->GetVertexBufferUsage(staticVB), gw::eResourceUsage_Immutable);
    const StructuredBufferID raw = MakeSB(16, 4, gw::eResourceUsage_Default, true);
    const StructuredBufferID fixed = MakeSB(4, 16, gw::eResourceUsage_Immutable, false, bytes);
    EXPECT_NE(TextureOf(raw).uav, nullptr);
    EXPECT_EQ(TextureOf(fixed).uav, nullptr);
    EXPECT_EQ(Describe(m_renderer->GetSRV(TextureOf(raw).handle)).Format, DXGI_FORMAT_R32_UINT);
    EXPECT_EQ(Describe(m_renderer->GetSRV(TextureOf(fixed).handle)).Format, DXGI_FORMAT_UNKNOWN);
    const StructuredBufferID empty = MakeSB(4, 16, gw::eResourceUsage_Immutable, false);
    ExpectAssert("Invalid resource usage for structured buffer, falling back to eResourceUsage_Default!");
    EXPECT_NE(TextureOf(empty).uav, nullptr);

    m_renderer->ResizeStructuredBuffer(empty, 64);
    EXPECT_NE(TextureOf(empty).uav, nullptr);
    EXPECT_EQ(Describe(m_renderer->GetSRV(TextureOf(empty).handle)).Buffer.NumElements, 64u);
    m_renderer->ResizeStructuredBuffer(SBUF_NONE, 64);

    m_renderer->RemoveVertexBuffer(dynamicVB);
    m_renderer->RemoveVertexBuffer(staticVB);
    EXPECT_EQ(m_renderer->GetSRV(staticVB), nullptr);
    m_renderer->RemoveVertexBuffer(VB_NONE);
    m_renderer->RemoveIndexBuffer(shortIB);
    m_renderer->RemoveIndexBuffer(oddIB);
    for (const StructuredBufferID id : {raw, fixed, empty}) {
        m_renderer->RemoveStructuredBuffer(id, true);
        EXPECT_FALSE(m_renderer->IsStructuredBufferAlive(id));
    }
    EXPECT_EQ(m_renderer->GetTextureCount(), 0u);
    EXPECT_EQ(qs::MemoryManager::GetUsage("DX11 SB").thirdPartyBlocks, 0);
}

TEST_P(Buffers, FailedCreationLeavesAnEmptyRecord)
{
    const VertexBufferID vb = MakeVB(-1, gw::eResourceUsage_Default);
    ExpectError("Couldn't create vertex buffer. ID3D11Device::CreateBuffer failed!\nError: E_");
    const IndexBufferID ib = MakeIB(0x40000000, 4, gw::eResourceUsage_Default);
    ExpectError("Couldn't create index buffer\nError: E_");
    const StructuredBufferID sb = MakeSB(16, 3, gw::eResourceUsage_Default, false);
    ExpectError("Failed to create structured buffer!");
    void* data = &data;
    EXPECT_FALSE(m_renderer->LockVertexBuffer(vb, 0, 0, &data, gw::eResourceAccess_Write));
    EXPECT_EQ(data, nullptr);
    ExpectError("LockVertexBuffer failed! ID3D11DeviceContext::Map Failed!");
    const VertexBufferID target = MakeVB(64, gw::eResourceUsage_Default);
    EXPECT_FALSE(m_renderer->CopyVertexBuffer(vb, target));
    ExpectAssert("CopyVertexBuffer failed! Source ID3D11Buffer doesn't exist!");
    EXPECT_EQ(m_renderer->GetSRV(ib), nullptr);
    EXPECT_EQ(TextureOf(sb).uav, nullptr);
    m_renderer->RemoveVertexBuffer(vb);
    m_renderer->RemoveVertexBuffer(target);
    m_renderer->RemoveIndexBuffer(ib);
    m_renderer->RemoveStructuredBuffer(sb, true);
}

TEST_P(Buffers, LocksSayWhatIsWrong)
{
    const VertexBufferID vb = MakeVB(64, gw::eResourceUsage_Default);
    const IndexBufferID ib = MakeIB(16, 4, gw::eResourceUsage_Default);
    const StructuredBufferID sb = MakeSB(4, 16, gw::eResourceUsage_Default, false);
    void* data = &data;
    const auto lockVB = [&](VertexBufferID id) {
        return m_renderer->LockVertexBuffer(id, 0, 0, &data, gw::eResourceAccess_WriteDiscard);
    };
    const auto lockIB = [&](IndexBufferID id) {
        return m_renderer->LockIndexBuffer(id, 0, 0, &data, gw::eResourceAccess_WriteDiscard);
    };
    EXPECT_FALSE(lockVB(VB_NONE));
    EXPECT_EQ(data, nullptr);
    ExpectError("LockVertexBuffer failed! VB id was NONE!");
    EXPECT_FALSE(lockVB(vb));
    ExpectError("LockVertexBuffer failed! ID3D11DeviceContext::Map Failed!\nError: E_INVALIDARG");
    EXPECT_FALSE(lockIB(IB_NONE));
    ExpectError("LockIndexBuffer failed! IB id was NONE!");
    EXPECT_FALSE(lockIB(ib));
    ExpectError("LockIndexBuffer failed!");
    EXPECT_FALSE(m_renderer->LockStructuredBuffer(SBUF_NONE, &data, gw::eResourceAccess_Write, 0));
    ExpectError("LockStructuredBuffer failed! SB id was NONE!");
    EXPECT_FALSE(m_renderer->LockStructuredBuffer(sb, &data, gw::eResourceAccess_Write, 0));
    EXPECT_TRUE(m_log.Contains("Can map only dynamic or staging structured buffer.", qs::LogLevelAssertion));
    EXPECT_TRUE(m_log.Contains("LockStructuredBuffer failed! ID3D11DeviceContext::Map Failed!", qs::LogLevelError));
    m_log.Clear();
    m_renderer->RemoveVertexBuffer(vb);
    m_renderer->RemoveIndexBuffer(ib);
    m_renderer->RemoveStructuredBuffer(sb, true);
    EXPECT_FALSE(lockVB(vb));
    ExpectError("LockVertexBuffer failed! VertexBuffer with id ");
    EXPECT_FALSE(m_renderer->UnlockVertexBuffer(vb));
    ExpectError("UnlockVertexBuffer failed! VertexBuffer with id ");
    EXPECT_FALSE(m_renderer->UnlockIndexBuffer(ib));
    ExpectError("UnlockIndexBuffer failed! IndexBuffer with id ");
    EXPECT_FALSE(m_renderer->UnlockStructuredBuffer(sb));
    ExpectError("UnlockStructuredBuffer failed! StructuredBuffer with id ");
    EXPECT_FALSE(m_renderer->UnlockVertexBuffer(VB_NONE));
    ExpectError("UnlockVertexBuffer failed! VB id was NONE!");
}

TEST_P(Buffers, CopiesCheckBothSidesAndMoveTheBytes)
{
    std::vector<unsigned char> bytes(400);
    std::iota(bytes.begin(), bytes.end(), 0);
    const VertexBufferID source = MakeVB(400, gw::eResourceUsage_Default, bytes.data());
    const VertexBufferID staging = MakeVB(400, gw::eResourceUsage_Staging);
    const VertexBufferID small = MakeVB(396, gw::eResourceUsage_Default);
    const VertexBufferID fixed = MakeVB(400, gw::eResourceUsage_Immutable, bytes.data());
    struct Case
    {
        VertexBufferID from, to;
        const char* message;
    };
    for (const Case& c : {Case{VB_NONE, VB_NONE, "failed! src is VB_NONE!"}, Case{source, VB_NONE, "trgt is VB_NONE!"},
                          Case{source, source, "Source and Target buffer can not be the same!"},
                          Case{source, small, "Source and Target buffer must have the same size!"},
                          Case{source, fixed, "Target buffer can not be immutable!"}}) {
        EXPECT_FALSE(m_renderer->CopyVertexBuffer(c.from, c.to));
        ExpectAssert(c.message);
    }
    EXPECT_TRUE(m_renderer->HasCPUReadAccessVB(staging));
    EXPECT_FALSE(m_renderer->HasCPUReadAccessVB(source));
    EXPECT_TRUE(m_renderer->CopyVertexBuffer(source, staging));
    EXPECT_EQ(std::memcmp(LockRead(staging), bytes.data(), bytes.size()), 0);
    EXPECT_TRUE(m_renderer->UnlockVertexBuffer(staging));

    const IndexBufferID words = MakeIB(100, 4, gw::eResourceUsage_Default, bytes.data());
    const IndexBufferID shorts = MakeIB(200, 2, gw::eResourceUsage_Staging); // only byte sizes count
    EXPECT_TRUE(m_renderer->CopyIndexBuffer(words, shorts));
    void* data = nullptr;
    ASSERT_TRUE(m_renderer->LockIndexBuffer(shorts, 0, 0, &data, gw::eResourceAccess_ReadNoWait)); // waits all the same
    EXPECT_EQ(std::memcmp(data, bytes.data(), bytes.size()), 0);
    EXPECT_TRUE(m_renderer->UnlockIndexBuffer(shorts));
    EXPECT_FALSE(m_renderer->CopyIndexBuffer(words, IB_NONE));
    ExpectAssert("api::D3D11Renderer::CopyIndexBuffer failed! trgt is IB_NONE!");

    for (const VertexBufferID id : {source, staging, small, fixed}) {
        m_renderer->RemoveVertexBuffer(id);
    }
    EXPECT_FALSE(m_renderer->CopyVertexBuffer(source, staging));
    ExpectAssert("Source VertexBuffer doesn't exist!");
    m_renderer->RemoveIndexBuffer(words);
    m_renderer->RemoveIndexBuffer(shorts);
}

TEST_P(Buffers, StructuredCopiesTakeTheSourcesBytes)
{
    const unsigned values[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    const StructuredBufferID source = MakeSB(8, 4, gw::eResourceUsage_Default, true, values);
    const StructuredBufferID large = MakeSB(16, 4, gw::eResourceUsage_Staging, true);
    const StructuredBufferID small = MakeSB(4, 4, gw::eResourceUsage_Default, true);
    m_renderer->CopyStructuredBuffer(source, large);
    ExpectQuiet();
    void* data = nullptr;
    ASSERT_TRUE(m_renderer->LockStructuredBuffer(large, &data, gw::eResourceAccess_Read, 0));
    EXPECT_EQ(std::memcmp(data, values, sizeof(values)), 0);
    EXPECT_TRUE(m_renderer->UnlockStructuredBuffer(large));
    m_renderer->CopyStructuredBuffer(source, small);
    ExpectAssert("Destination buffer too small!?!!?");
    m_renderer->CopyStructuredBuffer(source, SBUF_NONE);
    ExpectAssert("One of the buffers is SBUF_NONE!");
    for (const StructuredBufferID id : {source, large, small}) {
        m_renderer->RemoveStructuredBuffer(id, true);
    }
    m_renderer->CopyStructuredBuffer(source, large);
    ExpectAssert("One of the buffers is null!");
}

TEST_P(Buffers, PollsAreSilentUntilTheDeviceIsDone)
{
    constexpr long SIZE = 16 << 20;
    const std::vector<unsigned char> bytes(SIZE, 0x5a);
    const VertexBufferID source = MakeVB(SIZE, gw::eResourceUsage_Default, bytes.data());
    const VertexBufferID staging = MakeVB(SIZE, gw::eResourceUsage_Staging);
    for (int i = 0; i < 8; ++i) {
        ASSERT_TRUE(m_renderer->CopyVertexBuffer(source, staging));
    }
    void* data = nullptr;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!m_renderer->LockVertexBuffer(staging, 0, 0, &data, gw::eResourceAccess_ReadNoWait)) {
        ASSERT_EQ(data, nullptr);
        ASSERT_LT(std::chrono::steady_clock::now(), end);
        std::this_thread::yield();
    }
    EXPECT_EQ(std::memcmp(data, bytes.data(), SIZE), 0);
    m_renderer->UnlockVertexBuffer(staging);
    ExpectQuiet();
    m_renderer->RemoveVertexBuffer(source);
    m_renderer->RemoveVertexBuffer(staging);
}

TEST_P(Buffers, RollingBuffersWrapAndGrow)
{
    const std::uint32_t size = Peek::rollingVBSize;
    std::vector<unsigned char> bytes(size + 1, 7);
    EXPECT_EQ(m_renderer->copyToRollingVB(bytes.data(), 10), 0u);
    EXPECT_EQ(m_renderer->copyToRollingVB(bytes.data(), 20), 10u);
    EXPECT_EQ(m_renderer->copyToRollingVB(bytes.data(), size - 31), 30u);
    EXPECT_EQ(m_renderer->copyToRollingVB(bytes.data(), 2), 0u); // one byte was left
    EXPECT_EQ(m_renderer->copyToRollingVB(bytes.data(), size), 0u);
    EXPECT_EQ(m_renderer->copyToRollingVB(bytes.data(), 1), 0u);
    ExpectQuiet();
    const VertexBufferID before = m_renderer->*(&Peek::m_rollingVB);
    EXPECT_EQ(m_renderer->copyToRollingVB(bytes.data(), size + 1), 0u);
    ExpectAssert("Rolling VB is too small (");
    EXPECT_EQ(Peek::rollingVBSize, size + 1 + 0x10000);
    EXPECT_FALSE(m_renderer->*(&Peek::m_rollingVB) == before);
    EXPECT_FALSE(m_renderer->IsVertexBufferAlive(before));
    EXPECT_EQ(m_renderer->copyToRollingVB(bytes.data(), 1), size + 1);

    const std::uint32_t indexSize = Peek::rollingIBSize;
    EXPECT_EQ(m_renderer->copyToRollingIB(bytes.data(), indexSize), 0u);
    EXPECT_EQ(m_renderer->copyToRollingIB(bytes.data(), 6), 0u);
    EXPECT_EQ(m_renderer->copyToRollingIB(bytes.data(), 6), 6u);
    EXPECT_EQ(m_renderer->copyToRollingIB(bytes.data(), 0xffffffff), 0u);
    ExpectError("A rolling buffer cannot hold 4294967295 bytes");
    EXPECT_EQ(Peek::rollingIBSize, indexSize);
}
