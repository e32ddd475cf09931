#pragma once

#include "file/caching/eboFileCachingThread.h"
#include "file/caching/eboFileCachingThreadListener.h"
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

/// What the slow storage does, shared by all clones of a SlowFile. The caching thread opens its file first
/// for 12; its reads wait at the gate, those of the readers do not.
struct SlowStorage {
    std::mutex mutex;
    std::condition_variable changed;
    bool isOpen = true;               ///< The gate.
    bool isWaiting = false;           ///< A read stands at the gate.
    std::int64_t failAt = -1;         ///< A read at or behind this position fails.
    std::atomic<int> plainReads = 0;  ///< By files that are not `source`.

    void shut();
    void release();
    void pass();
    [[nodiscard]] bool hasVisitor();
};

/// A file in memory whose copying the test holds up. The object itself is what is copied; clones are what
/// readers read.
class SlowFile : public MemoryFile {
public:
    SlowFile(std::string path, const std::string& bytes, std::shared_ptr<SlowStorage> storage,
             bool isSource = true);

    [[nodiscard]] ebo::refptr<eboFile> clone() override;
    std::int64_t read(void* buffer, std::int64_t size) override;

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

    /// What lies in the folder of the copies.
    [[nodiscard]] std::vector<std::string> copies() const;

    /// Waits until there are no copies.
    [[nodiscard]] bool isCleared() const;

    std::unique_ptr<ebo::GarbageCollection> collector_;
    TempDir dir_;
    ebo::refptr<eboFileFactory> factory_;
};

}  // namespace testsupport
