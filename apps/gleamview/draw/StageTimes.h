// Times of the last frames, stage by stage.
#pragma once

#include <Gleamwork/MeasurementNode.h>

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

namespace gleamview {

/// A stage, in milliseconds of a frame.
struct StageTime
{
    std::string name;
    unsigned depth = 0; ///< 0 is the frame
    double processor = 0.0;
    double device = 0.0;
};

/// A tree of measured frames, flattened from the top; stages of one name beside each other, as those of several views,
/// count together.
class StageTimes
{
public:
    static constexpr std::size_t s_frames = 30;

    void Add(const gw::MeasurementNode& frame);
    void Clear() { m_frames.clear(); }
    /// The stages of the newest frame, with the means over the last frames that had them.
    std::vector<StageTime> GetMeans() const;
    const std::vector<StageTime>& GetNewest() const { return m_frames.back(); }
    bool IsEmpty() const { return m_frames.empty(); }

private:
    std::deque<std::vector<StageTime>> m_frames;
};

} // namespace gleamview
