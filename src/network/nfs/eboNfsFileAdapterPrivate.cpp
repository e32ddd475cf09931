#include "network/nfs/eboNfsFileAdapterPrivate.h"

#include "network/nfs/netUrl.h"
#include "runtime/logCategories.h"

#include <algorithm>
#include <utility>

eboNfsFileAdapterPrivate::eboNfsFileAdapterPrivate(ebo::refptr<eboNfsFile> file)
    : file_(std::move(file)),
      path_((eboNetUrl::prefix() + file_->url().host() + eboNetUrl::pathOf(file_->url())).toUtf8()),
      lockAdapter_(file_->locks().createAdapter())
{}

eboNfsFileAdapterPrivate::~eboNfsFileAdapterPrivate()
{
    close();
    if (lockAdapter_->level() != eboFileLock::Unlocked)
        qCWarning(ebo::log::remoteFile) << "Deleting locked lock!";
    file_->locks().leave(lockAdapter_);
    file_->removeDeadAdapters();
}

bool eboNfsFileAdapterPrivate::open(eboFile::OpenFlags flags)
{
    if (isOpen_)
        return false;
    position_ = 0;
    writable_ = flags.testFlag(eboFile::OpenWrite);
    isOpen_ = file_->waitUntilOpen() && startWhereAsked(flags);
    return isOpen_;
}

bool eboNfsFileAdapterPrivate::startWhereAsked(eboFile::OpenFlags flags)
{
    const bool atEnd = flags.testFlag(eboFile::OpenAtEnd);
    const bool writesOnly = flags.testFlag(eboFile::OpenWrite) && !flags.testFlag(eboFile::OpenRead);
    const bool empties = flags.testFlag(eboFile::OpenTruncate) || (writesOnly && !atEnd);
    if (empties && !file_->truncate(0))
        return false;
    if (atEnd)
        position_ = file_->size();
    return true;
}

std::int64_t eboNfsFileAdapterPrivate::read(void* buffer, std::int64_t size)
{
    if (!isOpen_)
        return -1;
    const std::int64_t count = file_->read(position_, buffer, size);
    const bool isShort = count == 0 && size > 0 && position_ < file_->size();
    if (count < 0 || isShort || file_->isKeptAlive())
        hasLostData_ = true;
    if (count > 0)
        position_ += count;
    return count;
}

std::int64_t eboNfsFileAdapterPrivate::write(const void* data, std::int64_t size)
{
    if (!isWritable())
        return -1;
    dirty_ = true;
    const std::int64_t count = file_->write(position_, data, size);
    if (count > 0)
        position_ += count;
    return count;
}

bool eboNfsFileAdapterPrivate::seek(std::int64_t position)
{
    if (isOpen_ && position >= 0 && position <= file_->size())
        position_ = position;
    return true;
}

int eboNfsFileAdapterPrivate::sync()
{
    const int result = file_->sync();
    if (result == 0)
        dirty_ = false;
    return result;
}

bool eboNfsFileAdapterPrivate::truncate(std::int64_t newSize) { return isOpen_ && file_->truncate(newSize); }

int eboNfsFileAdapterPrivate::deleteFile() { return !isOpen_ && file_->deleteFile() ? 0 : -1; }

eboFileLock::LockResult eboNfsFileAdapterPrivate::lock(eboFileLock::Level level)
{
    return isOpen_ ? lockAdapter_->request(level) : eboFileLock::FAILED;
}

eboFileLock::Level eboNfsFileAdapterPrivate::lockLevel() const
{
    return isOpen_ ? lockAdapter_->level() : eboFileLock::Unlocked;
}

void eboNfsFileAdapterPrivate::close()
{
    if (!isOpen_.exchange(false))
        return;
    if (lockAdapter_->level() != eboFileLock::Unlocked)
        qCCritical(ebo::log::remoteFile, "File %s was not unlocked before closing", path_.constData());
    if (dirty_)
        syncBeforeClose();
    position_ = 0;
}

void eboNfsFileAdapterPrivate::syncBeforeClose()
{
    eboNfsLock& locks = file_->locks();
    const bool isAlone = locks.highestOfOthers(*lockAdapter_) == eboFileLock::Unlocked;
    const auto result = isAlone ? locks.lock(*lockAdapter_, eboFileLock::Exclusive)
                                : locks.reduce(*lockAdapter_, eboFileLock::Exclusive);
    if (result == eboFileLock::SUCCESS) {
        sync();
        locks.reduce(*lockAdapter_, eboFileLock::Unlocked);
    } else {
        qCWarning(ebo::log::remoteFile) << "Failed syncing file on close" << path_.constData();
    }
}
