#pragma once

#include <QString>

namespace tunesift::cli {

/// A bar on standard error that shows how far the current track is; nothing at all if standard error is no
/// terminal.
class ProgressBar {
public:
    ProgressBar();
    ~ProgressBar() { clear(); }
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Begins the bar of a track at nothing.
    void begin(const QString& path);

    /// @param share  0 to 1
    void show(double share);

    /// Leaves the line empty for other output.
    void clear();

private:
    const bool isOnTerminal_;
    QString name_;
    int percentShown_ = -1;  ///< -1 while no bar is there.
};

}  // namespace tunesift::cli
