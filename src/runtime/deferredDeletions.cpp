#include "runtime/deferredDeletions.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>

#include <utility>

namespace ebo {
namespace {

/// Counts the deferred deletions that pass through the application.
class DeletionCounter : public QObject {
public:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        if (event->type() == QEvent::DeferredDelete)
            ++count_;
        return false;
    }

    [[nodiscard]] int take() { return std::exchange(count_, 0); }

private:
    int count_ = 0;
};

}  // namespace

void deliverDeferredDeletions()
{
    QCoreApplication* application = QCoreApplication::instance();
    if (application == nullptr || application->thread() != QThread::currentThread())
        return;
    // One pass delivers only what was posted before it began, and an object that goes may well have others
    // deleted later.
    DeletionCounter counter;
    application->installEventFilter(&counter);
    do
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    while (counter.take() > 0);
}

}  // namespace ebo
