#pragma once

#include <QString>

#include <chrono>

namespace tunesift::host {

/// A worker has little to do before it connects; ten seconds allow for a cold disk and a busy machine.
inline constexpr std::chrono::milliseconds kConnectTimeout{10000};

/// A running worker speaks after every block of the track, several times a second. The longest pause, the
/// opening of a large file on slow storage or the search for the tempo of hours of music, takes seconds.
inline constexpr std::chrono::milliseconds kSilenceTimeout{60000};

/// A worker that was told to quit ends with its event loop, at once; if it has not by then it is killed.
inline constexpr std::chrono::milliseconds kQuitTimeout{2000};

struct WorkerSettings {
    QString program;  ///< Path of the worker's executable.
    std::chrono::milliseconds connectTimeout = kConnectTimeout;
    std::chrono::milliseconds silenceTimeout = kSilenceTimeout;
    std::chrono::milliseconds quitTimeout = kQuitTimeout;
};

}  // namespace tunesift::host
