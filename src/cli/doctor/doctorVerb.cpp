#include "cli/doctor/doctorVerb.h"

#include "cli/DemoTrack.h"
#include "cli/doctor/Examination.h"
#include "cli/exitStatus.h"
#include "cli/output.h"
#include "cli/programPath.h"
#include "host/AnalysisSession.h"
#include "host/ChildProcess.h"
#include "host/analyzeTrack.h"
#include "host/keyName.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkInterface>
#include <QTcpServer>

#include <cmath>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace tunesift::cli {
namespace {

QString text(const char* ascii) { return QLatin1String(ascii); }

void examineVersions(Examination& examination)
{
    examination.note(text("tunesift"), text(TUNESIFT_VERSION));
    host::ChildProcess probe;
    probe.start(probePath(), {text("versions")});
    const bool hasRun =
        probe.waitForFinished() && probe.exitStatus() == QProcess::NormalExit && probe.exitCode() == 0;
    if (!hasRun) {
        examination.judge(text("tunesift-probe"),
                          QStringLiteral("cannot run %1: %2").arg(probePath(), probe.errorString()), false);
        return;
    }
    const QJsonObject versions = QJsonDocument::fromJson(probe.readAllStandardOutput()).object();
    for (const char* name : {"FFmpeg", "libavformat", "libavcodec", "libFLAC", "libvorbis", "FFT", "Qt"})
        examination.note(text(name), versions[text(name)].toString());
    const QString missing = versions[text("missingDecoders")].toString();
    examination.judge(text("decoders"),
                      missing.isEmpty() ? text("of all formats") : text("missing: ") + missing,
                      missing.isEmpty());
}

/// Devices find each other by broadcasts, and IPv6 has none.
QString networkOf(const QList<QHostAddress>& addresses)
{
    bool hasIPv4 = false;
    bool hasIPv6 = false;
    for (const QHostAddress& address : addresses) {
        const bool isIPv4 = address.protocol() == QAbstractSocket::IPv4Protocol;
        hasIPv4 = hasIPv4 || (isIPv4 && !address.isLoopback());
        hasIPv6 = hasIPv6 || (!isIPv4 && !address.isLoopback() && !address.isLinkLocal());
    }
    if (hasIPv4)
        return text("has IPv4, by which other devices are found");
    return hasIPv6 ? text("IPv6 only: other devices cannot be found") : text("none");
}

void examineMachine(Examination& examination)
{
    constexpr qint64 kMebibyte = qint64{1} << 20;
    const unsigned cores = std::thread::hardware_concurrency();
    examination.note(text("cores"), QString::number(cores));

    const qint64 memory = qint64{sysconf(_SC_PHYS_PAGES)} * sysconf(_SC_PAGESIZE) / kMebibyte;
    constexpr qint64 kPerWorker = 64;  // MiB resident, with room to spare
    examination.judge(text("memory"), QStringLiteral("%1 MiB").arg(memory), memory >= kPerWorker * cores);

    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    constexpr rlim_t kPerJob = 8;
    constexpr rlim_t kOwn = 32;
    examination.judge(text("open files allowed"), QString::number(files.rlim_cur),
                      files.rlim_cur >= kOwn + kPerJob * cores);

    // Qt has no path for a folder that is not there.
    const QString folder = QDir::tempPath().isEmpty() ? qEnvironmentVariable("TMPDIR") : QDir::tempPath();
    const bool isWritable = access(QFile::encodeName(folder).constData(), W_OK | X_OK) == 0;
    examination.judge(text("temporary folder"), folder + (isWritable ? QString() : text(" is not writable")),
                      isWritable);

    QTcpServer server;
    const bool listens = server.listen(QHostAddress::LocalHost);
    examination.judge(text("loopback network"), listens ? text("127.0.0.1") : server.errorString(), listens);
    examination.note(text("network"), networkOf(QNetworkInterface::allAddresses()));
}

/// The demo's facts are known; see DemoTrack.
void examineOurselves(Examination& examination, const QString& worker)
{
    const DemoTrack demo;
    if (!demo.isGood()) {
        examination.judge(text("self-test"), text("the demo track cannot be written"), false);
        return;
    }
    host::WorkerSettings settings;
    settings.program = worker;
    host::AnalysisSession session(settings);
    const host::TrackResult result = host::analyzeTrack(session, {demo.path(), {}});
    if (!result.succeeded()) {
        examination.judge(text("self-test"), result.error->text, false);
        return;
    }
    const auto judge = [&](const char* name, const std::optional<double>& value, double expected,
                           double tolerance) {
        const QString found = value ? QString::number(*value, 'f', 4) : text("none");
        examination.judge(QLatin1String("self-test: ") + text(name),
                          QStringLiteral("%1, expected %2").arg(found).arg(expected),
                          value && std::fabs(*value - expected) <= tolerance);
    };
    judge("tempo", result.tempo, 112.0, 0.05);
    judge("first downbeat", result.firstDownbeat, 0.0, 0.03);
    judge("loudness", result.loudness, 0.1951, 0.001);
    const QString key = result.key ? host::keyName(*result.key).musical : text("none");
    examination.judge(text("self-test: key"), key + text(", expected A minor"), key == text("A minor"));
    examination.note(
        text("self-test: speed"),
        QStringLiteral("%1 times real time").arg(*result.seconds / result.wallSeconds, 0, 'f', 0));
}

}  // namespace

int doctorVerb(const QStringList& arguments)
{
    const QCommandLineOption help({text("h"), text("help")}, text("Shows this."));
    const QCommandLineOption worker(text("worker"), text("Tests the worker at PATH."), text("PATH"),
                                    workerPath());
    QCommandLineParser parser;
    parser.setApplicationDescription(
        text("\nShows the versions of the decoders, looks at the machine, and analyses a demo whose tempo, "
             "key and "
             "loudness are known. Exits with 1 if anything is not as it should be."));
    parser.addOptions({help, worker});
    const bool isParsed = parser.parse(arguments);
    if (isParsed && parser.isSet(help)) {
        print(text("Usage: tunesift doctor [options]\n") + parser.helpText().section(QLatin1Char('\n'), 1));
        return kAllWell;
    }
    if (!isParsed || !parser.positionalArguments().isEmpty()) {
        complain(QStringLiteral("tunesift: %1 Try 'tunesift doctor --help'.\n")
                     .arg(isParsed ? text("doctor takes no arguments.") : parser.errorText()));
        return kBadUsage;
    }
    Examination examination;
    examineVersions(examination);
    examineMachine(examination);
    examineOurselves(examination, parser.value(worker));
    print(examination.text());
    return examination.isWell() ? kAllWell : kSomeFailed;
}

}  // namespace tunesift::cli
