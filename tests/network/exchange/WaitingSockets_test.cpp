#include "network/exchange/WaitingSockets.h"

#include "network/exchange/wire.h"

#include <gtest/gtest.h>

namespace {

using eboNetworkExchange::WaitingSockets;
using exchangetest::wire::kHigher;
using exchangetest::wire::kLower;
using exchangetest::wire::uuid;

TEST(WaitingSockets, AreTakenByNameOnce)
{
    QTcpSocket first;
    QTcpSocket second;
    WaitingSockets waiting;
    waiting.add(uuid(kLower), &first);
    waiting.add(uuid(kHigher), &second);
    EXPECT_EQ(waiting.take(uuid(kLower)), QList<QTcpSocket*>{&first});
    EXPECT_TRUE(waiting.take(uuid(kLower)).isEmpty());
    EXPECT_EQ(waiting.size(), 1);
}

TEST(WaitingSockets, WaitUnderTheirLastNameOnly)
{
    QTcpSocket socket;
    WaitingSockets waiting;
    waiting.add(uuid(kLower), &socket);
    waiting.add(uuid(kHigher), &socket);
    EXPECT_TRUE(waiting.take(uuid(kLower)).isEmpty());
    EXPECT_EQ(waiting.take(uuid(kHigher)), QList<QTcpSocket*>{&socket});
}

TEST(WaitingSockets, LeaveWhenTheyClose)
{
    QTcpSocket socket;
    WaitingSockets waiting;
    waiting.add(uuid(kLower), &socket);
    waiting.remove(&socket);
    EXPECT_TRUE(waiting.take(uuid(kLower)).isEmpty());
}

TEST(WaitingSockets, AreBounded)
{
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    WaitingSockets waiting;
    for (int i = 0; i < WaitingSockets::kMost + 1; ++i) {
        sockets.push_back(std::make_unique<QTcpSocket>());
        waiting.add(uuid(kLower), sockets.back().get());
    }
    EXPECT_EQ(waiting.size(), WaitingSockets::kMost);
    EXPECT_FALSE(waiting.take(uuid(kLower)).contains(sockets.back().get()));
}

}  // namespace
