#include "network/nfs/eboNfsFile.h"

#include "network/nfs/eboNfsFileAdapter.h"
#include "network/nfs/netUrl.h"
#include "runtime/logCategories.h"

#include <QDebugStateSaver>

#include <algorithm>
#include <chrono>
#include <utility>

namespace {

constexpr std::chrono::seconds kAskAgain{1};
constexpr std::chrono::seconds kDeletionTakes{1};

}  // namespace

eboNfsFile::eboNfsFile(ebo::weakptr<eboNfs> nfs, const ebo::refptr<eboNfsHost>& host,
                       std::shared_ptr<eboUtils::PageCache> cache, QUrl url, std::uint32_t objectId)
    : eboNfsObject(objectId, host), nfs_(std::move(nfs)), url_(std::move(url)), errorName_(url_.toString()),
      fileId_(objectId), pageCache_(std::move(cache)),
      lock_(ebo::makeRef<eboNfsLock>([this](eboFileLock::Level level) { return this->lock(level); }))
{}

eboNfsFile::~eboNfsFile()
{
    dirtyPages_.clear();
    pageCache_->drop(fileId_, {{0, furthestPage_}});
    sendRelease();
}

void eboNfsFile::addAdapter(const ebo::refptr<eboNfsFileAdapter>& adapter)
{
    const std::lock_guard guard(adaptersMutex_);
    adapters_.emplace_back(adapter);
}

void eboNfsFile::removeDeadAdapters()
{
    const std::lock_guard guard(adaptersMutex_);
    std::erase_if(adapters_, [](const auto& adapter) { return !adapter.isValid(); });
}

bool eboNfsFile::send(const Message& message)
{
    const auto receiver = host();
    return receiver && receiver->sendMessage(message);
}

void eboNfsFile::sendFileRequest()
{
    Message request = messageOf(eboNfsMessages::eFileRequest);
    request.path = eboNetUrl::pathOf(url_);
    if (!send(request))
        qCWarning(ebo::log::remoteFile) << Q_FUNC_INFO << "failed to send file request for" << request.path;
}

void eboNfsFile::sendRelease()
{
    if (isUnavailable())
        return;
    const auto receiver = host();
    if (receiver && receiver->hasService())
        receiver->sendMessage(messageOf(eboNfsMessages::eFileRelease));
    else
        qCWarning(ebo::log::remoteFile)
            << "void eboNfsFile::sendRelease()"
            << "failed to send release request for file" << eboNetUrl::pathOf(url_);
}

bool eboNfsFile::waitUntilOpen()
{
    const auto isDecided = [this] { return status_ != Status::Uninitialized || isUnavailable(); };
    while (!isDecided()) {
        sendFileRequest();
        std::unique_lock lock(mutex_);
        infoCondition_.wait_for(lock, kAskAgain, isDecided);
    }
    return status_ == Status::Open && !isUnavailable();
}

bool eboNfsFile::isKeptAlive()
{
    if (!isUnavailable())
        return false;
    // A device that drops out tells nobody: its first reader finds out.
    if (keepAlive_ && status_ == Status::Open)
        setIsUnavailable();
    return status_ == Status::KeepAlive;
}

bool eboNfsFile::hasMissingData() const
{
    if (isUnavailable() || status_ != Status::Open)
        return false;
    const std::uint64_t blocks = receivedBlocks_.count();
    const auto size = static_cast<std::uint64_t>(fileSize_.load());
    return blocks <= size / eboUtils::kPageBytes && blocks * eboUtils::kPageBytes < size;
}

void eboNfsFile::messageReceived(const Message& message)
{
    switch (message.type) {
    case eboNfsMessages::eFileInfo:
        infoReceived(message);
        break;
    case eboNfsMessages::eFileData:
        dataReceived(message);
        break;
    case eboNfsMessages::eFileDataInvalid:
        dataInvalidReceived(message);
        break;
    case eboNfsMessages::eObjectUnavailable:
        setIsUnavailable();
        break;
    case eboNfsMessages::eFileLockResponse:
        lockAnswer_.give({message.lockLevel, message.lockResult});
        break;
    case eboNfsMessages::eFileDeleteResponse:
        deleteAnswer_.give(message.deleted);
        break;
    case eboNfsMessages::eFileTruncateResponse:
        truncateResponseReceived(message);
        break;
    default:
        break;
    }
}

void eboNfsFile::infoReceived(const Message& message)
{
    if (message.fileFlags == 0 || message.fileSize < 0) {
        setIsUnavailable();
        return;
    }
    {
        const std::lock_guard guard(mutex_);
        if (status_ != Status::Uninitialized && status_ != Status::Open)
            return;
        status_ = Status::Open;
        fileSize_ = std::max(message.fileSize, dirtyEnd_);
    }
    infoCondition_.notify_all();
}

void eboNfsFile::setIsUnavailable()
{
    close(keepAlive_ ? Status::KeepAlive : Status::Closed);
    if (status_ == Status::Closed)
        qCDebug(ebo::log::remoteFile) << "File" << url_ << "closed because setIsUnavailable";
}

void eboNfsFile::close(Status status)
{
    // First, so that whoever is woken sees it.
    eboNfsObject::setIsUnavailable();
    std::vector<eboUtils::PageRef> lost;
    {
        const std::lock_guard guard(mutex_);
        if (status_ != Status::Closed)
            status_ = status;
        lost = takeDirtyPages();
    }
    dataCondition_.notify_all();
    infoCondition_.notify_all();
    lockAnswer_.wake();
    truncateAnswer_.wake();
    deleteAnswer_.wake();
}

bool eboNfsFile::deleteFile()
{
    if (isUnavailable()) {
        qCCritical(ebo::log::remoteFile)
            << "bool eboNfsFile::deleteFile()" << errorName_ << ", status:" << status();
        return false;
    }
    {
        std::vector<ebo::weakptr<eboNfsFileAdapter>> adapters;
        {
            const std::lock_guard guard(adaptersMutex_);
            adapters = adapters_;
        }
        for (const auto& known : adapters) {
            const auto adapter = known.promote();
            if (adapter && adapter->isOpen())
                return false;
        }
    }
    deleteAnswer_.expect();
    send(messageOf(eboNfsMessages::eFileDeleteRequest));
    const auto deleted = deleteAnswer_.wait(kDeletionTakes, [this] { return isUnavailable(); });
    if (!deleted && !isUnavailable()) {
        qCCritical(ebo::log::remoteFile)
            << "bool eboNfsFile::deleteFile()" << errorName_
            << ", we do not want to wait longer than a second. status:" << status();
        return false;
    }
    if (!deleted.value_or(false))
        return false;
    close(Status::Closed);
    qCDebug(ebo::log::remoteFile) << "File" << url_ << "closed because it was deleted";
    return true;
}

QDebug operator<<(QDebug debug, eboNfsFile::Status status)
{
    const char* name = "";
    switch (status) {
    case eboNfsFile::Status::Uninitialized:
        name = "eboNfsFile::Status::Uninitialized";
        break;
    case eboNfsFile::Status::Closed:
        name = "eboNfsFile::Status::Closed";
        break;
    case eboNfsFile::Status::Open:
        name = "eboNfsFile::Status::Open";
        break;
    case eboNfsFile::Status::KeepAlive:
        name = "eboNfsFile::Status::KeepAlive";
        break;
    }
    return debug << name;
}
