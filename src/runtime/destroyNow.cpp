#include "runtime/destroyNow.h"

#include "runtime/HomeThread.h"
#include "runtime/Irefcounted.h"
#include "runtime/WeakRecord.h"

#include <QCoreApplication>
#include <QObject>
#include <QThread>

#include <utility>

namespace ebo {
namespace {

bool isMainThread(const QThread* thread)
{
    const QCoreApplication* application = QCoreApplication::instance();
    return application != nullptr && application->thread() == thread;
}

bool lastCountGoes(Irefcounted& object)
{
    WeakRecord* record = object.weakRecord();
    if (record == nullptr)
        return object.decrementCount() == 1;
    const bool last = record->retire(object);
    record->letGo();
    return last;
}

/// @return false if the object is to be destroyed on the calling thread
bool leaveToItsThread(QObject& object, bool mainThreadDirect)
{
    const auto held = HomeThread::hold();
    const QThread* home = object.thread();
    const bool elsewhere = home != nullptr && home != QThread::currentThread() && home->isRunning();
    if (!elsewhere || (mainThreadDirect && isMainThread(home)))
        return false;
    object.deleteLater();
    return true;
}

}  // namespace

bool destroyNow(Irefcounted*& slot, bool mainThreadDirect)
{
    Irefcounted* object = std::exchange(slot, nullptr);
    if (object == nullptr || !lastCountGoes(*object))
        return false;
    if (auto* qtObject = dynamic_cast<QObject*>(object);
        qtObject && leaveToItsThread(*qtObject, mainThreadDirect))
        return true;
    delete object;
    return true;
}

}  // namespace ebo
