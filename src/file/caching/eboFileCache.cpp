#include "file/caching/eboFileCache.h"

#include "file/caching/eboCachedFile.h"
#include "file/caching/eboFileCachingThread.h"
#include "runtime/logCategories.h"

#include <boost/filesystem/operations.hpp>

#include <QString>

#include <cerrno>
#include <cstdint>
#include <optional>
#include <utility>

#include <sys/statvfs.h>

namespace {

/// Bytes that may still be written to the file system of the path.
std::uint64_t freeSpace(const boost::filesystem::path& path)
{
    struct statvfs status = {};
    if (::statvfs(path.c_str(), &status) != 0)
        throw boost::filesystem::filesystem_error(
            "boost::filesystem::space", path,
            boost::system::error_code(errno, boost::system::system_category()));
    return std::uint64_t{status.f_bavail} * status.f_frsize;
}

/// The length in bytes, if the file opens for reading.
std::optional<std::uint64_t> lengthOf(eboFile& file)
{
    if (!file.open(eboFile::OpenRead | eboFile::OpenBinary))
        return std::nullopt;
    const std::int64_t size = file.size();
    file.close();
    return static_cast<std::uint64_t>(size);
}

}  // namespace

eboFileCache::eboFileCache(boost::filesystem::path storage) : storage_(std::move(storage)) {}

ebo::refptr<eboFile> eboFileCache::createCachedFile(const ebo::refptr<eboFile>& file,
                                                    const ebo::refptr<eboFileFactory>& factory)
{
    const auto size = lengthOf(*file);
    if (!size)
        return nullptr;
    const QString name = QString::fromUtf8(file->filePath());
    if (freeSpace(tempFolderPath(storage_)) < *size) {
        qCInfo(ebo::log::fileCaching) << "Couldn't cache file" << name;
        return nullptr;
    }
    const auto thread = ebo::makeRef<eboFileCachingThread>(factory, file, storage_);
    const auto view = ebo::makeRef<eboCachedFile>(thread, file->clone(), nullptr);
    qCInfo(ebo::log::fileCaching) << "Cached file created:" << name;
    thread->begin();
    thread->addListener(ebo::weakptr<eboFileCachingThreadListener>(view));
    return view;
}
