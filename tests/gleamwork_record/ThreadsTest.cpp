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

} // namespace
