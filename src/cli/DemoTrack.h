#pragma once

#include <QString>
#include <QTemporaryDir>

namespace tunesift::cli {

/// Half a minute of made house music in a temporary folder, which goes with this object.
class DemoTrack {
public:
    DemoTrack();

    /// Whether the file could be written.
    [[nodiscard]] bool isGood() const noexcept { return good_; }

    [[nodiscard]] QString path() const;

    /// One line that says what is in it, to hold against what is found.
    [[nodiscard]] static QString description();

private:
    QTemporaryDir folder_;
    bool good_;
};

}  // namespace tunesift::cli
