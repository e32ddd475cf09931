#include "cli/analyzeVerb.h"

#include "cli/AnalyzeOptions.h"
#include "cli/DemoTrack.h"
#include "cli/batch/Batch.h"
#include "cli/batch/EarlierRows.h"
#include "cli/batch/gatherTracks.h"
#include "cli/exitStatus.h"
#include "cli/output.h"
#include "cli/rows/RowFile.h"
#include "cli/rows/fileFacts.h"
#include "cli/rows/pathText.h"

#include <algorithm>
#include <optional>
#include <unistd.h>

namespace tunesift::cli {
namespace {

bool namesTracks(const AnalyzeOptions& options)
{
    return !options.tracks.isEmpty() || !options.batch.lists.isEmpty();
}

/// Leaves out what the output says already and need not be said again.
BatchSummary leaveOutWhatIsThere(TrackList& list, const AnalyzeOptions& options, const EarlierRows& earlier)
{
    if (options.batch.retryFailed && !namesTracks(options)) {
        for (const QByteArray& path : earlier.failedPaths())
            list.addTrack(path);
    }
    const QString optionsNow = optionsText(options.preferences);
    const auto isWanted = [&](const ListedTrack& track) {
        if (options.batch.retryFailed && earlier.hasFailed(track.path))
            return true;
        return options.batch.resume && !earlier.holds(track.path, optionsNow, fileFacts(track.path).stamp);
    };
    BatchSummary summary;
    std::vector<ListedTrack> wanted;
    for (ListedTrack& track : list.tracks()) {
        if (isWanted(track)) {
            wanted.push_back(std::move(track));
            continue;
        }
        ++summary.skipped;
        summary.skippedFailed += earlier.hasFailed(track.path) ? 1 : 0;
    }
    list.tracks() = std::move(wanted);
    return summary;
}

RowPrinter::Form formFor(const AnalyzeOptions& options, std::size_t tracks)
{
    using Form = RowPrinter::Form;
    if (options.batch.csv)
        return Form::kCsv;
    if (options.json || !options.batch.output.isEmpty())
        return Form::kJson;
    return tracks > 1 && isatty(STDOUT_FILENO) == 1 ? Form::kTable : Form::kHuman;
}

int analyzeAll(const AnalyzeOptions& options)
{
    auto list = gatherTracks(options.tracks, options.batch);
    if (!list)
        return kNothingDone;
    if (namesTracks(options) && list->tracks().empty()) {
        complain(QStringLiteral("tunesift: there is nothing to analyse.\n"));
        return kNothingDone;
    }
    RowFile file;
    if (!options.batch.output.isEmpty()) {
        if (const auto problem = file.open(options.batch.output)) {
            complain(QStringLiteral("tunesift: cannot open the output %1: %2\n")
                         .arg(options.batch.output, *problem));
            return kNothingDone;
        }
    }
    auto& tracks = list->tracks();
    if (const auto& shard = options.batch.shard)
        std::erase_if(tracks, [&](const ListedTrack& track) { return !shard->holds(track.path); });
    BatchSummary summary;
    if (options.batch.resume || options.batch.retryFailed)
        summary = leaveOutWhatIsThere(*list, options, EarlierRows(file.content()));

    RowPrinter printer(formFor(options, tracks.size()));
    if (file.isOpen())
        printer.printTo(file);
    Batch batch(options, printer);
    return batch.run(std::move(tracks), summary);
}

int analyzeDemo(AnalyzeOptions options)
{
    const DemoTrack demo;
    if (!demo.isGood()) {
        complain(QStringLiteral("tunesift: cannot write the demo track %1\n").arg(demo.path()));
        return kNothingDone;
    }
    if (options.json || options.batch.csv)
        complain(DemoTrack::description());
    else
        print(DemoTrack::description());
    options.tracks = QStringList{demo.path()};
    return analyzeAll(options);
}

}  // namespace

int analyzeVerb(const QStringList& arguments)
{
    const auto parsed = parseAnalyzeOptions(arguments);
    if (const auto* help = std::get_if<HelpWanted>(&parsed)) {
        print(help->text);
        return kAllWell;
    }
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        complain(QStringLiteral("tunesift: %1 Try 'tunesift analyze --help'.\n").arg(error->text));
        return kBadUsage;
    }
    const auto& options = std::get<AnalyzeOptions>(parsed);
    return namesTracks(options) || options.batch.retryFailed ? analyzeAll(options) : analyzeDemo(options);
}

}  // namespace tunesift::cli
