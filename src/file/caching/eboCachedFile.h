#pragma once

#include "file/caching/eboFileCachingThread.h"
#include "file/caching/eboFileCachingThreadListener.h"
#include "file/eboFile.h"
#include "runtime/refptr.h"

#include <cstdint>
#include <mutex>

/// A read-only view of a file on slow storage, which goes on from a copy on faster storage as soon as there
/// is one. Made by eboFileCache; its clones are views of the same copy. Any thread. A view that is dropped is
/// closed.
class eboCachedFile : public eboFile, public eboFileCachingThreadListener {
public:
    /// @param thread  makes the copy
    /// @param plain   the slow file, closed
    /// @param copy    the copy, closed; null if it is not complete
    eboCachedFile(ebo::refptr<eboFileCachingThread> thread, ebo::refptr<eboFile> plain,
                  ebo::refptr<eboFile> copy);
    ~eboCachedFile() override;

    /// The path of the slow file, whichever is being read.
    [[nodiscard]] const char* filePath() const override;
    /// The first view that is opened has the file copied.
    /// @throws std::runtime_error if the flags ask for writing
    bool open(OpenFlags flags) override;
    /// The last view that is closed has the copy removed.
    void close() override;
    [[nodiscard]] ebo::refptr<eboFile> clone() override;
    /// Reads without holding up other operations. -1 unless open.
    std::int64_t read(void* buffer, std::int64_t size) override;
    /// @throws std::runtime_error always
    std::int64_t write(const void* data, std::int64_t size) override;
    bool seek(std::int64_t position) override;
    int sync() override;
    int flush() override;
    [[nodiscard]] std::int64_t pos() const override;
    [[nodiscard]] std::int64_t size() const override;
    [[nodiscard]] bool isReadable() const override;
    [[nodiscard]] bool isWritable() const override;
    bool truncate(std::int64_t newSize) override;
    /// Removes the slow file.
    int deleteFile() override;
    eboFileLock::LockResult lock(eboFileLock::Level level) override;
    [[nodiscard]] eboFileLock::Level lockLevel() const override;
    [[nodiscard]] bool atEnd() const override;
    [[nodiscard]] bool isDirty() const override;
    [[nodiscard]] unsigned int blockSize() const override;
    /// Whether a read of this view lost something, of whichever file it was. What the copier loses is no
    /// matter: that copy is never read.
    [[nodiscard]] bool hasLostData() const override;

    void onCacheStateChanged(int state) override;

    /// The state of the copy that this view was told last.
    [[nodiscard]] int cacheState() const;

private:
    [[nodiscard]] const ebo::refptr<eboFile>& current() const { return copy_ ? copy_ : plainFile_; }
    void switchToNext();
    bool goOnFrom(eboFile& copy);

    const ebo::refptr<eboFileCachingThread> thread_;
    const ebo::refptr<eboFile> plainFile_;

    // Guarded by the thread's lock.
    ebo::refptr<eboFile> copy_;  ///< What is being read in place of plainFile_, once switched to.
    ebo::refptr<eboFile> next_;  ///< A copy that came during a read, to go on from once that has ended.
    OpenFlags openFlags_;        ///< None when closed.
    int state_;
    int reading_ = 0;           ///< Reads under way, without the lock.
    bool hasLostData_ = false;  ///< A read told so.
};
