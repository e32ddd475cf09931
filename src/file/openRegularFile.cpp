#include "file/openRegularFile.h"

#include "file/withoutLinks.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include <sys/stat.h>

namespace {

constexpr mode_t kNewFileMode = 0666;  // what the process's umask leaves of it

QString errnoText() { return qt_error_string(errno); }

QIODevice::OpenMode withImplied(QIODevice::OpenMode mode)
{
    if (mode.testFlag(QIODevice::Append))
        mode |= QIODevice::WriteOnly;
    if (mode.testFlag(QIODevice::WriteOnly) && !(mode & (QIODevice::ReadOnly | QIODevice::Append)))
        mode |= QIODevice::Truncate;
    return mode;
}

int systemFlags(QIODevice::OpenMode mode)
{
    const bool writes = mode.testFlag(QIODevice::WriteOnly);
    int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    if (writes && !mode.testFlag(QIODevice::ExistingOnly))
        flags |= O_CREAT;
    if (writes)
        flags |= mode.testFlag(QIODevice::ReadOnly) ? O_RDWR : O_WRONLY;
    if (mode.testFlag(QIODevice::Append))
        flags |= O_APPEND;
    if (mode.testFlag(QIODevice::Truncate))
        flags |= O_TRUNC;
    return flags;
}

}  // namespace

RegularFile openRegularFile(const char* path, QIODevice::OpenMode mode, LinkPolicy links)
{
    RegularFile result;
    result.mode = withImplied(mode);
    if (!(result.mode & QIODevice::ReadWrite)) {
        result.error = QStringLiteral("Neither reading nor writing was asked for");
        return result;
    }
    const int flags = systemFlags(result.mode);
    const int descriptor = links == LinkPolicy::kFollow ? ::open(path, flags, kNewFileMode)
                                                        : openWithoutLinks(path, flags, kNewFileMode);
    if (descriptor < 0) {
        result.error = errnoText();
        return result;
    }
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        result.error = QStringLiteral("Not a regular file");
        ::close(descriptor);
        return result;
    }
    result.descriptor = descriptor;
    return result;
}
