// Which accesses wait for which, without a device.
#include <gtest/gtest.h>

#include "vulkan/Tracking.h"

using namespace gleam;

namespace {

/// Runs accesses one after the other; gives a letter for each: 'b' where a barrier was due, '.' where none was.
std::string Waits(bool isImage, std::initializer_list<Access> accesses)
{
    AccessState state;
    std::string waits;
    for (const Access& next : accesses) {
        Dependency dependency{};
        const bool predicted = NeedsBarrier(state, next, isImage);
        const bool due = Advance(state, next, isImage, dependency);
        EXPECT_EQ(predicted, due);
        EXPECT_FALSE(NeedsBarrier(state, {next.stages, next.access, next.layout, false}, isImage) && !next.isWrite)
            << "an access has to see itself";
        waits += due ? 'b' : '.';
    }
    return waits;
}

} // namespace

TEST(Tracking, BuffersWaitAfterWritesAndBeforeThem)
{
    using namespace access;
    EXPECT_EQ("...", Waits(false, {BufferRead, CopyRead, BufferRead}));
    EXPECT_EQ(".b.", Waits(false, {BufferWrite, BufferRead, BufferRead}));
    EXPECT_EQ(".b.b", Waits(false, {CopyWrite, BufferRead, CopyRead, CopyWrite})) << "write after read";
    EXPECT_EQ(".bb", Waits(false, {BufferWrite, BufferWrite, BufferWrite})) << "write after write";
    EXPECT_EQ(".bb.", Waits(false, {CopyWrite, CopyRead, BufferRead, CopyRead})) << "each reader has to see the write";
}

TEST(Tracking, ImagesAlsoWaitForTheirLayout)
{
    using namespace access;
    EXPECT_EQ("b.bb", Waits(true, {Sampled, Sampled, CopyRead, Sampled}));
    EXPECT_EQ("bbb.", Waits(true, {ColorTarget, ColorTarget, Sampled, Sampled}));
    EXPECT_EQ("bb.b", Waits(true, {DepthTarget, DepthRead, DepthRead, DepthTarget}));
    // The sources of a change of layout after reads are the readers.
    AccessState state;
    Dependency dependency{};
    Advance(state, CopyWrite, true, dependency);
    EXPECT_EQ(VK_IMAGE_LAYOUT_UNDEFINED, dependency.oldLayout);
    Advance(state, Sampled, true, dependency);
    EXPECT_EQ(CopyWrite.stages, dependency.sourceStages);
    EXPECT_EQ(CopyWrite.access, dependency.sourceAccess);
    Advance(state, ColorTarget, true, dependency);
    EXPECT_EQ(Sampled.stages, dependency.sourceStages & Sampled.stages);
    EXPECT_EQ(0u, dependency.sourceAccess) << "reads leave nothing to flush";
}

TEST(Tracking, SubresourcesGoTheirOwnWaysAndMeetAgain)
{
    using namespace access;
    ImageTracker tracker;
    tracker.Init(3, 2);
    BarrierBatch barriers;
    const SubresourceRange whole{0, 3, 0, 2}, one{1, 1, 1, 1}, otherLayer{0, 3, 0, 1}, lowMips{1, 2, 0, 2};
    tracker.Advance(whole, ColorTarget, VK_NULL_HANDLE, VK_IMAGE_ASPECT_COLOR_BIT, barriers);
    EXPECT_TRUE(tracker.Needs(one, Sampled));
    tracker.Advance(one, Sampled, VK_NULL_HANDLE, VK_IMAGE_ASPECT_COLOR_BIT, barriers);
    EXPECT_FALSE(tracker.Needs(one, Sampled));
    EXPECT_TRUE(tracker.Needs(otherLayer, Sampled));
    EXPECT_TRUE(tracker.Needs(lowMips, Sampled)) << "one of several is enough";
    tracker.Advance(whole, Sampled, VK_NULL_HANDLE, VK_IMAGE_ASPECT_COLOR_BIT, barriers);
    EXPECT_FALSE(tracker.Needs(whole, Sampled));
    tracker.Advance(whole, CopyRead, VK_NULL_HANDLE, VK_IMAGE_ASPECT_COLOR_BIT, barriers);
    EXPECT_FALSE(tracker.Needs(otherLayer, CopyRead));
    tracker.Reset({});
    EXPECT_TRUE(tracker.Needs(one, CopyRead));

    EXPECT_TRUE(one.Overlaps(whole));
    EXPECT_FALSE(one.Overlaps(otherLayer));
    EXPECT_FALSE((SubresourceRange{0, 1, 0, 2}).Overlaps(lowMips));
}
