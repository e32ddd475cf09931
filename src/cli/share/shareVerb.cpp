#include "cli/share/shareVerb.h"

#include "cli/InterruptWatch.h"
#include "cli/exitStatus.h"
#include "cli/output.h"
#include "cli/share/ShareOptions.h"
#include "cli/share/shareReports.h"
#include "network/nfs/FileSharing.h"
#include "runtime/GarbageCollection.h"

#include <QCoreApplication>
#include <QSysInfo>

#include <limits>

namespace tunesift::cli {
namespace {

/// An output that cannot be written ends the sharing; main tells why.
void printOrQuit(const QString& text)
{
    print(text);
    if (!outputIsGood())
        QCoreApplication::quit();
}

void reportEvents(const ShareOptions& options, const eboNfs& nfs, QObject& here)
{
    const auto report = [options](const QString& what, const QString& path, const QUuid& device) {
        printOrQuit(shareLine(options, {what, path, device}));
    };
    const eboNfsRootDirectory* const root = nfs.rootDirectory().get();
    QObject::connect(
        root, &eboNfsRootDirectory::fileOpened, &here,
        [report](const QString& path, const QUuid& device) {
            report(QStringLiteral("opened"), path, device);
        },
        Qt::QueuedConnection);
    QObject::connect(
        root, &eboNfsRootDirectory::fileReleased, &here,
        [report](const QString& path, const QUuid& device) {
            report(QStringLiteral("released"), path, device);
        },
        Qt::QueuedConnection);
    QObject::connect(
        &nfs, &eboNfs::fileChanged, &here,
        [report](const QString& path) { report(QStringLiteral("changed"), path, QUuid()); },
        Qt::QueuedConnection);
}

/// Beyond the directory nothing is to be had, whatever is asked for, and a file is found under its real name.
void mount(const ShareOptions& options, eboNfs& nfs)
{
    eboNfsRootDirectory* const root = nfs.rootDirectory().get();
    const auto onItsThread = [&options, root] {
        root->setPolicy({.confined = true, .readOnly = !options.writable, .plainNames = true});
        root->mountDirectory(QUrl::fromLocalFile(options.directory), options.name,
                             std::numeric_limits<qint64>::max());
    };
    QMetaObject::invokeMethod(root, onItsThread, Qt::BlockingQueuedConnection);
    nfs.setDeviceName(QSysInfo::machineHostName());
    QMetaObject::invokeMethod(&nfs, &eboNfs::writeHostInfoMessageToKnownHosts, Qt::QueuedConnection);
}

int share(const ShareOptions& options)
{
    const InterruptWatch interrupts;
    QObject::connect(&interrupts, &InterruptWatch::interrupted, [] { QCoreApplication::quit(); });
    ebo::GarbageCollection collector;
    collector.start();

    const auto factory = ebo::makeRef<eboNfsFileFactory>();
    FileSharing sharing;
    if (!sharing.bringUp(factory)) {
        complain(QStringLiteral("tunesift: the system has no thread or descriptor left to share with\n"));
        return kNothingDone;
    }
    mount(options, *sharing.nfs());
    {
        QObject here;
        reportEvents(options, *sharing.nfs(), here);
        printOrQuit(shareStart(options, sharing.uuid()));
        if (outputIsGood())
            QCoreApplication::exec();
    }
    sharing.tearDown();
    const int signal = InterruptWatch::signalNumber();
    return signal == 0 ? kAllWell : kInterruptedBase + signal;
}

}  // namespace

int shareVerb(const QStringList& arguments)
{
    const auto parsed = parseShareOptions(arguments);
    if (const auto* help = std::get_if<HelpWanted>(&parsed)) {
        print(help->text);
        return kAllWell;
    }
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        complain(QStringLiteral("tunesift: %1 Try 'tunesift share --help'.\n").arg(error->text));
        return kBadUsage;
    }
    return share(std::get<ShareOptions>(parsed));
}

}  // namespace tunesift::cli
