#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

class eboFileMasterLock;

/// The claim that one file object has on its file. All claims on one path form a group under an
/// eboFileMasterLock, which decides what may be granted. Made by eboFileMasterLock::createLock. Any thread.
class eboFileLock {
public:
    /// How strong the claim is.
    enum Level : std::int32_t {
        Unlocked = 0,   ///< No claim.
        Shared = 1,     ///< Reading.
        Reserved = 2,   ///< About to write; readers may stay.
        Exclusive = 3,  ///< Writing; nobody else has a claim.
    };

    enum LockResult : std::int32_t {
        FAILED = -1,  ///< The lock cannot work: its group has gone, or a release would have raised the level.
        BUSY = 0,     ///< Another claim of the group stands against it; ask again later.
        SUCCESS = 1,
    };

    explicit eboFileLock(std::weak_ptr<eboFileMasterLock> master);
    virtual ~eboFileLock() = default;
    eboFileLock(const eboFileLock&) = delete;
    eboFileLock& operator=(const eboFileLock&) = delete;

    /// Asks for a level, higher or lower than the present one. Does not wait.
    virtual LockResult request(Level newLevel);

    /// The level held; Unlocked once the group has gone, from the moment on in which requests fail.
    [[nodiscard]] Level level() const noexcept { return master_.expired() ? Unlocked : level_.load(); }

    /// The group that this lock belongs to, or null once that has gone.
    [[nodiscard]] std::shared_ptr<eboFileMasterLock> master() const { return master_.lock(); }

private:
    friend class eboFileMasterLock;

    const std::weak_ptr<eboFileMasterLock> master_;
    std::atomic<Level> level_{Unlocked};  ///< Written under the group's mutex only.
};
