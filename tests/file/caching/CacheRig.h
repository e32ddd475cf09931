#pragma once

#include "file/caching/eboFileCachingThread.h"
#include "file/caching/eboFileCachingThreadListener.h"
#include "runtime/GarbageCollection.h"
#include "support/MemoryFile.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace testsupport {

/// Remembers the states that it is told.
class StateRecord : public eboFileCachingThreadListener {
public:
    void onCacheStateChanged(int state) override;

    [[nodiscard]] std::vector<int> states() const;

    /// Waits until the latest state is this one.
    [[nodiscard]] bool reaches(int state) const;

private:
    mutable std::mutex mutex_;
    std::vector<int> states_;
};

/// Where the test holds a thread up. Open at first.
class Gate {
public:
    void shut();
    void release();

    /// Waits until the gate is open.
    void pass();

    /// Waits until a thread stands at the gate.
    [[nodiscard]] bool getsVisitor();

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isOpen_ = true;
    bool isWaiting_ = false;
};

/// What the slow storage does, shared by all clones of a SlowFile.
struct SlowStorage {
    Gate copying;  ///< The copier's reads pass here,
    Gate reading;  ///< and those of the views here.

    std::int64_t failAt = -1;               ///< A read of the copier at or behind this position fails.
    std::atomic<bool> copierLost = false;   ///< The copier's file has lost data;
    std::atomic<bool> readersLost = false;  ///< those of the views have.

    std::atomic<int> copierReads = 0;
    std::atomic<int> plainReads = 0;                                     ///< By files of views.
    std::atomic<eboFileLock::Level> plainLevel = eboFileLock::Unlocked;  ///< Asked for last, by one of these.
};

/// A file in memory whose copying the test holds up. The object itself is what is copied; clones are what
/// readers read.
class SlowFile : public MemoryFile {
public:
    SlowFile(std::string path, const std::string& bytes, std::shared_ptr<SlowStorage> storage,
             bool isSource = true);

    [[nodiscard]] ebo::refptr<eboFile> clone() override;
    std::int64_t read(void* buffer, std::int64_t size) override;
    eboFileLock::LockResult lock(eboFileLock::Level level) override;
    [[nodiscard]] bool hasLostData() const override;

private:
    const std::string slowPath_;
    const std::string slowBytes_;
    const std::shared_ptr<SlowStorage> storage_;
    const bool isSource_;
};

/// A collector and a storage for copies.
class CacheRig : public ::testing::Test {
protected:
    CacheRig();
    ~CacheRig() override;

    /// Bytes that tell their position.
    static std::string pattern(std::size_t size);

    /// Waits until all files of the storage are gone, and with them the thread that copied one. A collector
    /// that ends while that thread is still telling its views would have it destroy itself.
    void waitForTheEndOf(const std::shared_ptr<SlowStorage>& storage) const;

    /// What lies in the folder of the copies.
    [[nodiscard]] std::vector<std::string> copies() const;

    /// Waits until there are no copies.
    [[nodiscard]] bool isCleared() const;

    std::unique_ptr<ebo::GarbageCollection> collector_;
    TempDir dir_;
    ebo::refptr<eboFileFactory> factory_;
};

}  // namespace testsupport
