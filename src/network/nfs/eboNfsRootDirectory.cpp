#include "network/nfs/eboNfsRootDirectory.h"

#include "network/nfs/eboNfs.h"
#include "network/nfs/servingLimits.h"
#include "runtime/EndAtOnce.h"
#include "runtime/logCategories.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

std::int32_t permissionsOf(const QFileInfo& info)
{
    return static_cast<std::int32_t>(QFile::Permissions::Int(info.permissions()));
}

QDateTime createdAt(const QFileInfo& info)
{
    const QDateTime birth = info.birthTime();
    return birth.isValid() ? birth : info.metadataChangeTime();
}

bool isRelease(eboNfsMessages::Type type)
{
    return type == eboNfsMessages::eFileRelease || type == eboNfsMessages::eDirectoryRelease;
}

}  // namespace

eboNfsRootDirectory::eboNfsRootDirectory(ebo::weakptr<eboNfs> nfs, ebo::weakptr<eboFileFactory> fileFactory)
    : nfs_(std::move(nfs)), fileFactory_(std::move(fileFactory))
{}

eboNfsRootDirectory::~eboNfsRootDirectory() { endServing(); }

void eboNfsRootDirectory::endServing()
{
    const ebo::EndAtOnce endAtOnce;
    objects_.clear();
    const auto directories = std::exchange(directories_, {});
    decltype(files_) files;
    {
        const std::lock_guard guard(rootMutex_);
        files.swap(files_);
    }
    for (const auto& directory : directories)
        directory->dismiss();
    for (const auto& file : std::as_const(files))
        file->dismiss();
}

ebo::refptr<eboNfsLocalFile> eboNfsRootDirectory::servedFile(const QUrl& localUrl) const
{
    const std::lock_guard guard(rootMutex_);
    return files_.value(localUrl);
}

QStringList eboNfsRootDirectory::entryList(int filter) const
{
    return (filter & QDir::AllDirs) != 0 ? paths_.names() : QStringList();
}

void eboNfsRootDirectory::mountDirectory(const QUrl& url, const QString& name, qint64 fileSizeLimit)
{
    qCInfo(ebo::log::directoryRoot) << "Mounting" << url << "as" << name;
    if (!paths_.mount(url, name, fileSizeLimit)) {
        qCWarning(ebo::log::directoryRoot) << "Tried adding already existing directory!";
        return;
    }
    qCDebug(ebo::log::directoryRoot) << "Directory added";
    sendDirectoryContentsToAll();
    Q_EMIT changed();
}

void eboNfsRootDirectory::unmountDirectory(const QUrl& url)
{
    qCDebug(ebo::log::directoryRoot) << "Unmounting" << url;
    const QStringList prefixes = paths_.urlPrefixesOf(url);
    const auto isMeant = [&prefixes](const QUrl& candidate) {
        const QString text = candidate.toString();
        return std::any_of(prefixes.begin(), prefixes.end(),
                           [&text](const QString& prefix) { return text.startsWith(prefix); });
    };
    if (paths_.unmount(url))
        sendDirectoryContentsToAll();

    qCDebug(ebo::log::directoryRoot) << "Removing Directory" << url;
    std::vector<ebo::refptr<eboNfsLocalObject>> removed;
    const auto take = [&](auto& table) {
        for (auto entry = table.begin(); entry != table.end();) {
            if (isMeant(entry.key())) {
                removed.emplace_back(entry.value());
                entry = table.erase(entry);
            } else {
                ++entry;
            }
        }
    };
    take(directories_);
    {
        const std::lock_guard guard(rootMutex_);
        take(files_);
    }
    for (Objects& ofHost : objects_) {
        for (auto entry = ofHost.begin(); entry != ofHost.end();) {
            const auto object = entry->promote();
            entry = !object || isMeant(object->url()) ? ofHost.erase(entry) : std::next(entry);
        }
    }
    for (const auto& object : removed)
        object->dismiss();
    Q_EMIT unmountDirectoryFinished(url);
}

bool eboNfsRootDirectory::processRequest(const Message& message, eboNfsHost* host)
{
    if (host == nullptr || host->isRemoved())
        return false;
    if (host->unsentBytes() > servingLimits::kMostUnreadBytes && !isRelease(message.type)) {
        qCWarning(ebo::log::directoryRoot) << "No answer for a host that reads none:" << host->uuid();
        return false;
    }
    switch (message.type) {
    case eboNfsMessages::eInfoRequest:
        answerInfo(message, *host);
        return false;
    case eboNfsMessages::eDirectoryRequest:
        return openDirectory(message, *host);
    case eboNfsMessages::eFileRequest:
        return openFile(message, *host);
    default:
        return passToObject(message, *host);
    }
}

void eboNfsRootDirectory::answerInfo(const Message& request, eboNfsHost& host) const
{
    qCDebug(ebo::log::directoryRoot) << Q_FUNC_INFO << "object id:" << request.objectId
                                     << "path:" << request.path;
    Message answer(eboNfsMessages::eInfo, request.objectId);
    QUrl url;
    if (toLocalUrl(request.path, url)) {
        const QFileInfo info(url.toLocalFile());
        answer.exists = info.exists();
        answer.isDir = info.isDir();
        answer.flags = permissionsOf(info);
        answer.ctime = createdAt(info);
        answer.mtime = info.lastModified();
        answer.atime = info.lastRead();
        answer.size = info.size();
    } else if (request.path.isEmpty()) {
        answer.exists = true;
        answer.isDir = true;
        answer.flags = eboNfsMessages::kRootFlags;
        answer.ctime = answer.mtime = answer.atime = QDateTime::currentDateTime();
        answer.size = 0xFFFFFFFF;
    }
    host.sendMessage(answer);
}

bool eboNfsRootDirectory::openDirectory(const Message& request, eboNfsHost& host)
{
    Message answer(eboNfsMessages::eDirectoryInfo, request.objectId);
    answer.fileSizeLimit = ServedPaths::kNoLimit;
    QUrl url;
    if (!toLocalUrl(request.path, url)) {
        qCWarning(ebo::log::directoryRoot)
            << Q_FUNC_INFO << "failed to convert path to local url. path:" << request.path;
        host.sendMessage(answer);
        return false;
    }
    ebo::refptr<eboNfsLocalDirectory> directory(this);
    if (!url.isEmpty())
        directory = findOrMakeDirectory(url, request);
    if (!enter(host, request.objectId, directory.get())) {
        host.sendMessage(answer);
        return false;
    }
    const ebo::refptr<eboNfsHost> listener(&host);
    directory->registerListeningHost(listener, request.objectId);
    answer.exists = true;
    if (url.isEmpty()) {
        sendDirectoryContents(listener);
        answer.flags = eboNfsMessages::kRootFlags;
    } else {
        const QString path = url.toLocalFile();
        answer.flags = permissionsOf(QFileInfo(path));
        answer.fileSizeLimit = paths_.fileSizeLimitOf(path);
    }
    directoriesChanged_ = true;
    if (!host.sendMessage(answer))
        qCWarning(ebo::log::directoryRoot)
            << "Failed to send directory info message to host:" << host.rootUrl()
            << "object id:" << request.objectId;
    return true;
}

ebo::refptr<eboNfsSubDirectory> eboNfsRootDirectory::findOrMakeDirectory(const QUrl& url,
                                                                         const Message& request)
{
    auto known = directories_.value(url);
    if (known) {
        qCDebug(ebo::log::directoryRoot) << Q_FUNC_INFO << "object id:" << request.objectId
                                         << "path:" << request.path << "list didn't change";
        return known;
    }
    dropIdle();
    if (!watch_)
        watch_ = std::make_shared<DirectoryWatch>();
    const bool confined = paths_.policy().confined;
    eboUtils::file::DirectoryContentHandle::LinkTest acceptsLink;
    if (confined)
        acceptsLink = [paths = paths_](const QByteArray& path) { return paths.isWithin(path); };
    auto directory = ebo::makeRef<eboNfsSubDirectory>(
        url,
        eboUtils::file::DirectoryContentHandle(url.toLocalFile().toUtf8(),
                                               confined ? LinkPolicy::kRefuse : LinkPolicy::kFollow,
                                               std::move(acceptsLink)),
        watch_);
    if (const auto nfs = nfs_.promote())
        connect(directory.get(), &eboNfsLocalDirectory::changed, nfs.get(), &eboNfs::triggerProcessing);
    directories_.insert(url, directory);
    return directory;
}

bool eboNfsRootDirectory::openFile(const Message& request, eboNfsHost& host)
{
    QUrl url;
    const bool leadsSomewhere = toLocalUrl(request.path, url);
    // Without a factory nothing can be opened; the request will be repeated.
    if (leadsSomewhere && !fileFactory_.isValid() && !servedFile(url)) {
        filesChanged_ = true;
        return true;
    }
    const auto file = leadsSomewhere ? findOrMakeFile(url) : nullptr;
    if (!file || !enter(host, request.objectId, file.get())) {
        host.sendMessage({eboNfsMessages::eFileInfo, request.objectId});
        return false;
    }
    file->addRemote(ebo::refptr<eboNfsHost>(&host), request.objectId);
    filesChanged_ = true;
    return true;
}

ebo::refptr<eboNfsLocalFile> eboNfsRootDirectory::findOrMakeFile(const QUrl& url)
{
    auto file = servedFile(url);
    if (file)
        return file;
    dropIdle();
    file = ebo::makeRef<eboNfsLocalFile>(url, nfs_, fileFactory_, paths_.policy(), backlogs_);
    connect(file.get(), &eboNfsLocalFile::opened, this, &eboNfsRootDirectory::fileOpened);
    connect(file.get(), &eboNfsLocalFile::released, this, &eboNfsRootDirectory::fileReleased);
    const std::lock_guard guard(rootMutex_);
    files_.insert(url, file);
    return file;
}

/// Notes what a device uses under a number; false if it uses too much already. Whatever it used under that
/// number before goes.
bool eboNfsRootDirectory::enter(eboNfsHost& host, std::uint32_t objectId, eboNfsLocalObject* object)
{
    Objects& ofHost = objects_[&host];
    const auto former = ofHost.value(objectId).promote();
    if (former.get() == object)
        return true;
    if (former) {
        former->forget(&host, objectId);
    } else if (ofHost.size() >= servingLimits::kMostObjectsOfHost) {
        for (auto entry = ofHost.begin(); entry != ofHost.end();) {
            const auto known = entry->promote();
            if (known && known->serves(&host, entry.key())) {
                ++entry;
                continue;
            }
            if (known)
                known->forget(&host, entry.key());
            entry = ofHost.erase(entry);
        }
        if (ofHost.size() >= servingLimits::kMostObjectsOfHost) {
            qCWarning(ebo::log::directoryRoot) << "Too much is in use by host:" << host.uuid();
            return false;
        }
    }
    ofHost.insert(objectId, ebo::weakptr<eboNfsLocalObject>(object));
    return true;
}

/// Makes room in the tables, when they are full, by dropping what nobody uses.
void eboNfsRootDirectory::dropIdle()
{
    if (directories_.size() >= servingLimits::kMostIdleEntries) {
        for (auto entry = directories_.begin(); entry != directories_.end();)
            entry = entry.value()->listenerCount() == 0 ? directories_.erase(entry) : std::next(entry);
    }
    if (files_.size() >= servingLimits::kMostIdleEntries) {
        const std::lock_guard guard(rootMutex_);
        for (auto entry = files_.begin(); entry != files_.end();)
            entry = entry.value()->isUsed() ? std::next(entry) : files_.erase(entry);
    }
}

bool eboNfsRootDirectory::passToObject(const Message& request, eboNfsHost& host)
{
    const auto object = objects_.value(&host).value(request.objectId).promote();
    if (!object) {
        host.sendMessage({eboNfsMessages::eObjectUnavailable, request.objectId});
        qCCritical(ebo::log::directoryRoot)
            << "virtual bool eboNfsRootDirectory::processRequest(const eboNfsMessages::Message&, eboNfsHost*)"
            << "Received request for unavailable object from host:" << host.uuid() << "(" << host.name()
            << ")"
            << "with id" << request.objectId << "type" << static_cast<int>(request.type);
        return false;
    }
    return object.get() == this ? eboNfsLocalDirectory::processRequest(request, &host)
                                : object->processRequest(request, &host);
}

bool eboNfsRootDirectory::processDirectories()
{
    directoriesChanged_ = false;
    const auto directories = directories_;
    bool anyMore = false;
    for (const auto& directory : directories) {
        bool more = false;
        directory->process(more);
        anyMore = anyMore || more;
    }
    return anyMore || directoriesChanged_;
}

bool eboNfsRootDirectory::processFiles()
{
    filesChanged_ = false;
    // The thread that alone changes the table may look at it without the lock; the copy costs nothing.
    const auto files = files_;
    bool anyMore = false;
    for (const auto& file : files) {
        bool more = false;
        file->process(more);
        anyMore = anyMore || more;
    }
    return anyMore || filesChanged_;
}

void eboNfsRootDirectory::forgetHost(eboNfsHost& host)
{
    removeHost(&host);
    const auto directories = directories_;
    for (const auto& directory : directories)
        directory->removeHost(&host);
    const auto files = files_;
    for (const auto& file : files)
        file->removeHost(&host);
    objects_.remove(&host);
}
