#include "network/nfs/eboNfsLocalFile.h"

#include "network/nfs/eboNfs.h"
#include "network/nfs/eboNfsLocalFileRemote.h"
#include "runtime/logCategories.h"

#include <QFileInfo>
#include <QThread>

#include <algorithm>
#include <utility>

using eboNfsMessages::Message;

eboNfsLocalFile::eboNfsLocalFile(QUrl url, ebo::weakptr<eboNfs> nfs, ebo::weakptr<eboFileFactory> fileFactory,
                                 SharingPolicy policy, Backlogs backlogs)
    : url_(std::move(url)), localPath_(url_.toLocalFile()), nfs_(std::move(nfs)),
      fileFactory_(std::move(fileFactory)), policy_(policy), backlogs_(std::move(backlogs))
{}

eboNfsLocalFile::~eboNfsLocalFile() { tellGone(); }

void eboNfsLocalFile::dismiss()
{
    tellGone();
    dropIf([](const RemoteRef& /*remote*/) { return true; });
}

void eboNfsLocalFile::tellGone()
{
    for (const RemoteRef& remote : remotes_)
        remote->tellUnavailable();
}

void eboNfsLocalFile::addRemote(const ebo::refptr<eboNfsHost>& host, unsigned int objectId)
{
    if (const RemoteRef known = find(host.get(), objectId)) {
        known->sendInfoAgain();
        return;
    }
    const auto factory = fileFactory_.promote();
    if (!factory)
        return;
    const bool canBeOpened = this->canBeOpened();
    const ebo::refptr<eboFile> file = makeFile(canBeOpened ? factory : ebo::makeRef<eboFileFactory>());
    constexpr eboFile::OpenFlags kReading = eboFile::OpenBinary | eboFile::OpenRead;
    const bool isOpen = canBeOpened && ((!policy_.readOnly && file->open(kReading | eboFile::OpenWrite)) ||
                                        file->open(kReading));
    if (!isOpen)
        qCWarning(ebo::log::fileTransfer) << "failed to open file:" << localPath_;

    const auto remote = std::make_shared<eboNfsLocalFileRemote>(host, objectId, file, localPath_, nfs_,
                                                                policy_.readOnly, backlogs_);
    connect(host.get(), &eboNfsHost::bytesWritten, remote.get(), &eboNfsLocalFileRemote::onBytesWritten);
    remotes_.push_back(remote);
    remote->sendInfoAgain();
    if (isOpen)
        Q_EMIT opened(localPath_, host->uuid());
}

ebo::refptr<eboFile> eboNfsLocalFile::makeFile(const ebo::refptr<eboFileFactory>& factory) const
{
    eboFileFactory::Options options = eboFileFactory::kUnbuffered;
    options.setFlag(eboFileFactory::kWithoutLinks, policy_.confined);
    return factory->open(localPath_.toUtf8().constData(), options);
}

/// Whether the file is there, or may be created. The process's factory keeps something for every path that it
/// is asked for, so it is not asked for those that lead nowhere: a device can think up any number of them.
bool eboNfsLocalFile::canBeOpened() const
{
    const QFileInfo info(localPath_);
    return info.isFile() || (!policy_.readOnly && !info.exists() && QFileInfo(info.path()).isDir());
}

eboNfsLocalFile::RemoteRef eboNfsLocalFile::find(eboNfsHost* host, std::uint32_t objectId) const
{
    const auto found = std::find_if(remotes_.begin(), remotes_.end(), [&](const RemoteRef& remote) {
        return remote->isOf(host) && remote->objectId() == objectId;
    });
    return found != remotes_.end() ? *found : nullptr;
}

bool eboNfsLocalFile::serves(eboNfsHost* host, std::uint32_t objectId) const
{
    const RemoteRef remote = find(host, objectId);
    return remote && remote->isInUse();
}

bool eboNfsLocalFile::isUsed() const
{
    return std::any_of(remotes_.begin(), remotes_.end(),
                       [](const RemoteRef& remote) { return remote->isInUse(); });
}

void eboNfsLocalFile::forget(eboNfsHost* host, std::uint32_t objectId)
{
    if (const RemoteRef remote = find(host, objectId))
        drop(remote);
}

void eboNfsLocalFile::removeHost(eboNfsHost* host)
{
    dropIf([host](const RemoteRef& remote) { return remote->isOf(host); });
}

void eboNfsLocalFile::drop(const RemoteRef& remote)
{
    dropIf([&remote](const RemoteRef& known) { return known == remote; });
}

void eboNfsLocalFile::dropIf(const std::function<bool(const RemoteRef&)>& isMeant)
{
    std::vector<RemoteRef> dropped;
    std::erase_if(remotes_, [&](const RemoteRef& remote) {
        if (!isMeant(remote))
            return false;
        dropped.push_back(remote);
        return true;
    });
    for (const RemoteRef& remote : dropped) {
        remote->close();
        if (remote->wasOpened())
            Q_EMIT released(localPath_, remote->hostUuid());
    }
}

bool eboNfsLocalFile::processRequest(const Message& message, eboNfsHost* host)
{
    const RemoteRef remote = find(host, message.objectId);
    if (!remote)
        return false;
    switch (message.type) {
    case eboNfsMessages::eFileRelease:
        drop(remote);
        return false;
    case eboNfsMessages::eFileDeleteRequest: {
        const bool deleted = remote->deleteFile();
        if (!policy_.readOnly)  // otherwise nothing was touched, and reading goes on
            drop(remote);
        return deleted;
    }
    default:
        return remote->processRequest(message);
    }
}

void eboNfsLocalFile::process(bool& more)
{
    more = false;
    const std::vector<RemoteRef> remotes = remotes_;
    for (const RemoteRef& remote : remotes) {
        if (remote->doProcess())
            more = true;
    }
}

void eboNfsLocalFile::internalInvalidateFileTransmissionState(const eboSparseBitArray& invalidBlocks)
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this, [this, invalidBlocks] { internalInvalidateFileTransmissionState(invalidBlocks); },
            Qt::QueuedConnection);
        return;
    }
    const std::vector<RemoteRef> remotes = remotes_;
    for (const RemoteRef& remote : remotes)
        remote->invalidate(invalidBlocks);
}
