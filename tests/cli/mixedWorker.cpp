// Stands between the host and the real worker and passes on what both say, until the name of a track tells it
// to misbehave.

#include "app/protocol/eboOfflineAnalysisProtocol.h"
#include "app/protocol/messageIds.h"
#include "host/ChildProcess.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QHostAddress>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kPreferencesSize = 12;

void misbehaveAt(const QString& track)
{
    const QString name = QFileInfo(track).completeBaseName();
    if (name == QLatin1String("crashes"))
        raise(SIGKILL);  // which leaves no words behind that differ from run to run
    if (name == QLatin1String("stalls"))
        pause();
    if (name == QLatin1String("eats-memory")) {
        if (!tunesift::host::kChildrenCanBeLimited)
            raise(SIGKILL);  // nothing would stop it
        std::vector<std::vector<char>> eaten;
        while (eaten.size() < 512)
            eaten.emplace_back(std::size_t{16} << 20);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    using namespace eboOfflineAnalysisProtocol;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const QCoreApplication application(argc, argv);

    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    QProcess worker;
    worker.setProcessChannelMode(QProcess::ForwardedChannels);
    worker.start(QStringLiteral(REAL_WORKER), {QString::number(server.serverPort())});
    if (!server.waitForNewConnection(-1))
        return 1;
    QTcpSocket* const real = server.nextPendingConnection();
    real->setSocketOption(QAbstractSocket::LowDelayOption, 1);

    QTcpSocket host;
    QObject::connect(&host, &QTcpSocket::readyRead, &host, [&] {
        for (;;) {
            const auto [id, payload] = nextCommand(&host);
            if (id == 0)
                return;
            if (id == kStart)
                misbehaveAt(QString::fromUtf8(payload.mid(kPreferencesSize)));
            sendMessage(real, 0, id, payload);
        }
    });
    QObject::connect(real, &QTcpSocket::readyRead, &host, [&] { host.write(real->readAll()); });
    QObject::connect(&host, &QTcpSocket::disconnected, &application, &QCoreApplication::quit);
    QObject::connect(real, &QTcpSocket::disconnected, &application, &QCoreApplication::quit);
    host.connectToHost(QHostAddress::LocalHost, QCoreApplication::arguments().value(1).toUShort());
    if (!host.waitForConnected())
        return 1;
    const int status = QCoreApplication::exec();
    real->disconnectFromHost();
    worker.waitForFinished();
    return status;
}
