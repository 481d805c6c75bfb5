// BC1 blocks: opaque ones by stb_dxt, ones with holes by a principal axis fit of our own.
#include "Bc1.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <stb/stb_dxt.h>

namespace DirectX {

namespace {

using Color = std::array<float, 3>;

constexpr int TransparentIndex = 3;

float Dot(const Color& a, const Color& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Color Texel(const std::uint8_t* rgba, int texel)
{
    return {static_cast<float>(rgba[4 * texel]), static_cast<float>(rgba[4 * texel + 1]),
            static_cast<float>(rgba[4 * texel + 2])};
}

/// The texels of a block that are not transparent.
struct OpaqueTexels
{
    std::array<Color, 16> colors;
    std::array<int, 16> places;
    int count = 0;
};

OpaqueTexels FindOpaque(const std::uint8_t* rgba, int alphaLimit)
{
    OpaqueTexels opaque;
    for (int texel = 0; texel < 16; ++texel) {
        if (rgba[4 * texel + 3] < alphaLimit)
            continue;
        opaque.colors[opaque.count] = Texel(rgba, texel);
        opaque.places[opaque.count++] = texel;
    }
    return opaque;
}

/// The direction in which the colours differ most, by power iteration on their covariance.
Color PrincipalAxis(const OpaqueTexels& opaque, const Color& mean)
{
    std::array<Color, 3> covariance{};
    for (int i = 0; i < opaque.count; ++i)
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 3; ++column)
                covariance[row][column] +=
                    (opaque.colors[i][row] - mean[row]) * (opaque.colors[i][column] - mean[column]);
    Color axis = {0.577f, 0.577f, 0.577f};
    for (int pass = 0; pass < 8; ++pass) {
        const Color next = {Dot(covariance[0], axis), Dot(covariance[1], axis), Dot(covariance[2], axis)};
        const float length = std::sqrt(Dot(next, next));
        if (length < 1e-6f)
            break;
        axis = {next[0] / length, next[1] / length, next[2] / length};
    }
    return axis;
}

std::uint16_t Quantise(const Color& color)
{
    const auto field = [](float value, int largest) {
        return static_cast<int>(std::lround(std::clamp(value, 0.0f, 255.0f) * static_cast<float>(largest) / 255.0f));
    };
    return static_cast<std::uint16_t>(field(color[0], 31) << 11 | field(color[1], 63) << 5 | field(color[2], 31));
}

Color Expand(std::uint16_t word)
{
    return {static_cast<float>(word >> 11) * 255.0f / 31.0f, static_cast<float>(word >> 5 & 63) * 255.0f / 63.0f,
            static_cast<float>(word & 31) * 255.0f / 31.0f};
}

int NearestOfThree(const Color& color, const std::array<Color, 3>& palette)
{
    int best = 0;
    float bestError = 1e30f;
    for (int index = 0; index < 3; ++index) {
        const Color d = {color[0] - palette[index][0], color[1] - palette[index][1], color[2] - palette[index][2]};
        if (const float error = Dot(d, d); error < bestError) {
            bestError = error;
            best = index;
        }
    }
    return best;
}

/// The three-colour form is chosen by a first endpoint that is not above the second; index 3 is transparent.
void EncodeWithHoles(const OpaqueTexels& opaque, std::uint8_t* block)
{
    std::uint16_t first = 0, second = 0;
    if (opaque.count > 0) {
        Color mean{};
        for (int i = 0; i < opaque.count; ++i)
            for (int channel = 0; channel < 3; ++channel)
                mean[channel] += opaque.colors[i][channel] / static_cast<float>(opaque.count);
        const Color axis = PrincipalAxis(opaque, mean);
        float low = 1e30f, high = -1e30f;
        for (int i = 0; i < opaque.count; ++i) {
            const float along = Dot(opaque.colors[i], axis) - Dot(mean, axis);
            low = std::min(low, along);
            high = std::max(high, along);
        }
        const auto at = [&](float along) {
            return Color{mean[0] + axis[0] * along, mean[1] + axis[1] * along, mean[2] + axis[2] * along};
        };
        first = Quantise(at(low));
        second = Quantise(at(high));
    }
    if (first > second)
        std::swap(first, second);

    const Color a = Expand(first), b = Expand(second);
    const std::array<Color, 3> palette = {a, b, Color{(a[0] + b[0]) / 2, (a[1] + b[1]) / 2, (a[2] + b[2]) / 2}};
    std::uint32_t indices = 0xffffffff; // TransparentIndex everywhere
    static_assert(TransparentIndex == 3);
    for (int i = 0; i < opaque.count; ++i) {
        const int shift = 2 * opaque.places[i];
        indices &= ~(3u << shift);
        indices |= static_cast<std::uint32_t>(NearestOfThree(opaque.colors[i], palette)) << shift;
    }
    std::memcpy(block, &first, 2);
    std::memcpy(block + 2, &second, 2);
    std::memcpy(block + 4, &indices, 4);
}

} // namespace

void EncodeBc1Block(const std::uint8_t* rgba, int alphaLimit, std::uint8_t* block)
{
    bool hasHoles = false;
    for (int texel = 0; texel < 16; ++texel)
        hasHoles |= rgba[4 * texel + 3] < alphaLimit;
    if (hasHoles)
        EncodeWithHoles(FindOpaque(rgba, alphaLimit), block);
    else
        stb_compress_dxt_block(block, rgba, 0, STB_DXT_HIGHQUAL);
}

} // namespace DirectX
