#include "network/nfs/eboNfsSubDirectory.h"

#include "network/nfs/eboNfsSubDirectoryRemote.h"
#include "runtime/logCategories.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

/// Changes within this time of one that was heard are taken together. Short for somebody who watches a list,
/// long for a program that copies a thousand files.
constexpr int kSettleMilliseconds = 200;

}  // namespace

eboNfsSubDirectory::eboNfsSubDirectory(QUrl url, eboUtils::file::DirectoryContentHandle contents,
                                       std::shared_ptr<DirectoryWatch> watch)
    : url_(std::move(url)), contents_(std::move(contents)), watch_(std::move(watch))
{
    connect(watch_.get(), &DirectoryWatch::changed, this, [this](const QString& path) {
        if (path == url_.toLocalFile())
            onWatched(path);
    });
    settling_.setSingleShot(true);
    settling_.setInterval(kSettleMilliseconds);
    connect(&settling_, &QTimer::timeout, this, &eboNfsSubDirectory::onSettled);
}

eboNfsSubDirectory::~eboNfsSubDirectory() = default;

void eboNfsSubDirectory::watchFor(const eboNfsHost* host)
{
    const QString path = url_.toLocalFile();
    const bool wasWatched = watch_->isWatching(path);
    DirectoryWatch::Ticket& ticket = tickets_[host];
    if ((ticket && wasWatched) || !QFileInfo(path).isDir())
        return;
    ticket.reset();  // of a directory that has been removed meanwhile
    ticket = watch_->watch(path, host);
    if (!wasWatched)
        lastEntries_.reset();  // nobody knows what happened while nobody watched
}

QStringList eboNfsSubDirectory::entryList(int filter) const
{
    return contents_.entryList(static_cast<QDir::Filters>(filter));
}

void eboNfsSubDirectory::registerListeningHost(const HostRef& host, unsigned int objectId)
{
    eboNfsLocalDirectory::registerListeningHost(host, objectId);
    watchFor(host.get());
    const bool isKnown = std::any_of(remotes_.begin(), remotes_.end(), [&](const auto& remote) {
        return remote->isOf(host) && remote->objectId() == objectId;
    });
    if (isKnown) {
        qCDebug(ebo::log::directoryRoot)
            << Q_FUNC_INFO << "path:" << url_.toLocalFile() << "host:" << host->rootUrl() << "known host";
    } else {
        remotes_.push_back(std::make_shared<Remote>(host, objectId, *this));
        connect(host.get(), &eboNfsHost::bytesWritten, this, &eboNfsSubDirectory::onBytesWritten,
                Qt::UniqueConnection);
    }
    needsProcessing_ = true;
}

void eboNfsSubDirectory::releaseObject(const HostRef& host, unsigned int objectId)
{
    remotes_.remove_if(
        [&](const auto& remote) { return remote->isOf(host) && remote->objectId() == objectId; });
    eboNfsLocalDirectory::releaseObject(host, objectId);
}

void eboNfsSubDirectory::unregisterListeningHost(const HostRef& host)
{
    qCDebug(ebo::log::directoryRoot) << Q_FUNC_INFO << url_ << host->rootUrl();
    eboNfsLocalDirectory::unregisterListeningHost(host);
    disconnect(host.get(), nullptr, this, nullptr);
    tickets_.erase(host.get());
    const auto removed = remotes_.remove_if([&](const auto& remote) {
        if (!remote->isOf(host))
            return false;
        qCDebug(ebo::log::directoryRoot)
            << "removed host from remotes of directory with object id:" << remote->objectId();
        return true;
    });
    needsProcessing_ = removed > 0;
}

void eboNfsSubDirectory::process(bool& more)
{
    more = false;
    needsProcessing_ = false;
    const std::vector<std::shared_ptr<Remote>> remotes(remotes_.begin(), remotes_.end());
    for (const auto& remote : remotes) {
        if (remote->process())
            more = true;
        if (needsProcessing_) {  // those who look are others now
            more = true;
            return;
        }
    }
}

void eboNfsSubDirectory::onBytesWritten()
{
    const bool waits =
        std::any_of(remotes_.begin(), remotes_.end(), [](const auto& remote) { return remote->isStalled(); });
    if (waits)
        Q_EMIT changed();
}

void eboNfsSubDirectory::onWatched(const QString& directory)
{
    if (settling_.isActive()) {
        changedMeanwhile_ = true;
        return;
    }
    settling_.start();
    onDirectoryContentChanged(directory);
}

void eboNfsSubDirectory::onSettled()
{
    if (std::exchange(changedMeanwhile_, false))
        onWatched(url_.toLocalFile());
}

void eboNfsSubDirectory::onDirectoryContentChanged(const QString& /*directory*/)
{
    constexpr int kEverything = QDir::Dirs | QDir::Files | QDir::NoDot | QDir::NoDotDot;
    QStringList entries = entryList(kEverything);
    if (lastEntries_ == entries)
        return;
    lastEntries_ = std::move(entries);
    for (const auto& remote : remotes_)
        remote->restart();
    Q_EMIT changed();
}
