#include "cli/batch/EarlierRows.h"

#include <utility>

namespace tunesift::cli {

EarlierRows::EarlierRows(const QByteArray& content)
{
    forEachRow(content, [this](Row&& row, const QByteArray& /*line*/) {
        if (!rows_.contains(row.path))
            order_.push_back(row.path);
        rows_.insert(row.path, std::move(row));
    });
}

bool EarlierRows::holds(const QByteArray& path, const QString& options,
                        const std::optional<FileStamp>& stamp) const
{
    const auto row = rows_.constFind(path);
    return row != rows_.constEnd() && row->options == options && row->analyzer == analyzerVersion() &&
           row->stamp == stamp;
}

bool EarlierRows::hasFailed(const QByteArray& path) const
{
    const auto row = rows_.constFind(path);
    return row != rows_.constEnd() && row->failed;
}

std::vector<QByteArray> EarlierRows::failedPaths() const
{
    std::vector<QByteArray> failed;
    for (const QByteArray& path : order_) {
        if (hasFailed(path))
            failed.push_back(path);
    }
    return failed;
}

}  // namespace tunesift::cli
