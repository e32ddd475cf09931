#include "cli/merge/mergeVerb.h"

#include "cli/batch/TrackList.h"
#include "cli/exitStatus.h"
#include "cli/merge/MergedRows.h"
#include "cli/output.h"
#include "cli/rows/pathText.h"

#include <QCommandLineParser>
#include <QFile>
#include <QSaveFile>

#include <optional>

namespace tunesift::cli {
namespace {

struct Options {
    QStringList files;
    QStringList lists;
    bool listsAreNulSeparated = false;
    QString output;
};

void tell(const QString& problem) { complain(QStringLiteral("tunesift: %1\n").arg(problem)); }

/// The tracks that there should be; nothing, after a complaint, if a list cannot be read.
std::optional<std::vector<QByteArray>> expected(const Options& options)
{
    TrackList list;
    for (const QString& file : options.lists) {
        if (const auto problem = list.addFrom(bytesOfText(file), options.listsAreNulSeparated)) {
            tell(QStringLiteral("cannot read the list %1: %2").arg(file, *problem));
            return {};
        }
    }
    std::vector<QByteArray> paths;
    for (const ListedTrack& track : list.tracks())
        paths.push_back(track.path);
    return paths;
}

bool write(const Options& options, const QByteArray& lines)
{
    if (options.output.isEmpty()) {
        printBytes(lines);
        return true;
    }
    // All of it or nothing; a file that is merged may well be the output.
    QSaveFile file(options.output);
    if (file.open(QIODevice::WriteOnly) && file.write(lines) == lines.size() && file.commit())
        return true;
    tell(QStringLiteral("cannot write %1: %2").arg(options.output, file.errorString()));
    return false;
}

int merge(const Options& options)
{
    MergedRows rows;
    for (const QString& name : options.files) {
        QFile file(QFile::decodeName(bytesOfText(name)));
        if (!file.open(QIODevice::ReadOnly)) {
            tell(QStringLiteral("cannot read %1: %2").arg(name, file.errorString()));
            return kNothingDone;
        }
        rows.add(name, file.readAll());
    }
    const auto paths = expected(options);
    if (!paths)
        return kNothingDone;
    rows.expect(*paths);
    if (!write(options, rows.lines()))
        return kNothingDone;
    const QStringList problems = rows.problems();
    for (const QString& problem : problems)
        tell(problem);
    return problems.isEmpty() ? kAllWell : kSomeFailed;
}

}  // namespace

int mergeVerb(const QStringList& arguments)
{
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this."));
    const QCommandLineOption output({QStringLiteral("o"), QStringLiteral("output")},
                                    QStringLiteral("Writes to FILE, in place of what was in it."),
                                    QStringLiteral("FILE"));
    const QCommandLineOption lists(QStringLiteral("files-from"),
                                   QStringLiteral("Tells which of the tracks that LIST names are missing."),
                                   QStringLiteral("LIST"));
    const QCommandLineOption null(
        {QStringLiteral("0"), QStringLiteral("null")},
        QStringLiteral("The names in LIST end with NUL characters instead of lines."));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("\nJoins the rows of several runs, each track once, sorted by path, and says what is "
                       "missing, double or of "
                       "another version or division. Exits with 1 if anything is."));
    parser.addOptions({help, output, lists, null});
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Outputs of tunesift analyze -o."));
    const bool isParsed = parser.parse(arguments);
    if (isParsed && parser.isSet(help)) {
        print(QStringLiteral("Usage: tunesift merge [options] FILE...\n") +
              parser.helpText().section(QLatin1Char('\n'), 1));
        return kAllWell;
    }
    if (!isParsed || parser.positionalArguments().isEmpty()) {
        tell((isParsed ? QStringLiteral("no file to merge.") : parser.errorText()) +
             QStringLiteral(" Try 'tunesift merge --help'."));
        return kBadUsage;
    }
    return merge(
        {parser.positionalArguments(), parser.values(lists), parser.isSet(null), parser.value(output)});
}

}  // namespace tunesift::cli
