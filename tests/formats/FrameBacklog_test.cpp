#include "formats/FrameBacklog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

namespace {

using testing::ElementsAre;

class FrameBacklogTest : public testing::Test {
protected:
    /// Keeps the last `frames` of the five frames (1, -1) to (5, -5).
    void keep(std::size_t frames, std::size_t channels = 2)
    {
        const std::array<const std::int32_t*, 2> planes = {left_.data(), right_.data()};
        backlog_.keep(planes.data(), channels, left_.size() - frames, frames, 1.0f);
    }

    std::vector<float> take(std::uint64_t frames)
    {
        std::vector<float> samples(frames * 2, 99.0f);
        FrameTarget target(samples.data(), frames, 2);
        backlog_.moveTo(target, 2);
        target.finish();
        samples.resize((frames - target.framesLeft()) * 2);
        return samples;
    }

    const std::vector<std::int32_t> left_ = {1, 2, 3, 4, 5};
    const std::vector<std::int32_t> right_ = {-1, -2, -3, -4, -5};
    FrameBacklog backlog_;
};

TEST_F(FrameBacklogTest, GivesBackWhatItWasGivenInAnyPieces)
{
    EXPECT_EQ(backlog_.frames(), 0U);
    keep(3);
    EXPECT_EQ(backlog_.frames(), 3U);
    EXPECT_THAT(take(2), ElementsAre(3, -3, 4, -4));
    EXPECT_THAT(take(2), ElementsAre(5, -5));
    EXPECT_EQ(backlog_.frames(), 0U);
}

TEST_F(FrameBacklogTest, SilenceComesBeforeTheBlock)
{
    backlog_.addSilence(3);
    keep(1);
    EXPECT_EQ(backlog_.frames(), 4U);
    EXPECT_THAT(take(2), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(take(9), ElementsAre(0, 0, 5, -5));
}

TEST_F(FrameBacklogTest, ABlockBehindAnotherSilencesThatOne)
{
    keep(2);
    keep(1);
    EXPECT_THAT(take(9), ElementsAre(0, 0, 0, 0, 5, -5));
}

TEST_F(FrameBacklogTest, DroppingGoesThroughSilenceIntoTheBlock)
{
    backlog_.addSilence(2);
    keep(3);
    backlog_.drop(3);
    EXPECT_THAT(take(9), ElementsAre(4, -4, 5, -5));
}

TEST_F(FrameBacklogTest, FramesOfFewerChannelsLeaveSilence)
{
    keep(2, 1);
    EXPECT_THAT(take(2), ElementsAre(4, 5, 0, 0));
}

TEST(FrameTargetTest, DropsWhatIsBeyondTheEnd)
{
    std::vector<float> samples(4);
    FrameTarget target(samples.data(), 4, 1);
    EXPECT_EQ(target.put(1, 1).frames, 1U);
    const FrameTarget::Room room = target.put(3, 2);
    EXPECT_EQ(room.samples, samples.data() + 1);
    EXPECT_EQ(room.frames, 1U) << "three samples are left, which is one frame of two";
    EXPECT_EQ(target.framesLeft(), 0U) << "all the same they count as delivered";
}

}  // namespace
