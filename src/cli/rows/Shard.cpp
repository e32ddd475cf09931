#include "cli/rows/Shard.h"

#include <QStringList>

namespace tunesift::cli {
namespace {

constexpr int kMostShards = 1000000;

/// FNV-1a, 64 bits: spreads similar names, and is the same on every machine for ever.
quint64 hashOf(const QByteArray& bytes)
{
    constexpr quint64 kOffset = 0xcbf29ce484222325;
    constexpr quint64 kPrime = 0x100000001b3;
    quint64 hash = kOffset;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<uchar>(byte)) * kPrime;
    return hash;
}

}  // namespace

bool Shard::holds(const QByteArray& path) const
{
    // The lowest bits of the hash alone know little of the earlier bytes.
    constexpr int kFold = 32;
    const quint64 hash = hashOf(path);
    return static_cast<int>((hash ^ (hash >> kFold)) % static_cast<quint64>(count)) == index - 1;
}

QString Shard::text() const { return QStringLiteral("%1/%2").arg(index).arg(count); }

std::optional<Shard> Shard::parse(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char('/'));
    if (parts.size() != 2)
        return {};
    bool areNumbers[2] = {};
    const Shard shard{parts[0].toInt(&areNumbers[0]), parts[1].toInt(&areNumbers[1])};
    if (!areNumbers[0] || !areNumbers[1] || shard.index < 1 || shard.count > kMostShards ||
        shard.index > shard.count)
        return {};
    return shard;
}

}  // namespace tunesift::cli
