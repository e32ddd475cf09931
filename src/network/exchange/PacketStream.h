#pragma once

#include <QAbstractSocket>
#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

#include <atomic>
#include <cstdint>

/// Turns a connected socket into a stream of whole packets: a size of four bytes, big-endian, then so many
/// bytes.
///
/// Lives on the thread of its socket and owns it from its construction on. Signals may come more than once
/// for one loss: owners of the stream take `disconnected` twice.
class PacketStream : public QObject {
    Q_OBJECT

public:
    /// Payloads from here on are refused on receipt. A refused size costs its four bytes and no more: what
    /// follows is taken for the next size.
    static constexpr std::int32_t kTooLargeToReceive = 65535;

    /// Payloads from here on are complained about, and sent all the same. Bytes.
    static constexpr int kTooLargeToSend = 65536;

    /// Reads what the socket already holds, so packets may wait before anybody can listen to `packetReady`.
    /// @param isReading  see setReading
    explicit PacketStream(QPointer<QTcpSocket> socket, bool isReading = true);
    ~PacketStream() override;

    /// Complete packets that wait. Any thread.
    [[nodiscard]] int packetsAvailable() const { return waiting_.load(); }

    /// Takes the oldest packet; empty if none waits.
    QByteArray nextPacket();

    /// Hands a packet to the socket, which buffers it. @return false, with a log line, if the socket takes it
    /// not or not wholly
    bool sendPacket(const QByteArray& packet);

    /// Whether to read at all. What is not read stays with the sender, apart from what fits into the system's
    /// buffers. The same happens by itself while so much waits that nobody has taken yet.
    void setReading(bool isReading);

    /// The socket; null from the moment it is lost.
    [[nodiscard]] QTcpSocket* socket() const { return socket_.data(); }

    /// Closes the socket. Not to be called without one.
    void disconnectFromHost();

public Q_SLOTS:
    void onReadyRead();
    void onSocketError(QAbstractSocket::SocketError error);
    void onSocketStateChanged(QAbstractSocket::SocketState state);
    void onSocketDisconnected();

Q_SIGNALS:
    /// One packet more waits.
    void packetReady();

    /// The socket is lost.
    void disconnected(PacketStream* stream);

    void bytesWritten(qint64 bytes);

private:
    enum class Progress { kMore, kWait };
    enum class Extent { kOneTurn, kWhatIsThere };

    [[nodiscard]] bool isConnected() const;
    void limitBuffer();
    void readTurn();
    void read(Extent extent);
    void readRest();
    [[nodiscard]] bool hasTooMuch() const;
    Progress readSize();
    void readPayload();
    void releaseSocket();

    static constexpr std::int32_t kNoSize = -1;

    QPointer<QTcpSocket> socket_;
    bool inPacket_ = false;
    std::int32_t expectedSize_ = kNoSize;
    QByteArray received_;  // of the packet that has begun
    QList<QByteArray> packets_;
    std::atomic<int> waiting_{0};  // how many those are
    qint64 waitingBytes_ = 0;      // and what they cost
    bool isReading_;
    QTimer again_;  // reads on in the next turn
};
