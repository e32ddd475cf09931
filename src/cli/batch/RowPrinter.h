#pragma once

#include "cli/rows/RowFile.h"
#include "cli/rows/TrackOutcome.h"

#include <QString>

#include <map>
#include <optional>

namespace tunesift::cli {

/// Where the outcomes of a batch go, and in what form. Standard output gets them in the order of the tracks,
/// a file as they come.
class RowPrinter {
public:
    enum class Form { kHuman, kTable, kJson, kCsv };

    explicit RowPrinter(Form form) : form_(form) {}

    /// Prints to this file from now on, which outlives the printer.
    void printTo(RowFile& file) { file_ = &file; }

    /// Whether failures show in the rows; otherwise they are told on standard error as they come.
    [[nodiscard]] bool tellsFailures() const noexcept { return form_ == Form::kJson || form_ == Form::kCsv; }

    /// Whether this outcome would come between the lines of a terminal.
    [[nodiscard]] bool showsOnTerminal(const TrackOutcome& outcome) const;

    /// @param place  of the track among all, from 0
    /// @return what went wrong, if anything
    [[nodiscard]] std::optional<QString> print(qint64 place, TrackOutcome outcome);

private:
    [[nodiscard]] std::optional<QString> printNow(const TrackOutcome& outcome);
    void complainOf(const TrackOutcome& outcome) const;
    [[nodiscard]] QByteArray rowOf(const TrackOutcome& outcome);
    [[nodiscard]] QByteArray header() const;

    const Form form_;
    RowFile* file_ = nullptr;
    bool hasHeader_ = false;
    qint64 nextPlace_ = 0;
    std::map<qint64, TrackOutcome> waiting_;  ///< For those before them.
};

}  // namespace tunesift::cli
