#include "network/nfs/eboNfsFileFactory.h"

#include "network/nfs/eboNfsFileAdapter.h"
#include "network/nfs/eboStdFileWitNfsNotification.h"
#include "network/nfs/netUrl.h"
#include "runtime/logCategories.h"

#include <utility>

void eboNfsFileFactory::setNfs(ebo::refptr<eboNfs> nfs)
{
    const std::lock_guard lock(mutex_);
    nfs_ = std::move(nfs);
}

ebo::refptr<eboNfs> eboNfsFileFactory::nfs()
{
    const std::lock_guard lock(mutex_);
    return nfs_;
}

ebo::refptr<eboFile> eboNfsFileFactory::open(const char* path, Options options)
{
    const auto core = nfs();
    if (!core)
        return eboFileFactory::open(path, options);
    const QString name = QString::fromUtf8(path);
    if (eboNetUrl::isNetPath(name))
        return openRemote(*core, name, options.testFlag(kCached) || options.testFlag(kKeptAlive));
    return ebo::makeRef<eboStdFileWitNfsNotification>(ebo::weakptr<eboNfs>(core),
                                                      eboFileFactory::open(path, options), false);
}

ebo::refptr<eboFile> eboNfsFileFactory::openRemote(eboNfs& nfs, const QString& path, bool keepAlive)
{
    const auto file = nfs.getFile(eboNetUrl::toUrl(path), keepAlive);
    if (!file)
        return nullptr;
    auto adapter = ebo::makeRef<eboNfsFileAdapter>(file);
    file->addAdapter(adapter);
    return adapter;
}

bool eboNfsFileFactory::fileExists(const char* path, int mode)
{
    constexpr int kExists = 0;
    constexpr int kReadable = 1;
    constexpr int kWritable = 2;
    const QString name = QString::fromUtf8(path);
    if (!eboNetUrl::isNetPath(name))
        return eboFileFactory::fileExists(path, mode);
    if (mode == kExists) {
        const QUrl url = eboNetUrl::toUrl(name);
        qCDebug(ebo::log::fileTransfer) << "Info requested:" << url;
        const auto core = nfs();
        const auto info = core ? core->getInfo(url) : nullptr;
        return info && info->refresh() && info->exists();
    }
    if (mode != kReadable && mode != kWritable)
        return false;
    const auto file = open(path, {});
    if (!file)
        return false;
    eboFile::OpenFlags flags = eboFile::OpenRead;
    flags.setFlag(eboFile::OpenWrite, mode == kWritable);
    const bool opened = file->open(flags);
    if (opened)
        file->close();
    return opened;
}

int eboNfsFileFactory::deleteFile(const ebo::refptr<eboFile>& file)
{
    // By a reference of its own: the caller's may go meanwhile.
    return eboFileFactory::deleteFile(ebo::refptr<eboFile>(file));
}
