// 06: debug lines: shapes from any thread, with life times, tested against the depth of what is drawn solid.
#include "SampleFrame.h"

#include <Gleamwork/LineMan.h>

#include <cstdint>
#include <thread>

namespace {

constexpr float s_oneFrame = 0.0f;
constexpr float s_forGood = -1.0f;
const Vector4f s_yellow(0.98f, 0.80f, 0.25f, 1.0f);
const Vector4f s_green(0.45f, 0.85f, 0.45f, 1.0f);
const Vector4f s_blue(0.40f, 0.70f, 1.00f, 1.0f);
const Vector4f s_red(0.95f, 0.40f, 0.35f, 1.0f);
const Vector4f s_grey(0.35f, 0.38f, 0.42f, 1.0f);
const Vector3f s_up(0.0f, 1.0f, 0.0f);
const Vector3f s_right(1.0f, 0.0f, 0.0f);

/// Once, for as long as the program runs: the floor.
void AddGrid(gw::LineMan& lines)
{
    for (int i = -6; i <= 6; ++i) {
        const float x = float(i) * 0.5f;
        lines.AddLine(Vector3f(x, 0.0f, -3.0f), Vector3f(x, 0.0f, 3.0f), s_grey, s_forGood);
        lines.AddLine(Vector3f(-3.0f, 0.0f, x), Vector3f(3.0f, 0.0f, x), s_grey, s_forGood);
    }
}

/// Every frame anew, each from a thread of its own.
void AddShapes(gw::LineMan& lines)
{
    std::thread boxes([&] {
        lines.AddBox(Vector3f(-2.6f, 0.0f, -0.5f), Vector3f(-1.6f, 1.0f, 0.5f), s_yellow, s_oneFrame);
        lines.AddTransform(Vector3f(-2.1f, 1.4f, 0.0f), Matrix3x3f(), 0.5f, s_oneFrame);
        lines.AddTriangle(Vector3f(-2.6f, 0.0f, -1.6f), Vector3f(-1.6f, 0.0f, -1.6f), Vector3f(-2.1f, 0.9f, -1.6f),
                          s_red, s_oneFrame);
    });
    std::thread rounds([&] {
        lines.AddCircle(Vector3f(0.0f, 0.8f, 0.0f), s_up, 1.1f, s_blue, 6.0f, s_oneFrame);
        lines.AddArc(Vector3f(0.0f, 0.01f, -1.8f), s_up, s_right, 0.8f, 0.8f, 0.4f, 2.7f, s_green, true, 6.0f,
                     s_oneFrame);
        lines.AddSpherePatch(Vector3f(2.1f, 0.8f, 0.0f), s_up, s_right, 0.7f, -1.2f, 1.2f, 0.0f, 6.2831853f, s_blue,
                             15.0f, s_oneFrame);
    });
    lines.AddCapsule(Vector3f(2.1f, 0.6f, -1.7f), 0.3f, 0.6f, s_green, s_oneFrame, Matrix4x4f());
    lines.AddCylinder(Vector3f(0.9f, 0.4f, 1.9f), Vector3f(0.4f, 0.4f, 0.4f), s_yellow, s_oneFrame);
    lines.AddSphere(Vector3f(-0.9f, 0.5f, 1.9f), 0.5f, s_red, s_oneFrame);
    boxes.join();
    rounds.join();
}

/// Something solid, for lines to go behind.
void RecordPillar(gw::RendererCommandBuffer& commands)
{
    using gw::details::RendererBase;
    const Vector3f corners[] = {{-0.3f, 0.0f, 0.3f}, {0.3f, 0.0f, 0.3f}, {0.3f, 0.0f, -0.3f}, {-0.3f, 0.0f, -0.3f},
                                {-0.3f, 1.6f, 0.3f}, {0.3f, 1.6f, 0.3f}, {0.3f, 1.6f, -0.3f}, {-0.3f, 1.6f, -0.3f}};
    constexpr std::uint16_t sides[3][12] = {{0, 1, 5, 0, 5, 4, 3, 2, 6, 3, 6, 7},
                                            {1, 2, 6, 1, 6, 5, 0, 3, 7, 0, 7, 4},
                                            {4, 5, 6, 4, 6, 7, 0, 1, 2, 0, 2, 3}};
    for (int i = 0; i < 3; ++i) {
        const float shade = 0.22f + 0.08f * float(i);
        commands.DrawPlain3DIndexed(Matrix4x4f(), gw::ePrimitiveTopology_TriangleList, corners, 8, sides[i], 12, 2,
                                    true, RendererBase::BS(gw::BS_OPAQUE), RendererBase::DS(gw::DS_READ_WRITE),
                                    RendererBase::RS(gw::RS_SOLID), Vector4f(shade, shade, shade + 0.05f, 1.0f));
    }
}

} // namespace

int main(int argc, char** argv)
{
    samples::Sample sample(argc, argv, "06_lines");
    if (!sample.Start()) {
        return 1;
    }
    gw::LineMan& lines = *gw::LineMan::GetInstance();
    samples::SampleFrame frame(sample, Vector3f(-0.6f, 2.6f, -5.2f), Vector3f(0.0f, 0.55f, 0.0f),
                               [&](gw::RendererCommandBuffer& commands, const gw::RenderView& view) {
                                   RecordPillar(commands);
                                   lines.RenderWorldLines(&commands, &view);
                                   lines.RenderDebugLines(&commands, &view);
                                   lines.Render2DLines(&commands, &view);
                               });
    AddGrid(lines);
    // A frame around the picture, in the view's own coordinates.
    lines.Add2DLine(Vector2f(0.04f, 0.06f), Vector2f(1.96f, 0.06f), s_yellow, s_forGood);
    lines.Add2DLine(Vector2f(0.04f, 1.94f), Vector2f(1.96f, 1.94f), s_yellow, s_forGood);
    qs::GameTime time;
    time.timeStep = 1.0f / 60.0f;
    for (int i = 0; i < 3; ++i) {
        lines.Update(time); // what was added for one frame is gone
        AddShapes(lines);
        frame.Draw(i);
    }
    lines.Clear();
    return sample.Finish(frame.GetBackBuffer());
}
