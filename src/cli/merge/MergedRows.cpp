#include "cli/merge/MergedRows.h"

#include "cli/rows/jsonReport.h"
#include "cli/rows/pathText.h"

#include <algorithm>
#include <utility>

namespace tunesift::cli {
namespace {

constexpr std::size_t kMostNamed = 10;

/// "3 tracks are X: a, b, c"
template <typename Paths>
QString named(const Paths& paths, const QString& what)
{
    QStringList names;
    for (const QByteArray& path : paths) {
        if (static_cast<std::size_t>(names.size()) == kMostNamed) {
            names << QStringLiteral("...");
            break;
        }
        names << readablePath(path);
    }
    return QStringLiteral("%1 tracks are %2: ").arg(paths.size()).arg(what) +
           names.join(QStringLiteral(", "));
}

QString mixed(const char* what, const std::set<QString>& values)
{
    const QStringList list(values.begin(), values.end());
    return QStringLiteral("the rows have mixed %1: ").arg(QLatin1String(what)) +
           list.join(QStringLiteral("; "));
}

}  // namespace

void MergedRows::add(const QString& file, const QByteArray& content)
{
    const int number = files_++;
    bool hasRows = false;
    const qint64 others = forEachRow(content, [&](Row&& row, const QByteArray& line) {
        hasRows = true;
        keep(std::move(row), line, number);
    });
    filesWithoutRows_ += hasRows ? 0 : 1;
    if (others > 0)
        problems_ << QStringLiteral("%1 lines of %2 are no rows").arg(others).arg(file);
}

void MergedRows::keep(Row&& row, const QByteArray& line, int file)
{
    const auto [at, isNew] = rows_.try_emplace(row.path);
    if (!isNew && at->second.file != file)
        doubles_.insert(row.path);
    at->second = Kept{std::move(row), line, file};
}

void MergedRows::expect(const std::vector<QByteArray>& paths)
{
    std::set<QByteArray> missing;
    for (const QByteArray& path : paths) {
        if (!rows_.contains(path))
            missing.insert(path);
    }
    if (!missing.empty())
        problems_ << named(missing, QStringLiteral("missing"));
}

QStringList MergedRows::problems() const
{
    std::set<QString> versions;
    std::set<QString> options;
    std::set<QString> schemas;
    std::set<int> shardCounts;
    std::set<int> shards;
    std::vector<QByteArray> misplaced;
    for (const auto& [path, kept] : rows_) {
        const Row& row = kept.row;
        versions.insert(row.analyzer);
        options.insert(row.options);
        schemas.insert(QString::number(row.schema));
        shardCounts.insert(row.shard ? row.shard->count : 0);
        if (!row.shard)
            continue;
        shards.insert(row.shard->index);
        if (!row.shard->holds(path))
            misplaced.push_back(path);
    }

    QStringList problems = problems_;
    if (!doubles_.empty())
        problems << named(doubles_, QStringLiteral("double"));
    if (!misplaced.empty())
        problems << named(misplaced, QStringLiteral("in the wrong shard"));
    if (versions.size() > 1)
        problems << mixed("analyser versions", versions);
    if (options.size() > 1)
        problems << mixed("options", options);
    if (schemas.size() > 1 || (schemas.size() == 1 && *schemas.begin() != QString::number(kRowSchema)))
        problems << mixed("or unknown schemas", schemas);
    if (shardCounts.size() > 1) {
        problems << QStringLiteral("the rows are of different divisions into shards");
        return problems;
    }
    if (shardCounts.empty() || *shardCounts.begin() == 0)
        return problems;
    const int count = *shardCounts.begin();
    // A share may be empty, and so is its file.
    if (static_cast<int>(shards.size()) + filesWithoutRows_ < count) {
        QStringList missing;
        for (int index = 1; index <= count && missing.size() < static_cast<int>(kMostNamed); ++index) {
            if (!shards.contains(index))
                missing << Shard{index, count}.text();
        }
        problems << QStringLiteral("shards are missing: ") + missing.join(QStringLiteral(", "));
    }
    return problems;
}

QByteArray MergedRows::lines() const
{
    QByteArray lines;
    for (const auto& [path, kept] : rows_)
        lines += kept.line + '\n';
    return lines;
}

}  // namespace tunesift::cli
