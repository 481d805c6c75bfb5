// 07: text in pixels with colour tags and shadow, in a plane of the scene, and as a label that faces the camera.
#include "SampleFrame.h"

#include <Gleamwork/GWDataLoader.h>

#include <cmath>
#include <cstdio>

namespace {

const Vector4f s_white(1.0f, 1.0f, 1.0f, 1.0f);
const Vector4f s_black(0.0f, 0.0f, 0.0f, 1.0f);
const Vector4f s_yellow(0.98f, 0.80f, 0.25f, 1.0f);
const Vector4f s_blue(0.45f, 0.75f, 1.00f, 1.0f);

/// The font's own size: one texel for one pixel. Sizes are pixels, and so is the place of the first line.
void RecordFlat(gw::RendererCommandBuffer& commands, samples::Sample& sample, qs::ObjectHandle font)
{
    using gw::details::RendererBase;
    commands.Setup2DMode(0.0f, float(sample.GetWidth()), 0.0f, float(sample.GetHeight()));
    const auto draw = [&](const char* text, float y, const Vector4f& color, const Vector4f& shadow) {
        commands.DrawText(text, 16.0f, y, color, shadow, font, RendererBase::SS(gw::SS_POINT_CLAMP),
                          RendererBase::BS(gw::BS_ALPHA), RendererBase::DS(gw::DS_NONE));
    };
    draw("Plain text, sharp at its own size.\nA second line: 0123456789 (+-*/) [&]", 12.0f, s_white, s_white);
    draw("With a shadow, for pictures behind it.", 84.0f, s_white, s_black);
    draw("Tags change the colour: |cl230;90;80;red, |cl120;210;120;green, |cl110;170;250;blue|clx, and back.", 116.0f,
         s_white, s_black);
    draw("What only looks like one |cl1;2 stands as it is.", 148.0f, s_yellow, s_black);
}

/// One font pixel is one unit of the matrix, so it scales them to the scene's.
Matrix4x4f MakePlane(const Vector3f& place, float angle, float scale)
{
    Matrix4x4f world;
    world(0, 0) = world(2, 2) = std::cos(angle) * scale;
    world(0, 2) = std::sin(angle) * scale;
    world(2, 0) = -world(0, 2);
    world(1, 1) = scale;
    world.SetTranslate(place);
    return world;
}

} // namespace

int main(int argc, char** argv)
{
    samples::Sample sample(argc, argv, "07_text");
    if (!sample.Start()) {
        return 1;
    }
    // Made by `gleamfont DejaVuSans.ttf --size 18 -o sample`: a texture and the description of what lies where in it.
    const qs::ObjectHandle font = gw::DataLoader::InvokeAddFont(qs::Path(qs::PATH_ROOT_NONE, FONT_NAME ".png"),
                                                                qs::Path(qs::PATH_ROOT_NONE, FONT_NAME ".fnt"));
    if (!font.IsValid()) {
        std::fprintf(stderr, "The font is missing.\n");
        return 1;
    }
    const auto record = [&](gw::RendererCommandBuffer& commands, const gw::RenderView&) {
        commands.DrawText3D("in a plane of the scene", MakePlane(Vector3f(-2.2f, -1.5f, -0.5f), 0.6f, 0.02f), s_blue,
                            font, gw::details::RendererBase::DS(gw::DS_READ_WRITE));
        // A label turns to the camera that is set when it is drawn, so it is a call that the replay makes.
        commands.RecordFunction([&] {
            sample.GetRenderer().drawTextBillboard3D("a label that faces you",
                                                     MakePlane(Vector3f(0.9f, -2.0f, 0.0f), 0.0f, 0.022f), s_yellow,
                                                     font, gw::details::RendererBase::DS(gw::DS_READ_WRITE));
        });
        RecordFlat(commands, sample, font);
    };
    samples::SampleFrame frame(sample, Vector3f(0.0f, 0.4f, -4.0f), Vector3f(0.0f, -0.3f, 0.0f), record);
    for (int i = 0; i < 2; ++i) {
        frame.Draw(i);
    }
    const int status = sample.Finish(frame.GetBackBuffer());
    sample.GetRenderer().RemoveFont(font);
    return status;
}
