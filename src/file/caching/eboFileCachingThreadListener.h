#pragma once

#include "runtime/refcounted.h"

/// Hears how the copy of a file is getting on.
class eboFileCachingThreadListener : public virtual ebo::refcounted {
public:
    /// A new state, an eboFileCachingThread::State. Called on the caching thread, or on the one that made it,
    /// with the thread's lock held: what is done here is short and does not take that lock.
    virtual void onCacheStateChanged(int state) = 0;
};
