#include "cli/programPath.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace tunesift::cli {

QString programPath(const QString& name)
{
    const QString folder = QCoreApplication::applicationDirPath();
    const QString beside = folder + QLatin1Char('/') + name;
    const QString installed = folder + QStringLiteral("/" TUNESIFT_LIBEXEC_FROM_BIN "/") + name;
    return !QFileInfo::exists(beside) && QFileInfo::exists(installed) ? installed : beside;
}

}  // namespace tunesift::cli
