#pragma once

#include <QByteArray>
#include <QList>

#include <functional>

/// The start commands that wait until their device is found, in the order in which they came. They wait
/// without a limit. Knows neither network nor time: whoever has it tries again when it is time.
class WaitingStarts {
public:
    /// Begins the run of a start command if its file can be reached by now; says whether it has.
    using Begin = std::function<bool(const QByteArray& payload)>;

    void add(const QByteArray& payload) { waiting_.append(payload); }

    /// Tries one after the other until one has begun, which waits no longer; those behind it are not tried,
    /// since it would be them that end its run.
    /// @return whether one has begun
    bool tryAgain(const Begin& begin);

    [[nodiscard]] int size() const { return waiting_.size(); }

private:
    QList<QByteArray> waiting_;
};
