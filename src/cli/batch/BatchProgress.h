#pragma once

#include <QElapsedTimer>
#include <QtGlobal>

namespace tunesift::cli {

/// How far a batch has come.
struct BatchCount {
    qint64 total = 0;
    qint64 done = 0;  ///< Failed ones among them.
    qint64 failed = 0;
    double musicSeconds = 0.0;  ///< Length of what has been analysed.
};

/// A line on standard error that tells how far a batch has come, at most ten times a second; nothing at all
/// if standard error is no terminal.
class BatchProgress {
public:
    BatchProgress();
    ~BatchProgress() { clear(); }
    BatchProgress(const BatchProgress&) = delete;
    BatchProgress& operator=(const BatchProgress&) = delete;

    void show(const BatchCount& count);

    /// Leaves the line empty for other output.
    void clear();

    /// Seconds since the beginning.
    [[nodiscard]] double elapsed() const;

private:
    const bool isOnTerminal_;
    bool isShown_ = false;
    QElapsedTimer clock_;
    qint64 nextAt_ = 0;  ///< Milliseconds on the clock.
};

}  // namespace tunesift::cli
