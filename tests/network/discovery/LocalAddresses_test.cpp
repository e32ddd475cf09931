#include "network/discovery/LocalAddresses.h"

#include "network/discovery/sameAddress.h"
#include "support/LogCapture.h"
#include "support/until.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using eboDiscoverer::LocalAddresses;
using testing::ElementsAre;
using testsupport::until;

class OwnAddresses : public testing::Test {
protected:
    LocalAddresses::Entries answer_ = QList<eboDiscoverer::LocalEntry>{};
    int questions_ = 0;
    LocalAddresses addresses_{[this] {
        ++questions_;
        return answer_;
    }};
};

TEST_F(OwnAddresses, AreAskedForOnceATurn)
{
    for (int i = 0; i < 100; ++i)
        EXPECT_TRUE(addresses_.entries());
    EXPECT_EQ(questions_, 1);
    EXPECT_TRUE(until([this] {
        (void)addresses_.entries();
        return questions_ == 2;
    }));
}

TEST_F(OwnAddresses, AreAskedForAnewWhenSomethingHasChanged)
{
    (void)addresses_.entries();
    addresses_.expire();
    (void)addresses_.entries();
    EXPECT_EQ(questions_, 2);
}

TEST_F(OwnAddresses, ThatCannotBeHadAreUnknownAndNotNone)
{
    const testsupport::LogCapture log;
    EXPECT_TRUE(addresses_.entries()) << "none at all, for certain";
    for (const bool isKnown : {false, false, true, false}) {
        answer_ = isKnown ? LocalAddresses::Entries(QList<eboDiscoverer::LocalEntry>{}) : std::nullopt;
        addresses_.expire();
        EXPECT_EQ(addresses_.entries().has_value(), isKnown);
    }
    EXPECT_THAT(log.texts(), ElementsAre("The addresses of this device cannot be listed",
                                         "The addresses of this device cannot be listed"))
        << "once for each time that it begins";
}

TEST(OwnAddressesOfTheSystem, HaveThatOfLoopback)
{
    const auto entries = LocalAddresses::listOfSystem();
    ASSERT_TRUE(entries);
    EXPECT_TRUE(std::any_of(entries->begin(), entries->end(), [](const auto& entry) {
        return eboDiscoverer::sameAddress(entry.ip, QHostAddress(QHostAddress::LocalHost));
    }));
}

}  // namespace
