// Means of measured frames, from trees made here.
#include "draw/StageTimes.h"

#include <cmath>
#include <gtest/gtest.h>

using gleamview::StageTime;
using gleamview::StageTimes;

namespace {

gw::MeasurementNode& AddChild(gw::MeasurementNode& parent, const char* name, float processor, float device)
{
    gw::MeasurementNode& child = parent.CreateChild();
    child.name = qs::FixedString::Create(name, -1);
    child.cpuTime = processor;
    child.gpuTime = device;
    return child;
}

gw::MeasurementNode MakeFrame(float scale)
{
    gw::MeasurementNode frame;
    frame.name = qs::FixedString::Create("frame", -1);
    frame.cpuTime = 10.0f * scale;
    frame.gpuTime = 20.0f * scale;
    // Two views, each with its stages.
    AddChild(frame, "scene", 1.0f * scale, 2.0f * scale);
    AddChild(frame, "develop", 3.0f * scale, 4.0f * scale);
    AddChild(AddChild(frame, "scene", 5.0f * scale, 6.0f * scale), "inner", 7.0f * scale, 8.0f * scale);
    return frame;
}

std::string Describe(const std::vector<StageTime>& rows)
{
    std::string text;
    for (const StageTime& row : rows) {
        text += std::string(row.depth, '>') + row.name + " " + std::to_string(std::lround(row.processor)) + "/" +
                std::to_string(std::lround(row.device)) + " ";
    }
    return text;
}

TEST(StageTimes, StagesOfOneNameCountTogetherAndFramesAreAveraged)
{
    StageTimes times;
    EXPECT_TRUE(times.GetMeans().empty());
    times.Add(MakeFrame(1.0f));
    EXPECT_EQ(Describe(times.GetMeans()), "frame 10/20 >scene 6/8 >>inner 7/8 >develop 3/4 ");
    times.Add(MakeFrame(3.0f));
    EXPECT_EQ(Describe(times.GetMeans()), "frame 20/40 >scene 12/16 >>inner 14/16 >develop 6/8 ");
    EXPECT_EQ(Describe(times.GetNewest()), "frame 30/60 >scene 18/24 >>inner 21/24 >develop 9/12 ");
}

TEST(StageTimes, OldFramesAreForgottenAndMissingStagesDoNotCount)
{
    StageTimes times;
    times.Add(MakeFrame(1000.0f));
    for (std::size_t i = 0; i < StageTimes::s_frames; ++i) {
        gw::MeasurementNode frame = MakeFrame(1.0f);
        if (i % 2 == 0) {
            AddChild(frame, "overlay", 9.0f, 9.0f);
        }
        times.Add(frame);
    }
    EXPECT_EQ(Describe(times.GetMeans()), "frame 10/20 >scene 6/8 >>inner 7/8 >develop 3/4 ");
    gw::MeasurementNode frame = MakeFrame(1.0f);
    AddChild(frame, "overlay", 9.0f, 9.0f);
    times.Add(frame);
    EXPECT_NE(Describe(times.GetMeans()).find(">overlay 9/9"), std::string::npos);
}

} // namespace
