#include "network/exchange/HostEnumerator.h"

#include "runtime/logCategories.h"

#include <utility>

namespace eboNetworkExchange {

namespace {

struct Offer {
    bool isComplete = true;   // every service is there and ready
    bool isLastReady = true;  // the one that was looked up last is
};

/// How much of the services a device offers.
Offer offerOf(const Host& host, const QStringList& serviceIds)
{
    Offer offer;
    for (const QString& id : serviceIds) {
        const ebo::refptr<Service> service = host.service(id);
        offer.isLastReady = service && service->isReady();
        offer.isComplete = offer.isComplete && offer.isLastReady;
    }
    return offer;
}

}  // namespace

HostEnumerator::HostEnumerator(ebo::refptr<AbstractNetwork> network, QStringList requiredServices)
    : network_(std::move(network)), requiredServices_(std::move(requiredServices))
{
    qRegisterMetaType<ebo::refptr<Host>>("ebo::refptr<Host>");
}

void HostEnumerator::start()
{
    moveToThread(network_->networkThread());
    AbstractNetwork* const network = network_.get();
    connect(network, &AbstractNetwork::hostAdded, this, &HostEnumerator::onHostAdded, Qt::DirectConnection);
    connect(network, &AbstractNetwork::hostRemoved, this, &HostEnumerator::onHostRemoved,
            Qt::DirectConnection);
    for (const auto& host : network->hosts()) {
        const auto addUnlessGone = [this, host] {
            if (network_->hosts().contains(host))
                onHostAdded(host);
        };
        QMetaObject::invokeMethod(this, addUnlessGone, Qt::QueuedConnection);
    }
}

void HostEnumerator::onHostAdded(const ebo::refptr<Host>& host)
{
    // A device that came while start() looked is told of twice.
    if (!allHosts_.contains(host)) {
        allHosts_.append(host);
        connect(host.get(), &Host::servicesChanged, this, &HostEnumerator::onServiceChanged,
                Qt::DirectConnection);
        connect(host.get(), &Host::serviceIsReadyChanged, this, &HostEnumerator::onServiceIsReadyChanged,
                Qt::DirectConnection);
        connect(host.get(), &Host::isConnectedChanged, this, &HostEnumerator::onConnectedChanged,
                Qt::DirectConnection);
    }
    evaluate(host);
}

void HostEnumerator::onServiceChanged(const ebo::refptr<Host>& host) { evaluate(host); }

void HostEnumerator::onServiceIsReadyChanged(const ebo::refptr<Host>& host) { evaluate(host); }

void HostEnumerator::onConnectedChanged(const ebo::refptr<Host>& host) { evaluate(host); }

bool HostEnumerator::isReachable(const Host& host) const { return !requireConnected_ || host.isConnected(); }

void HostEnumerator::evaluate(const ebo::refptr<Host>& host)
{
    const bool isListed = matchingHosts_.contains(host);
    const Offer offer = offerOf(*host, requiredServices_);
    if (isReachable(*host) && offer.isComplete) {
        if (!isListed) {
            matchingHosts_.append(host);
            Q_EMIT hostAdded(host);
        }
        return;
    }
    if (keepWhileConnected_ || !isListed)
        return;
    if (isReachable(*host) && !offer.isLastReady)
        qCWarning(ebo::log::networkHost)
            << "Host:" << host->uuid() << "service has disappeared, but Host is still connected!";
    unlist(host);
}

void HostEnumerator::unlist(const ebo::refptr<Host>& host)
{
    if (!matchingHosts_.removeOne(host))
        return;
    Q_EMIT hostRemoved(host);
    if (matchingHosts_.isEmpty())
        Q_EMIT hostEnumeratorEmpty();
}

void HostEnumerator::onHostRemoved(const ebo::refptr<Host>& host)
{
    disconnect(host.get(), nullptr, this, nullptr);
    unlist(host);
    allHosts_.removeOne(host);
}

void HostEnumerator::broadcastServices()
{
    const QList<ebo::refptr<Host>> listed = matchingHosts_;
    for (const auto& host : listed)
        host->broadcastServices();
}

}  // namespace eboNetworkExchange
