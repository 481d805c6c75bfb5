// Flattening and means of measured frames.
#include "draw/StageTimes.h"

#include <algorithm>

namespace gleamview {

namespace {

using Rows = std::vector<StageTime>;

void Flatten(const std::vector<const gw::MeasurementNode*>& nodes, unsigned depth, Rows& rows)
{
    std::vector<bool> isTaken(nodes.size(), false);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (isTaken[i]) {
            continue;
        }
        StageTime row{nodes[i]->name.ToChar(), depth};
        std::vector<const gw::MeasurementNode*> children;
        for (std::size_t k = i; k < nodes.size(); ++k) {
            if (nodes[k]->name == nodes[i]->name) {
                isTaken[k] = true;
                row.processor += static_cast<double>(nodes[k]->cpuTime);
                row.device += static_cast<double>(nodes[k]->gpuTime);
                for (const gw::MeasurementNode& child : nodes[k]->children) {
                    children.push_back(&child);
                }
            }
        }
        rows.push_back(row);
        Flatten(children, depth + 1, rows);
    }
}

bool IsSame(const StageTime& a, const StageTime& b)
{
    return a.depth == b.depth && a.name == b.name;
}

} // namespace

void StageTimes::Add(const gw::MeasurementNode& frame)
{
    Rows rows;
    Flatten({&frame}, 0, rows);
    m_frames.push_back(std::move(rows));
    if (m_frames.size() > s_frames) {
        m_frames.pop_front();
    }
}

std::vector<StageTime> StageTimes::GetMeans() const
{
    if (m_frames.empty()) {
        return {};
    }
    Rows means = m_frames.back();
    for (StageTime& mean : means) {
        const StageTime newest = mean;
        mean.processor = mean.device = 0.0;
        double count = 0.0;
        for (const Rows& frame : m_frames) {
            const auto found =
                std::find_if(frame.begin(), frame.end(), [&](const StageTime& row) { return IsSame(row, newest); });
            if (found != frame.end()) {
                mean.processor += found->processor;
                mean.device += found->device;
                count += 1.0;
            }
        }
        mean.processor /= count;
        mean.device /= count;
    }
    return means;
}

} // namespace gleamview
