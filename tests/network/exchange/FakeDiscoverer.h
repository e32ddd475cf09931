#pragma once

#include "network/discovery/AbstractDiscoverer.h"

#include <QHostAddress>

namespace exchangetest {

/// Hears of devices when the test says so.
class FakeDiscoverer : public eboDiscoverer::AbstractDiscoverer {
    Q_OBJECT

public:
    using HostRef = ebo::refptr<eboDiscoverer::Host>;

    explicit FakeDiscoverer(const QUuid& uuid) : uuid_(uuid)
    {
        qRegisterMetaType<HostRef>("ebo::refptr<eboDiscoverer::Host>");
    }

    [[nodiscard]] QList<HostRef> hosts() const override { return hosts_; }
    void start(quint16 directoryPort) override { directoryPort_ = directoryPort; }
    void stop() override {}
    [[nodiscard]] QUuid uuid() const override { return uuid_; }

    [[nodiscard]] quint16 directoryPort() const { return directoryPort_; }

    /// A device beacons for the first time.
    HostRef announce(const QUuid& uuid, quint16 port, const QList<QHostAddress>& addresses)
    {
        const auto host = ebo::makeRef<eboDiscoverer::Host>(
            uuid, QStringLiteral("device"), port, QStringLiteral("1.0.0"), QStringLiteral("Tunesift"));
        for (const QHostAddress& address : addresses)
            host->heardFrom(address);
        hosts_.append(host);
        Q_EMIT hostAdded(host);
        return host;
    }

    /// It is not heard any more.
    void lose(const HostRef& host)
    {
        host->deactivate();
        host->retire();
        hosts_.removeOne(host);
        Q_EMIT hostRemoved(host);
    }

private:
    const QUuid uuid_;
    quint16 directoryPort_ = 0;
    QList<HostRef> hosts_;
};

}  // namespace exchangetest
