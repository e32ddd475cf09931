#include "network/discovery/LocalAddresses.h"

#include "runtime/logCategories.h"

#include <utility>

namespace eboDiscoverer {

LocalAddresses::LocalAddresses(Source source) : source_(std::move(source)), turn_(this)
{
    turn_.setSingleShot(true);
    turn_.setInterval(0);
}

const LocalAddresses::Entries& LocalAddresses::entries()
{
    if (turn_.isActive())
        return entries_;
    entries_ = source_();
    turn_.start();
    const bool wasKnown = std::exchange(wasKnown_, entries_.has_value());
    if (wasKnown && !entries_)
        qCWarning(ebo::log::discoverer) << "The addresses of this device cannot be listed";
    return entries_;
}

LocalAddresses::Entries LocalAddresses::listOfSystem()
{
    QList<LocalEntry> result;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    // There is always one for loopback.
    if (interfaces.isEmpty())
        return std::nullopt;
    for (const QNetworkInterface& interface : interfaces) {
        const QList<QNetworkAddressEntry> entries = interface.addressEntries();
        for (const QNetworkAddressEntry& entry : entries)
            result.append({entry.ip(), entry.netmask(), interface});
    }
    return result;
}

}  // namespace eboDiscoverer
