// Layout of the overlay.
#include "draw/OverlayPanel.h"

#include <Gleamwork/Renderer.h>
#include <Gleamwork/RendererCommandBuffer.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace gleamview {

namespace {

const Vector4f s_ground{0.05f, 0.06f, 0.08f, 0.78f};
const Vector4f s_track{1.0f, 1.0f, 1.0f, 0.08f};
const Vector4f s_text{0.92f, 0.94f, 0.96f, 1.0f};
const Vector4f s_faint{0.62f, 0.66f, 0.72f, 1.0f};
const Vector4f s_processor{0.98f, 0.70f, 0.26f, 1.0f};
const Vector4f s_device{0.36f, 0.72f, 0.98f, 1.0f};
constexpr float s_margin = 12.0f;
constexpr float s_indent = 12.0f;
constexpr float s_gap = 10.0f;
constexpr float s_barWidth = 110.0f;
constexpr float s_shortestBar = 24.0f;

std::string Milliseconds(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", value < 100.0 ? 2 : 1, value);
    return text;
}

} // namespace

/// Where things begin, in pixels.
struct OverlayPanel::Columns
{
    float name, processorBar, processorEnd, deviceBar, deviceEnd;
    float bar;   ///< width of a bar
    double full; ///< milliseconds of a whole bar
};

void OverlayPanel::FillBox(float left, float top, float width, float height, const Vector4f& color)
{
    using gw::details::RendererBase;
    const Vector2f corners[4] = {{left, top}, {left + width, top}, {left, top + height}, {left + width, top + height}};
    m_commands.DrawPlain(gw::ePrimitiveTopology_TriangleStrip, corners, 4, true, RendererBase::BS(gw::BS_ALPHA),
                         RendererBase::DS(gw::DS_NONE), color);
}

void OverlayPanel::DrawRight(const std::string& text, float right, float top, const Vector4f& color)
{
    m_font->Draw(m_commands, text, right - m_font->GetWidth(text), top, color);
}

void OverlayPanel::DrawBar(float left, float top, float width, double milliseconds, double full, const Vector4f& color)
{
    const float height = std::floor(m_font->GetHeight() * 0.5f);
    const float y = top + std::floor((m_font->GetHeight() - height) * 0.5f);
    FillBox(left, y, width, height, s_track);
    const double share = full > 0.0 ? std::clamp(milliseconds / full, 0.0, 1.0) : 0.0;
    const float filled = std::round(static_cast<float>(share) * width);
    if (filled >= 1.0f) {
        FillBox(left, y, filled, height, color);
    }
}

void OverlayPanel::DrawHead(const Columns& columns, float top)
{
    m_font->Draw(m_commands, "ms a frame", columns.name, top, s_faint);
    DrawRight("processor", columns.processorEnd, top, s_processor);
    DrawRight("GPU", columns.deviceEnd, top, s_device);
}

void OverlayPanel::DrawRow(const Columns& columns, const StageTime& row, float top)
{
    const Vector4f& color = row.depth == 0 ? s_text : s_faint;
    m_font->Draw(m_commands, row.name, columns.name + static_cast<float>(row.depth) * s_indent, top, color);
    DrawBar(columns.processorBar, top, columns.bar, row.processor, columns.full, s_processor);
    DrawRight(Milliseconds(row.processor), columns.processorEnd, top, s_text);
    DrawBar(columns.deviceBar, top, columns.bar, row.device, columns.full, s_device);
    DrawRight(Milliseconds(row.device), columns.deviceEnd, top, s_text);
}

void OverlayPanel::DrawTimes(const std::vector<StageTime>& times)
{
    const float line = std::ceil(m_font->GetHeight() * 1.15f);
    float names = m_font->GetWidth("ms a frame");
    double full = 0.0;
    for (const StageTime& row : times) {
        names = std::max(names, static_cast<float>(row.depth) * s_indent + m_font->GetWidth(row.name));
        full = std::max({full, row.processor, row.device});
    }
    const float number = std::max(m_font->GetWidth("00000.0"), m_font->GetWidth("processor"));
    // Small windows get shorter bars, or none.
    const float room = (m_width - 4.0f * s_margin - names - 2.0f * number - 4.0f * s_gap) * 0.5f;
    Columns columns{};
    columns.bar = room < s_shortestBar ? 0.0f : std::min(std::floor(room), s_barWidth);
    columns.full = full;
    columns.name = 2.0f * s_margin;
    columns.processorBar = columns.name + names + s_gap;
    columns.processorEnd = columns.processorBar + columns.bar + number;
    columns.deviceBar = columns.processorEnd + 2.0f * s_gap;
    columns.deviceEnd = columns.deviceBar + columns.bar + number;
    const float rows = static_cast<float>(std::max<std::size_t>(times.size(), 1) + 1);
    FillBox(s_margin, s_margin, columns.deviceEnd, rows * line + 1.5f * s_margin, s_ground);
    float top = s_margin * 1.75f;
    DrawHead(columns, top);
    if (times.empty()) {
        m_font->Draw(m_commands, "no frame is measured yet", columns.name, top + line, s_faint);
    }
    for (const StageTime& row : times) {
        top += line;
        DrawRow(columns, row, top);
    }
}

void OverlayPanel::Draw(const Overlay& overlay)
{
    if (m_font && overlay.showsTimes) {
        DrawTimes(overlay.times);
    }
    if (m_font && !overlay.notice.empty()) {
        DrawNotice(overlay.notice);
    }
}

void OverlayPanel::DrawNotice(const std::string& notice)
{
    const float height = m_font->GetHeight() + s_margin;
    const float top = m_height - s_margin - height;
    FillBox(s_margin, top, m_font->GetWidth(notice) + 2.0f * s_margin, height, s_ground);
    m_font->Draw(m_commands, notice, 2.0f * s_margin, top + s_margin * 0.5f, s_text);
}

} // namespace gleamview
