#include "cli/batch/RowPrinter.h"

#include "cli/humanReport.h"
#include "cli/output.h"
#include "cli/rows/csvReport.h"
#include "cli/rows/jsonReport.h"
#include "cli/rows/pathText.h"
#include "cli/rows/tableReport.h"

#include <unistd.h>
#include <utility>

namespace tunesift::cli {

bool RowPrinter::showsOnTerminal(const TrackOutcome& outcome) const
{
    return (outcome.failure && !tellsFailures()) || (file_ == nullptr && isatty(STDOUT_FILENO) == 1);
}

std::optional<QString> RowPrinter::print(qint64 place, TrackOutcome outcome)
{
    if (file_ != nullptr)
        return printNow(outcome);
    waiting_.emplace(place, std::move(outcome));
    while (!waiting_.empty() && waiting_.begin()->first == nextPlace_) {
        if (auto problem = printNow(waiting_.begin()->second))
            return problem;
        waiting_.erase(waiting_.begin());
        ++nextPlace_;
    }
    return {};
}

std::optional<QString> RowPrinter::printNow(const TrackOutcome& outcome)
{
    if (outcome.failure && !tellsFailures())
        complainOf(outcome);
    QByteArray row = rowOf(outcome);
    if (row.isEmpty())
        return {};
    if (!std::exchange(hasHeader_, true) && (file_ == nullptr || file_->isEmpty()))
        row.prepend(header());
    if (file_ != nullptr)
        return file_->append(row);
    printBytes(row);
    return outputIsGood() ? std::nullopt : std::optional(QStringLiteral("standard output is closed or full"));
}

void RowPrinter::complainOf(const TrackOutcome& outcome) const
{
    complain(QStringLiteral("tunesift: %1: ").arg(readablePath(outcome.path)) + outcome.failure->text +
             QLatin1Char('\n'));
}

QByteArray RowPrinter::rowOf(const TrackOutcome& outcome)
{
    const bool hasResults = outcome.result.succeeded() && outcome.result.tempo.has_value();
    const bool isWorthPrinting = !outcome.failure || hasResults;
    switch (form_) {
    case Form::kHuman:
        return isWorthPrinting ? humanReport(outcome.result).toUtf8() : QByteArray();
    case Form::kTable:
        return isWorthPrinting ? tableReport(outcome).toUtf8() : QByteArray();
    case Form::kJson:
        return jsonReport(outcome);
    case Form::kCsv:
        return csvReport(outcome);
    }
    return {};
}

QByteArray RowPrinter::header() const
{
    if (form_ == Form::kTable)
        return tableHeader().toUtf8();
    return form_ == Form::kCsv ? csvHeader() : QByteArray();
}

}  // namespace tunesift::cli
