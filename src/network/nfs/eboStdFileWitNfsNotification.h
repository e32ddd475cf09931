#pragma once

#include "file/eboFile.h"
#include "network/nfs/eboSparseBitArray.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <mutex>

class eboNfs;

/// A local file that tells file sharing which of its blocks were written, so that devices that have it open
/// fetch them again: after a sync, and at once when its length is set. Any thread, as the file it wraps.
class eboStdFileWitNfsNotification : public eboFile {
public:
    /// @param nfs             whom to tell; nobody once it has gone
    /// @param file            the file itself
    /// @param syncAfterWrite  whether every write is followed by a sync, and so by a notice
    eboStdFileWitNfsNotification(ebo::weakptr<eboNfs> nfs, ebo::refptr<eboFile> file, bool syncAfterWrite);

    [[nodiscard]] const char* filePath() const override { return file_->filePath(); }
    bool open(OpenFlags flags) override { return file_->open(flags); }
    /// Syncs a dirty file if Exclusive can be had, without a notice.
    void close() override;
    [[nodiscard]] ebo::refptr<eboFile> clone() override;
    std::int64_t read(void* buffer, std::int64_t size) override { return file_->read(buffer, size); }
    std::int64_t write(const void* data, std::int64_t size) override;
    bool seek(std::int64_t position) override { return file_->seek(position); }
    int sync() override;
    int flush() override { return file_->flush(); }
    [[nodiscard]] std::int64_t pos() const override { return file_->pos(); }
    [[nodiscard]] std::int64_t size() const override { return file_->size(); }
    [[nodiscard]] bool isReadable() const override { return file_->isReadable(); }
    [[nodiscard]] bool isWritable() const override { return file_->isWritable(); }
    bool truncate(std::int64_t newSize) override;
    int deleteFile() override { return file_->deleteFile(); }
    eboFileLock::LockResult lock(eboFileLock::Level level) override { return file_->lock(level); }
    [[nodiscard]] eboFileLock::Level lockLevel() const override { return file_->lockLevel(); }
    [[nodiscard]] bool atEnd() const override { return file_->atEnd(); }
    [[nodiscard]] bool isDirty() const override { return file_->isDirty(); }
    [[nodiscard]] unsigned int blockSize() const override { return file_->blockSize(); }
    [[nodiscard]] bool hasLostData() const override { return file_->hasLostData(); }

private:
    void notify(eboNfs& nfs);

    const ebo::weakptr<eboNfs> nfs_;
    const ebo::refptr<eboFile> file_;
    eboSparseBitArray invalidBlocks_;  ///< Written since the last notice; guarded by mutex_.
    std::mutex mutex_;
    const bool syncAfterWrite_;
};
