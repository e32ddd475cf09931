#pragma once

#include "file/eboFile.h"
#include "file/eboFileLock.h"
#include "network/nfs/eboNfsFile.h"
#include "network/nfs/eboNfsLockAdapter.h"
#include "runtime/refptr.h"

#include <QByteArray>

#include <atomic>
#include <cstdint>

/// A remote file with a position, without the locking of threads: what eboNfsFileAdapter does behind its
/// mutex. The operations are those of eboFile.
class eboNfsFileAdapterPrivate {
public:
    explicit eboNfsFileAdapterPrivate(ebo::refptr<eboNfsFile> file);

    /// Closes, then leaves the group of locks.
    ~eboNfsFileAdapterPrivate();

    eboNfsFileAdapterPrivate(const eboNfsFileAdapterPrivate&) = delete;
    eboNfsFileAdapterPrivate& operator=(const eboNfsFileAdapterPrivate&) = delete;

    /// Constant, as is the path. Any thread.
    [[nodiscard]] const ebo::refptr<eboNfsFile>& file() const { return file_; }
    [[nodiscard]] const QByteArray& path() const { return path_; }

    /// Any thread, without the mutex.
    [[nodiscard]] bool isOpen() const { return isOpen_.load(); }

    /// Whether some read of the open file failed, or was answered from what was left after the device had
    /// gone. Any thread, without the mutex.
    [[nodiscard]] bool hasLostData() const { return hasLostData_.load(); }

    bool open(eboFile::OpenFlags flags);
    void close();
    std::int64_t read(void* buffer, std::int64_t size);
    std::int64_t write(const void* data, std::int64_t size);
    bool seek(std::int64_t position);
    int sync();
    [[nodiscard]] std::int64_t pos() const { return position_; }
    [[nodiscard]] bool isWritable() const { return isOpen_ && writable_; }
    bool truncate(std::int64_t newSize);
    int deleteFile();
    eboFileLock::LockResult lock(eboFileLock::Level level);
    [[nodiscard]] eboFileLock::Level lockLevel() const;
    [[nodiscard]] bool isDirty() const { return isOpen_ && dirty_; }

private:
    bool startWhereAsked(eboFile::OpenFlags flags);
    void syncBeforeClose();

    const ebo::refptr<eboNfsFile> file_;
    const QByteArray path_;
    eboNfsLockAdapter* const lockAdapter_;  ///< Belongs to the file's locks until this leaves them.
    std::atomic<bool> isOpen_{false};
    std::int64_t position_ = 0;
    bool writable_ = false;
    bool dirty_ = false;
    std::atomic<bool> hasLostData_{false};
};
