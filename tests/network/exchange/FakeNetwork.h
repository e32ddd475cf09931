#pragma once

#include "network/exchange/AbstractNetwork.h"

namespace exchangetest {

/// A network on the test's thread.
class FakeNetwork : public eboNetworkExchange::AbstractNetwork {
public:
    using HostRef = ebo::refptr<eboNetworkExchange::Host>;

    void start() override {}
    [[nodiscard]] quint16 directoryPort() const override { return 0; }
    [[nodiscard]] ebo::weakptr<eboDiscoverer::AbstractDiscoverer> discoverer() const override { return {}; }
    [[nodiscard]] QList<HostRef> hosts() const override { return hosts_; }
    [[nodiscard]] QThread* networkThread() const override { return QThread::currentThread(); }

    void add(const HostRef& host)
    {
        hosts_.append(host);
        Q_EMIT hostAdded(host);
    }
    void remove(const HostRef& host)
    {
        hosts_.removeOne(host);
        Q_EMIT hostRemoved(host);
    }

private:
    QList<HostRef> hosts_;
};

}  // namespace exchangetest
