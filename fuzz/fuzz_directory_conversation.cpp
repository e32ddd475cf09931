#include "network/exchange/NetworkExchange.h"
#include "runtime/GarbageCollection.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <arpa/inet.h>
#include <array>
#include <cstdint>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

/// Whole conversations with a directory server and its service, over 127.0.0.1: devices that are heard and
/// lost, connections that come, say anything at all in pieces, and go, in any order. The input is a list of
/// steps: what happens, to which connection or device, and how many bytes follow that are sent.

namespace {

class ScriptedDiscoverer : public eboDiscoverer::AbstractDiscoverer {
public:
    using HostRef = ebo::refptr<eboDiscoverer::Host>;

    [[nodiscard]] QList<HostRef> hosts() const override { return hosts_; }
    void start(quint16 /*directoryPort*/) override {}
    void stop() override {}
    [[nodiscard]] QUuid uuid() const override { return uuidOf(0x70); }

    static QUuid uuidOf(std::uint8_t first) { return {first, 0, 0, 0x80, 0, 0, 0, 0, 0, 0, 1}; }

    void hear(std::uint8_t number, quint16 port)
    {
        const QUuid uuid = uuidOf(number);
        const QHostAddress address(QStringLiteral("127.0.0.1"));
        for (const HostRef& known : hosts_) {
            if (known->uuid() == uuid) {
                known->heardFrom(address);
                known->update(QStringLiteral("fuzz"), port);
                return;
            }
        }
        constexpr int kMost = 8;
        if (hosts_.size() >= kMost)
            return;
        const auto host =
            ebo::makeRef<eboDiscoverer::Host>(uuid, QString(), port, QString(), QStringLiteral("Fuzzer"));
        host->heardFrom(address);
        hosts_.append(host);
        Q_EMIT hostAdded(host);
    }

    void lose(int index)
    {
        if (index >= hosts_.size())
            return;
        const HostRef host = hosts_.takeAt(index);
        host->deactivate();
        host->retire();
        Q_EMIT hostRemoved(host);
    }

private:
    QList<HostRef> hosts_;
};

int connectTo(quint16 port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // No waiting in the system for what is closed: there are thousands a second.
    const linger atOnce{1, 0};
    ::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return descriptor;
    ::close(descriptor);
    return -1;
}

/// What there is for the whole life of the process.
struct World {
    World()
    {
        collector.start();
        exchange->start({{QStringLiteral("FileTransfer"), false}});
        directoryPort = exchange->listenForDirectory();
        servicePort = exchange->serviceServers().first()->serverPort();
    }

    static int argc;
    static char* argv[];

    QCoreApplication application{argc, argv};
    ebo::GarbageCollection collector;
    ebo::refptr<ScriptedDiscoverer> discoverer = ebo::makeRef<ScriptedDiscoverer>();
    ebo::refptr<eboNetworkExchange::NetworkExchange> exchange =
        ebo::makeRef<eboNetworkExchange::NetworkExchange>(
            discoverer, std::make_shared<eboNetworkExchange::ThreadCalls>());
    quint16 directoryPort = 0;
    quint16 servicePort = 0;
};

int World::argc = 1;
char programName[] = "fuzz";
char* World::argv[] = {programName, nullptr};

void turn()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

enum Step : std::uint8_t { kConnectDirectory, kConnectService, kSend, kClose, kHear, kLose, kTurn, kSteps };

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const QtMessageHandler quiet = [](QtMsgType type, const QMessageLogContext&, const QString&) {
        if (type == QtFatalMsg)
            __builtin_trap();
    };
    qInstallMessageHandler(quiet);
    static World world;
    std::array<int, 4> connections{-1, -1, -1, -1};
    const auto end = [&connections](std::size_t index) {
        if (connections.at(index) != -1)
            ::close(connections.at(index));
        connections.at(index) = -1;
    };
    constexpr std::size_t kStepSize = 3;
    for (std::size_t at = 0; at + kStepSize <= size;) {
        const std::uint8_t step = data[at] % kSteps;
        const std::uint8_t which = data[at + 1];
        const std::size_t index = which % connections.size();
        const std::size_t length = std::min<std::size_t>(data[at + 2], size - at - kStepSize);
        at += kStepSize;
        switch (step) {
        case kConnectDirectory:
        case kConnectService:
            end(index);
            connections.at(index) =
                connectTo(step == kConnectDirectory ? world.directoryPort : world.servicePort);
            break;
        case kSend:
            if (connections.at(index) != -1)
                (void)::send(connections.at(index), data + at, length, MSG_NOSIGNAL | MSG_DONTWAIT);
            at += length;
            break;
        case kClose:
            end(index);
            break;
        case kHear:  // half of them such that we connect, to ourselves
            world.discoverer->hear(which, length % 2 == 0 ? world.directoryPort : quint16{0});
            break;
        case kLose:
            world.discoverer->lose(which);
            break;
        default:
            break;
        }
        turn();
    }
    for (std::size_t index = 0; index < connections.size(); ++index)
        end(index);
    while (!world.discoverer->hosts().isEmpty())
        world.discoverer->lose(0);
    // Every connection has gone when its end has been heard; none may be left over.
    constexpr int kPatience = 1000;
    for (int round = 0; world.exchange->socketCount() > 0; ++round) {
        if (round == kPatience)
            __builtin_trap();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        turn();
        ::usleep(100);
    }
    return 0;
}
