// tunesift: analyses tracks through worker processes and prints what they find; lists devices; shares files.

#include "cli/analyzeVerb.h"
#include "cli/check/checkVerb.h"
#include "cli/devices/devicesVerb.h"
#include "cli/doctor/doctorVerb.h"
#include "cli/exitStatus.h"
#include "cli/merge/mergeVerb.h"
#include "cli/output.h"
#include "cli/picture/exportVerb.h"
#include "cli/picture/plotVerb.h"
#include "cli/rows/pathText.h"
#include "cli/share/shareVerb.h"
#include "runtime/prepareProcess.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QStringList>
#include <QTextCodec>

#include <memory>

namespace {

using namespace tunesift::cli;

const QString& generalHelp()
{
    static const QString text =
        QStringLiteral("Usage: tunesift VERB [options] [arguments]\n"
                       "\n"
                       "Verbs:\n"
                       "  analyze     Finds tempo, beats, key and loudness of tracks.\n"
                       "  check       Decodes files and says what is wrong with them.\n"
                       "  plot        Draws a picture of a track.\n"
                       "  export      Writes the wave of a track for other programs.\n"
                       "  merge       Joins the results of several runs and checks them.\n"
                       "  devices     Lists the devices of the network as they come and go.\n"
                       "  share       Shares a directory with the other devices of the network.\n"
                       "  doctor      Shows versions and what the machine lacks, and tests itself.\n"
                       "\n"
                       "Options:\n"
                       "  -h, --help     Shows this; after a verb, the help of the verb.\n"
                       "  -v, --version  Shows the version.\n");
    return text;
}

int run(const QStringList& arguments)
{
    const QString verb = arguments.value(1);
    if (verb == QLatin1String("analyze"))
        return analyzeVerb(arguments.mid(1));
    if (verb == QLatin1String("check"))
        return checkVerb(arguments.mid(1));
    if (verb == QLatin1String("plot"))
        return plotVerb(arguments.mid(1));
    if (verb == QLatin1String("export"))
        return exportVerb(arguments.mid(1));
    if (verb == QLatin1String("doctor"))
        return doctorVerb(arguments.mid(1));
    if (verb == QLatin1String("merge"))
        return mergeVerb(arguments.mid(1));
    if (verb == QLatin1String("devices"))
        return devicesVerb(arguments.mid(1));
    if (verb == QLatin1String("share"))
        return shareVerb(arguments.mid(1));
    if (verb == QLatin1String("-h") || verb == QLatin1String("--help")) {
        print(generalHelp());
        return kAllWell;
    }
    if (verb == QLatin1String("-v") || verb == QLatin1String("--version")) {
        print(QStringLiteral("tunesift " TUNESIFT_VERSION "\n"));
        return kAllWell;
    }
    complain((verb.isEmpty() ? QStringLiteral("tunesift: no verb given.")
                             : QStringLiteral("tunesift: '%1' is no verb.").arg(verb)) +
             QStringLiteral(" Try 'tunesift --help'.\n"));
    return kBadUsage;
}

/// Only pictures need the means to draw, and no screen for that.
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv, const QString& verb)
{
    if (verb != QLatin1String("plot"))
        return std::make_unique<QCoreApplication>(argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Qt misses the folders of a desktop session, and says so.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    auto application = std::make_unique<QGuiApplication>(argc, argv);
    qInstallMessageHandler(nullptr);
    return application;
}

}  // namespace

int main(int argc, char** argv)
{
    // Qt's own event loop instead of GLib's: nothing here needs the latter, and each turn of it costs more.
    qputenv("QT_NO_GLIB", "1");
    // Paths are UTF-8 for the worker, so they are for us, whatever the locale says.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    ebo::prepareProcess();
    QStringList arguments;  // QCoreApplication would lose what is not UTF-8
    for (int i = 0; i < argc; ++i)
        arguments << textOfBytes(argv[i]);
    const auto application = makeApplication(argc, argv, arguments.value(1));
    const int status = run(arguments);
    if (!outputIsGood()) {
        complain(QStringLiteral("tunesift: cannot write the output.\n"));
        return kSomeFailed;
    }
    return status;
}
