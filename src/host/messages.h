#pragma once

#include <QString>
#include <QtGlobal>

#include <array>
#include <variant>
#include <vector>

/// What a worker tells its host, one plain type per message. Sample positions count mono frames of the
/// file's own sample rate.
namespace tunesift::host {

/// How much of the run is done, 0 to 1. A worker that sends what is no number means 0.
struct Progress {
    float share = 0.0F;
};

/// A beat that is pinned to a place in the track; the beats up to the next anchor are evenly spaced.
struct Anchor {
    double samplePosition = 0.0;  ///< May be negative.
    qint64 beatNumber = 0;
    quint32 beatsToNext = 0;  ///< 0 in the last anchor.

    bool operator==(const Anchor&) const = default;
};

/// The beats of the track as known so far: a default grid until the tempo has been found.
struct BeatGrid {
    double sampleRate = 0.0;   ///< Hz.
    double sampleCount = 0.0;  ///< Length of the track in frames.
    bool isValid = false;
    std::vector<Anchor> storedAnchors;
    std::vector<Anchor> anchors;
};

/// Facts of the track. Sent twice: at the beginning, with placeholders for loudness and key, and at the end.
struct TrackInfo {
    double sampleRate = 0.0;  ///< Hz.
    qint64 length = 0;        ///< Frames.
    double loudness = 0.0;    ///< Highest short-term RMS, linear.
    int key = -1;             ///< 0 to 23 as in keyName, -1 for none.
};

/// New entries of a picture of the track, to be appended to those received before.
template <std::size_t bytesPerEntry>
struct Wave {
    using Entry = std::array<quint8, bytesPerEntry>;

    qint64 totalEntries = 0;      ///< Of the whole picture.
    double framesPerEntry = 0.0;  ///< Audio frames that one entry stands for.
    std::vector<Entry> entries;
    Entry maximum{};  ///< Highest value of each byte position in the track so far.
};

using OverviewWave = Wave<3>;
using HighResolutionWave = Wave<6>;

/// The run has been handed to its thread. The first message of every run.
struct Started {};

/// The run ended because the host asked for it.
struct Stopped {};

/// The run ended well.
struct Finished {
    double tempo = 0.0;  ///< Beats per minute.
};

/// The run ended badly: the track cannot be opened or read.
struct Error {
    QString text;  ///< Why, if anything is known; see rejectionReason.
};

/// A message of a number that this library does not know; to be ignored.
struct UnknownMessage {
    quint32 id = 0;
};

using Message = std::variant<Progress, BeatGrid, TrackInfo, OverviewWave, HighResolutionWave, Started,
                             Stopped, Finished, Error, UnknownMessage>;

}  // namespace tunesift::host
