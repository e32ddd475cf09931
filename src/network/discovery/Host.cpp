#include "network/discovery/Host.h"

#include "network/discovery/PeerBudget.h"
#include "network/discovery/sameAddress.h"

#include <QMutexLocker>

#include <algorithm>
#include <utility>

namespace eboDiscoverer {

Host::Host(const QUuid& uuid, QString name, quint16 port, QString applicationVersion, QString applicationId)
    : uuid_(uuid), name_(std::move(name)), port_(port), applicationVersion_(std::move(applicationVersion)),
      applicationId_(std::move(applicationId))
{}

QString Host::name() const
{
    const QMutexLocker locker(&mutex_);
    return name_;
}

QList<ebo::refptr<HostAddressHelper>> Host::addresses() const
{
    const QMutexLocker locker(&mutex_);
    return addresses_;
}

bool Host::isHeardFrom(const QHostAddress& address) const
{
    const QMutexLocker locker(&mutex_);
    return std::any_of(addresses_.begin(), addresses_.end(),
                       [&address](const auto& helper) { return sameAddress(helper->address(), address); });
}

void Host::heardFrom(const QHostAddress& address)
{
    if (refreshOrAdd(address))
        Q_EMIT addressesChanged();
    Q_EMIT beacon();
}

bool Host::refreshOrAdd(const QHostAddress& address)
{
    const QMutexLocker locker(&mutex_);
    const auto known = std::find_if(addresses_.begin(), addresses_.end(), [&address](const auto& helper) {
        return sameAddress(helper->address(), address);
    });
    if (known != addresses_.end()) {
        (*known)->refresh();
        return false;
    }
    if (addresses_.size() >= PeerBudget::kAddressesOfHost)
        return false;
    const auto helper = ebo::makeRef<HostAddressHelper>(address);
    connect(helper.get(), &HostAddressHelper::removeAddressHelper, this, &Host::onRemoveAddressHelper);
    connect(helper.get(), &HostAddressHelper::pingChanged, this, &Host::pingChanged);
    helper->refresh();
    addresses_.append(helper);
    return true;
}

void Host::update(const QString& name, quint16 port)
{
    {
        QMutexLocker locker(&mutex_);
        if (name_ != name) {
            name_ = name;
            locker.unlock();
            Q_EMIT nameChanged();
        }
    }
    port_ = port;
    Q_EMIT portChanged();
}

void Host::retire()
{
    for (const auto& helper : addresses())
        helper->retire();
}

void Host::onRemoveAddressHelper(const ebo::refptr<HostAddressHelper>& helper)
{
    bool isLast = false;
    {
        const QMutexLocker locker(&mutex_);
        if (!addresses_.removeOne(helper))
            return;
        isLast = addresses_.isEmpty();
    }
    Q_EMIT addressesChanged();
    if (isLast)
        Q_EMIT removed(uuid_);
}

}  // namespace eboDiscoverer
