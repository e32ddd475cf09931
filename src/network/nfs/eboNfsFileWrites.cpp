// How a remote file is changed: writes collect in pages until a sync sends them, in order.

#include "network/nfs/eboNfsFile.h"
#include "runtime/logCategories.h"

#include <QByteArray>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <utility>

using eboUtils::kPageBytes;
using eboUtils::pageAt;
using eboUtils::PageRef;

namespace {

constexpr std::int64_t kBytes = std::int64_t{kPageBytes};

/// What one step of a long write takes.
constexpr std::int64_t kBytesAtOnce = 64 * kBytes;

/// How often a truncation looks whether the device is still there.
constexpr std::chrono::milliseconds kLookAround{500};

}  // namespace

std::int64_t eboNfsFile::write(std::int64_t position, const void* data, std::int64_t size)
{
    if (!isUsable()) {
        qCWarning(ebo::log::remoteFile) << "int64_t eboNfsFile::write(uint64_t, const void*, int64_t)"
                                        << errorName_ << ", status:" << status();
        return -1;
    }
    if (position < 0 || size < 0 || size > std::numeric_limits<std::int64_t>::max() - position)
        return -1;
    std::int64_t written = 0;
    while (written < size) {
        // Steps end where pages do.
        const std::int64_t from = position + written;
        const std::int64_t step = std::min(size - written, kBytesAtOnce - from % kBytes);
        const std::int64_t count = writePages(from, static_cast<const char*>(data) + written, step);
        if (count < 0)
            return count;  // the device has gone, and with it what waited to be sent
        written += count;
        if (count < step)
            break;  // no room for more
    }
    return written;
}

/// Writes to pages that are all held at once; those that exist are fetched first, for their other bytes.
std::int64_t eboNfsFile::writePages(std::int64_t position, const char* data, std::int64_t size)
{
    const std::uint64_t last = pageAt(position + size - 1);
    {
        const std::lock_guard guard(mutex_);
        furthestPage_ = std::max(furthestPage_, last);
    }
    std::vector<PageRef> pages;
    const int result = pageCache_->getPages(*this, fileId_, pageAt(position), last, pages);
    if (isUnavailable() || result < 0)
        return -1;
    const std::lock_guard guard(mutex_);
    std::int64_t written = 0;
    for (const PageRef& page : pages) {
        const std::int64_t to = position + written - page->start();
        const std::int64_t count = std::min(size - written, kBytes - to);
        std::memcpy(page->data.data() + to, data + written, static_cast<std::size_t>(count));
        written += count;
        if (!std::exchange(page->isDirty, true))
            dirtyPages_.push_back(page);
    }
    dirtyEnd_ = std::max(dirtyEnd_, position + written);
    fileSize_ = std::max(fileSize_.load(), position + written);
    return written;
}

/// With the lock held: what is written from now on counts anew.
std::vector<PageRef> eboNfsFile::takeDirtyPages()
{
    for (const PageRef& page : dirtyPages_)
        page->isDirty = false;
    dirtyEnd_ = 0;
    return std::exchange(dirtyPages_, {});
}

int eboNfsFile::sync()
{
    if (!isUsable()) {
        qCWarning(ebo::log::remoteFile) << "int eboNfsFile::sync()" << errorName_ << ", status:" << status();
        return -1;
    }
    std::vector<PageRef> pages;
    std::int64_t end = 0;
    {
        const std::lock_guard guard(mutex_);
        pages = takeDirtyPages();
        end = fileSize_;
    }
    for (const PageRef& page : pages) {
        const std::int64_t length = std::min(kBytes, end - page->start());
        if (length <= 0)
            continue;  // another device has cut the file off before it
        QByteArray data(static_cast<int>(length), Qt::Uninitialized);
        {
            const std::lock_guard guard(mutex_);
            std::memcpy(data.data(), page->data.data(), static_cast<std::size_t>(length));
        }
        sendWriteRequest(page->start(), std::move(data));
    }
    return sendSyncRequest();
}

bool eboNfsFile::sendWriteRequest(std::int64_t offset, QByteArray data)
{
    constexpr const char* kName = "void eboNfsFile::sendWriteRequest(uint64_t, const void*, size_t)";
    Message request = messageOf(eboNfsMessages::eFileWriteRequest);
    request.offset = offset;
    request.data = std::move(data);
    if (isUsable() && !isUnavailable() && send(request))
        return true;
    if (isUnavailable())
        qCWarning(ebo::log::remoteFile) << kName << errorName_ << ", unavailable (" << status() << ")";
    else
        qCWarning(ebo::log::remoteFile) << kName << errorName_ << ", status:" << status();
    return false;
}

int eboNfsFile::sendSyncRequest()
{
    if (!isUsable() || isUnavailable()) {
        qCWarning(ebo::log::remoteFile)
            << "int eboNfsFile::sendSyncRequest()" << errorName_ << ", status:" << status();
        return -1;
    }
    return send(messageOf(eboNfsMessages::eFileSyncRequest)) ? 0 : -1;
}

bool eboNfsFile::truncate(std::int64_t newSize)
{
    {
        const std::lock_guard guard(mutex_);
        if (truncating_ || newSize < 0)
            return false;
        if (!isUsable()) {
            qCWarning(ebo::log::remoteFile)
                << "bool eboNfsFile::truncate(int64_t)" << errorName_ << ", status:" << status();
            return false;
        }
        truncating_ = true;
    }
    truncateAnswer_.expect();
    sendTruncateRequest(newSize);
    // For as long as the device is there: it says yes or no, and nobody knows the length before.
    std::optional<TruncateAnswer> answer;
    while (!answer && !isUnavailable())
        answer = truncateAnswer_.wait(kLookAround, [this] { return isUnavailable(); });

    std::vector<PageRef> dropped;  // let go of after the lock
    const std::lock_guard guard(mutex_);
    truncating_ = false;
    if (!answer || !answer->truncated || isUnavailable())
        return false;
    const auto kept = std::stable_partition(dirtyPages_.begin(), dirtyPages_.end(),
                                            [&](const PageRef& page) { return page->start() < fileSize_; });
    for (auto page = kept; page != dirtyPages_.end(); ++page) {
        (*page)->isDirty = false;
        dropped.push_back(*page);
    }
    dirtyPages_.erase(kept, dirtyPages_.end());
    dirtyEnd_ = std::min(dirtyEnd_, answer->fileSize);
    return answer->fileSize == newSize;
}

bool eboNfsFile::sendTruncateRequest(std::int64_t newSize)
{
    constexpr const char* kName = "bool eboNfsFile::sendTruncateRequest(int64_t)";
    if (!isUsable() || isUnavailable()) {
        qCWarning(ebo::log::remoteFile) << kName << errorName_ << ", status:" << status();
        return false;
    }
    Message request = messageOf(eboNfsMessages::eFileTruncateRequest);
    request.newSize = newSize;
    if (send(request))
        return true;
    qCWarning(ebo::log::remoteFile) << kName << "failed to send truncate request:" << errorName_;
    return false;
}

void eboNfsFile::truncateResponseReceived(const Message& message)
{
    const std::int64_t size = std::max<std::int64_t>(message.fileSize, 0);
    {
        const std::lock_guard guard(mutex_);
        fileSize_ = size;
    }
    truncateAnswer_.give({size, message.truncated});
}
