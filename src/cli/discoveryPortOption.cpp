#include "cli/discoveryPortOption.h"

namespace tunesift::cli {
namespace {

constexpr int kHighestPort = 65535;

QString portName() { return QStringLiteral("discoPort"); }

}  // namespace

QCommandLineOption discoveryPortOption()
{
    return {portName(), QStringLiteral("Sends and hears beacons on this UDP port instead of 51337."),
            QStringLiteral("PORT")};
}

std::optional<UsageError> discoveryPortProblem(const QCommandLineParser& parser,
                                               const QCommandLineOption& option, const QStringList& arguments)
{
    if (!parser.isSet(option))
        return {};
    if (!arguments.contains(QLatin1Char('-') + portName()))
        return UsageError{QStringLiteral("The port is given as '-discoPort PORT'.")};
    if (!numberIn(parser.value(option), kHighestPort))
        return notANumber(QStringLiteral("-discoPort"), kHighestPort, parser.value(option));
    return {};
}

QString withSingleDash(QString helpText)
{
    return helpText.replace(QStringLiteral("--discoPort <PORT>"), QStringLiteral("-discoPort <PORT> "));
}

std::optional<int> numberIn(const QString& text, int highest)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
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

}  // namespace tunesift::cli
