#include "network/discovery/HostShares.h"

#include "network/discovery/HostAddressHelper.h"
#include "network/discovery/PeerBudget.h"
#include "network/discovery/sameAddress.h"

namespace eboDiscoverer {

int HostShares::sizeOf(const QHostAddress& origin) const { return hosts_.value(origin).size(); }

QHostAddress HostShares::largestOrigin() const
{
    QHostAddress largest;
    int most = 0;
    for (auto entry = hosts_.begin(); entry != hosts_.end(); ++entry) {
        if (entry->size() <= most)
            continue;
        most = entry->size();
        largest = entry.key();
    }
    return largest;
}

bool HostShares::admit(const QUuid& uuid, const QHostAddress& origin, std::optional<QUuid>& evicted)
{
    forgetOldFarewells();
    const QHostAddress from = uniformAddress(origin);
    if (sizeOf(from) + leaving_.value(from) >= PeerBudget::kHosts)
        return false;
    if (origins_.size() >= PeerBudget::kHostsInAll) {
        const QHostAddress largest = largestOrigin();
        if (sizeOf(largest) <= sizeOf(from) + 1)
            return false;
        evicted = hosts_.value(largest).last();
        remove(*evicted);
    }
    origins_.insert(uuid, from);
    hosts_[from].append(uuid);
    return true;
}

void HostShares::remove(const QUuid& uuid)
{
    const auto entry = hosts_.find(origins_.take(uuid));
    if (entry == hosts_.end())
        return;
    entry->removeOne(uuid);
    if (entry->isEmpty())
        hosts_.erase(entry);
}

void HostShares::removeAfterFarewell(const QUuid& uuid)
{
    const auto origin = origins_.constFind(uuid);
    if (origin == origins_.constEnd())
        return;
    if (!clock_.isValid())
        clock_.start();
    farewells_.push_back({clock_.elapsed() + HostAddressHelper::kLifespanMilliseconds, *origin});
    ++leaving_[*origin];
    remove(uuid);
}

void HostShares::forgetOldFarewells()
{
    while (!farewells_.empty() && farewells_.front().until <= clock_.elapsed()) {
        const auto entry = leaving_.find(farewells_.front().origin);
        if (--*entry == 0)
            leaving_.erase(entry);
        farewells_.pop_front();
    }
}

}  // namespace eboDiscoverer
