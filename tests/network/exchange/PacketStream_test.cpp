#include "network/exchange/PacketStream.h"

#include "network/exchange/PumpedPeer.h"
#include "network/exchange/pump.h"
#include "network/exchange/wire.h"
#include "support/LogCapture.h"

#include <QHostAddress>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using exchangetest::PumpedListener;
using exchangetest::PumpedPeer;
using exchangetest::pumpUntil;
using exchangetest::wire::number32;
using exchangetest::wire::packet;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testsupport::LogCapture;

/// A connected socket that takes and gives less than it is asked for.
class StingySocket : public QTcpSocket {
public:
    StingySocket()
    {
        setSocketState(ConnectedState);
        open(QIODevice::ReadWrite | QIODevice::Unbuffered);
    }

    [[nodiscard]] qint64 bytesAvailable() const override { return available_; }

    qint64 takes_ = 0;
    qint64 available_ = 0;

protected:
    qint64 writeData(const char* /*data*/, qint64 size) override { return std::min(takes_, size); }
    qint64 readData(char* data, qint64 size) override
    {
        const qint64 given = std::min<qint64>(size, 2);
        std::fill_n(data, given, '\0');
        available_ = 0;
        return given;
    }
};

TEST(PacketStreamOnAStingySocket, SaysWhatWasNotSent)
{
    auto* const socket = new StingySocket;
    PacketStream stream(socket);
    const LogCapture log;
    for (const auto& [takes, expected] :
         {std::pair(3, "Failed to send packet size"), std::pair(4, "Failed to send packet"),
          std::pair(8, "Failed to send packet")}) {
        socket->takes_ = takes;
        EXPECT_FALSE(stream.sendPacket("words"));
        EXPECT_EQ(log.texts().back(),
                  std::string("bool PacketStream::sendPacket(const QByteArray&) ") + expected);
    }
    socket->takes_ = 9;
    EXPECT_TRUE(stream.sendPacket("words"));
    EXPECT_EQ(log.texts().size(), 3U);
}

TEST(PacketStreamOnAStingySocket, SkipsASizeThatCannotBeRead)
{
    auto* const socket = new StingySocket;
    PacketStream stream(socket);
    const LogCapture log;
    socket->available_ = 4;
    stream.onReadyRead();
    EXPECT_THAT(log.texts(), ElementsAre("Failed reading packet size. Skipping."));
    EXPECT_EQ(log.entries()[0].type, QtCriticalMsg);
    EXPECT_EQ(stream.packetsAvailable(), 0);
}

struct PacketStreamTest : testing::Test {
    PacketStreamTest()
    {
        PumpedListener listener;
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(QHostAddress(QHostAddress::LocalHost), listener.port());
        EXPECT_TRUE(socket->waitForConnected());
        peer_.emplace(listener.accept());
        socket_ = socket.release();
    }

    ~PacketStreamTest() override
    {
        stream_.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        delete socket_;
    }

    PacketStream& stream()
    {
        if (!stream_) {
            stream_ = std::make_unique<PacketStream>(socket_);
            QObject::connect(stream_.get(), &PacketStream::packetReady, [this] { ++ready_; });
            QObject::connect(stream_.get(), &PacketStream::disconnected, [this](PacketStream* lost) {
                EXPECT_EQ(lost, stream_.get());
                ++lost_;
            });
        }
        return *stream_;
    }

    /// All packets, once so many wait.
    std::vector<std::string> packets(int count)
    {
        EXPECT_TRUE(pumpUntil([&] { return stream().packetsAvailable() >= count; }));
        std::vector<std::string> result;
        while (stream().packetsAvailable() > 0)
            result.push_back(stream().nextPacket().toStdString());
        return result;
    }

    std::optional<PumpedPeer> peer_;
    QPointer<QTcpSocket> socket_;
    std::unique_ptr<PacketStream> stream_;
    int ready_ = 0;
    int lost_ = 0;
};

TEST_F(PacketStreamTest, SendsTheSizeInFourBigEndianBytesAndThenThePacket)
{
    EXPECT_TRUE(stream().sendPacket("abc"));
    EXPECT_EQ(peer_->receive(7), std::string("\0\0\0\3abc", 7));
    EXPECT_TRUE(stream().sendPacket(QByteArray(258, 'x')));
    EXPECT_EQ(peer_->receive(4), std::string("\0\0\1\2", 4));
    EXPECT_EQ(peer_->receive(258), std::string(258, 'x'));
    EXPECT_TRUE(stream().sendPacket({}));
    EXPECT_EQ(peer_->receive(4), std::string(4, '\0'));
}

TEST_F(PacketStreamTest, GivesPacketsInTheOrderTheyCame)
{
    peer_->send(packet("one") + packet("two") + packet("three"));
    EXPECT_THAT(packets(3), ElementsAre("one", "two", "three"));
    EXPECT_EQ(stream().nextPacket(), QByteArray());
}

TEST_F(PacketStreamTest, TwoPacketsInOneSegmentAreTwoSignals)
{
    stream();
    peer_->send(packet("one") + packet("two"));
    EXPECT_THAT(packets(2), ElementsAre("one", "two"));
    EXPECT_EQ(ready_, 2);
}

TEST_F(PacketStreamTest, BytesThatComeSinglyMakeOnePacket)
{
    stream();
    peer_->sendSlowly(packet("slowly"));
    EXPECT_THAT(packets(1), ElementsAre("slowly"));
    EXPECT_EQ(ready_, 1);
}

TEST_F(PacketStreamTest, WhatCameBeforeTheStreamIsNotLost)
{
    peer_->send(packet("early"));
    ASSERT_TRUE(socket_->waitForReadyRead());
    EXPECT_EQ(stream().packetsAvailable(), 1);
    EXPECT_EQ(ready_, 0) << "nobody could listen yet";
    EXPECT_EQ(stream().nextPacket(), QByteArray("early"));
}

TEST_F(PacketStreamTest, AnEmptyPacketWaitsForTheNextByte)
{
    stream();
    peer_->send(packet("first") + number32(0));
    EXPECT_THAT(packets(1), ElementsAre("first"));
    peer_->send(std::string(1, '\0'));  // the beginning of the next size
    EXPECT_THAT(packets(1), ElementsAre(""));
    peer_->send(std::string("\0\0\2hi", 5));
    EXPECT_THAT(packets(1), ElementsAre("hi"));
}

TEST_F(PacketStreamTest, TheLargestPacketHas65534Bytes)
{
    const std::string largest(65534, 'l');
    peer_->send(packet(largest));
    EXPECT_THAT(packets(1), ElementsAre(largest));
    const LogCapture log;
    EXPECT_TRUE(stream().sendPacket(QByteArray::fromStdString(largest)));
    EXPECT_EQ(peer_->receive(65538), packet(largest));
    EXPECT_THAT(log.texts(), ElementsAre());
}

TEST_F(PacketStreamTest, OneOf65535BytesIsSentWithoutAComplaint)
{
    const LogCapture log;
    EXPECT_TRUE(stream().sendPacket(QByteArray(65535, 'x')));
    EXPECT_EQ(peer_->receive(65539).size(), 65539U);
    EXPECT_THAT(log.texts(), ElementsAre());
}

TEST_F(PacketStreamTest, OneOf65536BytesIsComplainedAboutAndSent)
{
    const LogCapture log;
    EXPECT_TRUE(stream().sendPacket(QByteArray(65536, 'x')));
    EXPECT_EQ(peer_->receive(65540), number32(65536) + std::string(65536, 'x'));
    ASSERT_EQ(log.entries().size(), 1U);
    EXPECT_EQ(log.entries()[0].text, "Invalidly large packet sent.");
    EXPECT_EQ(log.entries()[0].type, QtCriticalMsg);
    EXPECT_EQ(log.entries()[0].category, "ebo.network.service.packetstream");
}

TEST_F(PacketStreamTest, ARefusedSizeCostsItsFourBytes)
{
    const LogCapture log;
    peer_->send(number32(65535) + number32(65536) + number32(0x7fffffff) + number32(0xffffffff) +
                number32(0x80000000) + packet("still here"));
    EXPECT_THAT(packets(1), ElementsAre("still here"));
    EXPECT_THAT(log.texts(),
                ElementsAre("Invalidly large packet received.", "Invalidly large packet received.",
                            "Invalidly large packet received.", "Negative packet size received.",
                            "Negative packet size received."));
}

TEST_F(PacketStreamTest, PacketsSurviveTheConnection)
{
    stream();
    peer_->send(packet("last words"));
    peer_->close();
    EXPECT_TRUE(pumpUntil([this] { return stream().socket() == nullptr; }));
    EXPECT_THAT(packets(1), ElementsAre("last words"));
}

TEST_F(PacketStreamTest, ALostConnectionIsToldAndNothingIsSentAnyMore)
{
    stream();
    peer_->reset();
    EXPECT_TRUE(pumpUntil([this] { return stream().socket() == nullptr; }));
    EXPECT_GE(lost_, 1);
    const int before = lost_;
    const LogCapture log;
    EXPECT_FALSE(stream().sendPacket("too late"));
    EXPECT_EQ(lost_, before + 1);
    EXPECT_THAT(log.texts(), ElementsAre("Tried sending packet via non-connected socket!"));
    stream().onReadyRead();
    EXPECT_EQ(lost_, before + 2);
    EXPECT_THAT(log.texts(), Contains("Got onReadyRead from no longer connected socket!"));
}

TEST_F(PacketStreamTest, ClosingReleasesTheSocketAndTells)
{
    stream().disconnectFromHost();
    EXPECT_EQ(stream().socket(), nullptr);
    EXPECT_GE(lost_, 1);
    EXPECT_TRUE(peer_->isClosed());
    EXPECT_TRUE(pumpUntil([this] { return socket_.isNull(); })) << "the socket leaks";
}

TEST_F(PacketStreamTest, AnErrorAndItsStateChangeMayBothTell)
{
    const LogCapture log;
    stream().onSocketError(QAbstractSocket::RemoteHostClosedError);
    stream().onSocketStateChanged(QAbstractSocket::UnconnectedState);
    EXPECT_GE(lost_, 2);
    EXPECT_THAT(log.texts(), Contains(HasSubstr("Socket error: QAbstractSocket::RemoteHostClosedError , will "
                                                "disconnect.")));
}

TEST_F(PacketStreamTest, OfManyThatComeAtOnceNoneIsLostWithTheConnection)
{
    stream();
    std::string many;
    constexpr int kPackets = 1000;  // more than one turn takes
    for (int i = 0; i < kPackets; ++i)
        many += packet("word");
    peer_->send(many);
    peer_->close();
    EXPECT_TRUE(pumpUntil([this] { return stream().socket() == nullptr; }));
    EXPECT_EQ(packets(kPackets).size(), static_cast<std::size_t>(kPackets));
}

TEST_F(PacketStreamTest, EmptyPacketsCostTheirPlaceToo)
{
    stream();
    const std::string nothing(1U << 20U, '\0');
    std::size_t sent = 0;
    int idle = 0;
    EXPECT_TRUE(pumpUntil([&] {
        const std::size_t step = peer_->trySend(nothing);
        sent += step;
        idle = step == 0 ? idle + 1 : 0;
        return idle > 30 || sent > (256U << 20U);
    }));
    EXPECT_LT(sent, 32U << 20U);
    EXPECT_LT(stream().packetsAvailable(), 10000);
}

TEST_F(PacketStreamTest, IsReadOnlyWhenItShallBe)
{
    PacketStream paused(socket_, false);
    peer_->send(packet("early"));
    ASSERT_TRUE(pumpUntil([this] { return socket_->bytesAvailable() == 9; }));
    EXPECT_EQ(paused.packetsAvailable(), 0);
    paused.setReading(true);
    EXPECT_EQ(paused.packetsAvailable(), 1);
}

TEST_F(PacketStreamTest, EndsTheConnectionWithItself)
{
    stream();
    stream_.reset();
    EXPECT_TRUE(peer_->isClosed());
}

TEST_F(PacketStreamTest, MayBeClosedByTheListenerOfAPacket)
{
    QObject::connect(&stream(), &PacketStream::packetReady, [this] { stream().disconnectFromHost(); });
    peer_->send(packet("one") + packet("two"));
    EXPECT_TRUE(pumpUntil([this] { return stream().socket() == nullptr; }));
    EXPECT_THAT(packets(1), ElementsAre("one"));
}

TEST_F(PacketStreamTest, TellsHowManyBytesHaveGone)
{
    qint64 bytes = 0;
    QObject::connect(&stream(), &PacketStream::bytesWritten, [&bytes](qint64 count) { bytes += count; });
    stream().sendPacket("abc");
    EXPECT_TRUE(pumpUntil([&bytes] { return bytes == 7; }));
}

}  // namespace
