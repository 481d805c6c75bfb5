// BC1 of a photograph: DirectX::Compress against stb_dxt's high-quality mode, at the same quality or better.
#include "bench/common/Ratio.h"

#include <DirectXTex.h>

#include <cstdio>
#include <cstring>
#include <stb/stb_dxt.h>
#include <stb/stb_image.h>

namespace {

constexpr int Side = 1024;

/// A photograph of the installed sample textures, repeated to the size; a pattern where there is none.
DirectX::ScratchImage MakePhotograph()
{
    DirectX::ScratchImage image;
    image.Initialize({Side, Side, 1, 1, 1, 0, 0, DXGI_FORMAT_R8G8B8A8_UNORM, DirectX::TEX_DIMENSION_TEXTURE2D});
    int width = 0, height = 0, channels = 0;
    stbi_uc* texels = stbi_load("/usr/share/glmark2/textures/nasa1.png", &width, &height, &channels, 4);
    for (int y = 0; y < Side; ++y) {
        for (int x = 0; x < Side; ++x) {
            std::uint8_t* texel = image.GetPixels() + (y * Side + x) * 4;
            const std::uint8_t pattern[4] = {std::uint8_t(x * y >> 8), std::uint8_t(x ^ y), std::uint8_t(x + y), 255};
            std::memcpy(texel, texels ? texels + (y % height * width + x % width) * 4 : pattern, 4);
        }
    }
    stbi_image_free(texels);
    return image;
}

void CompressOurs(benchmark::State& state, const DirectX::ScratchImage& photograph)
{
    DirectX::ScratchImage result;
    for (auto _ : state) {
        if (DirectX::Compress(photograph.GetImages(), 1, photograph.GetMetadata(), DXGI_FORMAT_BC1_UNORM,
                              DirectX::TEX_COMPRESS_DEFAULT, DirectX::TEX_THRESHOLD_DEFAULT, result) != S_OK)
            state.SkipWithError("the photograph does not compress");
    }
}

void CompressTheirs(benchmark::State& state, const DirectX::ScratchImage& photograph)
{
    std::vector<std::uint8_t> blocks(Side * Side / 2);
    for (auto _ : state) {
        std::uint8_t* block = blocks.data();
        for (int y = 0; y < Side; y += 4) {
            for (int x = 0; x < Side; x += 4, block += 8) {
                std::uint8_t texels[64];
                for (int row = 0; row < 4; ++row)
                    std::memcpy(texels + row * 16, photograph.GetPixels() + ((y + row) * Side + x) * 4, 16);
                stb_compress_dxt_block(block, texels, 0, STB_DXT_HIGHQUAL);
            }
        }
        benchmark::DoNotOptimize(blocks.data());
    }
}

} // namespace

int main(int argc, char** argv)
{
    const DirectX::ScratchImage photograph = MakePhotograph();
    bench::AddRow(
        "bc1", [&](benchmark::State& state) { CompressOurs(state, photograph); },
        [&](benchmark::State& state) { CompressTheirs(state, photograph); });
    return bench::Run(argc, argv);
}
