// 01: a target is cleared, whole and in part, and written as a picture. The smallest program that shows something.
#include "Sample.h"

int main(int argc, char** argv)
{
    samples::Sample sample(argc, argv, "01_clear");
    if (!sample.Start()) {
        return 1;
    }
    gw::Renderer& renderer = sample.GetRenderer();
    const qs::ObjectHandle target = sample.GetTarget();

    // Colours are red, green, blue, alpha from 0 to 1. Slice -1 is the whole texture.
    renderer.ClearRenderTarget(target, -1, Vector4f(0.13f, 0.20f, 0.33f, 1.0f));

    // Immediate drawing needs no shader of one's own: a rectangle in pixels, two triangles of a strip.
    renderer.SetRenderTargets(1, &target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    renderer.Setup2DMode(0.0f, float(sample.GetWidth()), 0.0f, float(sample.GetHeight()));
    const Vector2f corners[] = {{96.0f, 80.0f}, {416.0f, 80.0f}, {96.0f, 240.0f}, {416.0f, 240.0f}};
    renderer.drawPlain(gw::ePrimitiveTopology_TriangleStrip, corners, 4, renderer.BS(gw::BS_ALPHA),
                       renderer.DS(gw::DS_NONE), Vector4f(0.95f, 0.72f, 0.25f, 0.85f));
    return sample.Finish();
}
