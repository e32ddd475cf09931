#include "cli/devices/DevicesOptions.h"

#include "cli/discoveryPortOption.h"

#include <QCommandLineParser>

namespace tunesift::cli {
namespace {

constexpr int kMostSeconds = 1'000'000;  // eleven days; in milliseconds it still is an int

}  // namespace

std::variant<DevicesOptions, HelpWanted, UsageError> parseDevicesOptions(const QStringList& arguments)
{
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this."));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Prints one JSON object per event and line."));
    const QCommandLineOption watch(
        QStringLiteral("watch"),
        QStringLiteral("Keeps a table up to date on the terminal; without one, prints lines."));
    const QCommandLineOption seconds(QStringLiteral("for"),
                                     QStringLiteral("Ends after that time instead of never."),
                                     QStringLiteral("SECONDS"));
    const QCommandLineOption port = discoveryPortOption();

    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOptions({help, json, watch, seconds, port});
    if (!parser.parse(arguments))
        return UsageError{parser.errorText()};
    if (parser.isSet(help)) {
        return HelpWanted{
            QStringLiteral("Usage: tunesift devices [options]\n"
                           "\nLists the devices of the network as they come and go; others see this one.\n") +
            withSingleDash(parser.helpText()).section(QLatin1Char('\n'), 1)};
    }
    if (!parser.positionalArguments().isEmpty())
        return UsageError{QStringLiteral("It takes no argument '%1'.").arg(parser.positionalArguments()[0])};

    DevicesOptions options;
    options.json = parser.isSet(json);
    options.watch = parser.isSet(watch);
    if (options.json && options.watch)
        return UsageError{QStringLiteral("--json and --watch do not go together.")};
    if (parser.isSet(seconds)) {
        options.seconds = numberIn(parser.value(seconds), kMostSeconds);
        if (!options.seconds)
            return notANumber(QStringLiteral("--for"), kMostSeconds, parser.value(seconds));
    }
    if (auto problem = discoveryPortProblem(parser, port, arguments))
        return *problem;
    return options;
}

}  // namespace tunesift::cli
