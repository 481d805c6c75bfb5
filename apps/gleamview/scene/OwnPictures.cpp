// Planks, bricks, lattice and tiles, texel by texel.
#include "scene/OwnPictures.h"

#include <algorithm>
#include <cmath>

namespace gleamview {

namespace {

constexpr std::uint32_t s_size = 256;

/// A number from 0 to 1 that belongs to a cell of a grid.
float Noise(int x, int y)
{
    std::uint32_t hash = static_cast<std::uint32_t>(x) * 374761393u + static_cast<std::uint32_t>(y) * 668265263u;
    hash = (hash ^ (hash >> 13)) * 1274126177u;
    return static_cast<float>((hash ^ (hash >> 16)) & 0xffff) / 65535.0f;
}

/// The same, smooth between the cells, over a grid that repeats.
float SmoothNoise(float x, float y, int period)
{
    const int cellX = static_cast<int>(std::floor(x));
    const int cellY = static_cast<int>(std::floor(y));
    const float fx = x - static_cast<float>(cellX);
    const float fy = y - static_cast<float>(cellY);
    const auto at = [period](int cx, int cy) { return Noise(cx % period, cy % period); };
    return std::lerp(std::lerp(at(cellX, cellY), at(cellX + 1, cellY), fx),
                     std::lerp(at(cellX, cellY + 1), at(cellX + 1, cellY + 1), fx), fy);
}

template <class Paint>
SceneTexture PaintTexture(const char* name, std::uint32_t size, bool isColor, Paint paint)
{
    SceneTexture texture;
    texture.path = name;
    texture.width = texture.height = size;
    texture.isColor = isColor;
    texture.bytes.reserve(std::size_t(size) * size * 4);
    for (std::uint32_t y = 0; y < size; ++y) {
        for (std::uint32_t x = 0; x < size; ++x) {
            const Vector4f color = paint((static_cast<float>(x) + 0.5f) / static_cast<float>(size),
                                         (static_cast<float>(y) + 0.5f) / static_cast<float>(size));
            for (const float channel : {color.x, color.y, color.z, color.w}) {
                texture.bytes.push_back(
                    static_cast<std::uint8_t>(std::lround(std::clamp(channel, 0.0f, 1.0f) * 255.0f)));
            }
        }
    }
    return texture;
}

Vector4f Shade(const Vector3f& color, float factor)
{
    return {color.x * factor, color.y * factor, color.z * factor, 1.0f};
}

struct Brick
{
    int row;
    int column;
    float height; ///< 1 on the face, 0 in the mortar
};

Brick FindBrick(float u, float v)
{
    const float y = v * 8.0f;
    const int row = static_cast<int>(y);
    const float x = u * 4.0f + (row % 2 ? 0.5f : 0.0f);
    const int column = static_cast<int>(x);
    const float fromEdge =
        std::min({(x - std::floor(x)) * 2.0f, (std::ceil(x) - x) * 2.0f, y - std::floor(y), std::ceil(y) - y});
    return {row, column % 4, std::clamp((fromEdge - 0.06f) / 0.08f, 0.0f, 1.0f)};
}

float BrickHeight(float u, float v)
{
    const float wrappedU = u - std::floor(u);
    const float wrappedV = v - std::floor(v);
    return FindBrick(wrappedU, wrappedV).height + 0.15f * SmoothNoise(wrappedU * 64.0f, wrappedV * 64.0f, 64);
}

} // namespace

SceneTexture MakePlanks()
{
    return PaintTexture("planks", s_size, true, [](float u, float v) {
        const int plank = static_cast<int>(v * 5.0f);
        const float inPlank = v * 5.0f - static_cast<float>(plank);
        const float grain =
            SmoothNoise(u * 6.0f, v * 96.0f, 96) * 0.6f + SmoothNoise(u * 24.0f, v * 192.0f, 192) * 0.4f;
        const float gap = std::min(inPlank, 1.0f - inPlank) < 0.03f ? 0.35f : 1.0f;
        const bool isFrame = std::min({u, 1.0f - u}) < 0.09f;
        return Shade({0.68f, 0.48f, 0.29f}, (0.7f + 0.35f * grain + 0.15f * Noise(plank, 3)) * (isFrame ? 0.72f : gap));
    });
}

SceneTexture MakeBricks()
{
    return PaintTexture("bricks", s_size, true, [](float u, float v) {
        const Brick brick = FindBrick(u, v);
        const float speckle = 0.85f + 0.3f * SmoothNoise(u * 64.0f, v * 64.0f, 64);
        const float tone = 0.8f + 0.35f * Noise(brick.column + 7, brick.row);
        const Vector3f mortar(0.72f, 0.70f, 0.66f);
        const Vector3f clay(0.66f * tone, 0.31f * tone, 0.22f * tone);
        return Shade(mortar * (1.0f - brick.height) + clay * brick.height, speckle);
    });
}

SceneTexture MakeBrickNormals()
{
    return PaintTexture("brick normals", s_size, false, [](float u, float v) {
        const float step = 1.0f / s_size;
        const float dx = BrickHeight(u + step, v) - BrickHeight(u - step, v);
        const float dy = BrickHeight(u, v + step) - BrickHeight(u, v - step);
        // Green points up in the picture, as model formats have it.
        const Vector3f normal = Vector3f(-dx, dy, 0.9f).Normalized();
        return Vector4f(normal.x * 0.5f + 0.5f, normal.y * 0.5f + 0.5f, normal.z * 0.5f + 0.5f, 1.0f);
    });
}

SceneTexture MakeLattice()
{
    return PaintTexture("lattice", s_size, true, [](float u, float v) {
        const auto bar = [](float t) { return std::fabs(t - std::floor(t) - 0.5f) > 0.34f; };
        const bool isBar = bar((u + v) * 4.0f) || bar((u - v) * 4.0f + 8.0f) || std::min(u, 1.0f - u) < 0.05f ||
                           std::min(v, 1.0f - v) < 0.05f;
        return Vector4f(0.20f, 0.42f, 0.33f, isBar ? 1.0f : 0.0f);
    });
}

SceneTexture MakeTiles()
{
    return PaintTexture("tiles", s_size, true, [](float u, float v) {
        const int x = static_cast<int>(u * 4.0f);
        const int y = static_cast<int>(v * 4.0f);
        const float edge = std::min({u * 4.0f - static_cast<float>(x), static_cast<float>(x + 1) - u * 4.0f,
                                     v * 4.0f - static_cast<float>(y), static_cast<float>(y + 1) - v * 4.0f});
        const Vector3f color = (x + y) % 2 ? Vector3f(0.86f, 0.84f, 0.80f) : Vector3f(0.36f, 0.40f, 0.46f);
        return Shade(color, edge < 0.02f ? 0.6f : 0.94f + 0.06f * Noise(x, y + 11));
    });
}

SceneTexture MakeFlagPicture()
{
    return PaintTexture("flag", 512, true, [](float u, float v) {
        const auto blend = [](const Vector3f& a, const Vector3f& b, float share) {
            return a + (b - a) * std::clamp(share, 0.0f, 1.0f);
        };
        constexpr float sharpness = 256.0f; // texels of an edge
        Vector3f color(0.02f, 0.33f, 0.34f);
        color = blend(color, {0.95f, 0.93f, 0.86f}, (v - 0.38f) * sharpness);
        color = blend(color, {0.90f, 0.38f, 0.22f}, (v - 0.62f) * sharpness);
        // A star of eight rays on a disc, by its distance in shares of the flag's height.
        const float x = (u - 0.36f) * 1.6f;
        const float y = v - 0.5f;
        const float distance = std::sqrt(x * x + y * y);
        const float ray = std::fabs(std::fmod(std::atan2(y, x) + 7.0f * 0.785398163f, 0.785398163f) - 0.392699082f);
        color = blend({0.95f, 0.93f, 0.86f}, color, (distance - 0.34f) * sharpness);
        return Shade(blend({0.93f, 0.62f, 0.07f}, color, (distance - 0.13f - 0.4f * ray) * sharpness * 0.7f), 1.0f);
    });
}

SceneTexture MakeStandIn()
{
    return PaintTexture("stand-in", 64, true, [](float u, float v) {
        const bool isDark = (static_cast<int>(u * 8.0f) + static_cast<int>(v * 8.0f)) % 2 != 0;
        return isDark ? Vector4f(0.15f, 0.15f, 0.15f, 1.0f) : Vector4f(0.95f, 0.2f, 0.85f, 1.0f);
    });
}

} // namespace gleamview
