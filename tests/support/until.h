#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace testsupport {

/// Lets events of the main thread come until the condition holds; false if it does not within a minute and a
/// half, which only a hang explains.
template <typename Condition>
[[nodiscard]] bool until(Condition condition)
{
    constexpr int kHangMilliseconds = 90000;
    QElapsedTimer clock;
    clock.start();
    constexpr int kLookMilliseconds = 1000;  // at the clock, if nothing else happens
    QTimer guard;
    guard.start(kLookMilliseconds);
    while (!condition()) {
        if (clock.hasExpired(kHangMilliseconds))
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

}  // namespace testsupport
