#include "formats/FrameCursor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <numeric>
#include <optional>
#include <vector>

namespace {

using Arrival = BlockDecoder::Arrival;
using Step = BlockDecoder::Step;

constexpr std::int64_t kBlock = 10;
constexpr std::int64_t kTrack = 95;

/// What the decoders of a test have done, and are to do.
struct Plan {
    Arrival arrival = Arrival::kNotBehind;
    std::int64_t early = 0;                 ///< So many blocks before the wanted one a seek lands.
    std::optional<std::int64_t> claims;     ///< What block numbers say, unless the truth.
    std::optional<std::int64_t> failingAt;  ///< The frame whose block fails, once.
    bool canReopen = true;

    int alive = 0;
    int opened = 0;
    int seeks = 0;
    int blocks = 0;
};

/// A track of kTrack frames in blocks of kBlock.
class PlannedDecoder : public BlockDecoder {
public:
    explicit PlannedDecoder(Plan& plan) : plan_(plan)
    {
        ++plan.alive;
        ++plan.opened;
    }
    ~PlannedDecoder() override { --plan_.alive; }

    Step next() override
    {
        start_ = end_;
        if (plan_.failingAt == start_) {
            plan_.failingAt.reset();
            return Step::kFailed;
        }
        end_ = std::min(start_ + kBlock, kTrack);
        ++plan_.blocks;
        return start_ < end_ ? Step::kBlock : Step::kEnd;
    }
    [[nodiscard]] std::int64_t blockFrames() const override { return end_ - start_; }
    [[nodiscard]] std::int64_t blockStart() const override { return plan_.claims.value_or(start_); }
    Arrival goTo(std::int64_t frame) override
    {
        ++plan_.seeks;
        if (plan_.arrival != Arrival::kStayed)
            start_ = end_ = std::max(frame / kBlock - plan_.early, std::int64_t{0}) * kBlock;
        return plan_.arrival;
    }
    bool interleave(std::int64_t /*first*/, std::int64_t /*count*/, FrameTarget& /*target*/) override
    {
        return true;
    }

    /// The true number of the block's first frame.
    [[nodiscard]] std::int64_t start() const { return start_; }

private:
    Plan& plan_;
    std::int64_t start_ = 0;
    std::int64_t end_ = 0;
};

using Frames = std::vector<std::int64_t>;

class FrameCursorTest : public testing::Test {
protected:
    /// The true numbers of the frames delivered.
    Frames deliver(std::int64_t first, std::int64_t count)
    {
        Frames frames;
        const FrameCursor::Delivery delivery =
            cursor_.deliver(first, count, [&](std::int64_t at, std::int64_t some, std::int64_t done) {
                EXPECT_EQ(done, static_cast<std::int64_t>(frames.size()));
                const auto& decoder = static_cast<const PlannedDecoder&>(*cursor_.decoder());
                EXPECT_LE(at + some, decoder.blockFrames());
                for (std::int64_t i = 0; i < some; ++i)
                    frames.push_back(decoder.start() + at + i);
                return usable_;
            });
        hasFailed_ = delivery.hasFailed;
        if (usable_) {
            EXPECT_EQ(delivery.frames, static_cast<std::int64_t>(frames.size()));
        }
        return frames;
    }

    static Frames range(std::int64_t first, std::int64_t count)
    {
        Frames frames(static_cast<std::size_t>(count));
        std::iota(frames.begin(), frames.end(), first);
        return frames;
    }

    std::unique_ptr<BlockDecoder> open()
    {
        EXPECT_EQ(plan_.alive, 0) << "two decoders at once";
        return plan_.canReopen ? std::make_unique<PlannedDecoder>(plan_) : nullptr;
    }

    Plan plan_;
    FrameCursor cursor_{open(), [this] { return open(); }};
    bool usable_ = true;
    bool hasFailed_ = false;
};

TEST_F(FrameCursorTest, ReadingOnNeverSeeksWhateverTheBlocksClaim)
{
    plan_.claims = 7777;
    EXPECT_EQ(deliver(0, 7), range(0, 7));
    EXPECT_EQ(deliver(7, 33), range(7, 33));
    EXPECT_EQ(deliver(40, 1), range(40, 1));
    EXPECT_EQ(plan_.seeks, 0);
    EXPECT_EQ(plan_.opened, 1);
    EXPECT_EQ(plan_.blocks, 5);
}

TEST_F(FrameCursorTest, TheEndOfTheTrackIsAShortDeliveryAndNoFailure)
{
    EXPECT_EQ(deliver(0, 200), range(0, kTrack));
    EXPECT_FALSE(hasFailed_);
    EXPECT_EQ(deliver(kTrack, 5), Frames());
    EXPECT_FALSE(hasFailed_);
    EXPECT_EQ(plan_.seeks, 0);
}

TEST_F(FrameCursorTest, FramesOfTheBlockAtHandNeedNoSeek)
{
    deliver(0, 15);
    EXPECT_EQ(deliver(18, 1), range(18, 1));
    EXPECT_EQ(deliver(10, 10), range(10, 10));
    EXPECT_EQ(deliver(11, 2), range(11, 2));
    EXPECT_EQ(plan_.seeks, 0);
    EXPECT_EQ(plan_.blocks, 2);
    EXPECT_EQ(deliver(9, 2), range(9, 2));
    EXPECT_EQ(plan_.seeks, 1);
}

TEST_F(FrameCursorTest, WhatASeekLandsBeforeIsDropped)
{
    plan_.early = 3;
    EXPECT_EQ(deliver(57, 5), range(57, 5));
    EXPECT_EQ(plan_.opened, 1);
    EXPECT_EQ(deliver(62, 3), range(62, 3));
    EXPECT_EQ(plan_.seeks, 1);
}

TEST_F(FrameCursorTest, ABlockThatLiesBehindTheFrameMeansCountingFromTheStart)
{
    plan_.claims = 58;
    EXPECT_EQ(deliver(57, 5), range(57, 5));
    EXPECT_EQ(plan_.opened, 2);
}

TEST_F(FrameCursorTest, ABlockWithoutANumberMeansCountingFromTheStart)
{
    plan_.claims = BlockDecoder::kUnknownFrame;
    EXPECT_EQ(deliver(57, 5), range(57, 5));
    EXPECT_EQ(plan_.opened, 2);
}

TEST_F(FrameCursorTest, ADecoderThatCannotTellMeansCountingFromTheStart)
{
    plan_.arrival = Arrival::kUnknown;
    EXPECT_EQ(deliver(57, 5), range(57, 5));
    EXPECT_EQ(plan_.opened, 2);
    EXPECT_EQ(plan_.blocks, 7);
}

TEST_F(FrameCursorTest, WhereADecoderStayedWhatIsLeftPassesForTheFrame)
{
    plan_.arrival = Arrival::kStayed;
    deliver(0, 4);
    EXPECT_EQ(deliver(57, 8), range(4, 8));
    EXPECT_EQ(deliver(65, 2), range(12, 2));
    EXPECT_EQ(plan_.seeks, 1);
}

TEST_F(FrameCursorTest, NothingAtAFrameIsNoFailureAndThePlaceIsSoughtAnew)
{
    deliver(0, 4);
    plan_.arrival = Arrival::kNowhere;
    EXPECT_EQ(deliver(57, 8), Frames());
    EXPECT_FALSE(hasFailed_);
    plan_.arrival = Arrival::kNotBehind;
    EXPECT_EQ(deliver(4, 3), range(4, 3));
    EXPECT_EQ(plan_.seeks, 2);
}

TEST_F(FrameCursorTest, AFailedBlockEndsTheDeliveryAndThePlaceIsForgotten)
{
    plan_.failingAt = 20;
    EXPECT_EQ(deliver(0, 40), range(0, 20));
    EXPECT_TRUE(hasFailed_);
    EXPECT_EQ(deliver(20, 5), range(20, 5));
    EXPECT_FALSE(hasFailed_);
    EXPECT_EQ(plan_.seeks, 1);
}

TEST_F(FrameCursorTest, ABlockThatCannotBeUsedIsAFailureToo)
{
    usable_ = false;
    deliver(0, 5);
    EXPECT_TRUE(hasFailed_);
    usable_ = true;
    EXPECT_EQ(deliver(0, 5), range(0, 5));
    EXPECT_EQ(plan_.seeks, 1);
}

TEST_F(FrameCursorTest, WhatCannotBeReopenedIsAFailureUntilItCan)
{
    plan_.arrival = Arrival::kUnknown;
    plan_.canReopen = false;
    EXPECT_EQ(deliver(57, 5), Frames());
    EXPECT_TRUE(hasFailed_);
    plan_.canReopen = true;
    EXPECT_EQ(deliver(57, 5), range(57, 5));
}

TEST_F(FrameCursorTest, CountingBeyondTheEndGivesNothing)
{
    plan_.arrival = Arrival::kUnknown;
    EXPECT_EQ(deliver(kTrack + 5, 5), Frames());
    EXPECT_EQ(deliver(kTrack - 1, 5), range(kTrack - 1, 1));
}

TEST(EmptyFrameCursor, HasNothing)
{
    FrameCursor cursor;
    const FrameCursor::Delivery delivery =
        cursor.deliver(0, 5, [](std::int64_t, std::int64_t, std::int64_t) { return true; });
    EXPECT_EQ(delivery.frames, 0);
    EXPECT_EQ(cursor.decoder(), nullptr);
}

}  // namespace
