// 10: one drawing written in every format that the library writes, to files and into memory.
#include "Sample.h"

#include <cstdio>
#include <filesystem>
#include <qs/ScratchMemory.h>

namespace {

struct Format
{
    const char* ending;
    bool compress;     ///< BC1, DDS only
    bool generateMips; ///< DDS only
};

constexpr Format s_formats[] = {{".jpg", false, false},
                                {".bmp", false, false},
                                {".tga", false, false},
                                {".dds", false, false},
                                {".bc1.dds", true, true}};

/// Rings around the middle.
void Draw(samples::Sample& sample)
{
    gw::Renderer& renderer = sample.GetRenderer();
    const qs::ObjectHandle target = sample.GetTarget();
    const float width = float(sample.GetWidth());
    const float height = float(sample.GetHeight());
    renderer.ClearRenderTarget(target, -1, Vector4f(0.10f, 0.12f, 0.15f, 1.0f));
    renderer.SetRenderTargets(1, &target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    renderer.Setup2DMode(0.0f, width, 0.0f, height);
    for (int i = 0; i < 7; ++i) {
        const float x = 20.0f + 18.0f * float(i);
        const float y = 12.0f + 18.0f * float(i);
        const Vector2f corners[] = {{x, y}, {width - x, y}, {x, height - y}, {width - x, height - y}};
        const float share = float(i) / 6.0f;
        renderer.drawPlain(gw::ePrimitiveTopology_TriangleStrip, corners, 4, renderer.BS(gw::BS_OPAQUE),
                           renderer.DS(gw::DS_NONE), Vector4f(0.2f + 0.7f * share, 0.5f, 0.8f - 0.6f * share, 1.0f));
    }
}

} // namespace

int main(int argc, char** argv)
{
    samples::Sample sample(argc, argv, "10_capture");
    if (!sample.Start()) {
        return 1;
    }
    gw::Renderer& renderer = sample.GetRenderer();
    Draw(sample);

    // The ending of the name is the format.
    int status = sample.Finish();
    for (const Format& format : s_formats) {
        const std::string file = std::filesystem::path(sample.GetPicture()).replace_extension(format.ending).string();
        const qs::Path path(qs::PATH_ROOT_NONE, file.c_str());
        if (renderer.SaveRenderTargetData(sample.GetTarget(), path, format.compress, format.generateMips, 0, 0)) {
            std::printf("%s, %ju bytes\n", file.c_str(), std::uintmax_t(std::filesystem::file_size(file)));
        } else {
            std::fprintf(stderr, "%s: the picture could not be written\n", file.c_str());
            status = 1;
        }
    }

    // Into memory, for what is sent on and never becomes a file.
    qs::ScratchBuffer bytes;
    if (renderer.SaveRenderTargetData(sample.GetTarget(), &bytes, false, false, sample.Name("png"))) {
        std::printf("in memory, %ju bytes\n", std::uintmax_t(bytes.GetSize()));
    } else {
        std::fprintf(stderr, "The picture could not be encoded.\n");
        status = 1;
    }
    return status;
}
