#pragma once

#include <QString>
#include <QtGlobal>

#include <chrono>

namespace tunesift::host {

/// A worker has little to do before it connects; ten seconds allow for a cold disk and a busy machine.
inline constexpr std::chrono::milliseconds kConnectTimeout{10000};

/// A running worker speaks after every block of the track, several times a second. The longest pause, the
/// search for the tempo of hours of music, takes seconds. While it opens a track, only that track's own time
/// counts: large files on slow links take theirs.
inline constexpr std::chrono::milliseconds kSilenceTimeout{60000};

/// A worker that was told to quit ends with its event loop, at once; if it has not by then it is killed.
inline constexpr std::chrono::milliseconds kQuitTimeout{2000};

/// What every track may take. Analyses run at a hundred times real time, but machines are busy and disks
/// slow.
inline constexpr std::chrono::milliseconds kTrackTimeout{120000};

/// Ten times what the longest tracks have been seen to need, libraries included.
inline constexpr qint64 kMemoryLimit = qint64{1} << 30;

struct WorkerSettings {
    QString program;  ///< Path of the worker's executable.
    std::chrono::milliseconds connectTimeout = kConnectTimeout;
    std::chrono::milliseconds silenceTimeout = kSilenceTimeout;
    std::chrono::milliseconds quitTimeout = kQuitTimeout;

    /// For a whole track, from the moment that the worker has it; 0 for kTrackTimeout and the track's own
    /// length on top.
    std::chrono::milliseconds trackTimeout{0};

    /// Bytes of its own that the worker may hold; 0 for as many as there are.
    qint64 memoryLimit = 0;
};

}  // namespace tunesift::host
