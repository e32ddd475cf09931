#include "network/nfs/netUrl.h"

#include <QByteArray>

namespace eboNetUrl {

QString prefix() { return QString::fromLatin1(kPrefix); }

QString pathPrefix() { return QString::fromLatin1(kPathPrefix); }

bool isNetPath(const QString& path) { return path.startsWith(prefix()) || path.startsWith(pathPrefix()); }

QUrl toUrl(const QString& netPath)
{
    QString path = netPath;
    if (path.startsWith(pathPrefix()))
        path.replace(0, pathPrefix().size(), prefix());
    const QByteArray encoded = QUrl::toPercentEncoding(path, QByteArrayLiteral("/:"));
    return QUrl(QString::fromLatin1(encoded), QUrl::TolerantMode);
}

QString pathOf(const QUrl& url) { return url.path(QUrl::FullyDecoded); }

QUuid deviceOf(const QUrl& url) { return url.scheme() == QLatin1String("net") ? QUuid(url.host()) : QUuid(); }

QUrl rootOf(const QUuid& device) { return QUrl(prefix() + device.toString().mid(1, 36)); }

}  // namespace eboNetUrl
