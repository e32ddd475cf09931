#include "app/WaitingStarts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using testing::ElementsAre;

/// Starts of which some can be reached; those that were tried are written down.
struct Waiting : testing::Test {
    bool tryAgain(const QByteArray& reachable)
    {
        tried_.clear();
        return starts_.tryAgain([&](const QByteArray& payload) {
            tried_.push_back(payload.toStdString());
            return payload == reachable;
        });
    }

    WaitingStarts starts_;
    std::vector<std::string> tried_;
};

TEST_F(Waiting, NothingWaitsAtFirst)
{
    EXPECT_FALSE(tryAgain("a"));
    EXPECT_THAT(tried_, ElementsAre());
}

TEST_F(Waiting, AStartWaitsUntilItHasBegunAndBeginsOnce)
{
    starts_.add("a");
    for (int look = 0; look < 3; ++look)
        EXPECT_FALSE(tryAgain("nothing"));
    EXPECT_TRUE(tryAgain("a"));
    EXPECT_EQ(starts_.size(), 0);
    EXPECT_FALSE(tryAgain("a"));
}

TEST_F(Waiting, TheOldestIsTriedFirstAndNoneBehindOneThatBegins)
{
    for (const char* payload : {"a", "b", "c"})
        starts_.add(payload);
    EXPECT_TRUE(tryAgain("b"));
    EXPECT_THAT(tried_, ElementsAre("a", "b"));
    EXPECT_FALSE(tryAgain("b"));
    EXPECT_THAT(tried_, ElementsAre("a", "c")) << "the others wait on, in their order";
}

}  // namespace
