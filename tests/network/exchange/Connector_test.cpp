#include "network/exchange/Connector.h"

#include "network/exchange/PumpedPeer.h"
#include "network/exchange/pump.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <memory>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

using eboNetworkExchange::Connector;
using exchangetest::PumpedListener;
using exchangetest::PumpedPeer;
using exchangetest::pumpUntil;

QHostAddress loopback(int last) { return QHostAddress(QStringLiteral("127.0.0.%1").arg(last)); }

/// A port of 127.0.0.1 where nobody answers: its queue is full.
class DeafPort {
public:
    DeafPort() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(::bind(listener_, reinterpret_cast<const sockaddr*>(&address), size), 0);
        EXPECT_EQ(::listen(listener_, 0), 0);
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
        port_ = ntohs(address.sin_port);
        fill_.push_back(PumpedPeer::connectTo(port_));
    }
    ~DeafPort() { ::close(listener_); }
    DeafPort(const DeafPort&) = delete;
    DeafPort& operator=(const DeafPort&) = delete;

    [[nodiscard]] quint16 port() const { return port_; }

private:
    int listener_;
    quint16 port_ = 0;
    std::vector<PumpedPeer> fill_;
};

class Connecting : public testing::Test {
protected:
    void connect(const QHostAddress& remote, quint16 port, int from, qint64 heardSince = 0,
                 const QObject* owner = nullptr)
    {
        connector_.connectTo(
            {owner != nullptr ? owner : &owner_,
             {{loopback(from), remote}, port},
             heardSince,
             [this, from](QTcpSocket* socket) {
                 sockets_.emplace_back(socket);
                 order_.push_back(from);
             },
             [this](const QTcpSocket&, QAbstractSocket::SocketError error) { errors_.push_back(error); }});
    }

    QObject owner_;
    std::unique_ptr<QObject> many_ = std::make_unique<QObject>();
    eboNetworkExchange::SocketBudget budget_{1000, 1000};
    Connector connector_{budget_, [](const QHostAddress&) { return true; }};
    std::vector<std::unique_ptr<QTcpSocket>> sockets_;
    std::vector<int> order_;
    std::vector<QAbstractSocket::SocketError> errors_;
};

TEST_F(Connecting, GoesOnWithThoseWhoWaitAsAttemptsEnd)
{
    PumpedListener listener;
    constexpr int kWishes = 200;
    for (int i = 1; i <= kWishes; ++i)
        connect(loopback(1), listener.port(), i);
    EXPECT_EQ(connector_.underWay(), Connector::kMostAttempts);
    std::vector<PumpedPeer> others;
    EXPECT_TRUE(pumpUntil([&] {
        while (listener.hasPending())
            others.push_back(listener.accept());
        return sockets_.size() == kWishes;
    }));
    EXPECT_EQ(connector_.underWay(), 0);
    EXPECT_EQ(budget_.count(), kWishes) << "who takes the sockets keeps their places";
}

TEST_F(Connecting, DoesNothingTwice)
{
    DeafPort deaf;
    connect(loopback(1), deaf.port(), 1);
    connect(loopback(1), deaf.port(), 1);
    EXPECT_EQ(connector_.underWay(), 1);
}

TEST_F(Connecting, AddressThatHoldsManyAttemptsMakesWayForAnother)
{
    DeafPort deaf;
    PumpedListener listener(2);
    for (int i = 1; i <= 200; ++i)
        connect(loopback(1), deaf.port(), i);
    connect(loopback(2), listener.port(), 1);
    EXPECT_TRUE(pumpUntil([this] { return sockets_.size() == 1; })) << "long before the others end";
    EXPECT_TRUE(errors_.empty());
}

TEST_F(Connecting, AmongEqualsTheLongestHeardComesFirst)
{
    DeafPort deaf;
    PumpedListener listener(2);
    for (int i = 1; i <= Connector::kMostAttempts; ++i)
        connect(loopback(1), deaf.port(), i, 0, many_.get());
    for (const int from : {7, 5, 9})
        connect(loopback(2), listener.port(), from, from);
    connector_.giveUp(many_.get());
    EXPECT_TRUE(pumpUntil([this] { return order_.size() == 3; }));
    EXPECT_EQ(order_, (std::vector<int>{5, 7, 9}));
}

TEST_F(Connecting, GivesUpAfterAWhile)
{
    DeafPort deaf;
    connect(loopback(1), deaf.port(), 1);
    EXPECT_TRUE(pumpUntil([this] { return !errors_.empty(); }));
    EXPECT_EQ(errors_, std::vector{QAbstractSocket::SocketTimeoutError});
    EXPECT_EQ(connector_.underWay(), 0);
    EXPECT_EQ(budget_.count(), 0);
}

TEST_F(Connecting, NobodyHearsOfAnAttemptWhoseOwnerHasGone)
{
    PumpedListener listener;
    auto owner = std::make_unique<QObject>();
    connect(loopback(1), listener.port(), 1, 0, owner.get());
    owner.reset();
    EXPECT_TRUE(pumpUntil([this] { return connector_.underWay() == 0; }));
    EXPECT_TRUE(sockets_.empty());
    EXPECT_TRUE(errors_.empty());
}

TEST_F(Connecting, WithoutRoomThereIsNoAttempt)
{
    PumpedListener listener;
    Connector crowded(budget_, [](const QHostAddress&) { return false; });
    crowded.connectTo({&owner_,
                       {{loopback(1), loopback(1)}, listener.port()},
                       0,
                       [](QTcpSocket*) { FAIL(); },
                       [](const QTcpSocket&, QAbstractSocket::SocketError) { FAIL(); }});
    EXPECT_EQ(crowded.underWay(), 0);
}

}  // namespace
