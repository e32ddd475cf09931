#include "cli/devices/DevicesOptions.h"

#include <QCommandLineParser>

namespace tunesift::cli {
namespace {

constexpr int kMostSeconds = 1'000'000;  // eleven days; in milliseconds it still is an int
constexpr int kHighestPort = 65535;

/// The whole number of an option's value; nothing if it is none, or outside of 1 to `highest`.
std::optional<int> numberIn(const QString& value, int highest)
{
    bool isNumber = false;
    const int number = value.toInt(&isNumber);
    if (!isNumber || number < 1 || number > highest)
        return {};
    return number;
}

UsageError notANumber(const QString& option, int highest, const QString& value)
{
    return {QStringLiteral("%1 wants a whole number from 1 to %2, not '%3'.")
                .arg(option)
                .arg(highest)
                .arg(value)};
}

}  // namespace

std::variant<DevicesOptions, HelpWanted, UsageError> parseDevicesOptions(const QStringList& arguments)
{
    const QString portName = QStringLiteral("discoPort");
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
    const QCommandLineOption port(
        portName, QStringLiteral("Sends and hears beacons on this UDP port instead of 51337."),
        QStringLiteral("PORT"));

    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOptions({help, json, watch, seconds, port});
    if (!parser.parse(arguments))
        return UsageError{parser.errorText()};
    if (parser.isSet(help)) {
        // The parser writes two dashes in front of every long name; this one is taken with one dash only.
        const QString helpText = parser.helpText().replace(QStringLiteral("--discoPort <PORT>"),
                                                           QStringLiteral("-discoPort <PORT> "));
        return HelpWanted{
            QStringLiteral("Usage: tunesift devices [options]\n"
                           "\nLists the devices of the network as they come and go; others see this one.\n") +
            helpText.section(QLatin1Char('\n'), 1)};
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
    if (parser.isSet(port)) {
        // Discovery itself takes it from the command line, in this one spelling.
        if (!arguments.contains(QLatin1Char('-') + portName))
            return UsageError{QStringLiteral("The port is given as '-discoPort PORT'.")};
        if (!numberIn(parser.value(port), kHighestPort))
            return notANumber(QStringLiteral("-discoPort"), kHighestPort, parser.value(port));
    }
    return options;
}

}  // namespace tunesift::cli
