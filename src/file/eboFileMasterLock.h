#pragma once

#include "file/eboFileLock.h"

#include <list>
#include <memory>
#include <mutex>

/// The group of all locks on one path: many readers, beside them at most one who is about to write, and a
/// writer alone. The factory of the files keeps it, so files of two factories do not see each other's locks.
/// Any thread.
class eboFileMasterLock : public std::enable_shared_from_this<eboFileMasterLock> {
public:
    eboFileMasterLock() = default;
    eboFileMasterLock(const eboFileMasterLock&) = delete;
    eboFileMasterLock& operator=(const eboFileMasterLock&) = delete;

    /// Takes the level from every lock of the group: without a group there are no claims.
    ~eboFileMasterLock();

    /// A new member of the group, at Unlocked.
    [[nodiscard]] std::shared_ptr<eboFileLock> createLock();

    /// Moves a member to the given level if the other members allow it; see eboFileLock::request.
    eboFileLock::LockResult request(eboFileLock& lock, eboFileLock::Level newLevel);

    /// Lowers a member's level, which always works; FAILED if the new level were a higher one.
    eboFileLock::LockResult release(eboFileLock& lock, eboFileLock::Level newLevel);

    /// Removes a member, with whatever level it holds.
    void leave(const std::shared_ptr<eboFileLock>& lock);

private:
    static eboFileLock::LockResult lower(eboFileLock& lock, eboFileLock::Level newLevel);
    [[nodiscard]] eboFileLock::Level highestOfOthers(const eboFileLock& lock) const;

    std::mutex mutex_;
    std::list<std::shared_ptr<eboFileLock>> locks_;  ///< This and every member's level: guarded by mutex_.
};
