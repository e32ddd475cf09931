#include "cli/batch/WorkerPaths.h"

#include "cli/rows/pathText.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

namespace tunesift::cli {

std::optional<QString> WorkerPaths::nameFor(qint64 number, const QByteArray& path)
{
    if (isReadable(path))
        return QString::fromUtf8(path);
    if (!folder_)
        folder_ = std::make_unique<QTemporaryDir>();
    const QByteArray target =
        path.startsWith('/') ? path : QFile::encodeName(QDir::currentPath()) + '/' + path;
    // The extension tells workers which decoder to take; what is no UTF-8 is none that they know.
    const QString link =
        folder_->filePath(QStringLiteral("%1.%2").arg(number).arg(readablePath(extensionOf(path))));
    const QByteArray name = QFile::encodeName(link);
    if (!folder_->isValid() || symlink(target.constData(), name.constData()) != 0)
        return {};
    links_.insert(number, name);
    return link;
}

void WorkerPaths::done(qint64 number)
{
    if (const QByteArray link = links_.take(number); !link.isEmpty())
        unlink(link.constData());
}

}  // namespace tunesift::cli
