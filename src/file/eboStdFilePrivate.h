#pragma once

#include "file/FileAccess.h"
#include "file/eboFile.h"
#include "file/eboFileLock.h"

#include <QByteArray>
#include <QFile>

#include <cstdint>
#include <memory>

/// A local file without the locking of threads: what eboStdFile does behind its mutex. The operations are
/// those of eboFile.
class eboStdFilePrivate {
public:
    /// @param fileLock this file's member in the group of its path; null for a file without locking
    eboStdFilePrivate(QByteArray path, std::shared_ptr<eboFileLock> fileLock, FileAccess access);

    /// Closes, then leaves the group of locks.
    ~eboStdFilePrivate();

    eboStdFilePrivate(const eboStdFilePrivate&) = delete;
    eboStdFilePrivate& operator=(const eboStdFilePrivate&) = delete;

    [[nodiscard]] const QByteArray& path() const { return path_; }
    [[nodiscard]] FileAccess access() const { return access_; }
    bool open(eboFile::OpenFlags flags);
    void close();
    std::int64_t read(void* buffer, std::int64_t size);
    std::int64_t write(const void* data, std::int64_t size);
    bool seek(std::int64_t position);
    int sync();
    int flush();
    [[nodiscard]] std::int64_t pos() const { return device_.pos(); }
    [[nodiscard]] std::int64_t size() const;
    [[nodiscard]] bool hasLostData() const { return lostData_; }
    [[nodiscard]] bool isReadable() const { return device_.isReadable(); }
    [[nodiscard]] bool isWritable() const { return device_.isWritable(); }
    bool truncate(std::int64_t newSize);
    int deleteFile();
    eboFileLock::LockResult lock(eboFileLock::Level level);
    [[nodiscard]] eboFileLock::Level lockLevel() const;
    [[nodiscard]] bool isDirty() const { return dirty_; }

    /// A new member in the same group, or null if the group has gone.
    [[nodiscard]] std::shared_ptr<eboFileLock> createSiblingLock() const;

private:
    [[nodiscard]] QString name() const { return QString::fromUtf8(path_); }
    [[nodiscard]] bool truncateClosed(std::int64_t newSize) const;
    void syncBeforeClose();

    QFile device_;
    const QByteArray path_;
    const std::shared_ptr<eboFileLock> fileLock_;
    const FileAccess access_;
    bool dirty_ = false;

    // Noticed in passing, by whatever asks the system.
    mutable std::int64_t knownSize_ = 0;  ///< In bytes, of the open file.
    mutable bool lostData_ = false;
};
