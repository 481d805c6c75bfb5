// The lists of debug lines.
#include "Gleamwork/LineMan.h"

#include <cstring>
#include <qs/Log.h>
#include <qs/Profile.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "LineMan.cpp";

template <class Lines>
void DestroyAll(Lines& lines)
{
    for (auto* line : lines) {
        delete line;
    }
    lines.Clear();
}

} // namespace

LineMan::LineMan() = default;

LineMan::~LineMan()
{
    Clear();
}

inline Line* LineMan::ProvideLine(const Vector4f& color, float lifeTime)
{
    // Equal bits are enough: no colour is kept that differs from itself.
    if (m_last.line && m_last.lifeTime == lifeTime && std::memcmp(&m_last.color, &color, sizeof(color)) == 0) {
        return m_last.line;
    }
    Line* line = SearchLine(color, lifeTime);
    m_last = {color == color ? line : nullptr, lifeTime, color};
    return line;
}

inline Line* LineMan::GetTarget(unsigned short count, const Vector4f& color, float lifeTime)
{
    if (count % 2 != 0) {
        QS_LOG_ASSERT(FILE_NAME, "gw::LineMan::AddPoints", "Assert! [Replace me with a better description]");
        return nullptr;
    }
    return Global->debugLines != 0 ? ProvideLine(color, lifeTime) : nullptr;
}

void LineMan::AddPoints(const Vector3f* points, const unsigned short& count, const Vector4f& color, float lifeTime,
                        const Matrix4x4f& transform)
{
    qs::HProfileSample sample("gw::LineMan::AddPoints");
    qs::CSLock lock(m_lock);
    if (Line* line = GetTarget(count, color, lifeTime)) {
        line->AddPoints(points, count, transform);
    }
}

void LineMan::AddPoints(const Vector3f* points, unsigned short count, const Vector4f& color, float lifeTime)
{
    qs::HProfileSample sample("gw::LineMan::AddPoints");
    qs::CSLock lock(m_lock);
    if (Line* line = GetTarget(count, color, lifeTime)) {
        line->AddPoints(points, count);
    }
}

Line* LineMan::GetLine(const Vector4f& color) const
{
    return m_worldIndex.Find(color, 0.0f);
}

Line* LineMan::GetFrameDebugLine(const Vector4f& color) const
{
    return m_frameIndex.Find(color, 0.0f);
}

Line* LineMan::GetLifeDebugLine(const Vector4f& color, float lifeTime) const
{
    return m_lifeIndex.Find(color, lifeTime);
}

Line* LineMan::SearchLine(const Vector4f& color, float lifeTime)
{
    if (!IsDebugLine(lifeTime)) {
        Line* line = GetLine(color);
        return line ? line : MakeLine(color, lifeTime, m_worldLines, m_worldIndex);
    }
    if (lifeTime == 0.0f) {
        Line* line = GetFrameDebugLine(color);
        return line ? line : MakeLine(color, lifeTime, m_frameLines, m_frameIndex);
    }
    Line* line = GetLifeDebugLine(color, lifeTime);
    return line ? line : MakeLine(color, lifeTime, m_lifeLines, m_lifeIndex);
}

Line* LineMan::MakeLine(const Vector4f& color, float lifeTime, LineSet& lines, LineIndex& index)
{
    auto* line = new Line(ePrimitiveTopology_LineList);
    if (!line) {
        QS_LOG_ERROR(FILE_NAME, "gw::LineMan::AddPoints", "Out of memory: points of a new colour are dropped.");
        return nullptr;
    }
    line->SetColor(color);
    line->SetLifeTime(lifeTime);
    lines.Add(line);
    index.Add(color, &lines == &m_lifeLines ? lifeTime : 0.0f, line);
    return line;
}

void LineMan::AddLine(const Vector3f& a, const Vector3f& b, const Vector4f& color, float lifeTime)
{
    const Vector3f points[] = {a, b};
    AddPoints(points, 2, color, lifeTime);
}

void LineMan::AddLine(Line* line)
{
    qs::CSLock lock(m_lock);
    if (!line || m_userLines.Contains(line)) {
        QS_LOG_ASSERT(FILE_NAME, "gw::LineMan::AddLine", "%s",
                      line ? "The line is registered already." : "A null line cannot be registered.");
        return;
    }
    m_userLines.Add(line);
}

void LineMan::RemoveLine(Line* line)
{
    qs::CSLock lock(m_lock);
    if (const std::int64_t position = m_userLines.Find(line); position >= 0) {
        m_userLines.RemoveAt(std::uint32_t(position));
    }
}

void LineMan::Add2DLine(const Vector2f& a, const Vector2f& b, const Vector4f& color, float lifeTime)
{
    qs::CSLock lock(m_lock);
    auto* line = new Line2D(ePrimitiveTopology_LineList);
    if (!line) {
        QS_LOG_ERROR(FILE_NAME, "gw::LineMan::Add2DLine", "Out of memory: a line is dropped.");
        return;
    }
    const Vector2f points[] = {a, b};
    line->SetColor(color);
    line->SetLifeTime(lifeTime);
    line->AddPoints(points, 2);
    m_lines2D.Add(line);
}

void LineMan::Update(const qs::GameTime& time)
{
    qs::CSLock lock(m_lock);
    m_last = {};
    for (Line* line : m_frameLines) {
        line->Clear();
    }
    // What is left of a life time is part of its line's key.
    m_lifeIndex.Clear();
    for (std::uint32_t i = 0; i < m_lifeLines.GetSize();) {
        Line* line = m_lifeLines[i];
        const float left = line->GetLifeTime() - time.timeStep;
        if (left > 0.0f) {
            line->SetLifeTime(left);
            m_lifeIndex.Add(line->GetColor(), left, line);
            ++i;
        } else {
            delete line;
            m_lifeLines.RemoveAt(i);
        }
    }
}

void LineMan::Clear()
{
    qs::CSLock lock(m_lock);
    DestroyAll(m_worldLines);
    DestroyAll(m_frameLines);
    DestroyAll(m_lifeLines);
    DestroyAll(m_userLines);
    m_last = {};
    m_worldIndex.Clear();
    m_frameIndex.Clear();
    m_lifeIndex.Clear();
    Clear2DLines();
}

void LineMan::Clear2DLines()
{
    qs::CSLock lock(m_lock);
    DestroyAll(m_lines2D);
}

} // namespace gw
