// How a remote file is read: the pages that a reader touches, and how a page that is missing comes in.

#include "network/nfs/eboNfs.h"
#include "network/nfs/eboNfsFile.h"
#include "network/nfs/netUrl.h"
#include "runtime/logCategories.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

using eboUtils::kPageBytes;
using eboUtils::Page;
using eboUtils::pageAt;
using eboUtils::PageRef;

namespace {

constexpr std::int64_t kBytes = std::int64_t{kPageBytes};
static_assert(kBytes == eboNfsMessages::kBlockSize);

/// A long read holds no more pages than this at a time, so that it cannot use up the cache.
constexpr std::uint64_t kPagesAtOnce = 64;

constexpr std::chrono::milliseconds kWait{500};
constexpr int kWaitsPerRequest = 2;

/// On a fast link a page is there before a thread has gone to sleep and come back: its reader looks for it
/// for so long, and lets others have the processor meanwhile.
constexpr std::chrono::microseconds kLookOut{100};

/// A page that took so long came over a link that others need too: its file rests before it goes on.
constexpr std::chrono::milliseconds kSlow{251};
constexpr std::chrono::milliseconds kRest{250};

}  // namespace

std::int64_t eboNfsFile::read(std::int64_t position, void* buffer, std::int64_t size)
{
    if (!isUsable()) {
        qCWarning(ebo::log::remoteFile)
            << "int64_t eboNfsFile::read(uint64_t, void*, int64_t)" << errorName_ << ", status:" << status();
        return -1;
    }
    std::int64_t end = 0;
    {
        const std::lock_guard guard(mutex_);
        if (size <= 0 || position < 0 || position >= fileSize_)
            return 0;
        end = position + std::min(size, fileSize_ - position);
        furthestPage_ = std::max(furthestPage_, pageAt(end - 1));
    }
    auto* to = static_cast<char*>(buffer);
    std::int64_t reached = position;
    std::vector<PageRef> pages;
    while (reached < end) {
        const std::uint64_t first = pageAt(reached);
        const std::uint64_t last = std::min(pageAt(end - 1), first + kPagesAtOnce - 1);
        pages.clear();
        const int result = pageCache_->getPages(*this, fileId_, first, last, pages);
        if (isUnavailable() && !isKeptAlive())
            return -1;
        if (result < 0)
            return result;
        const std::lock_guard guard(mutex_);
        for (const PageRef& page : pages) {
            const std::int64_t from = reached - page->start();
            const std::int64_t count = std::min(end - reached, kBytes - from);
            std::memcpy(to, page->data.data() + from, static_cast<std::size_t>(count));
            to += count;
            reached += count;
        }
        if (result == 0)
            break;  // no room for more
    }
    return reached - position;
}

void eboNfsFile::fillPage(Page* page, int* result) { *result = fill(*page); }

int eboNfsFile::fill(Page& page)
{
    constexpr int kUsable = 1;
    constexpr int kNobodyToAsk = 0;
    constexpr int kFailed = -1;
    const auto start = std::chrono::steady_clock::now();
    const PageNumber number = page.pageNumber;

    if (isKeptAlive())
        return kUsable;  // as it is
    std::unique_lock lock(mutex_);
    if (receivedBlocks_.contains(number) || page.start() >= fileSize_) {
        page.isFilled = true;
        return kUsable;
    }
    if (!host())
        return kNobodyToAsk;
    Message request = messageOf(eboNfsMessages::eFileDataRequest);
    request.requestedBlocks.set(number);
    request.requestedBlocks.remove(requestedBlocks_);  // what has been asked for comes anyway
    requestedBlocks_.set(number);
    const bool hasCome = waitForPage(lock, page, std::move(request));
    pendingPages_.erase(number);
    requestedBlocks_.remove({number, number});
    receivedBlocks_.remove({number, number});  // the cache has it now
    if (!hasCome)
        return kFailed;
    page.isFilled = true;
    const auto elapsed = std::chrono::steady_clock::now() - start;
    answersFast_ = elapsed < 2 * kLookOut;
    if (elapsed >= kSlow)
        std::this_thread::sleep_for(kRest);  // with the file locked: nobody else reads it meanwhile
    return kUsable;
}

/// Lets go of the lock to send and to wait. @return false if the file became unavailable
bool eboNfsFile::waitForPage(std::unique_lock<std::mutex>& lock, Page& page, Message request)
{
    const PageNumber number = page.pageNumber;
    // Waits that were not ended by anything coming in. What comes for other pages resends nothing.
    int silentWaits = 0;
    bool isToBeSent = true;
    while (!isUnavailable()) {
        if (receivedBlocks_.contains(number))
            return true;
        if (isToBeSent) {
            isToBeSent = false;
            // Again each time: what invalidates blocks takes pages off the list.
            pendingPages_.emplace(number, &page);
            const std::uint32_t arrivals = arrivals_;
            lock.unlock();
            if (const auto receiver = host())
                receiver->postMessage(request);
            lookOut(arrivals);
            lock.lock();
        } else if (dataCondition_.wait_for(lock, kWait) == std::cv_status::timeout) {
            ++silentWaits;
            isToBeSent = silentWaits % kWaitsPerRequest == 0;
            request.requestedBlocks.set(number);  // whoever had asked for it before has not got it
        }
    }
    return false;
}

/// Returns when something has come in after so many arrivals, or when it is time to sleep.
void eboNfsFile::lookOut(std::uint32_t arrivals) const
{
    if (!answersFast_)
        return;
    const auto end = std::chrono::steady_clock::now() + kLookOut;
    while (arrivals_ == arrivals && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
}

void eboNfsFile::dataReceived(const Message& message)
{
    {
        const std::lock_guard guard(mutex_);
        if (status_ != Status::Open)
            return;
        const PageNumber number = pageAt(message.offset);
        if (receivedBlocks_.contains(number))
            qCWarning(ebo::log::remoteFile) << "Received already known page! (" << errorName_ << ")";
        const auto pending = pendingPages_.find(number);
        if (pending != pendingPages_.end()) {
            const auto count = std::min(static_cast<std::size_t>(message.data.size()), kPageBytes);
            std::memcpy(pending->second->data.data(), message.data.constData(), count);
            pendingPages_.erase(pending);
            receivedBlocks_.set(number);
            ++arrivals_;
        }
    }
    dataCondition_.notify_all();
    infoCondition_.notify_all();
}

void eboNfsFile::dataInvalidReceived(const Message& message)
{
    {
        const std::lock_guard guard(mutex_);
        receivedBlocks_.remove(message.invalidBlocks);
        // The blocks that the file has had here, however far the ranges reach.
        const PageNumber lastBlock = pageAt(fileSize_);
        std::vector<eboSparseBitArray::Range> dropped;
        for (auto range : message.invalidBlocks.ranges()) {
            range.last = std::min(range.last, lastBlock);
            if (range.first <= range.last)
                dropped.push_back(range);
        }
        if (!dropped.empty()) {
            // By the file's number, as the other devices do: whoever waits for that block asks again.
            pendingPages_.erase(fileId_);
            pageCache_->drop(fileId_, dropped);
        }
        fileSize_ = std::max<std::int64_t>(message.newSize, 0);
    }
    dataCondition_.notify_all();
    infoCondition_.notify_all();
    if (const auto nfs = nfs_.promote())
        nfs->notifyFileChanged(eboNetUrl::pathOf(url_));
}
