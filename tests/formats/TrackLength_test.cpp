#include "formats/TrackLength.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

using Source = TrackLength::Source;
using Verdict = TrackLength::Verdict;
using Ending = TrackLength::Ending;

TEST(TrackLengthTest, KnowsWhereItComesFrom)
{
    EXPECT_EQ(TrackLength::stated(7).source(), Source::kStated);
    EXPECT_EQ(TrackLength::stated(7).statedFrames(), 7);
    EXPECT_EQ(TrackLength::counted(7).source(), Source::kCounted);
    EXPECT_EQ(TrackLength::counted(7).statedFrames(), 0);
    EXPECT_EQ(TrackLength::counted(7, 14).frames(), 7);
    EXPECT_EQ(TrackLength::counted(7, 14).statedFrames(), 14);
    EXPECT_EQ(TrackLength::searched(7, 14).source(), Source::kSearched);
    EXPECT_EQ(TrackLength::searched(7, 14).frames(), 7);
    EXPECT_EQ(TrackLength::searched(7, 14).statedFrames(), 14);
}

TEST(TrackLengthTest, AFailedOneIsNoLengthAtAll)
{
    EXPECT_EQ(TrackLength::failed().verdict(), Verdict::kFailed);
    EXPECT_EQ(TrackLength::failed().frames(), 0);
    EXPECT_EQ(TrackLength::failed().announcedFrames(), 0U);
}

TEST(TrackLengthTest, FromOneFrameTo31BitsItIsComplete)
{
    EXPECT_EQ(TrackLength::counted(0).verdict(), Verdict::kImplausible);
    EXPECT_EQ(TrackLength::counted(-1).verdict(), Verdict::kImplausible);
    EXPECT_EQ(TrackLength::counted(1).verdict(), Verdict::kComplete);
    EXPECT_EQ(TrackLength::stated(2147483647).verdict(), Verdict::kComplete);
    EXPECT_EQ(TrackLength::stated(2147483648).verdict(), Verdict::kImplausible);
}

TEST(TrackLengthTest, IsAnnouncedIn32Bits)
{
    EXPECT_EQ(TrackLength::counted(-5).announcedFrames(), 0U);
    EXPECT_EQ(TrackLength::counted(3000000000).announcedFrames(), 3000000000U);
    EXPECT_EQ(TrackLength::counted(std::int64_t{1} << 40U).announcedFrames(),
              std::numeric_limits<std::uint32_t>::max());
}

TEST(TrackLengthTest, ATenthOfASecondMoreOrLessIsPadding)
{
    const TrackLength length = TrackLength::stated(100000);
    EXPECT_EQ(length.endingAfter(95590, 44100), Ending::kAsStated);
    EXPECT_EQ(length.endingAfter(95589, 44100), Ending::kEarly);
    EXPECT_EQ(length.endingAfter(104410, 44100), Ending::kAsStated);
    EXPECT_EQ(length.endingAfter(104411, 44100), Ending::kLate);
}

TEST(TrackLengthTest, TheEndingGoesByWhatIsStatedNotByWhatWasFound)
{
    EXPECT_EQ(TrackLength::searched(50000, 100000).endingAfter(50000, 44100), Ending::kEarly);
    EXPECT_EQ(TrackLength::counted(200000, 100000).endingAfter(200000, 44100), Ending::kLate);
    EXPECT_EQ(TrackLength::counted(200000).endingAfter(1, 44100), Ending::kAsStated);
}

}  // namespace
