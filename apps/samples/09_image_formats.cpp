// 09: one picture in every format that the library reads, from PNG to the bitmap of a cursor, side by side.
#include "Sample.h"

#include <Gleamwork/DeviceImageFormats.h>
#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/image/Image.h>

#include <cstdio>
#include <string>

namespace {

constexpr const char* s_files[] = {"tiles.png", "tiles.jpg", "tiles.dds", "tiles.bmp", "tiles.tga", "tiles.cur"};
constexpr int s_columns = 3;
constexpr int s_gap = 8;

/// A cursor is a picture with a hot spot, the pixel that points; it is read by an operation of its own.
qs::ObjectHandle LoadCursor(gw::Renderer& renderer, const qs::Path& path)
{
    gw::ImageLoadParams params;
    params.formatReplacements = gw::image::GetDeviceFormatReplacements(); // devices have no formats of three components
    gw::Image image;
    unsigned short x = 0;
    unsigned short y = 0;
    if (!image.LoadCursor(path, {}, params, x, y)) {
        return qs::ObjectHandle::Unassigned;
    }
    std::printf("%s points at pixel %hu, %hu\n", path.ToChar(), x, y);
    const qs::ObjectHandle texture = renderer.AddTexture();
    renderer.CreateTexture(texture, image, false);
    image.FreePixelData();
    return texture;
}

qs::ObjectHandle LoadTexture(gw::Renderer& renderer, const std::string& file)
{
    const qs::Path path(qs::PATH_ROOT_DATA, ("pictures/" + file).c_str());
    const qs::ObjectHandle texture =
        file.ends_with(".cur")
            ? LoadCursor(renderer, path)
            : gw::DataLoader::InvokeAddTexture(path, false, false, 0, nullptr, nullptr, nullptr, nullptr);
    if (!texture.IsValid()) {
        std::fprintf(stderr, "%s: the picture could not be read\n", file.c_str());
    }
    return texture;
}

} // namespace

int main(int argc, char** argv)
{
    samples::Sample sample(argc, argv, "09_image_formats");
    if (!sample.Start()) {
        return 1;
    }
    gw::Renderer& renderer = sample.GetRenderer();
    const qs::ObjectHandle target = sample.GetTarget();
    const qs::ObjectHandle shader = sample.LoadShader("shaders/09_picture.shader");
    if (!shader.IsValid()) {
        return 1;
    }
    renderer.ClearRenderTarget(target, -1, Vector4f(0.16f, 0.16f, 0.18f, 1.0f));
    renderer.SetRenderTargets(1, &target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    const int cellWidth = (int(sample.GetWidth()) - s_gap) / s_columns;
    const int cellHeight = (int(sample.GetHeight()) - s_gap) / 2;
    int status = 0;
    for (int i = 0; i < int(std::size(s_files)); ++i) {
        const qs::ObjectHandle texture = LoadTexture(renderer, s_files[i]);
        if (!texture.IsValid()) {
            status = 1;
            continue;
        }
        renderer.SetViewport(cellWidth - s_gap, cellHeight - s_gap, s_gap + i % s_columns * cellWidth,
                             s_gap + i / s_columns * cellHeight);
        renderer.BeginRenderFullScreenTriangle(shader, renderer.DS(gw::DS_NONE), 0);
        renderer.SetTexture(sample.Name("Picture"), texture, -1);
        renderer.SetSamplerState(sample.Name("PictureSampler"), renderer.SS(gw::SS_TRILINEAR_CLAMP));
        renderer.EndRenderFullScreenTriangle();
        // What the device still reads outlives its handle by some frames.
        renderer.RemoveTexture(texture, true, false);
    }
    renderer.RemoveShader(shader);
    return status | sample.Finish();
}
