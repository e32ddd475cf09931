#pragma once

#include "file/eboFile.h"
#include "file/eboFileCacheEnabler.h"
#include "file/eboFileMasterLock.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"

#include <QFlags>

#include <map>
#include <memory>
#include <mutex>
#include <string>

/// Turns a path into a file object; this one knows local files. Any thread, once the cache enabler is set.
class eboFileFactory : public ebo::refcounted {
public:
    /// What kind of file object is asked for; any of these together.
    enum Option : int {
        kCached = 1,        ///< A cached file, if the factory has an enabler. A remote one is kept alive.
        kWithoutLinks = 2,  ///< The file does nothing through a symbolic link, see LinkPolicy.
        kUnbuffered = 4,    ///< The file reads nothing ahead, see FileAccess.
        kKeptAlive = 8      ///< What was fetched of a remote file stays readable once its device has gone.
    };
    Q_DECLARE_FLAGS(Options, Option)

    /// A file object for the path, closed. Whether there is such a file is found out by opening it. All file
    /// objects that one factory makes for one path share one group of locks.
    [[nodiscard]] virtual ebo::refptr<eboFile> open(const char* path, Options options);

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

Q_DECLARE_OPERATORS_FOR_FLAGS(eboFileFactory::Options)
