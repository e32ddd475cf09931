#include "network/nfs/eboNfs.h"

#include "network/nfs/netUrl.h"
#include "runtime/logCategories.h"

#include <QAbstractEventDispatcher>
#include <QMutexLocker>

#include <utility>
#include <vector>

using eboNetworkExchange::HostEnumerator;
using eboNfsMessages::Message;

namespace {

/// The live objects of a table whose URL begins with that of something bigger; their entries go.
template <typename Object>
std::vector<ebo::refptr<Object>> takeBelow(QHash<QUrl, ebo::weakptr<Object>>& table, const QString& start)
{
    std::vector<ebo::refptr<Object>> result;
    for (auto entry = table.begin(); entry != table.end();) {
        if (!entry.key().toString().startsWith(start)) {
            ++entry;
            continue;
        }
        if (auto object = entry.value().promote())
            result.push_back(std::move(object));
        entry = table.erase(entry);
    }
    return result;
}

/// The live objects of a table that bear a number; their entries go.
template <typename Object>
std::vector<ebo::refptr<Object>> takeNumbered(QHash<QUrl, ebo::weakptr<Object>>& table,
                                              std::uint32_t objectId)
{
    std::vector<ebo::refptr<Object>> result;
    for (auto entry = table.begin(); entry != table.end();) {
        auto object = entry.value().promote();
        if (object && object->objectId() == objectId) {
            result.push_back(std::move(object));
            entry = table.erase(entry);
        } else {
            ++entry;
        }
    }
    return result;
}

template <typename Object>
std::vector<ebo::refptr<Object>> liveOnes(const QHash<QUrl, ebo::weakptr<Object>>& table)
{
    std::vector<ebo::refptr<Object>> result;
    for (const auto& entry : table) {
        if (auto object = entry.promote())
            result.push_back(std::move(object));
    }
    return result;
}

}  // namespace

ebo::refptr<eboNfs> eboNfs::create(const ebo::refptr<eboNetworkExchange::AbstractNetwork>& network,
                                   const ebo::refptr<eboFileFactory>& fileFactory)
{
    auto nfs = ebo::makeRef<eboNfs>(network, fileFactory);
    nfs->start();
    return nfs;
}

eboNfs::eboNfs(ebo::refptr<eboNetworkExchange::AbstractNetwork> network,
               const ebo::refptr<eboFileFactory>& fileFactory)
    : network_(std::move(network)), hostModel_(network_, {eboNfsHost::serviceId()}),
      rootDirectory_(ebo::makeRef<eboNfsRootDirectory>(ebo::weakptr<eboNfs>(this),
                                                       ebo::weakptr<eboFileFactory>(fileFactory))),
      pageCache_(std::make_shared<eboUtils::PageCache>())
{}

void eboNfs::start()
{
    qCInfo(ebo::log::fileTransfer) << "eboNfs starting up...";
    qRegisterMetaType<Message>("eboNfsMessages::Message");
    qRegisterMetaType<eboSparseBitArray>("eboSparseBitArray");
    qRegisterMetaType<ebo::refptr<eboNfsDirectory>>("ebo::refptr<eboNfsDirectory>");
    hostDirectory_ = ebo::makeRef<eboNfsHostDirectory>(this);
    rootDirectory_->moveToThread(network_->networkThread());
    hostDirectory_->moveToThread(network_->networkThread());
    moveToThread(network_->networkThread());
    connect(rootDirectory_.get(), &eboNfsRootDirectory::unmountDirectoryFinished, this,
            &eboNfs::onUnmountDirectoryFinished, Qt::DirectConnection);
    connect(&hostModel_, &HostEnumerator::hostAdded, this, &eboNfs::onHostAdded, Qt::DirectConnection);
    connect(&hostModel_, &HostEnumerator::hostRemoved, this, &eboNfs::onHostRemoved, Qt::DirectConnection);
    hostModel_.start();
    qCInfo(ebo::log::fileTransfer) << "eboNfs up and running";
}

eboNfs::~eboNfs()
{
    disconnect(this, nullptr, nullptr, nullptr);
    disconnect(&hostModel_, nullptr, this, nullptr);
    makeEverythingUnavailable();
    if (hostDirectory_)
        hostDirectory_->setIsUnavailable();
    for (const auto& host : std::as_const(hosts_))
        host->disconnect(this);
}

QList<ebo::refptr<eboNfsHost>> eboNfs::hosts() const
{
    const QMutexLocker locker(&mutex_);
    return hosts_;
}

bool eboNfs::findHost(const QUrl& url, ebo::refptr<eboNfsHost>& host) const
{
    const QUuid device = eboNetUrl::deviceOf(url);
    if (device.isNull())
        return false;
    for (const auto& known : hosts()) {
        if (known->uuid() == device) {
            host = known;
            return true;
        }
    }
    return false;
}

ebo::refptr<eboNfsFile> eboNfs::getFile(const QUrl& url, bool keepAlive)
{
    qCInfo(ebo::log::fileTransfer) << "File requested:" << url;
    ebo::refptr<eboNfsHost> host;
    if (!findHost(url, host))
        return nullptr;
    const QMutexLocker locker(&mutex_);
    if (isEnding_)
        return nullptr;
    auto file = files_.value(url).promote();
    if (file) {
        qCDebug(ebo::log::fileTransfer)
            << "There is an entry for:" << url << "remote object id:" << file->objectId();
        if (file->isUnavailable()) {
            qCDebug(ebo::log::fileTransfer) << "Found unavailable file in map:" << url;
            file.reset();
        }
    }
    if (!file) {
        const std::uint32_t id = takeObjectId();
        qCDebug(ebo::log::fileTransfer) << "Creating new file for:" << url << "object id:" << id;
        file = ebo::makeRef<eboNfsFile>(ebo::weakptr<eboNfs>(this), host, pageCache_, url, id);
        file->moveToThread(thread());
        files_.insert(url, ebo::weakptr<eboNfsFile>(file));
        objects_.insert(id, ebo::weakptr<eboNfsObject>(file.get()));
    }
    if (keepAlive)
        file->setKeepAlive();
    return file;
}

ebo::refptr<eboNfsInfo> eboNfs::getInfo(const QUrl& url)
{
    qCInfo(ebo::log::fileTransfer) << "Info requested:" << url;
    ebo::refptr<eboNfsHost> host;
    if (!findHost(url, host))
        return nullptr;
    const QMutexLocker locker(&mutex_);
    if (isEnding_)
        return nullptr;
    if (auto info = infos_.value(url).promote()) {
        qCDebug(ebo::log::fileTransfer)
            << Q_FUNC_INFO << "There is an entry for:" << url << "remote object id:" << info->objectId();
        return info;
    }
    const std::uint32_t id = takeObjectId();
    qCDebug(ebo::log::fileTransfer) << "Creating new Info for:" << url;
    auto info = ebo::makeRef<eboNfsInfo>(id, host, url);
    info->moveToThread(thread());
    infos_.insert(url, ebo::weakptr<eboNfsInfo>(info));
    objects_.insert(id, ebo::weakptr<eboNfsObject>(info.get()));
    recentInfos_.push_back(info);
    if (recentInfos_.size() > kMostRecentInfos)
        recentInfos_.pop_front();
    return info;
}

void eboNfs::addObject(const ebo::refptr<eboNfsObject>& object)
{
    const QMutexLocker locker(&mutex_);
    objects_.insert(object->objectId(), ebo::weakptr<eboNfsObject>(object));
}

void eboNfs::makeEverythingUnavailable()
{
    std::vector<ebo::refptr<eboNfsObject>> ending;
    {
        const QMutexLocker locker(&mutex_);
        isEnding_ = true;
        recentInfos_.clear();
        for (const auto& object : std::as_const(objects_)) {
            if (auto alive = object.promote())
                ending.push_back(std::move(alive));
        }
        // A file whose number has been dropped may still be waited for.
        for (auto& file : liveOnes(files_))
            ending.emplace_back(std::move(file));
    }
    for (const auto& object : ending)
        object->setIsUnavailable();
}

void eboNfs::end()
{
    makeEverythingUnavailable();
    if (thread()->isRunning())
        QMetaObject::invokeMethod(
            this, [this] { rootDirectory_->endServing(); }, Qt::BlockingQueuedConnection);
}

void eboNfs::onHostAdded(const ebo::refptr<eboNetworkExchange::Host>& host)
{
    ebo::refptr<eboNfsHost> added;
    {
        const QMutexLocker locker(&mutex_);
        for (const auto& known : std::as_const(hosts_)) {
            if (known->uuid() == host->uuid()) {
                qCWarning(ebo::log::fileTransfer)
                    << Q_FUNC_INFO << "host added which is already known:" << host->uuid() << host->name();
                return;
            }
        }
        added = ebo::makeRef<eboNfsHost>(host);
        hosts_.append(added);
    }
    connect(added.get(), &eboNfsHost::messageReceived, this, &eboNfs::onMessageReceived,
            Qt::DirectConnection);
    sendDeviceName(*added);
    qCInfo(ebo::log::fileTransfer) << "New File transfer host registered:" << host->uuid() << "("
                                   << host->addresses() << ")";
    Q_EMIT hostsChanged();
    added->startReading();
}

void eboNfs::onHostRemoved(const ebo::refptr<eboNetworkExchange::Host>& host)
{
    ebo::refptr<eboNfsHost> removed;
    for (const auto& known : hosts()) {
        if (known->host() == host)
            removed = known;
    }
    if (!removed) {
        qCWarning(ebo::log::fileTransfer) << "Host removed that wasn't registered! (" << host->uuid() << ")";
        return;
    }
    removed->remove();
    qCInfo(ebo::log::fileTransfer) << "File transfer host un-registered:" << host->uuid()
                                   << host->addresses();
    rootDirectory_->forgetHost(*removed);
    {
        const QMutexLocker locker(&mutex_);
        hosts_.removeOne(removed);
    }
    Q_EMIT hostsChanged();
}

void eboNfs::onMessageReceived(eboNfsHost* host, const Message& message)
{
    if (eboNfsMessages::isRequest(message.type)) {
        if (rootDirectory_->processRequest(message, host))
            triggerProcessing();
    } else if (eboNfsMessages::isAnswer(message.type)) {
        const bool mayAnswer = passAnswer(host, message);
        if (mayAnswer && message.type == eboNfsMessages::eObjectUnavailable)
            dropObject(message.objectId);
    }
}

/// @return false if the object is another device's: numbers are easily guessed, and nobody is to answer in
/// the name of others
bool eboNfs::passAnswer(const eboNfsHost* host, const Message& message)
{
    using namespace eboNfsMessages;
    ebo::refptr<eboNfsObject> object;
    {
        const QMutexLocker locker(&mutex_);
        const auto entry = objects_.find(message.objectId);
        if (entry == objects_.end()) {
            if (message.type == eDirectoryContents)
                qCWarning(ebo::log::fileTransfer) << "Received directory content" << message.entries
                                                  << "for unknown object" << message.objectId;
            else if (message.type == eFileInfo)
                qCWarning(ebo::log::fileTransfer)
                    << "Received file info for unknown object" << message.objectId;
            else if (message.type == eDirectoryInfo)
                qCWarning(ebo::log::fileTransfer)
                    << "Received directory info for unknown object" << message.objectId;
            return true;
        }
        object = entry.value().promote();
        if (!object) {
            if (message.type == eDirectoryContents)
                qCDebug(ebo::log::fileTransferDetailed)
                    << "received directory content message for NO LONGER AVAILABLE object id:"
                    << message.objectId;
            else if (message.type == eDirectoryInfo)
                qCWarning(ebo::log::fileTransfer)
                    << "Received directory info for NO LONGER AVAILABLE object id" << message.objectId;
            objects_.erase(entry);
            return true;
        }
        if (object->isUnavailable()) {
            qCDebug(ebo::log::fileTransfer) << "Received message for unavailable object?!";
            objects_.erase(entry);
            return true;
        }
    }
    if (object->host().get() != host) {
        qCWarning(ebo::log::fileTransfer)
            << "Received an answer for an object of another host:" << message.objectId;
        return false;
    }
    if (message.type == eDirectoryContents)
        qCDebug(ebo::log::fileTransferDetailed)
            << "received directory content message for AVAILABLE object id:" << message.objectId;
    object->messageReceived(message);
    return true;
}

void eboNfs::dropObject(std::uint32_t objectId)
{
    std::vector<ebo::refptr<eboNfsObject>> dropped;
    {
        const QMutexLocker locker(&mutex_);
        if (auto object = objects_.take(objectId).promote())
            dropped.push_back(std::move(object));
        for (auto& directory : takeNumbered(directories_, objectId)) {
            infos_.remove(directory->url());
            dropped.emplace_back(std::move(directory));
        }
        for (auto& file : takeNumbered(files_, objectId)) {
            infos_.remove(file->url());
            dropped.emplace_back(std::move(file));
        }
    }
    for (const auto& object : dropped)
        object->setIsUnavailable();
}

void eboNfs::triggerProcessing() { QMetaObject::invokeMethod(this, "doProcessing", Qt::QueuedConnection); }

void eboNfs::doProcessing()
{
    if (isProcessing_)
        return;
    isProcessing_ = true;
    // Messages that have come in overtake a long run of sending.
    const ebo::weakptr<eboNfs> self(this);
    QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents);
    if (!self.isValid())
        return;
    const bool directoriesLeft = rootDirectory_->processDirectories();
    const bool filesLeft = rootDirectory_->processFiles();
    const bool anythingLeft = directoriesLeft || filesLeft;
    processingPending_ = anythingLeft;
    if (anythingLeft)
        triggerProcessing();
    isProcessing_ = false;
}

void eboNfs::setDeviceName(const QString& name)
{
    const QMutexLocker locker(&deviceNameMutex_);
    deviceName_ = name;
}

void eboNfs::sendDeviceName(eboNfsHost& host)
{
    Message message(eboNfsMessages::eDeviceInfo, 0);
    {
        const QMutexLocker locker(&deviceNameMutex_);
        message.deviceName = deviceName_;
    }
    host.sendMessage(message);
}

void eboNfs::writeHostInfoMessageToKnownHosts()
{
    for (const auto& host : hosts())
        sendDeviceName(*host);
}

void eboNfs::onUnmountDirectoryFinished(const QUrl& url)
{
    const QString start = url.toString();
    std::vector<ebo::refptr<eboNfsObject>> dropped;
    {
        const QMutexLocker locker(&mutex_);
        const auto keep = [this, &dropped](auto taken) {
            for (auto& object : taken) {
                objects_.remove(object->objectId());
                dropped.push_back(std::move(object));
            }
        };
        keep(takeBelow(directories_, start));
        keep(takeBelow(files_, start));
        keep(takeBelow(infos_, start));
    }
    for (const auto& object : dropped)
        object->setIsUnavailable();
}
