#include "network/nfs/DirectoryContentHandle.h"

#include "file/withoutLinks.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include <sys/stat.h>

namespace eboUtils::file {

DirectoryContentHandle::DirectoryContentHandle(QByteArray path, LinkPolicy links, LinkTest acceptsLink)
    : path_(std::move(path)), links_(links), acceptsLink_(std::move(acceptsLink))
{}

DIR* DirectoryContentHandle::open() const
{
    if (links_ == LinkPolicy::kFollow)
        return ::opendir(path_.constData());
    const int descriptor = openWithoutLinks(path_.constData(), O_RDONLY | O_DIRECTORY);
    if (descriptor < 0)
        return nullptr;
    DIR* const directory = ::fdopendir(descriptor);
    if (directory == nullptr)
        ::close(descriptor);
    return directory;
}

QStringList DirectoryContentHandle::entryList(QDir::Filters filter) const
{
    QStringList names = entries(filter).take(std::numeric_limits<int>::max());
    names.sort();
    return names;
}

DirectoryContentHandle::EntryIterator::EntryIterator(const DirectoryContentHandle& handle,
                                                     QDir::Filters filter)
    : path_(handle.path_), acceptsLink_(handle.acceptsLink_),
      wantsDirectories_((filter & (QDir::Dirs | QDir::AllDirs)) != 0),
      wantsFiles_(filter.testFlag(QDir::Files)), wantsHidden_(filter.testFlag(QDir::Hidden)),
      directory_(handle.open())
{
    findNext();
}

QString DirectoryContentHandle::EntryIterator::next()
{
    QString name = next_;
    findNext();
    return name;
}

QStringList DirectoryContentHandle::EntryIterator::take(int most)
{
    QStringList names;
    while (hasNext() && names.size() < most)
        names.append(next());
    return names;
}

void DirectoryContentHandle::EntryIterator::findNext()
{
    next_ = QString();
    while (directory_ != nullptr) {
        const dirent* const entry = ::readdir(directory_.get());
        if (entry == nullptr) {
            directory_.reset();
        } else if (isWanted(*entry)) {
            next_ = QString::fromUtf8(entry->d_name);
            return;
        }
    }
}

bool DirectoryContentHandle::EntryIterator::isWanted(const dirent& entry) const
{
    const std::string_view name = entry.d_name;
    if (name == "." || name == ".." || (name.front() == '.' && !wantsHidden_))
        return false;
    const mode_t type = typeOf(entry);
    return (S_ISDIR(type) && wantsDirectories_) || (S_ISREG(type) && wantsFiles_);
}

/// As in stat, with links followed; 0 for what is not shown. The directory mostly knows without a look at the
/// entry itself.
mode_t DirectoryContentHandle::EntryIterator::typeOf(const dirent& entry) const
{
    if (entry.d_type == DT_REG)
        return S_IFREG;
    if (entry.d_type == DT_DIR)
        return S_IFDIR;
    if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN)
        return 0;
    struct stat status = {};
    const int folder = ::dirfd(directory_.get());
    if (::fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return 0;
    if (!S_ISLNK(status.st_mode))
        return status.st_mode;
    if (acceptsLink_ && !acceptsLink_(path_ + '/' + entry.d_name))
        return 0;
    return ::fstatat(folder, entry.d_name, &status, 0) == 0 ? status.st_mode : 0;
}

}  // namespace eboUtils::file
