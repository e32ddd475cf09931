#include "network/nfs/NfsTest.h"

#include "runtime/deferredDeletions.h"

#include <QMutexLocker>
#include <QTcpSocket>

#include <array>
#include <cstdio>
#include <netinet/in.h>
#include <stdexcept>
#include <unistd.h>

#include <sys/socket.h>

namespace nfstest {

namespace {

/// Waits for one connection on a port of 127.0.0.1 that the system chooses.
class Listener {
public:
    Listener() : descriptor_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        if (::bind(descriptor_, generic, size) != 0 || ::listen(descriptor_, 1) != 0 ||
            ::getsockname(descriptor_, generic, &size) != 0)
            throw std::runtime_error("no port to listen on");
        port_ = ntohs(address.sin_port);
    }
    ~Listener() { ::close(descriptor_); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    [[nodiscard]] quint16 port() const { return port_; }
    [[nodiscard]] NfsPeer accept() const
    {
        return NfsPeer(::accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC));
    }

private:
    int descriptor_;
    quint16 port_ = 0;
};

QTcpSocket* connectedTo(quint16 port)
{
    auto* const socket = new QTcpSocket;  // goes to the host, or to its service
    socket->connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    if (!socket->waitForConnected())
        throw std::runtime_error("cannot connect to the test's own port");
    return socket;
}

using DiscoveredRef = ebo::refptr<eboDiscoverer::Host>;

/// Heard once, and never forgotten.
DiscoveredRef discover(const QUuid& uuid, quint16 directoryPort)
{
    auto host = ebo::makeRef<eboDiscoverer::Host>(uuid, QStringLiteral("device"), directoryPort,
                                                  QStringLiteral("1.0.0"), QStringLiteral("Other"));
    host->heardFrom(QHostAddress(QHostAddress::LocalHost));
    host->retire();
    return host;
}

QUuid uuidOf(unsigned number)
{
    std::array<char, 48> written{};
    std::snprintf(written.data(), written.size(), "{00000000-0000-4000-8000-%012x}", number);
    return QUuid(QString::fromLatin1(written.data()));
}

}  // namespace

QList<ThreadedNetwork::HostRef> ThreadedNetwork::hosts() const
{
    const QMutexLocker locker(&mutex_);
    return hosts_;
}

void ThreadedNetwork::add(const HostRef& host)
{
    {
        const QMutexLocker locker(&mutex_);
        hosts_.append(host);
    }
    Q_EMIT hostAdded(host);
}

void ThreadedNetwork::remove(const HostRef& host)
{
    {
        const QMutexLocker locker(&mutex_);
        hosts_.removeOne(host);
    }
    Q_EMIT hostRemoved(host);
}

NfsTest::NfsTest()
    : collector_(std::make_unique<ebo::GarbageCollection>()), anchor_(std::make_unique<QObject>()),
      calls_(std::make_shared<eboNetworkExchange::ThreadCalls>())
{
    qRegisterMetaType<ThreadedNetwork::HostRef>("ebo::refptr<eboNetworkExchange::Host>");
    qRegisterMetaType<ebo::refptr<eboNetworkExchange::Service>>("ebo::refptr<eboNetworkExchange::Service>");
    collector_->start();
    thread_.setObjectName(QStringLiteral("Network Exchange Thread"));
    thread_.start();
    anchor_->moveToThread(&thread_);
    network_ = ebo::makeRef<ThreadedNetwork>(thread_);
}

NfsTest::~NfsTest()
{
    nfs_.reset();
    onNetworkThread([this] {
        calls_->close();
        for (const auto& host : network_->hosts()) {
            host->shutDown();
            network_->remove(host);
        }
    });
    network_.reset();
    factory_.reset();
    collector_.reset();
    thread_.quit();
    thread_.wait();
    ebo::deliverDeferredDeletions();
}

const ebo::refptr<eboFileFactory>& NfsTest::factory()
{
    if (!factory_)
        factory_ = makeFactory();
    return factory_;
}

const ebo::refptr<eboNfs>& NfsTest::nfs()
{
    if (!nfs_)
        nfs_ = eboNfs::create(network_, factory());
    return nfs_;
}

void NfsTest::onNetworkThread(const std::function<void()>& function)
{
    QMetaObject::invokeMethod(anchor_.get(), function, Qt::BlockingQueuedConnection);
}

std::unique_ptr<Device> NfsTest::join(unsigned number)
{
    const QUuid uuid = uuidOf(number);
    const auto core = nfs();
    const Listener directory;
    const Listener service;
    DiscoveredRef discovered;
    ThreadedNetwork::HostRef host;
    onNetworkThread([&] {
        discovered = discover(uuid, directory.port());
        host = connected(discovered, directory.port(), service.port());
    });
    auto joined = std::make_unique<Device>(
        Device{std::move(discovered), std::move(host), directory.accept(), service.accept()});
    onNetworkThread([&] { network_->add(joined->host); });
    EXPECT_EQ(joined->peer.next(), "fltx" + peer::number32(0) + peer::number32(8) + "\xff\xff\xff\xff");
    return joined;
}

ThreadedNetwork::HostRef NfsTest::connected(const DiscoveredRef& discovered, quint16 directoryPort,
                                            quint16 servicePort)
{
    auto host = ebo::makeRef<eboNetworkExchange::Host>(discovered, QUuid::createUuid(), calls_);
    QTcpSocket* const directory = connectedTo(directoryPort);
    directory->setParent(anchor_.get());
    host->addSocket(directory);
    host->findOrMakeService(eboNfsHost::serviceId(), 0).service->addStream(connectedTo(servicePort));
    return host;
}

void NfsTest::leave(Device& device)
{
    onNetworkThread([&] {
        device.host->shutDown();
        network_->remove(device.host);
    });
}

void NfsTest::disconnect(Device& device)
{
    onNetworkThread([&] { device.host->setConnected(false); });
}

}  // namespace nfstest
