#include "network/nfs/DirectoryWatch.h"

#include "network/nfs/servingLimits.h"

namespace {

/// Takes one from a count, whose entry goes with the last.
template <typename Key>
bool countDown(QHash<Key, int>& counts, const Key& key)
{
    const auto entry = counts.find(key);
    if (entry == counts.end() || --*entry > 0)
        return false;
    counts.erase(entry);
    return true;
}

}  // namespace

DirectoryWatch::DirectoryWatch()
{
    connect(&watcher_, &QFileSystemWatcher::directoryChanged, this, &DirectoryWatch::changed);
}

bool DirectoryWatch::isWatching(const QString& path) const { return watcher_.directories().contains(path); }

DirectoryWatch::Ticket DirectoryWatch::watch(const QString& path, const void* guest)
{
    if (guests_.value(guest) >= servingLimits::kMostWatchedOfHost)
        return nullptr;
    if (!isWatching(path) && !watcher_.addPath(path))
        return nullptr;
    ++tickets_[path];
    ++guests_[guest];
    // Any pointer that is not null will do: what counts is its end.
    return {this, [self = weak_from_this(), path, guest](void*) {
                if (const auto watch = self.lock())
                    watch->unwatch(path, guest);
            }};
}

void DirectoryWatch::unwatch(const QString& path, const void* guest)
{
    countDown(guests_, guest);
    if (countDown(tickets_, path) && isWatching(path))
        watcher_.removePath(path);
}
