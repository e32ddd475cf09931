#include "network/nfs/eboNfsLocalFileRemote.h"

#include "network/nfs/eboNfs.h"
#include "network/nfs/servingLimits.h"
#include "runtime/logCategories.h"

#include <QScopedValueRollback>

#include <algorithm>
#include <utility>

using eboNfsMessages::kBlockSize;
using eboNfsMessages::Message;
using Range = eboSparseBitArray::Range;

namespace {

/// Blocks behind the end of the file that one range can ask for; each is answered by a message without data.
/// Some are in order: the file may have become shorter since its size was told. What a range may state has no
/// bounds.
constexpr std::uint64_t kMostBlocksBehindEnd = 256;

/// Ranges in one message: it stays below the 64 KiB of a packet.
constexpr std::size_t kMostRangesPerNotice = 4000;

/// Blocks 0 to n - 1 hold the whole file of that size; the last one may be shorter.
std::uint64_t blocksOf(std::int64_t size)
{
    return size > 0 ? static_cast<std::uint64_t>((size - 1) / kBlockSize) + 1 : 0;
}

}  // namespace

eboNfsLocalFileRemote::eboNfsLocalFileRemote(const ebo::refptr<eboNfsHost>& host, std::uint32_t objectId,
                                             ebo::refptr<eboFile> file, QString localPath,
                                             ebo::weakptr<eboNfs> nfs, bool readOnly,
                                             const Backlogs& backlogs)
    : hostKey_(host.get()), host_(host), hostUuid_(host->uuid()), objectId_(objectId),
      localPath_(std::move(localPath)), nfs_(std::move(nfs)), readOnly_(readOnly),
      rangesWaiting_(backlogs.ranges), file_(std::move(file)), wasOpened_(file_->isReadable()),
      writesWaiting_(backlogs.writes)
{}

eboNfsLocalFileRemote::~eboNfsLocalFileRemote() { close(); }

void eboNfsLocalFileRemote::close()
{
    file_->lock(eboFileLock::Unlocked);
    file_->close();
    pendingBlocks_.clear();
    pendingWrites_.clear();
    countWaiting();
    sendsInfo_ = false;
    if (const auto host = host_.promote())
        disconnect(host.get(), nullptr, this, nullptr);
}

void eboNfsLocalFileRemote::countWaiting()
{
    rangesWaiting_.set(pendingBlocks_.rangeCount());
    writesWaiting_.set(static_cast<std::size_t>(pendingWrites_.size()));
}

void eboNfsLocalFileRemote::tellUnavailable() const
{
    if (const auto host = host_.promote(); host && host->hasService())
        host->sendMessage({eboNfsMessages::eObjectUnavailable, objectId_});
}

void eboNfsLocalFileRemote::sendInfoAgain()
{
    sendsInfo_ = true;
    QMetaObject::invokeMethod(this, &eboNfsLocalFileRemote::doProcess, Qt::QueuedConnection);
}

bool eboNfsLocalFileRemote::doProcess()
{
    if (isProcessing_)
        return false;
    const auto self = shared_from_this();  // sending may reveal that the device has gone
    const QScopedValueRollback<bool> processing(isProcessing_, true);
    if (!sendsInfo_)
        return sendBlock();
    if (!sendInfo())
        return false;
    sendsInfo_ = false;
    return true;
}

void eboNfsLocalFileRemote::onBytesWritten()
{
    // Whatever is under way goes on by itself; a block more for each signal would not be one a turn.
    if (!std::exchange(isStalled_, false) || !doProcess())
        return;
    if (const auto nfs = nfs_.promote())
        nfs->triggerProcessing();
}

bool eboNfsLocalFileRemote::sendInfo()
{
    const auto host = host_.promote();
    if (!host)
        return false;
    Message message(eboNfsMessages::eFileInfo, objectId_);
    message.fileFlags = isOpen() ? 1 : 0;
    message.fileSize = isOpen() ? file_->size() : 0;
    host->sendMessage(message);
    return true;
}

bool eboNfsLocalFileRemote::sendBlock()
{
    const auto host = host_.promote();
    if (!host || pendingBlocks_.isEmpty())
        return false;
    if (host->unsentBytes() > servingLimits::kMostUnsentBytes) {
        isStalled_ = true;
        return false;
    }
    const auto block = pendingBlocks_.takeFirst();
    if (!block)
        return false;
    countWaiting();
    Message message(eboNfsMessages::eFileData, objectId_);
    message.offset = static_cast<std::int64_t>(*block) * kBlockSize;
    if (!readBlock(*block, message.data))
        return false;
    if (!host->sendMessageNonBlocking(message)) {
        pendingBlocks_.set(*block);
        countWaiting();
        isStalled_ = true;
        return false;
    }
    noteSent(*block);
    return true;
}

/// A record for the log alone: it ends where somebody scatters too widely.
void eboNfsLocalFileRemote::noteSent(std::uint64_t block)
{
    if (sentBlocks_.rangeCount() < kMostPendingRanges)
        sentBlocks_.set(block);
}

/// Under a level of the lock that keeps writers out, if the device holds none itself.
bool eboNfsLocalFileRemote::readBlock(std::uint64_t block, QByteArray& data)
{
    const std::int64_t offset = static_cast<std::int64_t>(block) * kBlockSize;
    const std::int64_t length = std::clamp(file_->size() - offset, std::int64_t{0}, kBlockSize);
    data = QByteArray(static_cast<int>(length), Qt::Uninitialized);
    if (length == 0)  // not a place that every file system can go to
        return isOpen();
    const eboFileLock::Level level = file_->lockLevel();
    if (level == eboFileLock::Unlocked && file_->lock(eboFileLock::Shared) != eboFileLock::SUCCESS)
        return false;
    const bool done = readAt(offset, data);
    if (level == eboFileLock::Unlocked)
        file_->lock(level);
    return done;
}

bool eboNfsLocalFileRemote::readAt(std::int64_t offset, QByteArray& data)
{
    file_->flush();
    if (!file_->seek(offset))
        return false;
    const std::int64_t count = file_->read(data.data(), data.size());
    if (count < 0)
        return false;
    data.truncate(static_cast<int>(count));
    return true;
}

bool eboNfsLocalFileRemote::processRequest(const Message& message)
{
    const auto self = shared_from_this();
    switch (message.type) {
    case eboNfsMessages::eFileDataRequest:
        return onDataRequest(message);
    case eboNfsMessages::eFileWriteRequest:
        return !readOnly_ && onWriteRequest(message);
    case eboNfsMessages::eFileLockRequest:
        return onLockRequest(message);
    case eboNfsMessages::eFileSyncRequest:
        return !readOnly_ && onSyncRequest();
    case eboNfsMessages::eFileTruncateRequest:
        return onTruncateRequest(message);
    default:
        return false;
    }
}

bool eboNfsLocalFileRemote::onDataRequest(const Message& message)
{
    const auto ranges = message.requestedBlocks.ranges();
    const auto isRequested = [&message](const PendingWrite& write) {
        return message.requestedBlocks.contains(static_cast<std::uint64_t>(write.offset));
    };
    if (std::any_of(pendingWrites_.begin(), pendingWrites_.end(), isRequested))
        qCCritical(ebo::log::fileTransfer) << "Data request during write!";

    if (pendingBlocks_.rangeCount() + ranges.size() > kMostPendingRanges ||
        !rangesWaiting_.hasRoomFor(ranges.size())) {
        qCWarning(ebo::log::fileTransfer) << "Too many blocks requested at once of:" << localPath_;
    } else {
        const std::uint64_t end = blocksOf(file_->size());
        for (const Range& range : ranges) {
            const std::uint64_t most = std::max(range.first, end) + (kMostBlocksBehindEnd - 1);
            constexpr std::uint64_t kLastBlock = std::uint64_t{INT64_MAX} / kBlockSize;
            if (range.first <= range.last && range.first <= kLastBlock)
                pendingBlocks_.set(Range{range.first, std::min({range.last, most, kLastBlock})});
        }
    }
    countWaiting();
    QMetaObject::invokeMethod(this, &eboNfsLocalFileRemote::doProcess, Qt::QueuedConnection);
    return true;
}

bool eboNfsLocalFileRemote::onWriteRequest(const Message& message)
{
    if (message.offset % kBlockSize != 0)
        qFatal("Write request data offset was not aligned to block boundary");
    if (pendingWrites_.size() < kMostPendingWrites && writesWaiting_.hasRoomFor(1))
        pendingWrites_.append({message.offset, message.data});
    else
        lostWrites_ = true;
    countWaiting();
    return false;
}

bool eboNfsLocalFileRemote::hasSentAll() const
{
    const auto blocks = static_cast<std::uint64_t>(std::max<std::int64_t>(file_->size() / kBlockSize, 1));
    const auto ranges = sentBlocks_.ranges();
    return !ranges.empty() && ranges.front().first == 0 && ranges.front().last >= blocks - 1;
}

bool eboNfsLocalFileRemote::onLockRequest(const Message& message)
{
    if (ebo::log::fileTransferDetailed().isDebugEnabled() && !hasSentAll())
        qCDebug(ebo::log::fileTransferDetailed)
            << "In the file to be locked are parts, which were never transmitted to the remote ("
            << localPath_ << ")";
    const bool isLevel =
        message.lockLevel >= eboFileLock::Unlocked && message.lockLevel <= eboFileLock::Exclusive;
    const auto result =
        isLevel ? file_->lock(static_cast<eboFileLock::Level>(message.lockLevel)) : eboFileLock::FAILED;
    if (const auto host = host_.promote()) {
        Message answer(eboNfsMessages::eFileLockResponse, objectId_);
        answer.lockResult = static_cast<std::int8_t>(result);
        answer.lockLevel = message.lockLevel;
        host->sendMessage(answer);
    }
    return false;
}

bool eboNfsLocalFileRemote::onSyncRequest()
{
    isSyncing_ = true;
    if (!writePending())
        return false;
    const bool synced = file_->sync() == 0;
    isSyncing_ = false;
    if (const auto nfs = nfs_.promote())
        nfs->notifyFileChanged(localPath_);
    return synced;
}

/// Writes all that waits, in its order. What could not be written goes on waiting for another sync.
bool eboNfsLocalFileRemote::writePending()
{
    if (std::exchange(lostWrites_, false)) {
        qCCritical(ebo::log::fileTransfer)
            << "Too much was written without a sync, nothing of it to:" << localPath_;
        pendingWrites_.clear();
        countWaiting();
        isSyncing_ = false;
        return false;
    }
    for (const PendingWrite& record : std::as_const(pendingWrites_)) {
        if (!write(record))
            return false;
    }
    pendingWrites_.clear();
    countWaiting();
    return true;
}

bool eboNfsLocalFileRemote::write(const PendingWrite& record)
{
    const auto fail = [this] {
        qCCritical(ebo::log::fileTransfer) << "Failed writing to:" << localPath_;
        return false;
    };
    if (!isOpen())  // it was told so; nothing has gone wrong here
        return fail();
    if (!file_->seek(record.offset))
        qFatal("failed to seek");
    noteSent(static_cast<std::uint64_t>(record.offset / kBlockSize));
    const std::int64_t count = file_->write(record.data.constData(), record.data.size());
    const std::int64_t position = file_->pos();
    if (count < 0)
        return fail();
    if (count < record.data.size()) {
        qCCritical(ebo::log::fileTransfer) << "Did not write whole data package to file.";
        return false;
    }
    if (position != record.offset + count)
        qFatal("Data written to wrong place in file. (offset: %llu, bWritten: %lld, dSize: %i, newPos: %lld)",
               static_cast<unsigned long long>(record.offset), static_cast<long long>(count),
               record.data.size(), static_cast<long long>(position));
    return true;
}

bool eboNfsLocalFileRemote::onTruncateRequest(const Message& message)
{
    Message answer(eboNfsMessages::eFileTruncateResponse, objectId_);
    answer.truncated = !readOnly_ && isOpen() && file_->truncate(message.newSize);
    answer.fileSize = isOpen() ? file_->size() : 0;
    if (const auto host = host_.promote())
        host->sendMessageNonBlocking(answer);
    return answer.truncated;
}

bool eboNfsLocalFileRemote::deleteFile()
{
    Message answer(eboNfsMessages::eFileDeleteResponse, objectId_);
    answer.deleted = !readOnly_ && file_->deleteFile() == 0;
    if (const auto host = host_.promote())
        host->sendMessage(answer);
    return answer.deleted;
}

void eboNfsLocalFileRemote::invalidate(const eboSparseBitArray& blocks)
{
    if (isSyncing_)
        return;
    const auto self = shared_from_this();
    sentBlocks_.remove(blocks);
    const auto host = host_.promote();
    if (!host)
        return;
    const auto ranges = blocks.ranges();
    for (std::size_t begin = 0; begin < ranges.size(); begin += kMostRangesPerNotice) {
        Message notice(eboNfsMessages::eFileDataInvalid, objectId_);
        notice.newSize = file_->size();
        const std::size_t end = std::min(begin + kMostRangesPerNotice, ranges.size());
        for (std::size_t i = begin; i < end; ++i)
            notice.invalidBlocks.set(ranges[i]);
        host->sendMessageNonBlocking(notice);
    }
    sentBlocks_.remove(blocks);
}
