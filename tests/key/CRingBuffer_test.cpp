#include "key/CRingBuffer.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace {

using eboKey::CRingBuffer;

std::vector<float> ramp(int from, int count)
{
    std::vector<float> values(static_cast<std::size_t>(count));
    std::iota(values.begin(), values.end(), static_cast<float>(from));
    return values;
}

std::vector<float> take(CRingBuffer& ring, int count)
{
    std::vector<float> values(static_cast<std::size_t>(count));
    ring.take(values.data(), count);
    return values;
}

TEST(CRingBuffer, StartsEmptyWithRoomForAllButOne)
{
    const CRingBuffer ring;
    EXPECT_EQ(ring.readable(), 0);
    EXPECT_EQ(ring.writable(), 16383);
}

TEST(CRingBuffer, TakesOnlyWhatFits)
{
    CRingBuffer ring;
    EXPECT_EQ(ring.append(ramp(0, 10000).data(), 10000), 10000);
    EXPECT_EQ(ring.append(ramp(10000, 16384).data(), 16384), 6383);
    EXPECT_EQ(ring.readable(), 16383);
    EXPECT_EQ(ring.writable(), 0);
    EXPECT_EQ(ring.append(ramp(0, 1).data(), 1), 0);
    EXPECT_EQ(take(ring, 16383), ramp(0, 16383));
    EXPECT_EQ(ring.readable(), 0);
}

TEST(CRingBuffer, KeepsTheOrderAcrossItsEnd)
{
    CRingBuffer ring;
    int written = 0;
    int read = 0;
    for (int round = 0; round < 40; ++round) {
        written += ring.append(ramp(written, 5003).data(), 5003);
        while (ring.readable() >= 4096) {
            EXPECT_EQ(take(ring, 4096), ramp(read, 4096)) << "round " << round;
            read += 4096;
        }
    }
    EXPECT_EQ(written, 40 * 5003) << "nothing was refused";
}

}  // namespace
