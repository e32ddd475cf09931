#include "analysis/TrackDataChunk.h"

#include <QDataStream>

TrackDataChunk::TrackDataChunk(double rate, std::uint64_t lengthInFrames, float trackLoudness,
                               std::int32_t keyNumber)
    : sampleRate(rate), length(lengthInFrames), loudness(trackLoudness), key(keyNumber)
{}

QByteArray TrackDataChunk::serialize() const
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << sampleRate << static_cast<qint64>(length) << double{loudness} << qint32{key};
    return bytes;
}
