#include "cli/rows/Row.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

namespace tunesift::cli {
namespace {

std::optional<FileStamp> stampOf(const QJsonObject& object)
{
    const QJsonValue size = object[QLatin1String("size")];
    bool isNumber = false;
    const qint64 modified = object[QLatin1String("modified")].toString().toLongLong(&isNumber);
    if (!size.isDouble() || !isNumber)
        return {};
    return FileStamp{static_cast<qint64>(size.toDouble()), modified};
}

}  // namespace

std::optional<Row> Row::parse(const QByteArray& line)
{
    const QJsonDocument document = QJsonDocument::fromJson(line);
    const QJsonObject object = document.object();
    const QString status = object[QLatin1String("status")].toString();
    const bool failed = status == QLatin1String("failed");
    if (!object[QLatin1String("path")].isString() || (!failed && status != QLatin1String("ok")))
        return {};
    Row row;
    const QJsonValue bytes = object[QLatin1String("pathBytes")];
    row.path = bytes.isString() ? QByteArray::fromBase64(bytes.toString().toLatin1())
                                : object[QLatin1String("path")].toString().toUtf8();
    row.schema = object[QLatin1String("schema")].toInt();
    row.failed = failed;
    row.errorKind = object[QLatin1String("error")].toObject()[QLatin1String("kind")].toString();
    row.stamp = stampOf(object);
    row.options = object[QLatin1String("options")].toString();
    row.analyzer = object[QLatin1String("analyzer")].toString();
    row.shard = Shard::parse(object[QLatin1String("shard")].toString());
    return row;
}

qint64 forEachRow(const QByteArray& content, const std::function<void(Row&&, const QByteArray& line)>& take)
{
    qint64 others = 0;
    for (int from = 0; from < content.size();) {
        const int end = content.indexOf('\n', from);
        const int size = (end < 0 ? content.size() : end) - from;
        const QByteArray line = content.mid(from, size);
        from += size + 1;
        if (line.isEmpty())
            continue;
        if (auto row = Row::parse(line))
            take(std::move(*row), line);
        else
            ++others;
    }
    return others;
}

}  // namespace tunesift::cli
