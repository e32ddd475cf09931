#pragma once

#include "file/eboFile.h"
#include "file/eboFileCacheEnabler.h"
#include "file/eboFileMasterLock.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

/// Turns a path into a file object; this one knows local files. Any thread, once the cache enabler is set.
class eboFileFactory : public ebo::refcounted {
public:
    /// Bit of the options of `open`: ask for a cached file.
    static constexpr int kCached = 1;

    /// Bit of the options of `open`: the file does nothing through a symbolic link, see LinkPolicy.
    static constexpr int kWithoutLinks = 2;

    /// Bit of the options of `open`: the file reads nothing ahead, see FileAccess.
    static constexpr int kUnbuffered = 4;

    /// A file object for the path, closed. Whether there is such a file is found out by opening it. All file
    /// objects that one factory makes for one path share one group of locks.
    [[nodiscard]] virtual ebo::refptr<eboFile> open(const char* path, int options);

    /// Whether the path exists (mode 0), has its owner's read permission (mode 1), or that and the owner's
    /// write permission (mode 2). Any other mode: false.
    [[nodiscard]] virtual bool fileExists(const char* path, int mode);

    /// Removes the file, see eboFile::deleteFile.
    virtual int deleteFile(const ebo::refptr<eboFile>& file);

    /// Allows caching from now on (null: no longer). Before the factory is shared between threads.
    void setCacheEnabler(ebo::refptr<eboFileCacheEnabler> enabler);

private:
    std::shared_ptr<eboFileMasterLock> masterLockOf(const std::string& path);
    ebo::refptr<eboFile> cached(const ebo::refptr<eboFile>& file);

    ebo::refptr<eboFileCacheEnabler> cacheEnabler_;
    std::mutex mutex_;
    /// Guarded by mutex_. An entry stays for the life of the factory.
    std::map<std::string, std::shared_ptr<eboFileMasterLock>> masterLocks_;
};
