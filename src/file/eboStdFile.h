#pragma once

#include "file/eboFile.h"
#include "file/eboStdFilePrivate.h"

#include <QByteArray>

#include <memory>
#include <mutex>

/// A file of the local file system. Its path is taken as bytes; only regular files open. Reports by return
/// values and log lines, never by exceptions. Its operations exclude each other, so any thread may call any.
class eboStdFile : public eboFile {
public:
    /// Made by eboFileFactory; closed at first.
    /// @param fileLock this object's member in the group of the path's locks; null for no locking
    eboStdFile(QByteArray path, std::shared_ptr<eboFileLock> fileLock, FileAccess access = {});

    [[nodiscard]] const char* filePath() const override;
    bool open(OpenFlags flags) override;
    /// A level still held is reported and stays, and so is a dirty file: it is synced if Exclusive can be
    /// had.
    void close() override;
    [[nodiscard]] ebo::refptr<eboFile> clone() override;
    std::int64_t read(void* buffer, std::int64_t size) override;
    std::int64_t write(const void* data, std::int64_t size) override;
    bool seek(std::int64_t position) override;
    /// Flushes to the operating system; does not wait for the disk.
    int sync() override;
    int flush() override;
    [[nodiscard]] std::int64_t pos() const override;
    [[nodiscard]] std::int64_t size() const override;
    [[nodiscard]] bool isReadable() const override;
    [[nodiscard]] bool isWritable() const override;
    bool truncate(std::int64_t newSize) override;
    int deleteFile() override;
    eboFileLock::LockResult lock(eboFileLock::Level level) override;
    [[nodiscard]] eboFileLock::Level lockLevel() const override;
    [[nodiscard]] bool isDirty() const override;
    [[nodiscard]] unsigned int blockSize() const override;
    [[nodiscard]] bool hasLostData() const override;

private:
    mutable std::mutex mutex_;
    eboStdFilePrivate private_;  ///< Guarded by mutex_, but for its path, which never changes.
};
