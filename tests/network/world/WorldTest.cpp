#include "network/world/WorldTest.h"

#include <algorithm>

namespace world {
namespace {

QString plainAddress(QString written)
{
    written.remove(QLatin1Char('[')).remove(QLatin1Char(']'));
    written.remove(QStringLiteral("::ffff:"));
    return written;
}

}  // namespace

QList<TcpConnection> tcpConnections(const NetworkNamespace& place)
{
    QList<TcpConnection> result;
    const QStringList lines =
        place.run(QStringLiteral("ss -Htn state established")).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& line : lines) {
        const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        const QString local = words.value(words.size() - 2);
        const QString remote = words.value(words.size() - 1);
        result.append({plainAddress(local.section(QLatin1Char(':'), 0, -2)),
                       local.section(QLatin1Char(':'), -1).toInt(),
                       plainAddress(remote.section(QLatin1Char(':'), 0, -2)),
                       remote.section(QLatin1Char(':'), -1).toInt()});
    }
    return result;
}

QStringList waysOf(const QList<TcpConnection>& connections, int port)
{
    QStringList result;
    for (const TcpConnection& connection : connections) {
        if (connection.localPort == port || connection.remotePort == port)
            result.append(connection.local + QLatin1Char('-') + connection.remote);
    }
    std::sort(result.begin(), result.end());
    return result;
}

}  // namespace world
