#include "cli/pathProblem.h"

#include "host/AnalysisRequest.h"

#include <QByteArray>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace tunesift::cli {
namespace {

Failure unreachable(const QString& path, int error)
{
    if (error == EACCES)
        return {QStringLiteral("not-readable"), QStringLiteral("a directory on its path is not open to you")};
    QString text = error == ENOENT ? QStringLiteral("there is no such file")
                                   : QString::fromLocal8Bit(std::strerror(error));
    if (path.contains(QChar::ReplacementCharacter))
        text += QStringLiteral(" (file names must be valid UTF-8)");
    return {QStringLiteral("not-found"), text};
}

}  // namespace

std::optional<Failure> pathProblem(const QString& path)
{
    if (host::isNetPath(path))
        return {};
    const QByteArray name = QFile::encodeName(path);
    struct stat status {};
    if (stat(name.constData(), &status) != 0)
        return unreachable(path, errno);
    if (S_ISDIR(status.st_mode))
        return Failure{QStringLiteral("is-directory"), QStringLiteral("it is a directory")};
    if (!S_ISREG(status.st_mode))
        return Failure{QStringLiteral("not-a-file"), QStringLiteral("it is a device, pipe or socket")};
    if (access(name.constData(), R_OK) != 0)
        return Failure{QStringLiteral("not-readable"), QStringLiteral("you may not read it")};
    if (status.st_size == 0)
        return Failure{QStringLiteral("empty"), QStringLiteral("the file is empty")};
    return {};
}

}  // namespace tunesift::cli
