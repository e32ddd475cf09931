#include "network/exchange/PacketStream.h"

#include "network/discovery/PeerBudget.h"
#include "network/exchange/TurnBudget.h"
#include "runtime/logCategories.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <utility>

using eboDiscoverer::PeerBudget;

namespace {

constexpr qint64 kCostOfPacket = 64;  // besides its bytes, which may be none

}  // namespace

PacketStream::PacketStream(QPointer<QTcpSocket> socket, bool isReading)
    : socket_(std::move(socket)), isReading_(!isReading), again_(this)
{
    again_.setSingleShot(true);
    again_.setInterval(0);
    connect(&again_, &QTimer::timeout, this, [this] {
        if (isConnected())
            readTurn();
    });
    connect(socket_, &QTcpSocket::readyRead, this, &PacketStream::onReadyRead, Qt::DirectConnection);
    connect(socket_, &QTcpSocket::disconnected, this, &PacketStream::onSocketDisconnected,
            Qt::DirectConnection);
    connect(socket_, &QTcpSocket::stateChanged, this, &PacketStream::onSocketStateChanged,
            Qt::DirectConnection);
    connect(socket_, &QTcpSocket::errorOccurred, this, &PacketStream::onSocketError, Qt::DirectConnection);
    connect(socket_, &QTcpSocket::bytesWritten, this, &PacketStream::bytesWritten, Qt::DirectConnection);
    setReading(isReading);
}

void PacketStream::setReading(bool isReading)
{
    if (std::exchange(isReading_, isReading) == isReading || !socket_)
        return;
    if (isReading)
        onReadyRead();
    limitBuffer();
}

PacketStream::~PacketStream()
{
    qCInfo(ebo::log::packetStream) << "(destructor)" << this;
    releaseSocket();
}

bool PacketStream::isConnected() const
{
    return socket_ && socket_->state() == QAbstractSocket::ConnectedState;
}

void PacketStream::onReadyRead()
{
    if (!isConnected()) {
        qCWarning(ebo::log::packetStream) << "Got onReadyRead from no longer connected socket!";
        Q_EMIT disconnected(this);
        return;
    }
    readTurn();
}

bool PacketStream::hasTooMuch() const { return waitingBytes_ >= PeerBudget::kWaitingBytes; }

/// The more is taken from the system's socket at a time, the faster that is, and the more can lie here; a
/// stream that does not keep up or is not to be read gets less.
void PacketStream::limitBuffer()
{
    constexpr qint64 kLeast = 4096;
    constexpr qint64 kMost = 2 * 1024 * 1024;
    if (!socket_)
        return;
    const qint64 unparsed = socket_->bytesAvailable();
    if (!isReading_)
        socket_->setReadBufferSize(kLeast);
    else if (unparsed > PeerBudget::kUnparsedBytes)
        socket_->setReadBufferSize(PeerBudget::kUnparsedBytes);
    else if (unparsed == 0)
        socket_->setReadBufferSize(kMost);
}

void PacketStream::readTurn()
{
    read(Extent::kOneTurn);
    limitBuffer();
}

void PacketStream::read(Extent extent)
{
    eboNetworkExchange::TurnBudget turn;
    // The socket is looked for each time: whoever hears of a packet may end the stream.
    while (socket_ && isReading_ && socket_->bytesAvailable() > 0) {
        if (inPacket_) {
            readPayload();
            continue;
        }
        if (extent == Extent::kOneTurn && hasTooMuch())
            return;  // until a packet is taken
        if (extent == Extent::kOneTurn && !turn.take()) {
            again_.start();
            return;
        }
        if (readSize() == Progress::kWait)
            return;
    }
}

/// What has arrived whole counts, also if the connection ends before its turn has come.
void PacketStream::readRest()
{
    if (again_.isActive() || hasTooMuch())
        read(Extent::kWhatIsThere);
    again_.stop();
}

PacketStream::Progress PacketStream::readSize()
{
    std::array<char, sizeof(std::int32_t)> bytes{};
    if (socket_->bytesAvailable() < static_cast<qint64>(bytes.size()))
        return Progress::kWait;
    if (socket_->read(bytes.data(), bytes.size()) != static_cast<qint64>(bytes.size())) {
        qCCritical(ebo::log::packetStream) << "Failed reading packet size. Skipping.";
        return Progress::kMore;
    }
    expectedSize_ = qFromBigEndian<std::int32_t>(bytes.data());
    if (expectedSize_ < 0) {
        qCCritical(ebo::log::packetStream) << "Negative packet size received.";
    } else if (expectedSize_ >= kTooLargeToReceive) {
        qCCritical(ebo::log::packetStream) << "Invalidly large packet received.";
    } else {
        received_.reserve(expectedSize_);
        received_.resize(0);
        inPacket_ = true;
    }
    return Progress::kMore;
}

void PacketStream::readPayload()
{
    const int before = received_.size();
    received_.resize(expectedSize_);
    const qint64 count = socket_->read(received_.data() + before, expectedSize_ - before);
    received_.resize(before + static_cast<int>(std::max<qint64>(count, 0)));
    if (received_.size() < expectedSize_)
        return;
    waitingBytes_ += received_.size() + kCostOfPacket;
    packets_.append(std::exchange(received_, {}));
    ++waiting_;
    inPacket_ = false;
    Q_EMIT packetReady();
}

QByteArray PacketStream::nextPacket()
{
    if (packets_.isEmpty())
        return {};
    --waiting_;
    QByteArray packet = packets_.takeFirst();
    const bool hadTooMuch = hasTooMuch();
    waitingBytes_ -= packet.size() + kCostOfPacket;
    if (hadTooMuch && !hasTooMuch() && socket_)
        again_.start();
    return packet;
}

bool PacketStream::sendPacket(const QByteArray& packet)
{
    if (!isConnected()) {
        qCWarning(ebo::log::packetStream) << "Tried sending packet via non-connected socket!";
        Q_EMIT disconnected(this);
        return false;
    }
    if (packet.size() >= kTooLargeToSend)
        qCCritical(ebo::log::packetStream) << "Invalidly large packet sent.";

    // In one piece: two would travel in two segments.
    constexpr int kSizeBytes = sizeof(std::int32_t);
    QByteArray framed(kSizeBytes, Qt::Uninitialized);
    qToBigEndian(static_cast<std::int32_t>(packet.size()), framed.data());
    framed += packet;
    const qint64 taken = socket_->write(framed);
    if (taken < kSizeBytes) {
        qCWarning(ebo::log::packetStream) << Q_FUNC_INFO << "Failed to send packet size";
        return false;
    }
    if (taken != framed.size()) {
        qCWarning(ebo::log::packetStream) << Q_FUNC_INFO << "Failed to send packet";
        return false;
    }
    if (!isConnected()) {
        qCWarning(ebo::log::packetStream) << "Tried sending packet via non-connected socket?!?!?!";
        Q_EMIT disconnected(this);
        return false;
    }
    return true;
}

void PacketStream::disconnectFromHost() { socket_->close(); }

void PacketStream::releaseSocket()
{
    if (!socket_)
        return;
    QTcpSocket* const socket = std::exchange(socket_, nullptr);
    disconnect(socket, nullptr, this, nullptr);
    disconnect(this, nullptr, socket, nullptr);
    socket->close();
    socket->deleteLater();
}

void PacketStream::onSocketStateChanged(QAbstractSocket::SocketState state)
{
    qCInfo(ebo::log::packetStream) << this << "Socket state changed:" << state;
    if (state == QAbstractSocket::ConnectedState)
        return;
    readRest();
    releaseSocket();
    Q_EMIT disconnected(this);
}

void PacketStream::onSocketError(QAbstractSocket::SocketError error)
{
    qCWarning(ebo::log::packetStream) << this << "Socket error:" << error << ", will disconnect.";
    readRest();
    releaseSocket();
    Q_EMIT disconnected(this);
}

void PacketStream::onSocketDisconnected()
{
    qCInfo(ebo::log::packetStream) << this << "Socket disconnected";
    releaseSocket();
    disconnect(this, nullptr, this, nullptr);
}
