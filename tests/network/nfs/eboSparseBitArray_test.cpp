#include "network/nfs/eboSparseBitArray.h"

#include "support/repetitions.h"

#include <gtest/gtest.h>

#include <bitset>
#include <limits>
#include <random>
#include <thread>
#include <utility>

namespace {

using Range = eboSparseBitArray::Range;
using Ranges = std::vector<Range>;

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();

eboSparseBitArray setOf(const Ranges& ranges)
{
    eboSparseBitArray result;
    for (const Range& range : ranges)
        result.set(range);
    return result;
}

TEST(SparseBits, ANewSetIsEmpty)
{
    const eboSparseBitArray bits;
    EXPECT_TRUE(bits.isEmpty());
    EXPECT_EQ(bits.ranges(), Ranges{});
    EXPECT_EQ(bits.rangeCount(), 0U);
    EXPECT_EQ(bits.count(), 0U);
    EXPECT_FALSE(bits.contains(0));
}

TEST(SparseBits, NeighboursBecomeOneRange)
{
    eboSparseBitArray bits;
    bits.set(5);
    bits.set(7);
    EXPECT_EQ(bits.ranges(), (Ranges{{5, 5}, {7, 7}}));
    bits.set(6);
    EXPECT_EQ(bits.ranges(), (Ranges{{5, 7}}));
    bits.set(4);
    bits.set(8);
    EXPECT_EQ(bits.ranges(), (Ranges{{4, 8}}));
}

TEST(SparseBits, ARangeSwallowsWhatItOverlapsAndTouches)
{
    eboSparseBitArray bits = setOf({{1, 2}, {4, 5}, {7, 9}, {11, 20}, {22, 30}});
    bits.set({3, 12});
    EXPECT_EQ(bits.ranges(), (Ranges{{1, 20}, {22, 30}}));
}

TEST(SparseBits, ARangeInsideAnotherChangesNothing)
{
    eboSparseBitArray bits = setOf({{10, 20}});
    bits.set({12, 15});
    bits.set({10, 20});
    EXPECT_EQ(bits.ranges(), (Ranges{{10, 20}}));
}

TEST(SparseBits, ARangeThatEndsBeforeItBeginsIsEmpty)
{
    eboSparseBitArray bits = setOf({{3, 9}});
    bits.set({20, 12});
    bits.remove({8, 4});
    EXPECT_EQ(bits.ranges(), (Ranges{{3, 9}}));
}

TEST(SparseBits, RemovingFromTheMiddleSplits)
{
    eboSparseBitArray bits = setOf({{0, 100}});
    bits.remove({10, 20});
    EXPECT_EQ(bits.ranges(), (Ranges{{0, 9}, {21, 100}}));
}

TEST(SparseBits, RemovingReachesOverManyRanges)
{
    eboSparseBitArray bits = setOf({{0, 5}, {10, 15}, {20, 25}, {30, 35}});
    bits.remove({3, 32});
    EXPECT_EQ(bits.ranges(), (Ranges{{0, 2}, {33, 35}}));
}

TEST(SparseBits, RemovingAtTheEdgesLeavesTheRest)
{
    eboSparseBitArray bits = setOf({{10, 20}});
    bits.remove({0, 10});
    bits.remove({20, 30});
    bits.remove({40, 50});
    EXPECT_EQ(bits.ranges(), (Ranges{{11, 19}}));
    bits.remove({11, 19});
    EXPECT_TRUE(bits.isEmpty());
}

TEST(SparseBits, TheLargestNumbersAreNumbersLikeOthers)
{
    eboSparseBitArray bits;
    bits.set(kLargest);
    bits.set(0);
    EXPECT_EQ(bits.ranges(), (Ranges{{0, 0}, {kLargest, kLargest}}));
    EXPECT_EQ(bits.count(), 2U);
    bits.set({kLargest - 1, kLargest - 1});
    EXPECT_EQ(bits.ranges(), (Ranges{{0, 0}, {kLargest - 1, kLargest}}));
    bits.remove({kLargest, kLargest});
    EXPECT_EQ(bits.ranges(), (Ranges{{0, 0}, {kLargest - 1, kLargest - 1}}));
    bits.set({0, kLargest});
    EXPECT_EQ(bits.ranges(), (Ranges{{0, kLargest}}));
    EXPECT_EQ(bits.count(), kLargest) << "one number more than fits";
    bits.remove({1, kLargest});
    EXPECT_EQ(bits.ranges(), (Ranges{{0, 0}}));
}

TEST(SparseBits, ContainsWhatARangeCovers)
{
    const eboSparseBitArray bits = setOf({{5, 7}, {9, 9}});
    const std::vector<std::uint64_t> inside{5, 6, 7, 9};
    for (std::uint64_t number = 0; number < 12; ++number)
        EXPECT_EQ(bits.contains(number), std::count(inside.begin(), inside.end(), number) == 1) << number;
}

TEST(SparseBits, TheFirstOnesAreTakenInOrder)
{
    eboSparseBitArray bits = setOf({{3, 4}, {8, 8}});
    EXPECT_EQ(bits.takeFirst(), 3U);
    EXPECT_EQ(bits.ranges(), (Ranges{{4, 4}, {8, 8}}));
    EXPECT_EQ(bits.takeFirst(), 4U);
    EXPECT_EQ(bits.takeFirst(), 8U);
    EXPECT_EQ(bits.takeFirst(), std::nullopt);
}

TEST(SparseBits, SetsAreAddedAndSubtracted)
{
    eboSparseBitArray bits = setOf({{0, 10}, {20, 30}});
    bits.set(setOf({{11, 12}, {25, 40}}));
    EXPECT_EQ(bits.ranges(), (Ranges{{0, 12}, {20, 40}}));
    bits.remove(setOf({{5, 6}, {30, 100}}));
    EXPECT_EQ(bits.ranges(), (Ranges{{0, 4}, {7, 12}, {20, 29}}));
}

TEST(SparseBits, ASetCanBeAddedToItselfAndSubtractedFromItself)
{
    eboSparseBitArray bits = setOf({{0, 10}, {20, 30}});
    bits.set(bits);
    EXPECT_EQ(bits.ranges(), (Ranges{{0, 10}, {20, 30}}));
    bits.remove(bits);
    EXPECT_TRUE(bits.isEmpty());
}

TEST(SparseBits, ACopyIsASetOfItsOwn)
{
    eboSparseBitArray bits = setOf({{1, 2}});
    const eboSparseBitArray copy = bits;
    eboSparseBitArray assigned;
    assigned = bits;
    EXPECT_EQ(copy, bits);
    bits.clear();
    EXPECT_EQ(copy.ranges(), (Ranges{{1, 2}}));
    EXPECT_EQ(assigned, copy);
    EXPECT_FALSE(assigned == bits);
    EXPECT_EQ(bits, bits);
}

TEST(SparseBits, AgreesWithASetKeptBitByBit)
{
    constexpr std::size_t kNumbers = 200;
    std::mt19937 random(1);
    std::uniform_int_distribution<std::uint64_t> number(0, kNumbers - 1);
    eboSparseBitArray bits;
    std::bitset<kNumbers> expected;
    for (int step = 0; step < testsupport::repetitions(5000); ++step) {
        const std::uint64_t a = number(random);
        const std::uint64_t b = std::min<std::uint64_t>(a + number(random) / 20, kNumbers - 1);
        const bool adds = number(random) % 2 == 0;
        if (adds)
            bits.set({a, b});
        else
            bits.remove({a, b});
        for (std::uint64_t i = a; i <= b; ++i)
            expected.set(i, adds);
        ASSERT_EQ(bits.count(), expected.count()) << "step " << step;
        for (std::uint64_t i = 0; i < kNumbers; ++i)
            ASSERT_EQ(bits.contains(i), expected.test(i)) << "step " << step << ", number " << i;
        const Ranges ranges = bits.ranges();
        for (std::size_t i = 1; i < ranges.size(); ++i)
            ASSERT_GT(ranges[i].first, ranges[i - 1].last + 1) << "ranges touch in step " << step;
    }
}

TEST(SparseBits, ScatteredNumbersFromAnywhereCostNoMoreThanTheirCount)
{
    // Every other one of a million numbers, from the end on: each one goes before all others. Half a million
    // steps of half a million each would not end.
    constexpr std::uint64_t kCount = 500000;
    eboSparseBitArray bits;
    for (std::uint64_t i = kCount; i-- > 0;)
        bits.set(2 * i);
    EXPECT_EQ(bits.rangeCount(), kCount);
    eboSparseBitArray odd = bits;
    for (std::uint64_t i = 0; i < kCount; ++i)
        odd.remove({2 * i, 2 * i});
    EXPECT_TRUE(odd.isEmpty());
    std::uint64_t taken = 0;
    while (bits.takeFirst())
        ++taken;
    EXPECT_EQ(taken, kCount);
}

TEST(SparseBits, ThreadsMayUseOneSetAndTwoSetsEachWithTheOther)
{
    const int rounds = testsupport::repetitions(3000);
    eboSparseBitArray a;
    eboSparseBitArray b;
    const auto work = [rounds](eboSparseBitArray& mine, eboSparseBitArray& other, std::uint64_t base) {
        for (int i = 0; i < rounds; ++i) {
            mine.set({base, base + 10});
            other.set(mine);
            mine.remove(other);
            other = mine;
            (void)(mine == other);
            mine.takeFirst();
        }
        mine.set({base, base + 10});
    };
    std::thread first([&] { work(a, b, 0); });
    std::thread second([&] { work(b, a, 100); });
    first.join();
    second.join();
    a.clear();
    b.clear();
    EXPECT_EQ(a, b);
}

}  // namespace
