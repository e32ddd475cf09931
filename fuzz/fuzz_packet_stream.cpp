#include "network/exchange/PacketStream.h"

#include <QLoggingCategory>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

/// A connected socket without a network: gives the bytes that it is fed, and no more.
class FedSocket : public QTcpSocket {
public:
    FedSocket()
    {
        setSocketState(ConnectedState);
        setOpenMode(ReadWrite | Unbuffered);
    }

    void feed(const QByteArray& bytes)
    {
        left_ += bytes;
        Q_EMIT readyRead();
    }

    [[nodiscard]] qint64 bytesAvailable() const override { return left_.size(); }
    void close() override { setSocketState(UnconnectedState); }

protected:
    qint64 readData(char* data, qint64 most) override
    {
        const int count = std::min(static_cast<int>(most), left_.size());
        std::memcpy(data, left_.constData(), static_cast<std::size_t>(count));
        left_.remove(0, count);
        return count;
    }

private:
    QByteArray left_;
};

/// All packets of some bytes, the sizes that are out of bounds skipped: the rule without a state.
QList<QByteArray> packetsIn(const QByteArray& bytes)
{
    constexpr int kHead = 4;
    QList<QByteArray> packets;
    int at = 0;
    while (bytes.size() - at >= kHead) {
        quint32 size = 0;
        for (int i = 0; i < kHead; ++i)
            size = size << 8 | static_cast<quint8>(bytes[at + i]);
        at += kHead;
        if (size >= PacketStream::kTooLargeToReceive)  // the negative ones among them
            continue;
        const int length = static_cast<int>(size);
        // An empty one completes with the byte that follows it.
        if (bytes.size() - at < std::max(length, 1))
            break;
        packets.append(bytes.mid(at, length));
        at += length;
    }
    return packets;
}

}  // namespace

/// Any bytes on a service connection, in portions that the first byte chooses: always the same packets.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool isQuiet = [] {
        QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
        return true;
    }();
    Q_UNUSED(isQuiet);
    if (size == 0)
        return 0;

    const int portion = std::max<int>(data[0], 1);
    const QByteArray bytes(reinterpret_cast<const char*>(data) + 1, static_cast<int>(size) - 1);
    QPointer<FedSocket> socket = new FedSocket;
    QList<QByteArray> packets;
    {
        PacketStream stream(socket.data());
        for (int at = 0; at < bytes.size(); at += portion)
            socket->feed(bytes.mid(at, portion));
        while (stream.packetsAvailable() > 0)
            packets.append(stream.nextPacket());
    }
    delete socket;
    if (packets != packetsIn(bytes))
        __builtin_trap();
    return 0;
}
