#include "analysis/RunThreads.h"
#include "app/BeatDetectorWorker.h"
#include "app/logFile.h"
#include "runtime/GarbageCollection.h"
#include "runtime/prepareProcess.h"

#include <QAbstractSocket>
#include <QCoreApplication>
#include <QTextCodec>

namespace {

int serveHost(RunThreads& runThreads, std::uint16_t port)
{
    BeatDetectorWorker worker(runThreads);
    qRegisterMetaType<QAbstractSocket::SocketState>("QAbstractSocket::SocketState");
    worker.connectToHost(port);
    return QCoreApplication::exec();
}

}  // namespace

/// tunesift-worker PORT: serves the host that listens on this loopback port until it goes away. Status 1
/// without a port that is a decimal number, otherwise 0.
int main(int argc, char** argv)
{
    // Qt's own event loop instead of GLib's: nothing here needs the latter, and each turn of it costs more.
    qputenv("QT_NO_GLIB", "1");
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    ebo::prepareProcess();
    const QCoreApplication application(argc, argv);
    installLogFile();
    RunThreads runThreads;
    ebo::GarbageCollection collector;
    collector.start();

    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2)
        return 1;
    bool isNumber = false;
    const int port = arguments.at(1).toInt(&isNumber, 10);
    if (!isNumber)
        return 1;

    const int status = serveHost(runThreads, static_cast<std::uint16_t>(port));

    // The order of the end: no run outlives this line, and the collector, which delivers what is left to the
    // main thread, is the last of all.
    runThreads.joinAll();
    return status;
}
