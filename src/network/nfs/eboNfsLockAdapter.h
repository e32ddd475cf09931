#pragma once

#include "file/eboFileLock.h"

class eboNfsLock;

/// The claim of one adapter on a file of another device; a member of its eboNfsLock, which owns it. Any
/// thread.
class eboNfsLockAdapter {
public:
    explicit eboNfsLockAdapter(eboNfsLock& lock) : lock_(lock) {}
    virtual ~eboNfsLockAdapter() = default;
    eboNfsLockAdapter(const eboNfsLockAdapter&) = delete;
    eboNfsLockAdapter& operator=(const eboNfsLockAdapter&) = delete;

    /// Asks for a level, higher or lower than the present one. May wait for the device, for seconds.
    virtual eboFileLock::LockResult request(eboFileLock::Level level);

    [[nodiscard]] eboFileLock::Level level() const;

private:
    friend class eboNfsLock;

    eboNfsLock& lock_;
    eboFileLock::Level level_ = eboFileLock::Unlocked;  // guarded by the group's mutex
};
