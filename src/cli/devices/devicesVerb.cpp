#include "cli/devices/devicesVerb.h"

#include "cli/InterruptWatch.h"
#include "cli/devices/DeviceWatch.h"
#include "cli/devices/DevicesOptions.h"
#include "cli/devices/deviceReports.h"
#include "cli/exitStatus.h"
#include "cli/output.h"
#include "network/discovery/discoveryPort.h"
#include "network/nfs/FileSharing.h"
#include "runtime/GarbageCollection.h"

#include <QCoreApplication>
#include <QTimer>

#include <unistd.h>

namespace tunesift::cli {
namespace {

/// An output that cannot be written ends the listing; main tells why.
void printOrQuit(const QString& text)
{
    print(text);
    if (!outputIsGood())
        QCoreApplication::quit();
}

void reportLines(const DeviceWatch& watch)
{
    QObject::connect(&watch, &DeviceWatch::appeared,
                     [](const Device& device) { printOrQuit(deviceLine('+', device)); });
    QObject::connect(&watch, &DeviceWatch::changed, [](const Device& before, const Device& after) {
        const QString line = deviceLine('~', after);
        if (isNews(before, after) && line != deviceLine('~', before))
            printOrQuit(line);
    });
    QObject::connect(&watch, &DeviceWatch::gone,
                     [](const Device& device) { printOrQuit(deviceLine('-', device)); });
}

void reportJson(const DeviceWatch& watch)
{
    QObject::connect(&watch, &DeviceWatch::appeared, [](const Device& device) {
        printOrQuit(deviceJson(QStringLiteral("appeared"), device));
    });
    QObject::connect(&watch, &DeviceWatch::changed, [](const Device& /*before*/, const Device& after) {
        printOrQuit(deviceJson(QStringLiteral("changed"), after));
    });
    QObject::connect(&watch, &DeviceWatch::gone,
                     [](const Device& device) { printOrQuit(deviceJson(QStringLiteral("gone"), device)); });
}

/// Draws the table soon after each change; many changes in a row make one table.
void reportTable(const DeviceWatch& watch, QTimer& redraw)
{
    constexpr int kRedrawMilliseconds = 100;
    redraw.setSingleShot(true);
    redraw.setInterval(kRedrawMilliseconds);
    const auto draw = [&watch] {
        const QString homeAndClear = QStringLiteral("\x1b[H\x1b[J");
        printOrQuit(homeAndClear + deviceTable(watch.devices()));
    };
    const auto schedule = [&redraw] {
        if (!redraw.isActive())
            redraw.start();
    };
    QObject::connect(&redraw, &QTimer::timeout, draw);
    QObject::connect(&watch, &DeviceWatch::appeared, schedule);
    QObject::connect(&watch, &DeviceWatch::changed, schedule);
    QObject::connect(&watch, &DeviceWatch::gone, schedule);
    schedule();
}

void announceSelf(const DevicesOptions& options, const QUuid& uuid, quint16 directoryPort)
{
    const quint16 port = eboDiscoverer::discoveryPort();
    if (options.json)
        printOrQuit(startJson(uuid, directoryPort, port));
    else
        complain(QStringLiteral("tunesift: this device is %1; beacons on UDP port %2\n")
                     .arg(uuid.toString(QUuid::WithoutBraces))
                     .arg(port));
}

int list(const DevicesOptions& options)
{
    const InterruptWatch interrupts;
    QObject::connect(&interrupts, &InterruptWatch::interrupted, [] { QCoreApplication::quit(); });
    ebo::GarbageCollection collector;
    collector.start();

    FileSharing sharing;
    if (!sharing.bringUp(ebo::makeRef<eboNfsFileFactory>())) {
        complain(QStringLiteral(
            "tunesift: the system has no thread or descriptor left to look for devices with\n"));
        return kNothingDone;
    }
    auto watch = std::make_unique<DeviceWatch>(*sharing.network(), *sharing.nfs());
    QTimer redraw;
    if (options.json)
        reportJson(*watch);
    else if (options.watch && isatty(STDOUT_FILENO) == 1)
        reportTable(*watch, redraw);
    else
        reportLines(*watch);

    announceSelf(options, sharing.uuid(), sharing.network()->directoryPort());
    QTimer end;
    end.setSingleShot(true);
    QObject::connect(&end, &QTimer::timeout, [] { QCoreApplication::quit(); });
    if (options.seconds)
        end.start(*options.seconds * 1000);
    if (outputIsGood())
        QCoreApplication::exec();
    watch.reset();
    sharing.tearDown();
    const int signal = InterruptWatch::signalNumber();
    return signal == 0 ? kAllWell : kInterruptedBase + signal;
}

}  // namespace

int devicesVerb(const QStringList& arguments)
{
    const auto parsed = parseDevicesOptions(arguments);
    if (const auto* help = std::get_if<HelpWanted>(&parsed)) {
        print(help->text);
        return kAllWell;
    }
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        complain(QStringLiteral("tunesift: %1 Try 'tunesift devices --help'.\n").arg(error->text));
        return kBadUsage;
    }
    return list(std::get<DevicesOptions>(parsed));
}

}  // namespace tunesift::cli
