#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>

namespace tunesift::host {

/// Why a track has no results.
enum class ErrorKind {
    kCannotListen,  ///< No port for the worker to connect to.
    kCannotStart,   ///< The worker's executable cannot be run.
    kNeverConnected,
    kWorkerExited,    ///< By itself, with a status.
    kWorkerCrashed,   ///< By a signal.
    kConnectionLost,  ///< The worker closed the connection and went on running.
    kSilent,          ///< Connected and running, but not a word any more.
    kUnreachable,     ///< The same for a track on another device: it is not found, or does not answer.
    kTimedOut,        ///< The track took longer than it may.
    kOutOfMemory,     ///< The worker died for want of memory.
    kBadMessage,      ///< The worker sent what the protocol does not allow.
    kRejected,        ///< The worker says that the track cannot be opened or read.
    kUnreadable,      ///< The same, because the file, its disk or the link to it failed.
    kTooShort,        ///< The same, because there is next to no sound.
    kTooLong,         ///< The same, because there is more than can be analysed.
    kStopped,         ///< The run ended at the host's own wish.
};

/// A short word for the kind, for programs to look at: "cannot-start" and so on.
[[nodiscard]] QString kindName(ErrorKind kind);

struct TrackError {
    ErrorKind kind = ErrorKind::kRejected;
    QString text;  ///< For people: one line, without the track's name.
};

/// What is known of a track after its run. A result that does not exist is empty: all of the musical ones
/// after a failure, the key of a track without one, the tempo of a worker that sent no number.
struct TrackResult {
    QString path;
    std::optional<TrackError> error;  ///< Empty after a run that ended well.

    std::optional<double> sampleRate;     ///< Hz.
    std::optional<qint64> frames;         ///< Length, as the file announces it.
    std::optional<qint64> decodedFrames;  ///< What there was to decode, to within one block.
    std::optional<double> seconds;        ///< Length.
    std::optional<double> tempo;          ///< Beats per minute.
    std::optional<double> firstDownbeat;  ///< Seconds from the start of the track to beat 0 of the grid.
    std::optional<double> firstDownbeatFrames;
    std::optional<qint64> beats;     ///< Beats of the grid that lie inside the track.
    std::optional<double> loudness;  ///< Highest short-term RMS, linear.
    std::optional<int> key;          ///< Key number as in keyName.

    double wallSeconds = 0.0;  ///< From the request to the end of the run, a worker's launch included.
    std::optional<double> cpuSeconds;  ///< Processor time of the worker since the end of the run before.

    [[nodiscard]] bool succeeded() const noexcept { return !error.has_value(); }

    /// Whether the file ended more than a block before its announced length.
    [[nodiscard]] bool endedEarly() const noexcept;
};

}  // namespace tunesift::host
