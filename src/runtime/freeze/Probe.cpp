#include "runtime/freeze/Probe.h"

namespace eboFreezeDetector {

bool Probe::takeNote(qint64 now)
{
    const int counter = counter_;
    if (lastSeenCounter_.exchange(counter) != counter) {
        lastChange_ = now;
        return false;
    }
    return now - lastChange_ > timeOutMilliseconds_;
}

}  // namespace eboFreezeDetector
