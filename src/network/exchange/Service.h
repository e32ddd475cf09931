#pragma once

#include "network/exchange/Connector.h"
#include "network/exchange/PacketStream.h"
#include "network/exchange/ThreadCalls.h"
#include "network/exchange/addressPairs.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QTcpSocket>
#include <QUuid>

#include <memory>

namespace eboNetworkExchange {

class Host;

/// One named service of one device: all streams that carry it, one for each pair of addresses, seen as a
/// single pipe of packets that sends by the way with the lowest ping. It is ready while it has a stream.
///
/// Lives on the network thread. `write...`, `readPacket` and `packetsAvailable` may be called on any thread;
/// they come back with failure if the network ends meanwhile.
class Service : public QObject, public ebo::refcounted {
    Q_OBJECT

public:
    using Stream = std::shared_ptr<PacketStream>;

    /// @param host   whose service it is; held weakly
    /// @param port   the service's TCP port there; 0 where only the other side connects
    /// @param calls  how other threads reach the network's
    Service(ebo::weakptr<Host> host, QString serviceId, quint16 port, const QUuid& localUuid,
            std::shared_ptr<ThreadCalls> calls);
    ~Service() override;

    [[nodiscard]] const QString& serviceId() const { return serviceId_; }
    [[nodiscard]] quint16 port() const { return port_; }
    [[nodiscard]] bool isReady() const;

    /// Connects to the service from every address of ours that shares a subnet with one of the addresses,
    /// where there is no stream yet and none under way. Does nothing without a port.
    /// @param connector  makes the connections; outlives this one's work
    void connectStreams(Connector& connector, const QList<QHostAddress>& addresses,
                        const QList<LocalEntry>& entries);

    /// Closes the streams whose local address has gone.
    void closeStaleStreams(const QList<LocalEntry>& entries);

    /// Takes a connected socket as a stream, and owns it; what opened the connection has been read from it.
    /// Of too many streams, or too many between the same addresses, the oldest goes.
    void addStream(QTcpSocket* socket);

    /// Whether the streams are read; at first they are. What is not read stays with the sender.
    void setReading(bool isReading);

    /// Closes all streams and gives up connections under way; tells isReadyChanged if that changed it.
    void shutDown();

public Q_SLOTS:
    /// Whether any stream holds a packet.
    [[nodiscard]] bool packetsAvailable() const;

    /// The first packet of the first stream that has one; empty if none has, and for an empty packet. Packets
    /// keep their order within a stream only.
    QByteArray readPacket();

    /// Sends a packet by the way with the lowest ping, and waits until the socket has taken it.
    /// @return whether it went that way: a packet that had to go another way is reported as not sent
    bool writePacket(const QByteArray& data);

    /// The same without waiting, when called on another thread.
    void writePacketNonBlocking(const QByteArray& data);

    /// Hands a packet to a stream and has it sent in this turn of the event loop rather than the next: for
    /// short questions and answers that somebody waits for. Any thread; on another one it is queued, and the
    /// answer is true.
    /// @return whether a stream took it, whichever that was
    bool writePacketAtOnce(const QByteArray& data);

    /// Bytes that the stream by which the next packet goes has taken and not yet sent. Network thread.
    [[nodiscard]] qint64 unsentBytes() const;

    void socketDisconnected(PacketStream* stream);

    /// The device has lost an address: the first stream to it goes.
    void ipRemoved(const QHostAddress& address);

Q_SIGNALS:
    void readyRead();

    /// May come without a change.
    void isReadyChanged(ebo::refptr<eboNetworkExchange::Service> service);
    void bytesWritten(qint64 bytes);

private:
    /// The stream that a packet goes by; null for none.
    struct Carrier {
        Stream stream;
        bool isLowestPing = false;
    };

    void onSocketConnected(QTcpSocket* socket);
    void onSocketError(const QTcpSocket& socket, QAbstractSocket::SocketError socketError);
    void makeRoomFor(const AddressPair& way);
    void close(const Stream& stream);
    bool write(const QByteArray& data, bool blocking);
    [[nodiscard]] Carrier carrier(const AddressPair& lowest) const;
    Carrier send(const QByteArray& data);
    [[nodiscard]] bool isElsewhere() const;
    [[nodiscard]] QList<Stream> streams() const;
    [[nodiscard]] QList<ExistingConnection> connections() const;
    void remove(const Stream& stream);

    const ebo::weakptr<Host> host_;
    const QString serviceId_;
    const quint16 port_;
    const QUuid localUuid_;
    const std::shared_ptr<ThreadCalls> calls_;
    mutable QMutex mutex_;
    QList<Stream> streams_;          // in order of arrival; guarded by mutex_
    bool isReading_ = true;          // network thread only, as what follows
    QPointer<Connector> connector_;  // once it has been used
};

}  // namespace eboNetworkExchange
