#include "network/discovery/HostController.h"

#include "runtime/logCategories.h"

#include <QMutexLocker>

#include <optional>
#include <utility>

namespace eboDiscoverer {

HostController::HostController(QString organizationName, QString applicationName, const QUuid& ownUuid)
    : organizationName_(std::move(organizationName)), applicationName_(std::move(applicationName)),
      ownUuid_(ownUuid)
{}

HostController::~HostController() { removeAllHosts(); }

void HostController::removeAllHosts()
{
    for (const auto& host : hosts())
        removeHost(host->uuid());
}

QList<ebo::refptr<Host>> HostController::hosts() const
{
    const QMutexLocker locker(&mutex_);
    return hosts_.values();
}

ebo::refptr<Host> HostController::find(const QUuid& uuid) const
{
    const QMutexLocker locker(&mutex_);
    return hosts_.value(uuid);
}

bool HostController::addHost(const QUuid& uuid, const QHostAddress& address, const QString& name,
                             quint16 port, const QString& appId, const QString& appVersion)
{
    if (uuid.isNull() || uuid == ownUuid_)
        return false;
    // The table changes on this thread only, so what was found stays true; signals leave with it unlocked.
    if (const ebo::refptr<Host> known = find(uuid)) {
        known->heardFrom(address);
        known->update(name, port);
        return false;
    }
    std::optional<QUuid> evicted;
    if (!shares_.admit(uuid, address, evicted))
        return false;
    if (evicted)
        removeHost(*evicted);

    const auto host = ebo::makeRef<Host>(uuid, name, port, appVersion, appId);
    host->heardFrom(address);
    host->moveToThread(thread());
    connect(host.get(), &Host::removed, this, &HostController::removeHost);
    {
        const QMutexLocker locker(&mutex_);
        hosts_.insert(uuid, host);
    }
    Q_EMIT hostAdded(host);
    return true;
}

bool HostController::addHost(const QUuid& uuid, const QHostAddress& address, const QString& name,
                             quint16 port, const QString& appId)
{
    return addHost(uuid, address, name, port, appId, QString());
}

bool HostController::onFarewell(const QUuid& uuid, const QHostAddress& address)
{
    const ebo::refptr<Host> host = find(uuid);
    if (host && !host->isHeardFrom(address)) {
        qCDebug(ebo::log::discoverer) << "farewell of" << uuid << "from an address of another:" << address;
        return false;
    }
    shares_.removeAfterFarewell(uuid);
    return removeHost(uuid);
}

bool HostController::removeHost(const QUuid& uuid)
{
    if (uuid.isNull())
        return false;
    const ebo::refptr<Host> host = find(uuid);
    if (!host) {
        qCDebug(ebo::log::discoverer) << Q_FUNC_INFO << "tried to remove unknown host";
        return false;
    }
    shares_.remove(uuid);
    host->deactivate();
    int removed = 0;
    {
        const QMutexLocker locker(&mutex_);
        removed = hosts_.remove(uuid);
    }
    if (removed == 0) {
        qCDebug(ebo::log::discoverer) << "failed to remove host" << uuid;
        return false;
    }
    host->retire();
    Q_EMIT hostRemoved(host);
    return true;
}

}  // namespace eboDiscoverer
