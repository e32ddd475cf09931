#include "file/eboFileMasterLock.h"

#include <algorithm>

namespace {

bool isCompatible(eboFileLock::Level wanted, eboFileLock::Level others)
{
    switch (others) {
    case eboFileLock::Unlocked:
        return true;
    case eboFileLock::Shared:
        return wanted <= eboFileLock::Reserved;
    case eboFileLock::Reserved:
        return wanted == eboFileLock::Shared;
    case eboFileLock::Exclusive:
        break;
    }
    return false;
}

}  // namespace

eboFileMasterLock::~eboFileMasterLock()
{
    for (const auto& lock : locks_)
        lock->level_ = eboFileLock::Unlocked;
}

std::shared_ptr<eboFileLock> eboFileMasterLock::createLock()
{
    auto lock = std::make_shared<eboFileLock>(weak_from_this());
    const std::lock_guard guard(mutex_);
    locks_.push_back(lock);
    return lock;
}

eboFileLock::LockResult eboFileMasterLock::request(eboFileLock& lock, eboFileLock::Level newLevel)
{
    const std::lock_guard guard(mutex_);
    if (newLevel <= lock.level_)
        return lower(lock, newLevel);
    if (!isCompatible(newLevel, highestOfOthers(lock)))
        return eboFileLock::BUSY;
    lock.level_ = newLevel;
    return eboFileLock::SUCCESS;
}

eboFileLock::LockResult eboFileMasterLock::release(eboFileLock& lock, eboFileLock::Level newLevel)
{
    const std::lock_guard guard(mutex_);
    return lower(lock, newLevel);
}

eboFileLock::LockResult eboFileMasterLock::lower(eboFileLock& lock, eboFileLock::Level newLevel)
{
    if (newLevel > lock.level_)
        return eboFileLock::FAILED;
    lock.level_ = newLevel;
    return eboFileLock::SUCCESS;
}

void eboFileMasterLock::leave(const std::shared_ptr<eboFileLock>& lock)
{
    const std::lock_guard guard(mutex_);
    locks_.remove(lock);
}

eboFileLock::Level eboFileMasterLock::highestOfOthers(const eboFileLock& lock) const
{
    eboFileLock::Level highest = eboFileLock::Unlocked;
    for (const auto& other : locks_) {
        if (other.get() != &lock)
            highest = std::max(highest, other->level());
    }
    return highest;
}
