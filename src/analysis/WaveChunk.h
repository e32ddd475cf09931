#pragma once

#include <QByteArray>
#include <QDataStream>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// One entry of a wave picture: a byte for each of its curves.
template <std::size_t Bytes>
using WaveEntry = std::array<std::uint8_t, Bytes>;

/// The chunk that carries new entries of a wave to the host: int64 number of entries, int64 entries of the
/// whole wave, double frames per entry, all big-endian; then the entries and the running maximum of each
/// byte position. Empty when there is no new entry: such a chunk is not sent.
template <std::size_t Bytes>
[[nodiscard]] QByteArray waveChunk(const std::vector<WaveEntry<Bytes>>& newEntries, std::int64_t totalEntries,
                                   double framesPerEntry, const WaveEntry<Bytes>& maximum)
{
    QByteArray bytes;
    if (newEntries.empty())
        return bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << static_cast<qint64>(newEntries.size()) << qint64{totalEntries} << framesPerEntry;
    stream.writeRawData(reinterpret_cast<const char*>(newEntries.data()),
                        static_cast<int>(newEntries.size() * Bytes));
    stream.writeRawData(reinterpret_cast<const char*>(maximum.data()), static_cast<int>(Bytes));
    return bytes;
}
