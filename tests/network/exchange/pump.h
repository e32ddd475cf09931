#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QTimer>

namespace exchangetest {

/// Lets the main thread's events happen until `condition` holds; false if it still does not after a minute,
/// which only a hang explains.
template <typename Condition>
[[nodiscard]] bool pumpUntil(Condition condition)
{
    constexpr int kMinuteMilliseconds = 60000;
    const QDeadlineTimer giveUp(kMinuteMilliseconds);
    QTimer look;  // conditions may come true without an event of ours
    look.start(1);
    while (!condition()) {
        if (giveUp.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

}  // namespace exchangetest
