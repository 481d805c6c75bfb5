// A line manager whose lists tests can see.
#pragma once

#include "Gleamwork/LineMan.h"

#include <qs/Log.h>
#include <vector>

/// Apart from the library's own one.
class PeekLineMan : public gw::LineMan
{
public:
    using gw::LineMan::GetFrameDebugLine;
    using gw::LineMan::GetLifeDebugLine;
    using gw::LineMan::GetLine;
    using gw::LineMan::IsDebugLine;
    using gw::LineMan::m_frameLines;
    using gw::LineMan::m_lifeLines;
    using gw::LineMan::m_lines2D;
    using gw::LineMan::m_userLines;
    using gw::LineMan::m_worldLines;

    /// Points of the only line in a list.
    static std::vector<Vector3f> PointsOf(const LineSet& lines)
    {
        if (lines.GetSize() != 1) {
            return {};
        }
        const auto& points = lines[0]->GetPoints();
        return {points.GetData(), points.GetData() + points.GetSize()};
    }
};

inline constexpr float WORLD = -1.0f; ///< life time of a world line
inline constexpr const char* WRONG_COUNT = "Assert! [Replace me with a better description]";
