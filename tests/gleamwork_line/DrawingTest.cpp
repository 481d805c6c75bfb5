// Lines through views: what is drawn, in which order, and how it looks.
#include "Gleamwork/GleamworkSDM.h"
#include "Gleamwork/RendererCommandBuffer.h"
#include "LineFixture.h"
#include "gleamwork_frame/FrameFixture.h"

#include <algorithm>
#include <atomic>
#include <gleam_null_device.h>
#include <thread>

namespace {

using Buffer = gw::RendererCommandBuffer;

constexpr unsigned WIDTH = 240, HEIGHT = 160;
constexpr Pixel BLACK = {0, 0, 0, 255}, RED = {255, 0, 0, 255}, GREEN = {0, 255, 0, 255}, BLUE = {0, 0, 255, 255},
                WHITE = {255, 255, 255, 255};

Vector4f Color(const Pixel& pixel)
{
    return {pixel[0] / 255.0f, pixel[1] / 255.0f, pixel[2] / 255.0f, pixel[3] / 255.0f};
}

/// A view with a camera at the origin that looks along z, 90 degrees high.
class DrawingTest : public FrameTest
{
protected:
    void SetUp() override {}
    void Start(const char* device, unsigned width, unsigned height);
    void TearDown() override;
    /// World lines, debug lines and 2D lines, in this order.
    std::vector<Pixel> Draw(bool depth, bool record = true);
    /// A white wall at z = 5 that covers the left half, as a registered line of triangles.
    void AddWall();
    unsigned CountDraws();

    PeekLineMan m_lines;
    gw::CameraController m_camera;
    std::unique_ptr<JournalView> m_view;
    qs::ObjectHandle m_target, m_depth;
};

void DrawingTest::Start(const char* device, unsigned width, unsigned height)
{
    StartDevice(device);
    MakeFrame(width, height);
    m_target = MakeTarget(width, height);
    m_depth = MakeDepth(width, height);
    m_camera.SetFov(1.5707964f);
    m_camera.SetNearPlaneFarPlane(0.1f, 100.0f);
    m_view = std::make_unique<JournalView>(m_frame.get(), m_journal, "view");
    m_view->SetCameraController(&m_camera, false);
    m_view->SwapReadWrite();
    m_view->UpdateDirtyComponents();
}

void DrawingTest::TearDown()
{
    m_lines.Clear();
    m_view.reset();
    m_frame.reset();
    m_renderer->SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
    m_renderer->RemoveTexture(m_target, true, true);
    m_renderer->RemoveTexture(m_depth, true, true);
    FrameTest::TearDown();
}

std::vector<Pixel> DrawingTest::Draw(bool depth, bool record)
{
    Buffer buffer;
    buffer.SetRecording(record);
    buffer.SetRenderTargets(1, &m_target, nullptr, nullptr, depth ? m_depth : TEXTURE_NONE, false, -1);
    buffer.ClearRenderTarget(m_target, -1, {0, 0, 0, 1});
    buffer.ClearDepthStencil(m_depth, -1, gw::eDepthStencilClearMode_Both, 1.0f, 0);
    m_lines.RenderWorldLines(&buffer, m_view.get());
    m_lines.RenderDebugLines(&buffer, m_view.get());
    m_lines.Render2DLines(&buffer, m_view.get());
    qs::ExecuteCommandDispatcher(buffer, true);
    return ReadPixels(m_target);
}

void DrawingTest::AddWall()
{
    const Vector3f wall[] = {{-50, -50, 5}, {0, -50, 5}, {0, 50, 5}, {-50, -50, 5}, {0, 50, 5}, {-50, 50, 5}};
    auto* line = new gw::Line(gw::ePrimitiveTopology_TriangleList);
    line->SetColor(Color(WHITE));
    line->AddPoints(wall, 6, Matrix4x4f());
    m_lines.AddLine(line);
}

unsigned DrawingTest::CountDraws()
{
    const std::uint64_t before = GleamNullCallCountOf("Draw");
    Draw(true);
    return unsigned(GleamNullCallCountOf("Draw") - before);
}

TEST_F(DrawingTest, TheLibraryMakesOneManager)
{
    Start("null", 8, 8);
    gw::LineMan* lines = gw::LineMan::GetInstance();
    ASSERT_NE(lines, nullptr);
    GleamworkSDM::Init();
    EXPECT_EQ(gw::LineMan::GetInstance(), lines);
    const std::int64_t before = qs::MemoryManager::GetUsage("gw::Line").blocks;
    lines->AddLine(Vector3f(), Vector3f(1, 1, 1), Vector4f(), WORLD);
    lines->AddLine(new gw::Line(gw::ePrimitiveTopology_LineList));
    EXPECT_EQ(qs::MemoryManager::GetUsage("gw::Line").blocks, before + 2);
    gw::LineMan::_SDMShutdown();
    EXPECT_EQ(gw::LineMan::GetInstance(), nullptr);
    EXPECT_EQ(qs::MemoryManager::GetUsage("gw::Line").blocks, before);
    EXPECT_TRUE(gw::LineMan::_SDMInit());
}

TEST_F(DrawingTest, OneDrawForEachLineWithPoints)
{
    Start("null", 8, 8);
    Buffer buffer;
    m_lines.RenderWorldLines(&buffer, m_view.get());
    m_lines.Render2DLines(&buffer, m_view.get());
    EXPECT_TRUE(buffer.GetCommandStream().IsEmpty()) << "nothing to draw, nothing set";
    EXPECT_EQ(CountDraws(), 0u);
    const Vector3f a(-1, 0, 5), b(1, 0, 5);
    for (float lifeTime : {WORLD, 0.0f, 1.0f}) {
        m_lines.AddLine(a, b, Color(RED), lifeTime);
        m_lines.AddBox(a, b, Color(RED), lifeTime);
        m_lines.AddLine(a, b, Color(BLUE), lifeTime);
    }
    m_lines.Add2DLine({0, 0}, {1, 1}, Color(RED), 0.0f);
    m_lines.Add2DLine({0, 0}, {1, 1}, Color(RED), 0.0f);
    m_lines.AddLine(new gw::Line(gw::ePrimitiveTopology_LineList)); // without points
    EXPECT_EQ(CountDraws(), 8u);
    m_lines.Update(qs::GameTime{0, 0.5f, 0});
    EXPECT_EQ(CountDraws(), 6u) << "frame lines are gone, the others not";
    m_lines.Update(qs::GameTime{0, 0.5f, 0});
    EXPECT_EQ(CountDraws(), 4u);
    m_lines.Clear2DLines();
    EXPECT_EQ(CountDraws(), 2u);

    JournalView blind(m_frame.get(), m_journal, "blind");
    m_lines.RenderWorldLines(&buffer, &blind);
    m_lines.RenderDebugLines(&buffer, &blind);
    EXPECT_TRUE(buffer.GetCommandStream().IsEmpty()) << "no camera";
}

TEST_F(DrawingTest, SetsTheViewportAndTheCamera)
{
    Start("null", 200, 100);
    m_view->SetRelativeScaleAndPosition(0.5f, 1.0f, 0.5f, 0.0f);
    m_camera.Place({1, 2, 3}, {1, 2, 9}, {0, 1, 0}, false);
    m_view->SwapReadWrite();
    m_view->UpdateDirtyComponents();
    m_lines.AddLine({-1, 0, 5}, {1, 0, 5}, Color(RED), WORLD);
    Buffer buffer;
    buffer.SetRecording(false);
    for (auto render : {&gw::LineMan::RenderWorldLines, &gw::LineMan::RenderDebugLines}) {
        m_renderer->SetViewport(1, 1, 0, 0);
        m_renderer->SetRenderProperties(Matrix4x4f(), Matrix4x4f(), Vector3f(), 0, 0);
        (m_lines.*render)(&buffer, m_view.get());
        const gw::RendererProperties& properties = *m_renderer->GetRenderProperties();
        EXPECT_EQ(properties.view, m_camera.GetViewMatrix());
        EXPECT_EQ(properties.projection, m_camera.GetProjectionMatrix());
        EXPECT_EQ(properties.viewPosition, Vector4f(1, 2, 3, 1));
        EXPECT_EQ(properties.viewInfo0, 100.0f) << "the far plane";
        EXPECT_EQ(properties.viewInfo1, 0.1f) << "the near plane";
    }
}

// World lines hide what lies behind them; debug lines are hidden, but hide nothing.
TEST_F(DrawingTest, DepthIsTestedByAllAndWrittenByWorldLines)
{
    Start("software", 33, 33);
    const auto center = [](const std::vector<Pixel>& pixels) { return pixels[16 * 33 + 16]; };
    m_lines.AddLine({-9, 0, 5}, {9, 0, 5}, Color(RED), WORLD);
    m_lines.AddLine({0, -9, 6}, {0, 9, 6}, Color(GREEN), 0.0f);
    std::vector<Pixel> picture = Draw(true);
    EXPECT_EQ(center(picture), RED);
    EXPECT_EQ(picture[3 * 33 + 16], GREEN);
    EXPECT_EQ(picture[16 * 33 + 3], RED);
    EXPECT_EQ(picture[3 * 33 + 3], BLACK);
    EXPECT_EQ(center(Draw(false)), GREEN) << "without a depth buffer what is drawn last";
    EXPECT_EQ(Draw(true, false), picture) << "drawn at once instead of recorded";

    m_lines.Clear();
    m_lines.AddLine({0, -9, 4}, {0, 9, 4}, Color(GREEN), 0.0f);
    m_lines.AddLine({-9, 0, 5}, {9, 0, 5}, Color(BLUE), 1.0f);
    EXPECT_EQ(center(Draw(true)), BLUE);
    m_lines.AddLine({-9, 0, 4.5f}, {9, 0, 4.5f}, Color(RED), WORLD);
    EXPECT_EQ(center(Draw(true)), GREEN);
    // Alpha blends.
    m_lines.Clear();
    m_lines.AddLine({-9, 0, 5}, {9, 0, 5}, {1, 1, 1, 0.5f}, WORLD);
    EXPECT_NEAR(center(Draw(true))[0], 128, 1);
}

TEST_F(DrawingTest, FlatLinesSpanTheViewport)
{
    Start("software", 66, 33);
    m_view->SetRelativeScaleAndPosition(0.5f, 1.0f, 0.5f, 0.0f);
    m_view->SwapReadWrite();
    m_view->UpdateDirtyComponents();
    m_lines.Add2DLine({0, 1}, {2, 1}, Color(RED), WORLD);
    m_lines.Add2DLine({1, 0}, {1, 0.9f}, Color(GREEN), WORLD);
    const std::vector<Pixel> picture = Draw(true);
    EXPECT_EQ(picture[16 * 66 + 32], BLACK);
    EXPECT_EQ(picture[16 * 66 + 34], RED);
    EXPECT_EQ(picture[16 * 66 + 64], RED);
    EXPECT_EQ(picture[4 * 66 + 33 + 16], GREEN) << "y runs down from the top";
    EXPECT_EQ(picture[28 * 66 + 33 + 16], BLACK);
    EXPECT_EQ(std::count(picture.begin(), picture.end(), BLACK) + std::count(picture.begin(), picture.end(), RED) +
                  std::count(picture.begin(), picture.end(), GREEN),
              66 * 33);
}

// Each shape in a cell of its own with its own colour: all of it without depth, half of it behind a wall.
TEST_F(DrawingTest, EveryShapeShowsBeforeAndHidesBehindAWall)
{
    Start("software", WIDTH, HEIGHT);
    const Vector3f normal(0.3f, 0.5f, -1), side(1, 0, 0.3f);
    const Matrix3x3f turn = {{0.8f, 0, 0.6f, 0.3f, 0.8f, -0.4f, -0.5f, 0.5f, 0.7f}};
    Matrix4x4f lean;
    lean.m[4] = 0.3f;
    std::vector<Vector4f> colors;
    for (int cell = 0; cell < 24; ++cell) {
        const Vector3f at(-11.25f + 4.5f * float(cell % 6), 6.0f - 4.0f * float(cell / 6), 10);
        const float x = float(cell % 6) / 5, y = float(cell / 6) / 3;
        const Vector4f color = colors.emplace_back(1 - x, 0.3f + 0.7f * y, 0.4f + 0.6f * x, 1);
        switch (cell % 12) {
        case 0:
            m_lines.AddTriangle(at, at + side, at + Vector3f(0, 1, 0), color, 0);
            break;
        case 1:
            m_lines.AddBox(at - Vector3f(1, 1, 1), at + Vector3f(1, 1, 1), color, 1);
            break;
        case 2:
            m_lines.AddBox(at, turn, {-1, -1, -1}, {1, 1, 1}, color, WORLD);
            break;
        case 3:
            m_lines.AddSphere(at, 1.5f, color, 0);
            break;
        case 4:
            m_lines.AddSphere(at, turn, 1.5f, color, 1);
            break;
        case 5:
            m_lines.AddCylinder(at, {1, 1.5f, 1}, color, WORLD);
            break;
        case 6:
            m_lines.AddCapsule(at, 0.7f, 1.5f, color, 0, lean);
            break;
        case 7:
            m_lines.AddArc(at, normal, side, 1.5f, 1, 0.5f, 5, color, true, 10, 1);
            break;
        case 8:
            m_lines.AddCircle(at, normal, 1.5f, color, 10, WORLD);
            break;
        case 9:
            m_lines.AddSpherePatch(at, {0, 1, 0}, {1, 0, 0}, 1.5f, 1, -1, 1, -1, color, 20, 0);
            break;
        case 10:
            m_lines.AddSpherePatch(at, {0, 0, -1}, {1, 0, 0}, 1.5f, 0, 1, 0, 2, color, 15, 1);
            break;
        default:
            m_lines.AddTransform(at, turn, 1.5f, WORLD);
            break;
        }
    }
    const std::vector<Pixel> all = Draw(false);
    for (int cell = 0; cell < 24; ++cell) {
        const auto drawn = std::count_if(all.begin(), all.end(), [&](const Pixel& pixel) {
            const Vector4f off = Color(pixel) - colors[cell];
            return off.Dot(off) < 1e-4f;
        });
        EXPECT_TRUE(cell % 12 == 11 || drawn >= 15) << cell << " has " << drawn << " pixels";
    }
    AddWall();
    const std::vector<Pixel> hidden = Draw(true);
    unsigned same = 0;
    for (unsigned i = 0; i < WIDTH * HEIGHT; ++i) {
        if (i % WIDTH < WIDTH / 2) {
            EXPECT_EQ(hidden[i], WHITE) << i % WIDTH << " " << i / WIDTH;
        } else {
            same += hidden[i] == all[i];
        }
    }
    EXPECT_GT(same, WIDTH * HEIGHT / 2 * 99 / 100) << "crossings may differ";
}

TEST_F(DrawingTest, ThreadsAddWhileOneDraws)
{
    Start("null", 8, 8);
    constexpr int THREADS = 10;
    constexpr int SHAPES = 300;
    std::atomic<int> running = THREADS;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&, thread] {
            const Vector4f own(float(thread), 1, 0, 1);
            for (int i = 0; i < SHAPES; ++i) {
                m_lines.AddBox({-1, -1, 4}, {1, 1, 6}, own, WORLD);
                m_lines.AddCircle({0, 0, 5}, {0, 0, 1}, 1, Color(RED), 30, WORLD);
                m_lines.AddSphere({0, 0, 5}, 1, own, 0.0f);
                m_lines.AddTransform({0, 0, 5}, Matrix3x3f(), 1, 0.1f * float(1 + i % 3));
                m_lines.Add2DLine({0, 0}, {1, 1}, own, 0);
            }
            --running;
        });
    }
    Buffer buffer;
    buffer.SetRecording(false); // whoever records keeps the others off until the replay
    while (running != 0) {
        m_lines.Update(qs::GameTime{0, 0.05f, 0});
        m_lines.RenderWorldLines(&buffer, m_view.get());
        m_lines.RenderDebugLines(&buffer, m_view.get());
        m_lines.Render2DLines(&buffer, m_view.get());
        m_lines.Clear2DLines();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(m_lines.GetLine(Color(RED))->GetCount(), 24u * SHAPES * THREADS);
    for (int thread = 0; thread < THREADS; ++thread) {
        EXPECT_EQ(m_lines.GetLine({float(thread), 1, 0, 1})->GetCount(), 24u * SHAPES);
    }
}

} // namespace
