#include "network/nfs/eboNfsLockAdapter.h"

#include "network/nfs/eboNfsLock.h"

eboFileLock::LockResult eboNfsLockAdapter::request(eboFileLock::Level level)
{
    return lock_.lock(*this, level);
}

eboFileLock::Level eboNfsLockAdapter::level() const { return lock_.levelOf(*this); }
