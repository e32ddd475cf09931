#include "network/discovery/sameAddress.h"

#include <gtest/gtest.h>

namespace {

using eboDiscoverer::sameAddress;

QHostAddress address(const char* text) { return QHostAddress(QString::fromLatin1(text)); }

TEST(SameAddress, BothFormsOfAnIPv4AddressAreOne)
{
    EXPECT_TRUE(sameAddress(address("10.0.0.1"), address("::ffff:10.0.0.1")));
    EXPECT_TRUE(sameAddress(address("10.0.0.1"), address("10.0.0.1")));
    EXPECT_FALSE(sameAddress(address("10.0.0.1"), address("::ffff:10.0.0.2")));
}

TEST(SameAddress, OthersAreNot)
{
    EXPECT_FALSE(sameAddress(address("fe80::1"), address("fe80::2")));
    EXPECT_FALSE(sameAddress(address("::10.0.0.1"), address("10.0.0.1"))) << "compatible is not mapped";
    EXPECT_TRUE(sameAddress(address("fe80::1"), address("fe80::1")));
}

}  // namespace
