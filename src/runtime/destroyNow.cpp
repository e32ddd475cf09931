#include "runtime/GarbageCollection.h"
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

}  // namespace

bool destroyNow(Irefcounted*& slot, bool mainThreadDirect)
{
    Irefcounted* object = std::exchange(slot, nullptr);
    if (object == nullptr || !lastCountGoes(*object))
        return false;

    if (auto* qtObject = dynamic_cast<QObject*>(object)) {
        QThread* home = qtObject->thread();
        const bool elsewhere = home != nullptr && home != QThread::currentThread() && home->isRunning();
        if (elsewhere && !(mainThreadDirect && isMainThread(home))) {
            qtObject->deleteLater();
            return true;
        }
    }
    delete object;
    return true;
}

void handToCollector(Irefcounted* lastCount)
{
    if (GarbageCollection* collector = GarbageCollection::instance())
        collector->collect(lastCount);
    else
        destroyNow(lastCount, true);
}

}  // namespace ebo
