#include "network/nfs/eboNfsLocalDirectory.h"

#include "runtime/logCategories.h"

#include <QDir>

#include <algorithm>
#include <utility>

using eboNfsMessages::Message;

eboNfsLocalDirectory::~eboNfsLocalDirectory() { tellGone(); }

void eboNfsLocalDirectory::dismiss() { tellGone(); }

void eboNfsLocalDirectory::tellGone()
{
    for (const auto& [host, objectIds] : std::exchange(listeners_, {})) {
        if (!host->hasService())
            continue;
        for (const std::uint32_t objectId : objectIds)
            host->sendMessage({eboNfsMessages::eObjectUnavailable, objectId});
    }
}

bool eboNfsLocalDirectory::processRequest(const Message& message, eboNfsHost* host)
{
    if (message.type == eboNfsMessages::eDirectoryRelease)
        releaseObject(HostRef(host), message.objectId);
    return false;
}

bool eboNfsLocalDirectory::serves(eboNfsHost* host, std::uint32_t objectId) const
{
    const auto entry = listeners_.find(host);
    return entry != listeners_.end() &&
           std::find(entry->second.begin(), entry->second.end(), objectId) != entry->second.end();
}

void eboNfsLocalDirectory::forget(eboNfsHost* host, std::uint32_t objectId)
{
    if (serves(host, objectId))
        releaseObject(HostRef(host), objectId);
}

void eboNfsLocalDirectory::registerListeningHost(const HostRef& host, unsigned int objectId)
{
    if (serves(host.get(), objectId))
        qCCritical(ebo::log::directoryRoot) << "Someones trying to double register !!";
    else
        listeners_[host].push_back(objectId);
}

void eboNfsLocalDirectory::releaseObject(const HostRef& host, unsigned int objectId)
{
    const auto entry = listeners_.find(host);
    if (entry == listeners_.end()) {
        qCWarning(ebo::log::directoryRoot) << "Got eDirectoryRelease for non registered host!";
        return;
    }
    if (std::erase(entry->second, objectId) == 0)
        qCWarning(ebo::log::directoryRoot) << "Got eDirectoryRelease for non registered objected id!";
    if (entry->second.empty())
        unregisterListeningHost(host);
}

void eboNfsLocalDirectory::unregisterListeningHost(const HostRef& host) { listeners_.erase(host); }

void eboNfsLocalDirectory::removeHost(eboNfsHost* host)
{
    auto entry = listeners_.find(host);
    if (entry == listeners_.end())
        entry = std::find_if(listeners_.begin(), listeners_.end(),
                             [host](const auto& known) { return known.first->uuid() == host->uuid(); });
    if (entry != listeners_.end())
        unregisterListeningHost(HostRef(entry->first));
}

void eboNfsLocalDirectory::sendToAllObjects(const HostRef& host, Message message) const
{
    const auto entry = listeners_.find(host);
    if (entry == listeners_.end())
        return;
    const std::vector<std::uint32_t> objectIds = entry->second;
    for (const std::uint32_t objectId : objectIds) {
        message.objectId = objectId;
        host->sendMessage(message);
    }
}

void eboNfsLocalDirectory::sendDirectoryContents(const HostRef& host)
{
    const QStringList directories = entryList(QDir::AllDirs | QDir::NoDot | QDir::NoDotDot);
    const QStringList files = entryList(QDir::Files);
    const bool sendsDirectories = !directories.isEmpty() || files.isEmpty();
    if (sendsDirectories) {
        Message message(eboNfsMessages::eDirectoryContents, 0);
        message.entries = directories;
        message.isFirst = true;
        message.isLast = files.isEmpty();
        message.containsDirectories = true;
        qCDebug(ebo::log::fileTransferDetailed) << Q_FUNC_INFO << "directories" << directories << "isLast"
                                                << message.isLast << "host" << host->rootUrl();
        sendToAllObjects(host, message);
    }
    if (!files.isEmpty()) {
        Message message(eboNfsMessages::eDirectoryContents, 0);
        message.entries = files;
        message.isFirst = !sendsDirectories;
        message.isLast = true;
        message.containsDirectories = false;
        qCDebug(ebo::log::fileTransferDetailed)
            << Q_FUNC_INFO << "files" << files << "isLast" << message.isLast << "host" << host->rootUrl();
        sendToAllObjects(host, message);
    }
}

void eboNfsLocalDirectory::sendDirectoryContentsToAll()
{
    std::vector<HostRef> hosts;
    for (const auto& listener : listeners_)
        hosts.push_back(listener.first);
    for (const HostRef& host : hosts)
        sendDirectoryContents(host);
}
