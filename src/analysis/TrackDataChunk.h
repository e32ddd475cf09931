#pragma once

#include <QByteArray>

#include <cstdint>

/// The facts of a track as the host gets them, twice in a run: with these defaults before any audio is read,
/// and with the results at the end.
class TrackDataChunk {
public:
    TrackDataChunk(double rate, std::uint64_t lengthInFrames, float trackLoudness = 0.5f,
                   std::int32_t keyNumber = -1);
    virtual ~TrackDataChunk() = default;
    TrackDataChunk(const TrackDataChunk&) = delete;
    TrackDataChunk& operator=(const TrackDataChunk&) = delete;

    /// 28 bytes, big-endian: double rate, int64 frames, double loudness, int32 key.
    [[nodiscard]] virtual QByteArray serialize() const;

    double sampleRate;     ///< Frames per second.
    std::uint64_t length;  ///< Frames.
    float loudness;        ///< Linear; 1.0 is the RMS of a full-scale square wave.
    std::int32_t key;      ///< 0 to 23 round the circle of fifths, -1 for none.
};
