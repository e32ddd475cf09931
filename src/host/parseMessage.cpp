#include "host/parseMessage.h"

#include "app/protocol/messageIds.h"
#include "host/ByteReader.h"

#include <algorithm>
#include <cmath>

namespace tunesift::host {
namespace {

constexpr qint64 kAnchorSize = 24;
constexpr qint64 kAnchorFiller = 4;
constexpr int kHighestKey = 23;

Anchor readAnchor(ByteReader& reader)
{
    Anchor anchor;
    anchor.samplePosition = reader.littleEndian<double>();
    anchor.beatNumber = reader.littleEndian<qint64>();
    anchor.beatsToNext = reader.littleEndian<quint32>();
    reader.skip(kAnchorFiller);
    return anchor;
}

bool readAnchors(ByteReader& reader, std::vector<Anchor>& anchors)
{
    const auto count = reader.bigEndian<qint64>();
    if (!reader.isGood() || count < 0 || count > reader.remaining() / kAnchorSize)
        return false;
    anchors.reserve(static_cast<std::size_t>(count));
    for (qint64 i = 0; i < count; ++i)
        anchors.push_back(readAnchor(reader));
    return reader.isGood();
}

template <std::size_t bytesPerEntry>
std::optional<Wave<bytesPerEntry>> parseWave(const QByteArray& payload)
{
    constexpr auto kEntrySize = static_cast<qint64>(bytesPerEntry);
    ByteReader reader(payload);
    Wave<bytesPerEntry> wave;
    const auto count = reader.bigEndian<qint64>();
    wave.totalEntries = reader.bigEndian<qint64>();
    wave.framesPerEntry = reader.bigEndian<double>();
    if (!reader.isGood() || count < 0 || count > reader.remaining() / kEntrySize)
        return {};
    wave.entries.resize(static_cast<std::size_t>(count));
    reader.raw(wave.entries.data(), count * kEntrySize);
    reader.raw(wave.maximum.data(), kEntrySize);
    if (!reader.isAtEnd())
        return {};
    return wave;
}

template <typename Parsed>
std::optional<Message> asMessage(std::optional<Parsed> parsed)
{
    if (!parsed)
        return {};
    return Message(std::move(*parsed));
}

}  // namespace

std::optional<Progress> parseProgress(const QByteArray& payload)
{
    ByteReader reader(payload);
    const auto share = reader.littleEndian<float>();
    if (!reader.isAtEnd())
        return {};
    return Progress{std::isnan(share) ? 0.0F : std::clamp(share, 0.0F, 1.0F)};
}

std::optional<BeatGrid> parseBeatGrid(const QByteArray& payload)
{
    ByteReader reader(payload);
    BeatGrid grid;
    grid.sampleRate = reader.bigEndian<double>();
    grid.sampleCount = reader.bigEndian<double>();
    grid.isValid = reader.bigEndian<quint8>() != 0;
    if (!readAnchors(reader, grid.storedAnchors) || !readAnchors(reader, grid.anchors) || !reader.isAtEnd())
        return {};
    return grid;
}

std::optional<TrackInfo> parseTrackInfo(const QByteArray& payload)
{
    ByteReader reader(payload);
    TrackInfo info;
    info.sampleRate = reader.bigEndian<double>();
    info.length = reader.bigEndian<qint64>();
    info.loudness = reader.bigEndian<double>();
    info.key = reader.bigEndian<qint32>();
    const bool plausible = std::isfinite(info.sampleRate) && info.sampleRate > 0.0 && info.length >= 0 &&
                           info.key >= -1 && info.key <= kHighestKey;
    if (!reader.isAtEnd() || !plausible)
        return {};
    return info;
}

std::optional<OverviewWave> parseOverviewWave(const QByteArray& payload)
{
    return parseWave<std::tuple_size_v<OverviewWave::Entry>>(payload);
}

std::optional<HighResolutionWave> parseHighResolutionWave(const QByteArray& payload)
{
    return parseWave<std::tuple_size_v<HighResolutionWave::Entry>>(payload);
}

std::optional<Finished> parseFinished(const QByteArray& payload)
{
    ByteReader reader(payload);
    const auto tempo = reader.littleEndian<double>();
    if (!reader.isAtEnd())
        return {};
    return Finished{tempo};
}

std::optional<Message> parseMessage(quint32 id, const QByteArray& payload)
{
    using namespace eboOfflineAnalysisProtocol;
    switch (id) {
    case kProgress:
        return asMessage(parseProgress(payload));
    case kBeatDataChunk:
        return asMessage(parseBeatGrid(payload));
    case kTrackDataChunk:
        return asMessage(parseTrackInfo(payload));
    case kOverviewWaveChunk:
        return asMessage(parseOverviewWave(payload));
    case kHighResolutionWaveChunk:
        return asMessage(parseHighResolutionWave(payload));
    case kStarted:
        return Message(Started{});
    case kStopped:
        return Message(Stopped{});
    case kFinished:
        return asMessage(parseFinished(payload));
    case kError:
        return Message(Error{QString::fromUtf8(payload)});
    default:
        return Message(UnknownMessage{id});
    }
}

}  // namespace tunesift::host
