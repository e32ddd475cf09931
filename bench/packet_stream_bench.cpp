// What packets cost on top of a bare socket: throughput of one direction, and the way to and fro through a
// service. Each pair of benchmarks does the same with and without; both ends share one event loop and talk
// over a pair of virtual Ethernet interfaces, or over 127.0.0.1 where no network namespaces can be made.

#include "network/exchange/Host.h"
#include "network/exchange/PacketStream.h"
#include "network/exchange/Service.h"
#include "support/NetworkNamespace.h"

#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>

#include <benchmark/benchmark.h>

#include <memory>
#include <optional>
#include <stdexcept>

namespace {

using eboNetworkExchange::Host;
using eboNetworkExchange::Service;

constexpr int kBatchBytes = 4 * 1024 * 1024;

void needApplication()
{
    static int argc = 1;
    static char name[] = "bench";
    static char* argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
}

template <typename Condition>
void runUntil(Condition condition)
{
    while (!condition())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

/// Two networks and the cable between them.
struct Cable {
    Cable()
    {
        near.run(QStringLiteral("ip link add eth0 type veth peer name eth0 netns ") + far.path());
        near.run(QStringLiteral("ip addr add 10.0.0.1/24 dev eth0"));
        far.run(QStringLiteral("ip addr add 10.0.0.2/24 dev eth0"));
        near.run(QStringLiteral("ip link set eth0 up"));
        far.run(QStringLiteral("ip link set eth0 up"));
    }

    testsupport::NetworkNamespace near;
    testsupport::NetworkNamespace far;
};

/// A socket belongs to the network that its thread is in when it is made.
struct Way {
    std::unique_ptr<Cable> cable;
    QHostAddress farAddress{QHostAddress::LocalHost};
    std::optional<testsupport::NetworkNamespace::Visit> visit;

    Way()
    {
        if (!testsupport::NetworkNamespace::whyImpossible().empty())
            return;
        cable = std::make_unique<Cable>();
        farAddress = QHostAddress(QStringLiteral("10.0.0.2"));
    }

    void enterFar() { enter(cable ? &cable->far : nullptr); }
    void enterNear() { enter(cable ? &cable->near : nullptr); }
    void leave() { visit.reset(); }

private:
    void enter(const testsupport::NetworkNamespace* place)
    {
        leave();
        if (place != nullptr)
            visit.emplace(*place);
    }
};

/// Two connected sockets; whoever takes one owns it.
struct Pair {
    Pair()
    {
        needApplication();
        static Way way;
        QTcpServer server;
        way.enterFar();
        if (!server.listen(way.farAddress))
            throw std::runtime_error("cannot listen");
        near = std::make_unique<QTcpSocket>();
        way.enterNear();
        near->connectToHost(way.farAddress, server.serverPort());
        way.leave();
        if (!near->waitForConnected() || !server.waitForNewConnection(1000))
            throw std::runtime_error("cannot connect");
        far.reset(server.nextPendingConnection());
        far->setParent(nullptr);
        for (QTcpSocket* const socket : {near.get(), far.get()})
            socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    }

    std::unique_ptr<QTcpSocket> near;
    std::unique_ptr<QTcpSocket> far;
};

void bareSocket(benchmark::State& state)
{
    Pair pair;
    const QByteArray payload(static_cast<int>(state.range(0)), 'x');
    const int count = kBatchBytes / payload.size();
    qint64 received = 0;
    QObject::connect(pair.far.get(), &QTcpSocket::readyRead, [&] { received += pair.far->readAll().size(); });
    for (auto _ : state) {
        received = 0;
        for (int i = 0; i < count; ++i)
            pair.near->write(payload);
        runUntil([&] { return received == qint64{count} * payload.size(); });
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * count * payload.size());
}
BENCHMARK(bareSocket)->Arg(64)->Arg(4096)->Arg(60 * 1024)->Unit(benchmark::kMillisecond);

void packetStream(benchmark::State& state)
{
    Pair pair;
    PacketStream near(pair.near.release());
    PacketStream far(pair.far.release());
    const QByteArray payload(static_cast<int>(state.range(0)), 'x');
    const int count = kBatchBytes / payload.size();
    int received = 0;
    QObject::connect(&far, &PacketStream::packetReady, [&] {
        benchmark::DoNotOptimize(far.nextPacket());
        ++received;
    });
    for (auto _ : state) {
        received = 0;
        for (int i = 0; i < count; ++i)
            near.sendPacket(payload);
        runUntil([&] { return received == count; });
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * count * payload.size());
}
BENCHMARK(packetStream)->Arg(64)->Arg(4096)->Arg(60 * 1024)->Unit(benchmark::kMillisecond);

void bareSocketToAndFro(benchmark::State& state)
{
    Pair pair;
    const QByteArray message(64, 'x');
    bool back = false;
    QObject::connect(pair.far.get(), &QTcpSocket::readyRead, [&] { pair.far->write(pair.far->readAll()); });
    QObject::connect(pair.near.get(), &QTcpSocket::readyRead, [&] {
        pair.near->readAll();
        back = true;
    });
    for (auto _ : state) {
        back = false;
        pair.near->write(message);
        runUntil([&back] { return back; });
    }
}
BENCHMARK(bareSocketToAndFro)->Unit(benchmark::kMicrosecond);

/// A device with one directory connection, and a service of it.
struct Device {
    explicit Device(std::unique_ptr<QTcpSocket> directory, std::unique_ptr<QTcpSocket> stream)
        : directorySocket(std::move(directory))
    {
        host->addSocket(directorySocket.get());
        service->addStream(stream.release());
    }
    ~Device()
    {
        host->shutDown();
        service->shutDown();
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    std::unique_ptr<QTcpSocket> directorySocket;
    std::shared_ptr<eboNetworkExchange::ThreadCalls> calls =
        std::make_shared<eboNetworkExchange::ThreadCalls>();
    ebo::refptr<eboDiscoverer::Host> heard =
        ebo::makeRef<eboDiscoverer::Host>(QUuid::createUuid(), QString(), quint16{1}, QString(), QString());
    ebo::refptr<Host> host = ebo::makeRef<Host>(heard, QUuid::createUuid(), calls);
    ebo::refptr<Service> service = ebo::makeRef<Service>(
        ebo::weakptr<Host>(host), QStringLiteral("FileTransfer"), quint16{1}, QUuid::createUuid(), calls);
};

void serviceToAndFro(benchmark::State& state)
{
    Pair directory;
    Pair stream;
    Device near(std::move(directory.near), std::move(stream.near));
    Device far(std::move(directory.far), std::move(stream.far));
    const QByteArray message(64, 'x');
    bool back = false;
    QObject::connect(far.service.get(), &Service::readyRead,
                     [&] { far.service->writePacket(far.service->readPacket()); });
    QObject::connect(near.service.get(), &Service::readyRead, [&] {
        near.service->readPacket();
        back = true;
    });
    for (auto _ : state) {
        back = false;
        if (!near.service->writePacket(message))
            state.SkipWithError("the packet did not go the way with the lowest ping");
        runUntil([&back] { return back; });
    }
}
BENCHMARK(serviceToAndFro)->Unit(benchmark::kMicrosecond);

}  // namespace
