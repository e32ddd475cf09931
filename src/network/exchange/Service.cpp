#include "network/exchange/Service.h"

#include "network/discovery/PeerBudget.h"
#include "network/discovery/sameAddress.h"
#include "network/exchange/DirectoryMessage.h"
#include "network/exchange/Host.h"
#include "runtime/logCategories.h"

#include <QMutexLocker>
#include <QThread>

#include <algorithm>
#include <optional>
#include <utility>

namespace eboNetworkExchange {

namespace {

using eboDiscoverer::PeerBudget;
using eboDiscoverer::sameAddress;

constexpr qint64 kMostSentAtOnce = 16384;

/// As the log names every way of sending.
constexpr const char* kWrite = "bool eboNetworkExchange::Service::write(const QByteArray&, bool)";

/// The way that a stream goes; nothing once it has lost its socket.
std::optional<AddressPair> wayOf(const PacketStream& stream)
{
    const QTcpSocket* socket = stream.socket();
    if (socket == nullptr)
        return std::nullopt;
    return AddressPair{socket->localAddress(), socket->peerAddress()};
}

/// A stream may be the one whose signal is being handled: it always goes later.
Service::Stream makeStream(QTcpSocket* socket, bool isReading)
{
    return {new PacketStream(socket, isReading), [](PacketStream* stream) { stream->deleteLater(); }};
}

bool isSameWay(const AddressPair& a, const AddressPair& b)
{
    return sameAddress(a.local, b.local) && sameAddress(a.remote, b.remote);
}

}  // namespace

Service::Service(ebo::weakptr<Host> host, QString serviceId, quint16 port, const QUuid& localUuid,
                 std::shared_ptr<ThreadCalls> calls)
    : host_(std::move(host)), serviceId_(std::move(serviceId)), port_(port), localUuid_(localUuid),
      calls_(std::move(calls))
{}

Service::~Service() = default;

bool Service::isReady() const
{
    const QMutexLocker locker(&mutex_);
    return !streams_.isEmpty();
}

QList<Service::Stream> Service::streams() const
{
    const QMutexLocker locker(&mutex_);
    return streams_;
}

QList<ExistingConnection> Service::connections() const
{
    QList<ExistingConnection> result;
    for (const Stream& stream : streams()) {
        if (const auto way = wayOf(*stream))
            result.append({way->local, way->remote, stream->socket()->peerPort()});
    }
    return result;
}

void Service::connectStreams(Connector& connector, const QList<QHostAddress>& addresses,
                             const QList<LocalEntry>& entries)
{
    if (port_ == 0)
        return;
    connector_ = &connector;
    const ebo::refptr<Host> host = host_.promote();
    for (const AddressPair& pair : addressPairs(addresses, port_, connections(), entries)) {
        connector.connectTo({this,
                             {pair, port_},
                             host ? host->heardSince() : 0,
                             [this](QTcpSocket* socket) { onSocketConnected(socket); },
                             [this](const QTcpSocket& socket, QAbstractSocket::SocketError error) {
                                 onSocketError(socket, error);
                             }});
    }
}

void Service::closeStaleStreams(const QList<LocalEntry>& entries)
{
    for (const Stream& stream : streams()) {
        const auto way = wayOf(*stream);
        if (way && !isLocal(way->local, entries))
            stream->disconnectFromHost();
    }
}

void Service::onSocketConnected(QTcpSocket* socket)
{
    // Names the service to the other side; it is no packet of the stream that follows.
    DirectoryMessage message;
    message.type = DirectoryMessage::kServiceInfo;
    message.hostUuid = localUuid_;
    message.serviceId = serviceId_;
    message.port = socket->localPort();
    socket->write(toBytes(message));
    addStream(socket);
}

void Service::onSocketError(const QTcpSocket& socket, QAbstractSocket::SocketError socketError)
{
    qCWarning(ebo::log::networkService)
        << serviceId_ << "socket error" << socketError << "(" << socket.errorString() << ")";
}

/// Nobody needs as many streams; whoever opens them gets the newest.
void Service::makeRoomFor(const AddressPair& way)
{
    constexpr int kOfOneWay = 2;  // one may have died without a word
    QList<Stream> ofWay;
    const QList<Stream> all = streams();
    for (const Stream& stream : all) {
        const auto its = wayOf(*stream);
        if (its && isSameWay(*its, way))
            ofWay.append(stream);
    }
    if (ofWay.size() >= kOfOneWay)
        close(ofWay.first());
    else if (all.size() >= PeerBudget::kStreams)
        close(all.first());
}

void Service::close(const Stream& stream)
{
    remove(stream);
    disconnect(stream.get(), nullptr, this, nullptr);
    if (stream->socket() != nullptr)
        stream->disconnectFromHost();
}

void Service::setReading(bool isReading)
{
    isReading_ = isReading;
    for (const Stream& stream : streams())
        stream->setReading(isReading);
}

void Service::addStream(QTcpSocket* socket)
{
    disconnect(socket, nullptr, this, nullptr);
    disconnect(this, nullptr, socket, nullptr);
    socket->setParent(nullptr);
    const QHostAddress peer = socket->peerAddress();
    const quint16 peerPort = socket->peerPort();
    makeRoomFor({socket->localAddress(), peer});
    const Stream stream = makeStream(socket, isReading_);
    stream->setObjectName(serviceId_ + QStringLiteral("_stream_") + peer.toString());
    qCInfo(ebo::log::networkService) << "(new Stream)" << stream.get() << socket->localAddress() << "=>"
                                     << peer;
    connect(stream.get(), &PacketStream::packetReady, this, &Service::readyRead);
    connect(stream.get(), &PacketStream::disconnected, this, &Service::socketDisconnected);
    connect(stream.get(), &PacketStream::bytesWritten, this, &Service::bytesWritten);

    bool wasReady = false;
    {
        const QMutexLocker locker(&mutex_);
        wasReady = !streams_.isEmpty();
        streams_.append(stream);
    }
    const bool packetsWait = stream->packetsAvailable() > 0;
    if (!wasReady)
        Q_EMIT isReadyChanged(ebo::refptr<Service>(this));
    if (packetsWait)
        Q_EMIT readyRead();
    qCDebug(ebo::log::networkService) << serviceId_ << "connected to host:" << peer << peerPort;
}

void Service::remove(const Stream& stream)
{
    const QMutexLocker locker(&mutex_);
    streams_.removeOne(stream);
}

void Service::socketDisconnected(PacketStream* stream)
{
    for (const Stream& known : streams()) {
        if (known.get() == stream)
            remove(known);
    }
    Q_EMIT isReadyChanged(ebo::refptr<Service>(this));
}

void Service::ipRemoved(const QHostAddress& address)
{
    for (const Stream& stream : streams()) {
        const auto way = wayOf(*stream);
        if (!way || !sameAddress(way->remote, address))
            continue;
        qCInfo(ebo::log::networkService) << "Disconnecting stream to:" << address;
        remove(stream);
        stream->disconnectFromHost();
        return;
    }
}

void Service::shutDown()
{
    if (connector_)
        connector_->giveUp(this);
    QList<Stream> closing;
    {
        const QMutexLocker locker(&mutex_);
        closing.swap(streams_);
    }
    for (const Stream& stream : closing) {
        disconnect(stream.get(), nullptr, this, nullptr);
        if (stream->socket() != nullptr)
            stream->disconnectFromHost();
    }
    if (!closing.isEmpty())
        Q_EMIT isReadyChanged(ebo::refptr<Service>(this));
}

bool Service::isElsewhere() const { return QThread::currentThread() != thread(); }

bool Service::packetsAvailable() const
{
    const QMutexLocker locker(&mutex_);
    return std::any_of(streams_.begin(), streams_.end(),
                       [](const Stream& stream) { return stream->packetsAvailable() > 0; });
}

QByteArray Service::readPacket()
{
    if (isElsewhere()) {
        QByteArray packet;
        calls_->call(this, [this, &packet] { packet = readPacket(); });
        return packet;
    }
    const QMutexLocker locker(&mutex_);
    for (const Stream& stream : streams_) {
        QByteArray packet = stream->nextPacket();
        if (!packet.isEmpty())
            return packet;
    }
    return {};
}

bool Service::writePacket(const QByteArray& data) { return write(data, true); }

void Service::writePacketNonBlocking(const QByteArray& data) { write(data, false); }

bool Service::write(const QByteArray& data, bool blocking)
{
    if (isElsewhere()) {
        if (!blocking) {
            QMetaObject::invokeMethod(
                this, [this, data] { write(data, false); }, Qt::QueuedConnection);
            return false;
        }
        bool result = false;
        if (!calls_->call(this, [this, &data, &result] { result = write(data, true); }))
            qCWarning(ebo::log::networkDirectory) << kWrite << "failed because host no longer available";
        return result;
    }

    // One that went another way is out all the same, but did not go by the way it should.
    return send(data).isLowestPing;
}

bool Service::writePacketAtOnce(const QByteArray& data)
{
    if (isElsewhere())
        return QMetaObject::invokeMethod(
            this, [this, data] { writePacketAtOnce(data); }, Qt::QueuedConnection);
    const Stream sent = send(data).stream;
    if (!sent)
        return false;
    // What has piled up is left to the event loop, which sends it in larger pieces.
    QTcpSocket* const socket = sent->socket();
    if (socket != nullptr && socket->bytesToWrite() <= kMostSentAtOnce)
        socket->flush();
    return true;
}

Service::Carrier Service::carrier(const AddressPair& lowest) const
{
    const QList<Stream> candidates = streams();
    for (const Stream& stream : candidates) {
        const auto way = wayOf(*stream);
        if (way && isSameWay(*way, lowest))
            return {stream, true};
    }
    return {candidates.isEmpty() ? nullptr : candidates.first(), false};
}

Service::Carrier Service::send(const QByteArray& data)
{
    const ebo::refptr<Host> host = host_.promote();
    if (!host) {
        qCWarning(ebo::log::networkDirectory) << kWrite << "failed because host no longer available";
        return {};
    }
    const AddressPair lowest = host->lowestPingWay();
    const Carrier chosen = carrier(lowest);
    if (!chosen.stream) {
        qCWarning(ebo::log::networkDirectory) << kWrite << "failed to write, no streams available";
        return {};
    }
    if (lowest.local.isNull() || lowest.remote.isNull()) {
        qCWarning(ebo::log::networkDirectory)
            << kWrite << "failed because there is no lowest ping connection (Remote Id:" << host->uuid()
            << ")";
        return {};
    }
    return chosen.stream->sendPacket(data) ? chosen : Carrier{};
}

qint64 Service::unsentBytes() const
{
    const ebo::refptr<Host> host = host_.promote();
    const Stream stream = host ? carrier(host->lowestPingWay()).stream : nullptr;
    const QTcpSocket* const socket = stream ? stream->socket() : nullptr;
    return socket != nullptr ? socket->bytesToWrite() : 0;
}

}  // namespace eboNetworkExchange
