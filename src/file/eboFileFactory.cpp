#include "file/eboFileFactory.h"

#include "file/eboStdFile.h"
#include "runtime/logCategories.h"

#include <QByteArray>
#include <QString>

#include <exception>
#include <utility>

#include <sys/stat.h>

ebo::refptr<eboFile> eboFileFactory::open(const char* path, Options options)
{
    FileAccess access;
    access.links = options.testFlag(kWithoutLinks) ? LinkPolicy::kRefuse : LinkPolicy::kFollow;
    access.unbuffered = options.testFlag(kUnbuffered);
    const ebo::refptr<eboFile> file =
        ebo::makeRef<eboStdFile>(QByteArray(path), masterLockOf(path)->createLock(), access);
    return cacheEnabler_ && options.testFlag(kCached) ? cached(file) : file;
}

std::shared_ptr<eboFileMasterLock> eboFileFactory::masterLockOf(const std::string& path)
{
    const std::lock_guard guard(mutex_);
    auto& master = masterLocks_[path];
    if (master == nullptr)
        master = std::make_shared<eboFileMasterLock>();
    return master;
}

ebo::refptr<eboFile> eboFileFactory::cached(const ebo::refptr<eboFile>& file)
{
    try {
        if (auto view = cacheEnabler_->createCachedFile(file, ebo::refptr<eboFileFactory>(this)))
            return view;
    } catch (const std::exception& error) {
        // The reader is as well served by the slow file.
        qCDebug(ebo::log::fileCaching)
            << "No cache for" << QString::fromUtf8(file->filePath()) << ":" << error.what();
    }
    return file;
}

bool eboFileFactory::fileExists(const char* path, int mode)
{
    struct stat status = {};
    if (::stat(path, &status) != 0)
        return false;
    const bool mayRead = (status.st_mode & S_IRUSR) != 0;
    const bool mayWrite = (status.st_mode & S_IWUSR) != 0;
    switch (mode) {
    case 0:
        return true;
    case 1:
        return mayRead;
    case 2:
        return mayRead && mayWrite;
    default:
        return false;
    }
}

int eboFileFactory::deleteFile(const ebo::refptr<eboFile>& file) { return file ? file->deleteFile() : -1; }

void eboFileFactory::setCacheEnabler(ebo::refptr<eboFileCacheEnabler> enabler)
{
    cacheEnabler_ = std::move(enabler);
}
