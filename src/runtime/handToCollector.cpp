#include "runtime/handToCollector.h"

#include "runtime/EndAtOnce.h"
#include "runtime/GarbageCollection.h"
#include "runtime/destroyNow.h"

namespace ebo {

void handToCollector(Irefcounted* lastCount)
{
    GarbageCollection* const collector = GarbageCollection::instance();
    if (collector == nullptr)
        destroyNow(lastCount, true);
    else if (EndAtOnce::isOn())
        destroyNow(lastCount, false);
    else
        collector->collect(lastCount);
}

}  // namespace ebo
