// The data loader: what happens at once, what waits for its queue, and how commands lie in it.
#include "CoreFixture.h"

#include "Gleamwork/GWDataLoader.h"

namespace {

class DataLoaderTest : public DeviceTest
{
protected:
    void SetUp() override { StartDevice("null"); }

    std::vector<unsigned char> ReadVertices(VertexBufferID id, std::size_t size)
    {
        void* data = nullptr;
        std::vector<unsigned char> bytes(size);
        EXPECT_TRUE(m_renderer->LockVertexBuffer(id, 0, 0, &data, gw::eResourceAccess_Read));
        if (data) {
            std::memcpy(bytes.data(), data, size);
            m_renderer->UnlockVertexBuffer(id);
        }
        return bytes;
    }
};

using gw::DataLoader;

} // namespace

TEST_F(DataLoaderTest, SizesOfZeroGiveNothingAndSayNothing)
{
    EXPECT_FALSE(DataLoader::InvokeAddVertexBuffer(0, gw::eResourceUsage_Dynamic, nullptr).IsValid());
    EXPECT_FALSE(DataLoader::InvokeAddIndexBuffer(0, 2, gw::eResourceUsage_Dynamic, nullptr).IsValid());
    EXPECT_FALSE(DataLoader::InvokeAddIndexBuffer(6, 0, gw::eResourceUsage_Dynamic, nullptr).IsValid());
    EXPECT_FALSE(DataLoader::InvokeAddStructuredBuffer(0, 4, gw::eResourceUsage_Dynamic, false, nullptr).IsValid());
    EXPECT_FALSE(DataLoader::InvokeAddStructuredBuffer(4, 0, gw::eResourceUsage_Dynamic, false, nullptr).IsValid());
    ExpectQuiet();
    const VertexBufferID negative = DataLoader::InvokeAddVertexBuffer(-4, gw::eResourceUsage_Dynamic, nullptr);
    EXPECT_EQ(m_log.CountContaining("Invalid vertex size", qs::LogLevelAssertion), 1u);
    m_log.Clear();
    DataLoader::InvokeRemoveVertexBuffer(negative);
}

TEST_F(DataLoaderTest, TextureFromMemoryCopiesThePixels)
{
    std::vector<unsigned char> pixels(4 * 4 * 4 + 2 * 2 * 4, 9);
    unsigned sizes[2] = {64, 16};
    const qs::ObjectHandle texture =
        DataLoader::InvokeAddTextureFromMemory(pixels.data(), gw::FORMAT_RGBA8, 4, 4, 0, 2, sizes, 1, 1,
                                               gw::eTextureUsageFlag_ShaderResource, gw::eTextureAccessFlag_GPURead);
    pixels.assign(pixels.size(), 0);
    EXPECT_EQ(m_renderer->GetNumMipMaps(texture), 2);
    EXPECT_EQ(m_renderer->GetTextureSize(texture), 80u);
    EXPECT_EQ(qs::MemoryManager::GetUsage("\"DataLoaderCreateTextureFromMemoryCommand_MipSize\"").blocks, 0);

    const qs::ObjectHandle empty = DataLoader::InvokeAddTextureFromMemory(
        nullptr, gw::FORMAT_RGBA8, 0, 0, 0, 1, nullptr, 1, 1, gw::eTextureUsageFlag_RenderTarget,
        gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_GPUWrite);
    EXPECT_EQ(ReadPixels(empty).size(), 1u);
    ExpectQuiet();

    // Pixels that nobody counted are refused, and the immutable texture with them.
    const qs::ObjectHandle uncounted =
        DataLoader::InvokeAddTextureFromMemory(pixels.data(), gw::FORMAT_RGBA8, 4, 4, 0, 1, nullptr, 1, 1,
                                               gw::eTextureUsageFlag_ShaderResource, gw::eTextureAccessFlag_GPURead);
    EXPECT_EQ(m_log.CountContaining("without the sizes of its mips", qs::LogLevelError), 1u);
    EXPECT_EQ(m_log.CountContaining("mem == NULL!", qs::LogLevelAssertion), 1u);
    m_log.Clear();
    for (const qs::ObjectHandle& handle : {texture, empty, uncounted}) {
        DataLoader::InvokeRemoveTexture(handle, true);
    }
    EXPECT_TRUE(m_renderer->IsAlive(texture));
    EXPECT_EQ(m_relaxed.ExecuteAll(), 3u);
    EXPECT_FALSE(m_renderer->IsAlive(texture));
}

TEST_F(DataLoaderTest, TextureFromDamagedBlobLeavesAnEmptyHandle)
{
    qs::ScratchBuffer blob(32, 0);
    blob.Write("DDS but not really", 18);
    const qs::ObjectHandle texture = DataLoader::InvokeAddTextureFromMemoryBlob(
        blob, gw::eTextureUsageFlag_ShaderResource, gw::eTextureAccessFlag_GPURead);
    ExpectError("Can't get metadata for dds in memory!");
    EXPECT_TRUE(m_renderer->IsAlive(texture));
    EXPECT_EQ(m_renderer->GetTextureSize(texture), 0u);
    m_renderer->RemoveTexture(texture, true, true);
}

TEST_F(DataLoaderTest, QueuedRemovalsWaitAndDeadHandlesAreSkipped)
{
    const float data[12] = {};
    const VertexBufferID vertices = DataLoader::InvokeAddVertexBuffer(48, gw::eResourceUsage_Default, data);
    const IndexBufferID indices = DataLoader::InvokeAddIndexBuffer(6, 2, gw::eResourceUsage_Default, data);
    const StructuredBufferID structured =
        DataLoader::InvokeAddStructuredBuffer(3, 16, gw::eResourceUsage_Default, false, data);
    const qs::ObjectHandle texture = MakeTexture(1, 1, data);
    for (int round = 0; round < 2; ++round) {
        DataLoader::InvokeRemoveVertexBuffer(vertices);
        DataLoader::InvokeRemoveIndexBuffer(indices);
        DataLoader::InvokeRemoveStructuredBuffer(structured);
        DataLoader::InvokeRemoveShader(SHADER_NONE);
        DataLoader::InvokeRemoveTexture(texture, false);
    }
    EXPECT_TRUE(m_renderer->IsVertexBufferAlive(vertices));
    EXPECT_TRUE(m_renderer->IsIndexBufferAlive(indices));
    EXPECT_TRUE(m_renderer->IsStructuredBufferAlive(structured));
    EXPECT_EQ(m_immediate.ExecuteAll(), 8u);
    EXPECT_EQ(m_relaxed.ExecuteAll(), 2u);
    EXPECT_FALSE(m_renderer->IsVertexBufferAlive(vertices));
    EXPECT_FALSE(m_renderer->IsIndexBufferAlive(indices));
    EXPECT_FALSE(m_renderer->IsStructuredBufferAlive(structured));
    EXPECT_FALSE(m_renderer->IsAlive(texture));
}

TEST_F(DataLoaderTest, ForceReachesTheRemoval)
{
    // Bound this frame, so that a removal is delayed unless it is forced.
    for (const bool force : {false, true}) {
        const qs::ObjectHandle texture = MakeTarget(4, 4);
        m_renderer->GetTextureById(texture)->keepUntilFrame = 0xffffffff;
        const std::int64_t before = qs::MemoryManager::GetUsage("DX11 Texture").thirdPartyBlocks;
        DataLoader::InvokeRemoveTexture(texture, force);
        m_relaxed.ExecuteAll();
        EXPECT_FALSE(m_renderer->IsAlive(texture));
        EXPECT_EQ(qs::MemoryManager::GetUsage("DX11 Texture").thirdPartyBlocks, before - 1);
    }
}

TEST_F(DataLoaderTest, DuplicatesAreFilledWhenTheQueueIsDrained)
{
    const unsigned char data[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const VertexBufferID source = DataLoader::InvokeAddVertexBuffer(12, gw::eResourceUsage_Immutable, data);
    const VertexBufferID copy = DataLoader::InvokeDuplicateVertexBuffer(12, gw::eResourceUsage_Staging, source);
    const IndexBufferID indices = DataLoader::InvokeAddIndexBuffer(6, 2, gw::eResourceUsage_Immutable, data);
    const IndexBufferID indexCopy = DataLoader::InvokeDuplicateIndexBuffer(3, 4, gw::eResourceUsage_Staging, indices);
    EXPECT_TRUE(m_renderer->IsVertexBufferAlive(copy));
    m_immediate.ExecuteAll();
    ExpectQuiet();
    EXPECT_EQ(ReadVertices(copy, 12), std::vector<unsigned char>(data, data + 12));

    // The source, then the target, ends before the queue comes to it.
    const VertexBufferID orphan = DataLoader::InvokeDuplicateVertexBuffer(12, gw::eResourceUsage_Staging, source);
    const IndexBufferID indexOrphan = DataLoader::InvokeDuplicateIndexBuffer(6, 2, gw::eResourceUsage_Staging, indices);
    m_renderer->RemoveVertexBuffer(source);
    m_renderer->RemoveIndexBuffer(indices);
    m_immediate.ExecuteAll();
    EXPECT_TRUE(m_log.Contains("CopyVertexBuffer not called! Source VB is not alive!", qs::LogLevelAssertion));
    EXPECT_TRUE(m_log.Contains("CopyIndexBuffer not called! Source IB is not alive!", qs::LogLevelAssertion));
    EXPECT_EQ(m_log.Count(), 2u);
    m_log.Clear();
    EXPECT_EQ(ReadVertices(orphan, 12).size(), 12u);

    m_renderer->RemoveVertexBuffer(DataLoader::InvokeDuplicateVertexBuffer(12, gw::eResourceUsage_Staging, copy));
    m_renderer->RemoveIndexBuffer(DataLoader::InvokeDuplicateIndexBuffer(6, 2, gw::eResourceUsage_Staging, indexCopy));
    m_immediate.ExecuteAll();
    EXPECT_TRUE(m_log.Contains("CopyVertexBuffer not called! Target VB is not alive!", qs::LogLevelAssertion));
    EXPECT_TRUE(m_log.Contains("CopyIndexBuffer not called! Target IB is not alive!", qs::LogLevelAssertion));
    EXPECT_EQ(m_log.Count(), 2u);
    m_log.Clear();
    for (const VertexBufferID& id : {copy, orphan}) {
        DataLoader::InvokeRemoveVertexBuffer(id);
    }
    for (const IndexBufferID& id : {indexCopy, indexOrphan}) {
        DataLoader::InvokeRemoveIndexBuffer(id);
    }
}

TEST_F(DataLoaderTest, ResizesRaiseSizesAndKeepTheHandle)
{
    const qs::ObjectHandle target = MakeTarget(8, 8);
    const qs::ObjectHandle depth = MakeDepth(8, 8);
    DataLoader::InvokeResizeRenderTarget(target, 0, -3, 0, 1);
    DataLoader::InvokeResizeDepthTarget(depth, 32, 16);
    unsigned width = 0;
    unsigned height = 0;
    unsigned layers = 0;
    m_renderer->GetTextureDimensions(target, width, height, layers);
    EXPECT_EQ(width, 8u);
    m_immediate.ExecuteAll();
    m_renderer->GetTextureDimensions(target, width, height, layers);
    EXPECT_EQ(std::make_pair(width, height), std::make_pair(1u, 1u));
    m_renderer->GetTextureDimensions(depth, width, height, layers);
    EXPECT_EQ(std::make_pair(width, height), std::make_pair(32u, 16u));
    m_renderer->RemoveTexture(target, true, true);
    m_renderer->RemoveTexture(depth, true, true);
}

TEST_F(DataLoaderTest, UnknownTypesAndMissingManagersAreReported)
{
    gw::RenderCommandManager manager(&m_immediate);
    manager.HandleCommand(15);
    ExpectAssert("Unknown renderer command type 15 encountered");

    gw::RenderCommandManager* const relaxed = std::exchange(DataLoader::s_RelaxedRenderCommandManager, nullptr);
    DataLoader::InvokeRemoveTexture(TEXTURE_NONE, true);
    ExpectAssert("the relaxed command manager was never initialised");
    DataLoader::s_RelaxedRenderCommandManager = relaxed;
}

// A program may drain its queues once more when the renderer is gone.
TEST_F(DataLoaderTest, CommandsLeftBehindAtTheEndDoNothing)
{
    const VertexBufferID vertices = DataLoader::InvokeAddVertexBuffer(16, gw::eResourceUsage_Dynamic, nullptr);
    DataLoader::InvokeRemoveVertexBuffer(vertices);
    DataLoader::InvokeResizeDepthTarget(TEXTURE_NONE, 1, 1);
    m_renderer->RemoveVertexBuffer(vertices);
    gw::Renderer* const renderer = std::exchange(gw::Renderer::s_Instance, nullptr);
    EXPECT_EQ(m_immediate.ExecuteAll(), 2u);
    gw::Renderer::s_Instance = renderer;
}
