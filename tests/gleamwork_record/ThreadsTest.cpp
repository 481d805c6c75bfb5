// Several threads at the command buffers: recorders with a buffer each, loaders, and the one that replays.
#include "RecordFixture.h"

#include <array>
#include <atomic>
#include <cstring>
#include <thread>

namespace {

using Buffer = gw::RendererCommandBuffer;

class RecordThreads : public RecordTest
{
};

/// A recorder owns two buffers and fills one while the other is replayed.
struct Recorder
{
    std::array<Buffer, 2> buffers;
    std::array<unsigned, 2> freeFrom = {}; ///< drain after which the buffer is the recorder's again
};

TEST_F(RecordThreads, RecordWhileOthersLoadAndOneReplays)
{
    constexpr int rounds = 60;
    constexpr int draws = 20;
    std::atomic<int> running = 4;
    std::atomic<unsigned> drains = 0;
    std::atomic<bool> failed = false;
    std::array<Recorder, 2> recorders;
    std::array<std::atomic<qs::ObjectHandle>, 4> streamed = {};

    const auto record = [&](Recorder& own) {
        for (int round = 0; round < rounds; ++round) {
            const int turn = round % 2;
            while (drains.load() < own.freeFrom[turn]) {
                std::this_thread::yield();
            }
            Buffer& buffer = own.buffers[turn];
            buffer.SetRenderTargets(1, &m_target, nullptr, nullptr, TEXTURE_NONE, false, -1);
            for (int i = 0; i < draws; ++i) {
                RecordDraw(buffer, i % 2 ? streamed[i % 4].load() : m_texture, Vector4f(float(i), 1, 1, 1));
            }
            const VertexBufferID made = buffer.CreateVertexBuffer(16, gw::eResourceUsage_Dynamic, nullptr);
            buffer.RemoveVertexBuffer(made);
            gw::DataLoader::InvokeExecuteRCB(&buffer);
            own.freeFrom[turn] = drains.load() + 2; // the drain that runs now may have begun before
        }
        --running;
    };
    const auto loadTextures = [&] {
        for (int i = 0; i < rounds * 4; ++i) {
            const qs::ObjectHandle next = MakeTexture(1, 1, "abc");
            gw::DataLoader::InvokeRemoveTexture(streamed[i % 4].exchange(next), false);
        }
        --running;
    };
    std::vector<qs::ObjectHandle> shaders;
    const auto loadShaders = [&] {
        const gw::ShaderData none;
        for (int i = 0; i < 6; ++i) {
            const qs::ObjectHandle shader = m_renderer->AddShader(
                {PLAIN_VERTEX, std::strlen(PLAIN_VERTEX)}, none, {PLAIN_FRAGMENT, std::strlen(PLAIN_FRAGMENT)}, none,
                qs::FixedString::Empty, qs::FixedString::Empty, true, nullptr, nullptr, 0);
            m_renderer->CreateShader(shader);
            failed = failed || !m_renderer->IsShaderAlive(shader);
            shaders.push_back(shader);
        }
        --running;
    };
    const std::uint64_t before = GleamNullCallCountOf("DrawIndexed");
    std::vector<std::thread> threads;
    threads.emplace_back(record, std::ref(recorders[0]));
    threads.emplace_back(record, std::ref(recorders[1]));
    threads.emplace_back(loadTextures);
    threads.emplace_back(loadShaders);
    while (running != 0) {
        m_immediate.ExecuteAll();
        m_relaxed.ExecuteAll();
        m_renderer->EndFrame(false);
        ++drains;
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    m_immediate.ExecuteAll();
    m_relaxed.ExecuteAll();
    EXPECT_FALSE(failed);
    EXPECT_EQ(GleamNullCallCountOf("DrawIndexed") - before, std::uint64_t(2 * rounds * draws));
    for (const qs::ObjectHandle& shader : shaders) {
        m_renderer->RemoveShader(shader);
    }
    for (const auto& texture : streamed) {
        m_renderer->RemoveTexture(texture.load(), true, true);
    }
    m_renderer->SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
    m_renderer->ClearTextures(true);
}

TEST_F(RecordThreads, BuffersReplayInTheOrderOfTheirHandOver)
{
    Buffer first, second;
    std::vector<int> order;
    struct Note
    {
        std::vector<int>* order;
        int value;
    };
    Note notes[] = {{&order, 1}, {&order, 2}, {&order, 3}};
    const auto take = [](void* argument) {
        const auto* note = static_cast<const Note*>(argument);
        note->order->push_back(note->value);
    };
    second.RecordCall(take, &notes[2]);
    first.RecordCall(take, &notes[0]);
    first.RecordCall(take, &notes[1]);
    std::thread([&] { gw::DataLoader::InvokeExecuteRCB(&first); }).join();
    gw::DataLoader::InvokeExecuteRCB(&second);
    EXPECT_TRUE(order.empty());
    m_immediate.ExecuteAll();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

/// A DDS file of 4 by 4 texels of one colour.
std::vector<unsigned char> MakeDds(const Pixel& color)
{
    std::uint32_t header[32] = {};
    std::memcpy(header, "DDS ", 4);
    header[1] = 124;
    header[2] = 0x100f; // caps, height, width, pitch and pixel format are there
    header[3] = header[4] = 4;
    header[5] = 16;
    header[19] = 32;
    header[20] = 0x41; // RGB with alpha
    header[22] = 32;
    header[23] = 0x000000ff;
    header[24] = 0x0000ff00;
    header[25] = 0x00ff0000;
    header[26] = 0xff000000;
    header[27] = 0x1000;
    std::vector<unsigned char> file(sizeof header + 16 * sizeof color);
    std::memcpy(file.data(), header, sizeof header);
    for (int i = 0; i < 16; ++i) {
        std::memcpy(file.data() + sizeof header + i * sizeof color, &color, sizeof color);
    }
    return file;
}

class StreamedPictures : public RecordTest
{
protected:
    StreamedPictures() { m_device = "software"; }
};

TEST_F(StreamedPictures, EachFrameShowsWhatWasStreamedBeforeIt)
{
    constexpr int last = 120;
    const Pixel first = {0, 9, 200, 255};
    const qs::ObjectHandle texture = MakeTexture(1, 1, &first);
    std::atomic<int> streamed = 0;
    std::thread loader([&] {
        for (int i = 1; i <= last; ++i) {
            const std::vector<unsigned char> file = MakeDds({static_cast<unsigned char>(i), 9, 200, 255});
            std::int64_t original = 0;
            std::int64_t mips = 0;
            gw::DataLoader::InvokeStreamTexture(texture, qs::Path(qs::PATH_ROOT_NONE, "streamed.dds"), false, 0,
                                                {file.data(), file.size()}, original, mips);
            streamed = i;
            // Others come and go under the same frames.
            gw::DataLoader::InvokeRemoveTexture(MakeTexture(1, 1, &first), i % 2 == 0);
            std::this_thread::yield();
        }
    });
    Buffer buffer;
    int shown = 0;
    bool isLast = false;
    while (!isLast) {
        isLast = streamed == last;
        buffer.SetRenderTargets(1, &m_target, nullptr, nullptr, TEXTURE_NONE, false, -1);
        RecordDraw(buffer, texture, Vector4f(1, 1, 1, 1));
        gw::DataLoader::InvokeExecuteRCB(&buffer);
        m_immediate.ExecuteAll();
        m_relaxed.ExecuteAll();
        const std::vector<Pixel> pixels = ReadPixels(m_target);
        m_renderer->EndFrame(false);
        EXPECT_EQ(pixels[0][1], 9);
        EXPECT_EQ(pixels[0], pixels[63]) << "a picture of two textures";
        EXPECT_GE(pixels[0][0], shown) << "an older texture came back";
        EXPECT_LE(pixels[0][0], streamed + 1); // the loader counts behind its call
        shown = pixels[0][0];
    }
    loader.join();
    RecordDraw(buffer, texture, Vector4f(1, 1, 1, 1));
    Replay(buffer);
    EXPECT_EQ(ReadPixels(m_target)[0][0], last);
    m_renderer->RemoveTexture(texture, true, true);
    m_renderer->ClearTextures(true);
}

} // namespace
