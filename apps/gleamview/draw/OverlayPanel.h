// Boxes, bars and text over a picture.
#pragma once

#include "draw/OverlayFont.h"
#include "draw/SceneContext.h"

#include <string>
#include <vector>

namespace gleamview {

/// Draws into a recording whose 2D mode is pixels, (0, 0) being the upper left corner.
class OverlayPanel
{
public:
    /// `font` may be null for boxes alone.
    OverlayPanel(gw::RendererCommandBuffer& commands, const OverlayFont* font, float width, float height)
        : m_commands(commands), m_font(font), m_width(width), m_height(height)
    {
    }

    void FillBox(float left, float top, float width, float height, const Vector4f& color);
    /// A table in the upper left corner: a row for each stage with a bar and a number for processor and GPU.
    void DrawTimes(const std::vector<StageTime>& times);
    /// A line at the lower left.
    void DrawNotice(const std::string& notice);
    /// What an overlay has to show; nothing without a font.
    void Draw(const Overlay& overlay);

private:
    struct Columns;

    void DrawHead(const Columns& columns, float top);
    void DrawRow(const Columns& columns, const StageTime& row, float top);
    void DrawBar(float left, float top, float width, double milliseconds, double full, const Vector4f& color);
    void DrawRight(const std::string& text, float right, float top, const Vector4f& color);

    gw::RendererCommandBuffer& m_commands;
    const OverlayFont* m_font;
    float m_width;
    float m_height;
};

} // namespace gleamview
