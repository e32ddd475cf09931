#include "analysis/TransientMap.h"

#include "support/repetitions.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

namespace {

std::vector<std::pair<std::uint64_t, float>> contentOf(const TransientMap& map)
{
    std::vector<std::pair<std::uint64_t, float>> result;
    for (const auto& [position, event] : map)
        result.emplace_back(position, event.strength);
    return result;
}

using Content = std::vector<std::pair<std::uint64_t, float>>;

TEST(TransientMap, EqualPositionsKeepTheOrderOfInsertion)
{
    TransientMap map;
    EXPECT_TRUE(map.empty());
    map.insert(70, {0, 1.0f, 0, 0});
    map.insert(70, {1, 2.0f, 0, 0});
    map.insert(140, {0, 3.0f, 0, 0});
    map.insert(70, {2, 4.0f, 0, 0});
    map.insert(0, {2, 5.0f, 0, 0});
    EXPECT_EQ(contentOf(map), (Content{{0, 5.0f}, {70, 1.0f}, {70, 2.0f}, {70, 4.0f}, {140, 3.0f}}));
    EXPECT_EQ(map.size(), 5U);
    EXPECT_EQ(map.front().position, 0U);
    EXPECT_EQ(map.back().position, 140U);
}

TEST(TransientMap, ARaisedOnsetMovesBehindItsEquals)
{
    TransientMap map;
    map.insert(70, {0, 1.0f, 10.0f, 11});
    map.insert(70, {1, 2.0f, 20.0f, 21});
    map.insert(140, {2, 3.0f, 30.0f, 31});
    map.raiseStrength(map.begin(), 9.0f);
    EXPECT_EQ(contentOf(map), (Content{{70, 2.0f}, {70, 9.0f}, {140, 3.0f}}));
    const TransientEvent& raised = (map.begin() + 1)->event;
    EXPECT_EQ(raised.band, 0U);
    EXPECT_EQ(raised.bpm, 10.0f);
    EXPECT_EQ(raised.interval, 11U);
}

TEST(TransientMap, RaisingNeverLowers)
{
    TransientMap map;
    map.insert(70, {0, 1.0f, 0, 0});
    map.raiseStrength(map.begin(), 0.5f);
    EXPECT_EQ(contentOf(map), (Content{{70, 1.0f}}));
}

TEST(TransientMap, BehavesLikeAMultimap)
{
    std::minstd_rand random(3);
    for (int round = 0; round < testsupport::repetitions(100); ++round) {
        TransientMap map;
        std::multimap<std::uint64_t, TransientEvent> reference;
        for (int i = 0; i < 200; ++i) {
            const std::uint64_t position = random() % 40;
            const auto strength = static_cast<float>(random() % 1000);
            if (reference.empty() || random() % 3 != 0) {
                map.insert(position, {0, strength, 0, 0});
                reference.emplace(position, TransientEvent{0, strength, 0, 0});
            } else {
                const auto place = static_cast<std::ptrdiff_t>(random() % reference.size());
                map.raiseStrength(map.begin() + place, strength);
                const auto old = std::next(reference.begin(), place);
                auto entry = *old;
                entry.second.strength = std::max(entry.second.strength, strength);
                reference.erase(old);
                reference.insert(entry);
            }
        }
        Content expected;
        for (const auto& [position, event] : reference)
            expected.emplace_back(position, event.strength);
        ASSERT_EQ(contentOf(map), expected) << "round " << round;
    }
}

}  // namespace
