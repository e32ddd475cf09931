#include "host/decodedFrames.h"

#include "host/TrackResult.h"

#include <gtest/gtest.h>

namespace {

using namespace tunesift::host;

TEST(DecodedFrames, AreAllWhenTheProgressHasComeToItsEnd)
{
    EXPECT_EQ(decodedFrames(0.96, 441000), 441000);
    EXPECT_EQ(decodedFrames(1.0, 441000), 441000);
}

TEST(DecodedFrames, AreThoseUpToTheEndOfTheLastBlockThatWasTold)
{
    // 441000 frames are 27 blocks; behind block k the progress is 0.96 k / 26.
    for (const int block : {0, 1, 13, 25})
        EXPECT_EQ(decodedFrames(static_cast<double>(static_cast<float>(0.96 * block / 26)), 441000),
                  (block + 1) * 16384)
            << block;
}

TEST(DecodedFrames, AreUnknownForASingleBlockAndForLengthsBeyondAll)
{
    EXPECT_FALSE(decodedFrames(0.0, 16384));
    EXPECT_FALSE(decodedFrames(0.0, 0));
    EXPECT_FALSE(decodedFrames(0.5, qint64{1} << 62));
}

TEST(DecodedFrames, TellTheBlockExactlyAlsoInTheLongestTracks)
{
    const qint64 frames = 2147483647;  // 131072 blocks
    for (const qint64 block : {1, 65535, 131070})
        EXPECT_EQ(decodedFrames(static_cast<double>(static_cast<float>(block) * 0.96F / 131071.0F), frames),
                  (block + 1) * 16384)
            << block;
}

TEST(DecodedFrames, AnEndOfLessThanABlockBeforeTheAnnouncedOneIsNoEarlyEnd)
{
    // An mp3's announced length has padding that a decoder takes away.
    TrackResult result;
    result.frames = 441000;
    EXPECT_FALSE(result.endedEarly()) << "nothing is known";
    result.decodedFrames = 26 * 16384;  // 15016 are missing
    EXPECT_FALSE(result.endedEarly());
    result.decodedFrames = 25 * 16384;
    EXPECT_TRUE(result.endedEarly());
}

}  // namespace
