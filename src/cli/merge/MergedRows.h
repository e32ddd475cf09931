#pragma once

#include "cli/rows/Row.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <map>
#include <set>
#include <vector>

namespace tunesift::cli {

/// The rows of several files in one, each track once, and what does not fit together about them.
class MergedRows {
public:
    /// Takes the rows of a file. Of several rows of one track in it, the last counts.
    void add(const QString& file, const QByteArray& content);

    /// Holds the rows against a list of tracks that there should be.
    void expect(const std::vector<QByteArray>& paths);

    /// A line for each thing that is wrong. After everything was added.
    [[nodiscard]] QStringList problems() const;

    /// All rows, one a line, in the order of the bytes of their paths.
    [[nodiscard]] QByteArray lines() const;

    /// How many rows there are.
    [[nodiscard]] std::size_t size() const noexcept { return rows_.size(); }

private:
    struct Kept {
        Row row;
        QByteArray line;
        int file = 0;  ///< By number.
    };

    void keep(Row&& row, const QByteArray& line, int file);

    std::map<QByteArray, Kept> rows_;
    int files_ = 0;
    int filesWithoutRows_ = 0;
    QStringList problems_;
    std::set<QByteArray> doubles_;
};

}  // namespace tunesift::cli
