#pragma once

#include "file/eboFileFactory.h"
#include "network/discovery/Host.h"
#include "network/exchange/AbstractNetwork.h"
#include "network/nfs/NfsPeer.h"
#include "network/nfs/eboNfs.h"
#include "runtime/GarbageCollection.h"

#include <gtest/gtest.h>

#include <QMutex>
#include <QThread>

#include <functional>
#include <memory>

namespace nfstest {

/// A network on a thread of its own, whose devices come and go as the test says.
class ThreadedNetwork : public eboNetworkExchange::AbstractNetwork {
public:
    using HostRef = ebo::refptr<eboNetworkExchange::Host>;

    explicit ThreadedNetwork(QThread& thread) : thread_(thread) {}

    void start() override {}
    [[nodiscard]] quint16 directoryPort() const override { return 0; }
    [[nodiscard]] ebo::weakptr<eboDiscoverer::AbstractDiscoverer> discoverer() const override { return {}; }
    [[nodiscard]] QList<HostRef> hosts() const override;
    [[nodiscard]] QThread* networkThread() const override { return &thread_; }

    void add(const HostRef& host);
    void remove(const HostRef& host);

private:
    QThread& thread_;
    mutable QMutex mutex_;
    QList<HostRef> hosts_;
};

/// Another device, joined to ours over loopback TCP. The peer has been greeted: what our device sent on
/// joining has been read.
struct Device {
    ebo::refptr<eboDiscoverer::Host> discovered;
    ebo::refptr<eboNetworkExchange::Host> host;
    NfsPeer directory;
    NfsPeer peer;

    [[nodiscard]] QString uuid() const { return host->uuid().toString(QUuid::WithoutBraces); }

    /// "net://" uuid path
    [[nodiscard]] QString url(const QString& path) const { return QStringLiteral("net://") + uuid() + path; }
};

/// File sharing at work on a network thread of its own; the test plays other devices, byte by byte.
class NfsTest : public testing::Test {
protected:
    NfsTest();
    ~NfsTest() override;

    /// Before the first device joins: other factories or policies. Called by the first `nfs()` or `join()`.
    virtual ebo::refptr<eboFileFactory> makeFactory() { return ebo::makeRef<eboFileFactory>(); }

    [[nodiscard]] const ebo::refptr<eboNfs>& nfs();
    [[nodiscard]] const ebo::refptr<eboFileFactory>& factory();

    /// Another device joins, and shares files. @param number  tells its uuid: 00…0number
    [[nodiscard]] std::unique_ptr<Device> join(unsigned number = 1);

    /// It goes from the network.
    void leave(Device& device);

    /// Its directory connections break; discovery still hears it.
    void disconnect(Device& device);

    /// Runs on the network thread, and waits for the end of it.
    void onNetworkThread(const std::function<void()>& function);

    /// Waits until the network thread has done what was queued there before.
    void settle()
    {
        onNetworkThread([] {});
    }

private:
    [[nodiscard]] ThreadedNetwork::HostRef connected(const ebo::refptr<eboDiscoverer::Host>& discovered,
                                                     quint16 directoryPort, quint16 servicePort);

    std::unique_ptr<ebo::GarbageCollection> collector_;
    QThread thread_;
    std::unique_ptr<QObject> anchor_;  // lives on the thread
    ebo::refptr<ThreadedNetwork> network_;
    std::shared_ptr<eboNetworkExchange::ThreadCalls> calls_;
    ebo::refptr<eboFileFactory> factory_;
    ebo::refptr<eboNfs> nfs_;
};

}  // namespace nfstest
