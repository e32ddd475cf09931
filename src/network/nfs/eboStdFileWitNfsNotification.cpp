#include "network/nfs/eboStdFileWitNfsNotification.h"

#include "network/nfs/eboNfs.h"
#include "network/nfs/eboNfsLocalFile.h"
#include "runtime/logCategories.h"

#include <QString>
#include <QUrl>

#include <algorithm>
#include <utility>

using eboNfsMessages::kBlockSize;

namespace {

/// The blocks that hold the bytes from `begin` up to, not including, `end`.
eboSparseBitArray::Range blocksBetween(std::int64_t begin, std::int64_t end)
{
    return {static_cast<std::uint64_t>(begin / kBlockSize),
            static_cast<std::uint64_t>((end - 1) / kBlockSize)};
}

}  // namespace

eboStdFileWitNfsNotification::eboStdFileWitNfsNotification(ebo::weakptr<eboNfs> nfs,
                                                           ebo::refptr<eboFile> file, bool syncAfterWrite)
    : nfs_(std::move(nfs)), file_(std::move(file)), syncAfterWrite_(syncAfterWrite)
{}

void eboStdFileWitNfsNotification::close()
{
    if (file_->isDirty()) {
        if (file_->lock(eboFileLock::Exclusive) == eboFileLock::SUCCESS) {
            file_->sync();
            file_->lock(eboFileLock::Unlocked);
        } else {
            qCWarning(ebo::log::fileStd) << "Unable to sync file on close" << QString::fromUtf8(filePath());
        }
    }
    file_->close();
}

ebo::refptr<eboFile> eboStdFileWitNfsNotification::clone()
{
    return ebo::makeRef<eboStdFileWitNfsNotification>(nfs_, file_->clone(), syncAfterWrite_);
}

std::int64_t eboStdFileWitNfsNotification::write(const void* data, std::int64_t size)
{
    std::int64_t count = 0;
    {
        const std::lock_guard guard(mutex_);
        const std::int64_t position = file_->pos();
        count = file_->write(data, size);
        if (count > 0)
            invalidBlocks_.set(blocksBetween(position, position + count));
    }
    if (syncAfterWrite_)
        sync();
    return count;
}

bool eboStdFileWitNfsNotification::truncate(std::int64_t newSize)
{
    const std::int64_t oldSize = size();
    if (!file_->truncate(newSize))
        return false;
    const auto nfs = nfs_.promote();
    if (newSize == oldSize || !nfs)
        return true;
    {
        const std::lock_guard guard(mutex_);
        invalidBlocks_.set(blocksBetween(std::min(oldSize, newSize), std::max(oldSize, newSize)));
    }
    notify(*nfs);
    return true;
}

int eboStdFileWitNfsNotification::sync()
{
    const int result = file_->sync();
    if (result != 0)
        return result;
    if (const auto nfs = nfs_.promote())
        notify(*nfs);
    return result;
}

void eboStdFileWitNfsNotification::notify(eboNfs& nfs)
{
    eboSparseBitArray changed;
    {
        const std::lock_guard guard(mutex_);
        if (invalidBlocks_.isEmpty())
            return;
        changed = invalidBlocks_;
        invalidBlocks_.clear();
    }
    const QUrl url = QUrl::fromLocalFile(QString::fromUtf8(filePath()));
    if (const auto served = nfs.rootDirectory()->servedFile(url))
        served->internalInvalidateFileTransmissionState(changed);
}
