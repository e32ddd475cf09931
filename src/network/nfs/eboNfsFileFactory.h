#pragma once

#include "file/eboFileFactory.h"
#include "network/nfs/eboNfs.h"
#include "runtime/refptr.h"

#include <mutex>

/// The factory of the whole process: paths that name a file on another device lead to file sharing, all
/// others to the local file layer, in a wrapping that lets remote readers hear of changes. Any thread.
class eboNfsFileFactory : public eboFileFactory {
public:
    /// Serves net paths from now on; with null, no longer.
    void setNfs(ebo::refptr<eboNfs> nfs);

    /// As the base. Null for a path on a device that is not known; whether there is such a file is found out
    /// by opening it.
    [[nodiscard]] ebo::refptr<eboFile> open(const char* path, Options options) override;

    /// As the base. For a path on another device this waits for its answer for as long as the device is
    /// there.
    [[nodiscard]] bool fileExists(const char* path, int mode) override;
    int deleteFile(const ebo::refptr<eboFile>& file) override;

private:
    [[nodiscard]] ebo::refptr<eboNfs> nfs();
    [[nodiscard]] static ebo::refptr<eboFile> openRemote(eboNfs& nfs, const QString& path, bool keepAlive);

    std::mutex mutex_;
    ebo::refptr<eboNfs> nfs_;  // guarded by mutex_
};
