#pragma once

#include "file/eboFileLock.h"
#include "network/nfs/IPageFiller.h"
#include "network/nfs/Message.h"
#include "network/nfs/Page.h"
#include "network/nfs/PageCache.h"
#include "network/nfs/eboNfsAnswer.h"
#include "network/nfs/eboNfsHost.h"
#include "network/nfs/eboNfsLock.h"
#include "network/nfs/eboNfsObject.h"
#include "network/nfs/eboSparseBitArray.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <QString>
#include <QUrl>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

class eboNfs;
class eboNfsFileAdapter;

/// A file on another device, as all who use it here share it: its length, the pages fetched of it, what was
/// written to it and has not been sent yet. Users see it through adapters, each with a position of its own.
///
/// Lives on the network thread, where answers come in. Users call from any other thread, and wait there for
/// answers; a request never goes out with a mutex held that its answer takes. Mutexes are taken in the order:
/// adapter, eboNfsLock, this file, page cache. The last reference tells the device that the file is no longer
/// in use.
class eboNfsFile : public eboNfsObject, public eboUtils::IPageFiller {
    Q_OBJECT

public:
    enum class Status {
        Uninitialized = -1,  ///< The device has not said yet whether there is such a file.
        Closed = 0,          ///< There is none, or it was deleted.
        Open = 1,
        KeepAlive = 2,  ///< The device has gone; what was fetched can still be read.
    };

    /// Says nothing to the device yet.
    /// @param nfs    told of changes; may end before the file
    /// @param cache  shared with other files, in which this one has its number as its name
    eboNfsFile(ebo::weakptr<eboNfs> nfs, const ebo::refptr<eboNfsHost>& host,
               std::shared_ptr<eboUtils::PageCache> cache, QUrl url, std::uint32_t objectId);
    ~eboNfsFile() override;

    [[nodiscard]] const QUrl& url() const { return url_; }
    [[nodiscard]] Status status() const { return status_.load(); }

    /// Bytes, as the device told last, and as written since.
    [[nodiscard]] std::int64_t size() const { return fileSize_.load(); }

    /// What has been fetched stays readable once the device has gone, for all users, from now on.
    void setKeepAlive() { keepAlive_ = true; }

    /// Whether reads are answered although the device has gone.
    [[nodiscard]] bool isKeptAlive();

    /// Makes an adapter known, so that nobody deletes the file under it. Held weakly.
    void addAdapter(const ebo::refptr<eboNfsFileAdapter>& adapter);

    /// Forgets adapters that are no more.
    void removeDeadAdapters();

    /// The locks of all adapters; lives as long as the file.
    [[nodiscard]] eboNfsLock& locks() { return *lock_; }

    /// Asks the device for the file, once a second, until it says whether there is one.
    /// @return whether it is open there
    bool waitUntilOpen();

    /// Reads up to `size` bytes from a position on; pages that are missing are fetched. @return bytes read, 0
    /// at the end, also if the page cache has no room left, -1 on failure
    std::int64_t read(std::int64_t position, void* buffer, std::int64_t size);

    /// Writes at a position, into pages that the next `sync` sends. @return bytes written, fewer if the page
    /// cache has no room left, or -1
    std::int64_t write(std::int64_t position, const void* data, std::int64_t size);

    /// Sends what has been written. Does not wait until the device has stored it. @return 0 or -1
    int sync();

    /// Sets the length, and waits for the device's word. @return whether the file has that length; false also
    /// while another truncation runs
    bool truncate(std::int64_t newSize);

    /// Deletes the file, unless an adapter has it open. Waits for one second at most.
    bool deleteFile();

    // eboNfsObject

    /// Whether blocks of the open file are still to come; those that readers have taken count as such.
    [[nodiscard]] bool hasMissingData() const override;
    void messageReceived(const eboNfsMessages::Message& message) override;
    /// Wakes everybody who waits. What has not been synced is lost.
    void setIsUnavailable() override;

    // eboUtils::IPageFiller

    /// Asks the device for a page and waits for it, asking again after each second of silence.
    void fillPage(eboUtils::Page* page, int* result) override;

private:
    using Message = eboNfsMessages::Message;
    using LockResult = eboFileLock::LockResult;
    using PageNumber = std::uint64_t;

    struct LockAnswer {
        std::int32_t level;
        std::int32_t result;
    };
    struct TruncateAnswer {
        std::int64_t fileSize;
        bool truncated;
    };

    [[nodiscard]] bool isUsable() const { return status_.load() > Status::Closed; }
    [[nodiscard]] Message messageOf(eboNfsMessages::Type type) const { return {type, objectId()}; }
    bool send(const Message& message);
    void sendFileRequest();
    void sendRelease();
    void infoReceived(const Message& message);
    void close(Status status);

    // eboNfsFilePages.cpp
    int fill(eboUtils::Page& page);
    bool waitForPage(std::unique_lock<std::mutex>& lock, eboUtils::Page& page, Message request);
    void lookOut(std::uint32_t arrivals) const;
    void dataReceived(const Message& message);
    void dataInvalidReceived(const Message& message);

    // eboNfsFileWrites.cpp
    std::vector<eboUtils::PageRef> takeDirtyPages();
    std::int64_t writePages(std::int64_t position, const char* data, std::int64_t size);
    bool sendWriteRequest(std::int64_t offset, QByteArray data);
    int sendSyncRequest();
    bool sendTruncateRequest(std::int64_t newSize);
    void truncateResponseReceived(const Message& message);

    // eboNfsFileLocking.cpp
    LockResult lock(eboFileLock::Level level);
    void sendLockRequest(eboFileLock::Level level);

    // constant after construction
    const ebo::weakptr<eboNfs> nfs_;
    const QUrl url_;
    const QString errorName_;  // for the log
    const std::uint64_t fileId_;
    const std::shared_ptr<eboUtils::PageCache> pageCache_;
    const ebo::refptr<eboNfsLock> lock_;

    std::atomic<bool> keepAlive_{false};

    mutable std::mutex mutex_;
    std::condition_variable infoCondition_;
    std::condition_variable dataCondition_;
    // Written with mutex_ held, read by anybody.
    std::atomic<std::uint32_t> arrivals_{0};  // blocks that somebody waited for
    std::atomic<bool> answersFast_{true};     // the last one did
    std::atomic<Status> status_{Status::Uninitialized};
    std::atomic<std::int64_t> fileSize_{0};
    // Guarded by mutex_, as is the content of all pages of this file.
    eboSparseBitArray receivedBlocks_;                    // have come, and nobody has taken them yet
    eboSparseBitArray requestedBlocks_;                   // have been asked for, and have not come
    std::map<PageNumber, eboUtils::Page*> pendingPages_;  // wait for their data; each held by who fills it
    std::vector<eboUtils::PageRef> dirtyPages_;           // written since the last sync, in order
    std::int64_t dirtyEnd_ = 0;                           // how far those writes reach
    PageNumber furthestPage_ = 0;                         // that this file may have in the cache
    bool truncating_ = false;

    eboNfsAnswer<LockAnswer> lockAnswer_;
    eboNfsAnswer<TruncateAnswer> truncateAnswer_;
    eboNfsAnswer<bool> deleteAnswer_;

    std::mutex adaptersMutex_;
    std::vector<ebo::weakptr<eboNfsFileAdapter>> adapters_;  // guarded by adaptersMutex_
};

/// As the log shows it: "eboNfsFile::Status::Open".
QDebug operator<<(QDebug debug, eboNfsFile::Status status);
