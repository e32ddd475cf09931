#include "cli/share/ShareOptions.h"

#include "cli/discoveryPortOption.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

namespace tunesift::cli {
namespace {

std::optional<UsageError> problemOf(const QString& directory)
{
    const QFileInfo info(directory);
    if (!info.exists())
        return UsageError{QStringLiteral("There is no directory '%1'.").arg(directory)};
    if (!info.isDir())
        return UsageError{QStringLiteral("'%1' is no directory.").arg(directory)};
    if (!info.isReadable() || !info.isExecutable())
        return UsageError{QStringLiteral("You may not read '%1'.").arg(directory)};
    return {};
}

/// The directory's own; that of the root has none.
QString defaultName(const QString& directory)
{
    const QString name = QDir(directory).dirName();
    return name.isEmpty() ? QStringLiteral("Files") : name;
}

}  // namespace

std::variant<ShareOptions, HelpWanted, UsageError> parseShareOptions(const QStringList& arguments)
{
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this."));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Prints one JSON object per event and line."));
    const QCommandLineOption name(QStringLiteral("name"),
                                  QStringLiteral("Shares it under this name instead of its own."),
                                  QStringLiteral("NAME"));
    const QCommandLineOption writable(
        QStringLiteral("writable"),
        QStringLiteral("Lets other devices write, create, truncate and delete files in it."));
    const QCommandLineOption port = discoveryPortOption();

    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOptions({help, json, name, writable, port});
    parser.addPositionalArgument(QStringLiteral("DIR"), QStringLiteral("The directory."));
    if (!parser.parse(arguments))
        return UsageError{parser.errorText()};
    if (parser.isSet(help))
        return HelpWanted{
            QStringLiteral(
                "Usage: tunesift share [options] DIR\n"
                "\nShares a directory with the other devices of the network until it is interrupted. "
                "They can\nread what lies in it, and nothing outside.\n") +
            withSingleDash(parser.helpText()).section(QLatin1Char('\n'), 1)};
    const QStringList directories = parser.positionalArguments();
    if (directories.size() != 1)
        return UsageError{directories.isEmpty() ? QStringLiteral("It wants a directory.")
                                                : QStringLiteral("It takes one directory only.")};
    if (auto problem = problemOf(directories.first()))
        return *problem;
    if (auto problem = discoveryPortProblem(parser, port, arguments))
        return *problem;

    ShareOptions options;
    options.directory = QFileInfo(directories.first()).canonicalFilePath();
    options.name = parser.isSet(name) ? parser.value(name) : defaultName(options.directory);
    if (options.name.isEmpty() || options.name.contains(QLatin1Char('/')))
        return UsageError{QStringLiteral("--name wants a name without '/', not '%1'.").arg(options.name)};
    options.writable = parser.isSet(writable);
    options.json = parser.isSet(json);
    return options;
}

}  // namespace tunesift::cli
