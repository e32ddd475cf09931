// A worker that misbehaves on request: before it connects as TUNESIFT_FAKE_WORKER says, in a run as the
// name of the track says (FakeRun).

#include "FakeRun.h"

#include "app/protocol/eboOfflineAnalysisProtocol.h"
#include "app/protocol/messageIds.h"

#include <QCoreApplication>
#include <QFile>
#include <QHostAddress>
#include <QTcpSocket>

#include <csignal>
#include <cstdio>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

constexpr int kPreferencesSize = 12;

void misbehaveBeforeConnecting(const QByteArray& how)
{
    if (how == "never-connects")
        pause();
    if (how == "exits-at-once") {
        std::fputs("first complaint\nthe last complaint\n", stderr);
        std::exit(3);
    }
    if (how == "crashes-at-once")
        raise(SIGKILL);
}

/// Lets a test see the preferences that came with a start command.
void recordPreferences(const QByteArray& preferences)
{
    const QString path = qEnvironmentVariable("TUNESIFT_FAKE_WORKER_RECORD");
    if (path.isEmpty())
        return;
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(preferences);
}

}  // namespace

int main(int argc, char** argv)
{
    using namespace eboOfflineAnalysisProtocol;
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // a test that dies leaves no workers behind
    const QCoreApplication application(argc, argv);
    misbehaveBeforeConnecting(qgetenv("TUNESIFT_FAKE_WORKER"));

    QTcpSocket host;
    host.connectToHost(QHostAddress::LocalHost, QCoreApplication::arguments().value(1).toUShort());
    if (!host.waitForConnected())
        return 1;
    fakeworker::FakeRun run(host);
    for (;;) {
        const auto [id, payload] = nextCommand(&host);
        if (id == kStart) {
            recordPreferences(payload.left(kPreferencesSize));
            run.run(QString::fromUtf8(payload.mid(kPreferencesSize)));
        } else if (id == kQuit && run.ignoresQuit()) {
            pause();
        } else if (id == kQuit || (id == 0 && !host.waitForReadyRead(-1))) {
            return 0;
        }
    }
}
