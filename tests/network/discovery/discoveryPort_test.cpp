#include "network/discovery/discoveryPort.h"

#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using eboDiscoverer::discoveryPort;
using eboDiscoverer::takeDiscoveryPort;
using testing::ElementsAre;
using testing::IsEmpty;

/// The port is the process's: each test leaves it as it was.
class DiscoveryPort : public testing::Test {
protected:
    void TearDown() override { take({"-discoPort", "51337"}); }

    static void take(const std::vector<const char*>& arguments)
    {
        QStringList list{QStringLiteral("tunesift-worker")};
        for (const char* const argument : arguments)
            list.append(QString::fromLatin1(argument));
        takeDiscoveryPort(list);
    }

    testsupport::LogCapture log_;
};

TEST_F(DiscoveryPort, IsTheAgreedOneWithoutAnOption)
{
    take({"40000"});
    EXPECT_EQ(discoveryPort(), 51337);
    EXPECT_THAT(log_.entries(), IsEmpty());
}

TEST_F(DiscoveryPort, IsTheNumberBehindTheOption)
{
    take({"40000", "-discoPort", "40404"});
    EXPECT_EQ(discoveryPort(), 40404);
    EXPECT_THAT(log_.texts(), ElementsAre("Discoverer Port override requested, set to: 40404"));
    EXPECT_EQ(log_.entries()[0].type, QtWarningMsg);
    EXPECT_EQ(log_.entries()[0].category, "ebo.discoverer");
}

TEST_F(DiscoveryPort, IsCutToSixteenBits)
{
    take({"-discoPort", "65537"});
    EXPECT_EQ(discoveryPort(), 1);
    take({"-discoPort", "-1"});
    EXPECT_EQ(discoveryPort(), 65535);
}

TEST_F(DiscoveryPort, StaysAsItIsIfNoNumberFollows)
{
    take({"-discoPort", "1234"});
    for (const auto& arguments :
         {std::vector{"-discoPort"}, {"-discoPort", "many"}, {"-discoPort", ""}, {"-discoPort", "0x50"}}) {
        take(arguments);
        EXPECT_EQ(discoveryPort(), 1234);
        EXPECT_EQ(log_.texts().back(), "Discoverer Port override requested, set to: 1234");
    }
    EXPECT_EQ(log_.texts().size(), 5U) << "the option is answered in any case";
}

}  // namespace
