#include "cli/rows/Shard.h"

#include <QStringList>

namespace tunesift::cli {
namespace {

constexpr int kMostShards = 1000000;

/// FNV-1a of 64 bits, and the finisher of MurmurHash3, which brings every bit into the lowest: similar names
/// go different ways. The same on every machine for ever.
quint64 hashOf(const QByteArray& bytes)
{
    constexpr quint64 kOffset = 0xcbf29ce484222325;
    constexpr quint64 kPrime = 0x100000001b3;
    quint64 hash = kOffset;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<uchar>(byte)) * kPrime;
    constexpr int kShift = 33;
    hash = (hash ^ (hash >> kShift)) * 0xff51afd7ed558ccd;
    hash = (hash ^ (hash >> kShift)) * 0xc4ceb9fe1a85ec53;
    return hash ^ (hash >> kShift);
}

}  // namespace

bool Shard::holds(const QByteArray& path) const
{
    return static_cast<int>(hashOf(path) % static_cast<quint64>(count)) == index - 1;
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
