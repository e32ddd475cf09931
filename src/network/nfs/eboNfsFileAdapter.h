#pragma once

#include "file/eboFile.h"
#include "network/nfs/eboNfsFile.h"
#include "network/nfs/eboNfsFileAdapterPrivate.h"
#include "runtime/refptr.h"

#include <cstdint>
#include <mutex>

/// A file of another device as callers see it: an eboFile with a position and a lock of its own, one of many
/// on an eboNfsFile. Reports by return values and log lines, never by exceptions.
///
/// Its operations exclude each other, so any thread may call any but the network thread, on which the answers
/// come in that they wait for. A read waits for as long as the device is there and says nothing.
class eboNfsFileAdapter : public eboFile {
public:
    /// Closed at first. Whoever makes one tells the file by `addAdapter`.
    explicit eboNfsFileAdapter(ebo::refptr<eboNfsFile> file);

    /// Closes, as `close` does, and gives up the lock.
    ~eboNfsFileAdapter() override;

    /// The URL, with nothing encoded.
    [[nodiscard]] const char* filePath() const override;
    /// Waits until the device says whether there is such a file. Writing without reading empties the file,
    /// unless it shall start at the end.
    bool open(OpenFlags flags) override;
    /// Sends what was written, if the lock can be had for it. A level still held is reported, and stays.
    void close() override;
    [[nodiscard]] ebo::refptr<eboFile> clone() override;
    /// Returns 0 also when every page of the cache is in use.
    std::int64_t read(void* buffer, std::int64_t size) override;
    std::int64_t write(const void* data, std::int64_t size) override;
    /// True, without any move, also for a position outside of the file.
    bool seek(std::int64_t position) override;
    /// Sends what was written. Does not wait until the device has stored it.
    int sync() override;
    /// Does nothing: there is no buffer.
    int flush() override { return 0; }
    [[nodiscard]] std::int64_t pos() const override;
    [[nodiscard]] std::int64_t size() const override;
    [[nodiscard]] bool isReadable() const override { return isOpen(); }
    [[nodiscard]] bool isWritable() const override;
    bool truncate(std::int64_t newSize) override;
    /// -1 while this or another adapter has the file open.
    int deleteFile() override;
    eboFileLock::LockResult lock(eboFileLock::Level level) override;
    /// Unlocked while closed.
    [[nodiscard]] eboFileLock::Level lockLevel() const override;
    [[nodiscard]] bool isDirty() const override;
    [[nodiscard]] unsigned int blockSize() const override { return eboNfsMessages::kBlockSize; }
    [[nodiscard]] bool hasLostData() const override { return private_.hasLostData(); }

    /// Does not wait for operations under way.
    [[nodiscard]] bool isOpen() const { return private_.isOpen(); }

private:
    mutable std::mutex mutex_;
    eboNfsFileAdapterPrivate private_;  ///< Guarded by mutex_, but for what says otherwise.
};
