// What lives in which list and how long, and what it costs.
#include "LineFixture.h"

#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <thread>

namespace {

const Vector3f A(1, 2, 3), B(4, 5, 6);
const Vector4f RED(1, 0, 0, 1), BLUE(0, 0, 1, 1);

class ListsTest : public testing::Test
{
protected:
    ~ListsTest() override { EXPECT_EQ(m_log.Count(), 0u) << m_log.GetLast(); }
    void Step(float seconds)
    {
        // Only the step counts.
        m_lines.Update(qs::GameTime{1000.0 * seconds, seconds, 77});
    }
    static std::int64_t LiveLines() { return qs::MemoryManager::GetUsage("gw::Line").blocks; }

    qs::LogCapture m_log;
    PeekLineMan m_lines;
};

} // namespace

TEST_F(ListsTest, AColourIsOneLine)
{
    m_lines.AddLine(A, B, RED, WORLD);
    m_lines.AddLine(B, A, RED, -5.0f);
    m_lines.AddLine(A, B, BLUE, WORLD);
    m_lines.AddLine(A, B, {1, 0, 0, 0.5f}, WORLD);
    ASSERT_EQ(m_lines.m_worldLines.GetSize(), 3u);
    const gw::Line* red = m_lines.m_worldLines[0];
    EXPECT_EQ(red->GetCount(), 4u);
    EXPECT_EQ(red->GetTopology(), gw::ePrimitiveTopology_LineList);
    EXPECT_EQ(red->GetLifeTime(), WORLD);
    EXPECT_EQ(m_lines.GetLine(RED), red);
    EXPECT_EQ(m_lines.GetLine({1, -0.0f, 0, 1}), red) << "compared as floats";
    EXPECT_EQ(m_lines.GetLine({0, 1, 0, 1}), nullptr);
    EXPECT_EQ(m_lines.GetFrameDebugLine(RED), nullptr);
    m_lines.AddLine(A, B, Vector4f(), WORLD);
    m_lines.AddLine(A, B, BLUE, WORLD);
    m_lines.AddLine(A, B, Vector4f(), WORLD);
    EXPECT_EQ(m_lines.GetLine(Vector4f())->GetCount(), 4u) << "colour zero is a colour";
    ASSERT_EQ(m_lines.m_worldLines.GetSize(), 4u);
    // What is not a number equals nothing, itself included.
    m_lines.AddLine(A, B, {NAN, 0, 0, 1}, WORLD);
    m_lines.AddLine(A, B, {NAN, 0, 0, 1}, WORLD);
    EXPECT_EQ(m_lines.m_worldLines.GetSize(), 6u);
    Step(1000);
    EXPECT_EQ(m_lines.m_worldLines.GetSize(), 6u);
}

TEST_F(ListsTest, OddCountsAndTheSwitchAddNothing)
{
    const Vector3f points[] = {A, B, A};
    m_lines.AddPoints(points, 3, RED, WORLD, Matrix4x4f());
    EXPECT_EQ(m_log.CountContaining(WRONG_COUNT, qs::LogLevelAssertion), 1u);
    m_log.Clear();
    Global->debugLines = 0;
    for (float lifeTime : {WORLD, 0.0f, 1.0f}) {
        m_lines.AddBox(A, B, RED, lifeTime);
    }
    m_lines.Add2DLine({0, 0}, {1, 1}, RED, 0);
    Global->debugLines = 1;
    EXPECT_EQ(m_lines.m_worldLines.GetSize() + m_lines.m_frameLines.GetSize() + m_lines.m_lifeLines.GetSize(), 0u);
    EXPECT_EQ(m_lines.m_lines2D.GetSize(), 1u);
}

TEST_F(ListsTest, LifeTimesCountDown)
{
    EXPECT_TRUE(PeekLineMan::IsDebugLine(0.0f) && PeekLineMan::IsDebugLine(0.1f));
    EXPECT_FALSE(PeekLineMan::IsDebugLine(-0.1f) || PeekLineMan::IsDebugLine(NAN));
    const std::int64_t before = LiveLines();
    m_lines.AddLine(A, B, RED, 0.0f);
    m_lines.AddLine(A, B, RED, 1.0f);
    m_lines.AddLine(A, B, RED, 1.0f);
    m_lines.AddLine(A, B, RED, 2.0f);
    m_lines.AddLine(A, B, BLUE, 0.25f);
    ASSERT_EQ(m_lines.m_lifeLines.GetSize(), 3u) << "one line for each colour and life time";
    const gw::Line* red = m_lines.GetLifeDebugLine(RED, 2.0f);
    EXPECT_EQ(m_lines.GetLifeDebugLine(RED, 1.0f)->GetCount(), 4u);
    EXPECT_EQ(m_lines.GetFrameDebugLine(RED)->GetCount(), 2u);

    Step(0.5f); // the frame line is emptied, the blue one runs out
    EXPECT_EQ(m_lines.GetFrameDebugLine(RED)->GetCount(), 0u);
    EXPECT_EQ(m_lines.m_frameLines.GetSize(), 1u) << "kept for the next frame";
    ASSERT_EQ(m_lines.m_lifeLines.GetSize(), 2u);
    EXPECT_EQ(m_lines.GetLifeDebugLine(RED, 2.0f), nullptr);
    EXPECT_EQ(m_lines.GetLifeDebugLine(RED, 1.5f), red);

    m_lines.AddLine(A, B, RED, 1.5f); // as long as the older line has left
    m_lines.AddLine(A, B, RED, 1.0f);
    EXPECT_EQ(red->GetCount(), 4u);
    EXPECT_EQ(m_lines.m_lifeLines.GetSize(), 3u);
    Step(0.5f); // exactly the life time of one line
    EXPECT_EQ(m_lines.m_lifeLines.GetSize(), 2u);
    Step(0.0f);
    EXPECT_EQ(m_lines.m_lifeLines.GetSize(), 2u) << "time stands still";
    Step(5.0f);
    EXPECT_EQ(m_lines.m_lifeLines.GetSize(), 0u);
    EXPECT_EQ(LiveLines() - before, 1);

    // What was drawn last and died is not drawn to again.
    for (const float lifeTime : {1.0f, 0.0f, WORLD}) {
        m_lines.AddLine(A, B, RED, lifeTime);
        lifeTime > 0.0f ? Step(5.0f) : m_lines.Clear();
        m_lines.AddLine(A, B, RED, lifeTime);
    }
    EXPECT_EQ(m_lines.m_lifeLines.GetSize() + m_lines.m_frameLines.GetSize(), 0u);
    EXPECT_EQ(m_lines.GetLine(RED)->GetCount(), 2u);
}

TEST_F(ListsTest, RegisteredLinesBelongToTheManager)
{
    const std::int64_t before = LiveLines();
    gw::Line* lines[3];
    for (gw::Line*& line : lines) {
        line = new gw::Line(gw::ePrimitiveTopology_LineStrip);
        m_lines.AddLine(line);
    }
    m_lines.AddLine(lines[0]);
    m_lines.AddLine(static_cast<gw::Line*>(nullptr));
    EXPECT_EQ(m_log.Count(qs::LogLevelAssertion), 2u);
    m_log.Clear();
    m_lines.RemoveLine(lines[0]);
    m_lines.RemoveLine(lines[0]);
    m_lines.RemoveLine(nullptr);
    ASSERT_EQ(m_lines.m_userLines.GetSize(), 2u);
    EXPECT_EQ(m_lines.m_userLines[0], lines[2]) << "the last one took the place";
    Step(1000);
    EXPECT_EQ(m_lines.m_userLines.GetSize(), 2u);
    m_lines.Add2DLine({0, 0}, {1, 1}, RED, WORLD);
    m_lines.Add2DLine({0, 0}, {1, 1}, RED, WORLD);
    ASSERT_EQ(m_lines.m_lines2D.GetSize(), 2u) << "each its own";
    EXPECT_EQ(m_lines.m_lines2D[1]->GetCount(), 2u);
    m_lines.AddLine(A, B, RED, 0);
    m_lines.AddLine(A, B, RED, 1);
    m_lines.AddLine(A, B, RED, WORLD);
    m_lines.Clear();
    EXPECT_EQ(LiveLines() - before, 1) << "the one that was removed is the caller's";
    EXPECT_EQ(qs::MemoryManager::GetUsage("gw::Line2D").blocks, 0);
    EXPECT_EQ(m_lines.GetLine(RED), nullptr);
    EXPECT_EQ(m_lines.GetFrameDebugLine(RED), nullptr);
    EXPECT_EQ(m_lines.GetLifeDebugLine(RED, 1), nullptr);
    delete lines[0];
}

TEST_F(ListsTest, ManyColoursAreFoundAsFastAsFew)
{
    const auto perAdd = [&](int colors) {
        using Clock = std::chrono::steady_clock;
        std::vector<Vector4f> palette;
        for (int i = 0; i < colors; ++i) {
            palette.emplace_back(float(i % 100) / 255, float(i / 100) / 255, 0.5f, 1.0f);
        }
        double best = 1e9;
        for (int run = 0; run < 5; ++run) {
            m_lines.Clear();
            for (const Vector4f& color : palette) {
                m_lines.AddLine(A, B, color, 0.0f);
            }
            EXPECT_EQ(m_lines.m_frameLines.GetSize(), unsigned(colors));
            Step(0.1f);
            const auto start = Clock::now();
            for (int i = 0; i < 10000; ++i) {
                m_lines.AddLine(A, B, palette[i % colors], 0.0f);
            }
            best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
        }
        EXPECT_EQ(m_lines.m_frameLines.GetSize(), unsigned(colors));
        return best;
    };
    // A search from the front would take hundreds of times as long; caches and a busy machine take a few.
    const double few = perAdd(10);
    EXPECT_LT(perAdd(10000), 30 * few);
}

TEST_F(ListsTest, ThreadsAddWhileOneUpdates)
{
    constexpr int THREADS = 10;
    constexpr int SHAPES = 400;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&, thread] {
            const Vector4f own(float(thread), 0, 0, 1);
            for (int i = 0; i < SHAPES; ++i) {
                m_lines.AddBox(A, B, own, WORLD);
                m_lines.AddCircle(A, B, 1, RED, 30, WORLD);
                m_lines.AddSphere(A, 1, own, 0.0f);
                m_lines.AddTransform(A, Matrix3x3f(), 1, float(i % 3));
                m_lines.Add2DLine({0, 0}, {1, 1}, own, 0);
            }
        });
    }
    for (int frame = 0; frame < 50; ++frame) {
        Step(1.0f);
        std::this_thread::yield();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(m_lines.GetLine(RED)->GetCount(), THREADS * SHAPES * 24u + (24u * SHAPES)) << "one thread's own is red";
    for (int thread = 0; thread < THREADS; ++thread) {
        if (thread != 1) {
            EXPECT_EQ(m_lines.GetLine({float(thread), 0, 0, 1})->GetCount(), 24u * SHAPES);
        }
    }
    EXPECT_EQ(m_lines.m_lines2D.GetSize(), unsigned(THREADS * SHAPES));
}
