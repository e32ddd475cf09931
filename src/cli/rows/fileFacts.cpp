#include "cli/rows/fileFacts.h"

#include "cli/rows/pathText.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace tunesift::cli {
namespace {

Failure unreachable(int error)
{
    if (error == EACCES)
        return {kPermission, QStringLiteral("a directory on its path is not open to you")};
    return {kNotFound, error == ENOENT ? QStringLiteral("there is no such file")
                                       : QString::fromLocal8Bit(std::strerror(error))};
}

FileStamp stampOf(const struct stat& status)
{
    constexpr qint64 kNanoseconds = 1000000000;
    return {status.st_size, qint64{status.st_mtim.tv_sec} * kNanoseconds + status.st_mtim.tv_nsec};
}

std::optional<Failure> problemOf(const QByteArray& path, const struct stat& status)
{
    if (S_ISDIR(status.st_mode))
        return Failure{kNotAudio, QStringLiteral("it is a directory")};
    if (!S_ISREG(status.st_mode))
        return Failure{kNotAudio, QStringLiteral("it is a device, pipe or socket")};
    if (access(path.constData(), R_OK) != 0)
        return Failure{kPermission, QStringLiteral("you may not read it")};
    if (status.st_size == 0)
        return Failure{kEmpty, QStringLiteral("the file is empty")};
    return {};
}

}  // namespace

FileFacts fileFacts(const QByteArray& path)
{
    if (isOnAnotherDevice(path))
        return {};
    struct stat status {};
    if (stat(path.constData(), &status) != 0)
        return {unreachable(errno), {}};
    return {problemOf(path, status), stampOf(status)};
}

}  // namespace tunesift::cli
