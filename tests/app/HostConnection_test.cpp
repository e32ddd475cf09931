#include "app/HostConnection.h"

#include "app/protocol/eboOfflineAnalysisProtocol.h"
#include "support/LogCapture.h"
#include "support/until.h"

#include <QBuffer>
#include <QCoreApplication>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <netinet/in.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <sys/socket.h>

namespace {

using testing::ElementsAre;
using testsupport::until;

constexpr quint32 kFirst = 101;
constexpr quint32 kSecond = 102;
constexpr quint32 kThird = 103;

std::string frame(quint32 id, const QByteArray& payload = {})
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    eboOfflineAnalysisProtocol::sendMessage(&buffer, 0, id, payload);
    return buffer.data().toStdString();
}

/// The host's end: a plain socket with next to no room for what it has not read.
class Peer {
public:
    Peer()
    {
        listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        constexpr int kReceiveBytes = 4096;
        ::setsockopt(listener_, SOL_SOCKET, SO_RCVBUF, &kReceiveBytes, sizeof(kReceiveBytes));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        EXPECT_EQ(::bind(listener_, generic, size), 0);
        EXPECT_EQ(::listen(listener_, 1), 0);
        EXPECT_EQ(::getsockname(listener_, generic, &size), 0);
        port_ = ntohs(address.sin_port);
    }
    ~Peer()
    {
        ::close(connection_);
        ::close(listener_);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    [[nodiscard]] std::uint16_t port() const { return port_; }
    void accept() { connection_ = ::accept(listener_, nullptr, nullptr); }
    void send(const std::string& bytes) const
    {
        EXPECT_EQ(::send(connection_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }

    /// What has arrived by now, up to so many bytes.
    [[nodiscard]] std::string arrived(std::size_t most) const
    {
        std::string bytes(most, '\0');
        const ssize_t count = ::recv(connection_, bytes.data(), most, MSG_DONTWAIT);
        bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return bytes;
    }

    /// Reads so many bytes, however long they take.
    void read(std::size_t size) const
    {
        std::vector<char> bytes(1U << 16U);
        for (std::size_t left = size; left > 0;) {
            const ssize_t count = ::recv(connection_, bytes.data(), std::min(bytes.size(), left), 0);
            ASSERT_GT(count, 0);
            left -= static_cast<std::size_t>(count);
        }
    }

    void close()
    {
        ::close(connection_);
        connection_ = -1;
    }

private:
    int listener_ = -1;
    int connection_ = -1;
    std::uint16_t port_ = 0;
};

class HostConnectionTest : public testing::Test {
protected:
    HostConnectionTest()
    {
        QObject::connect(&connection_, &HostConnection::commandReceived, &context_,
                         [this](quint32 id, const QByteArray& payload) {
                             EXPECT_FALSE(inCommand_) << "a command in the middle of another";
                             inCommand_ = true;
                             ids_.push_back(id);
                             if (onCommand_)
                                 onCommand_(id, payload);
                             inCommand_ = false;
                         });
        QObject::connect(&connection_, &HostConnection::lost, &context_, [this] { lost_ = true; });
    }

    void join()
    {
        connection_.connectToHost(peer_.port());
        peer_.accept();
        // A first command shows that the connection is up on this side, too.
        peer_.send(frame(kFirst));
        ASSERT_TRUE(until([this] { return !ids_.empty(); }));
        ids_.clear();
    }

    Peer peer_;
    HostConnection connection_;
    QObject context_;
    std::vector<quint32> ids_;
    std::function<void(quint32, const QByteArray&)> onCommand_;
    bool inCommand_ = false;
    bool lost_ = false;
};

TEST_F(HostConnectionTest, AllCommandsOfOneBufferComeInOrder)
{
    join();
    peer_.send(frame(kSecond, "x") + frame(kThird) + frame(kFirst));
    EXPECT_TRUE(until([this] { return ids_.size() == 3; }));
    EXPECT_THAT(ids_, ElementsAre(kSecond, kThird, kFirst));
}

TEST_F(HostConnectionTest, ACommandCutInPiecesComesWhenItIsWhole)
{
    join();
    const std::string whole = frame(kSecond, "payload");
    peer_.send(whole.substr(0, 25));
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    EXPECT_THAT(ids_, ElementsAre());
    peer_.send(whole.substr(25));
    EXPECT_TRUE(until([this] { return ids_.size() == 1; }));
}

TEST_F(HostConnectionTest, WhatIsSentHasLeftBeforeAnythingElseHappens)
{
    join();
    // Two small ones after one another: the second waits neither for an answer to the first nor for more.
    for (const quint32 id : {kSecond, kThird}) {
        connection_.send(id, "12345678");
        EXPECT_EQ(peer_.arrived(1000), frame(id, "12345678")) << "no event has been looked at";
    }
}

TEST_F(HostConnectionTest, CommandsThatArriveInAWaitingSendComeAfterIt)
{
    join();
    constexpr int kBytes = 16 << 20;  // more than the system keeps for a connection
    std::promise<void> isSending;
    std::atomic<bool> hasRead{false};
    onCommand_ = [&](quint32 id, const QByteArray& /*payload*/) {
        if (id != kSecond)
            return;
        connection_.send(kFirst, QByteArray(kBytes, 'x'));
        isSending.set_value();
        connection_.send(kFirst);  // waits for the one before
    };
    std::thread host([&] {
        peer_.send(frame(kSecond));
        isSending.get_future().wait();
        peer_.send(frame(kThird));
        peer_.read(kBytes / 2);  // makes room
        hasRead = true;
    });
    EXPECT_TRUE(until([&] { return ids_.size() == 2 && hasRead; }));
    EXPECT_THAT(ids_, ElementsAre(kSecond, kThird));
    host.join();
}

TEST_F(HostConnectionTest, AHostThatDoesNotReadIsWaitedForFifteenSecondsAndToldOf)
{
    join();
    const testsupport::LogCapture log;
    connection_.send(kFirst, QByteArray(16 << 20, 'x'));
    EXPECT_THAT(log.texts(), ElementsAre());
    connection_.send(kSecond);
    EXPECT_THAT(log.texts(),
                ElementsAre("eboOfflineAnalysisProtocol::sendMessage: buffer is full after 15000 "
                            "timeout!"));
    EXPECT_FALSE(lost_) << "slow is not gone";
}

TEST_F(HostConnectionTest, AHostThatGoesIsTold)
{
    join();
    EXPECT_FALSE(lost_);
    peer_.close();
    EXPECT_TRUE(until([this] { return lost_; }));
}

TEST_F(HostConnectionTest, NobodyListeningIsTold)
{
    std::uint16_t port = 0;
    {
        const Peer gone;
        port = gone.port();
    }
    connection_.connectToHost(port);
    EXPECT_TRUE(until([this] { return lost_; }));
}

}  // namespace
