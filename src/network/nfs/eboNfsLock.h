#pragma once

#include "file/eboFileLock.h"
#include "network/nfs/eboNfsLockAdapter.h"
#include "runtime/refcounted.h"

#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

/// The locks of all adapters of one file of another device. To that device they are one client, which holds
/// the highest of their levels; it is asked only when that changes, and the rest is settled here by the rules
/// of eboFileMasterLock.
///
/// Any thread. One question at a time is put to the device, without the mutex held: meanwhile requests whose
/// outcome does not depend on the answer are settled at once, and the others wait for it.
class eboNfsLock : public ebo::refcounted {
public:
    using Level = eboFileLock::Level;
    using LockResult = eboFileLock::LockResult;

    /// Asks the device for a level of the whole group, and waits for its answer.
    using Ask = std::function<LockResult(Level)>;

    explicit eboNfsLock(Ask ask);
    ~eboNfsLock() override;

    /// A new member of the group, at level 0. It belongs to the group until it leaves.
    [[nodiscard]] eboNfsLockAdapter* createAdapter();

    /// Ends a member, with whatever level it holds. None of its requests may be under way.
    void leave(const eboNfsLockAdapter* adapter);

    /// Moves a member to a level, up or down. A level that is none is never to be had: BUSY.
    LockResult lock(eboNfsLockAdapter& adapter, Level level);

    /// Lowers a member's level; FAILED if the level is a higher one.
    LockResult reduce(eboNfsLockAdapter& adapter, Level level);

    [[nodiscard]] Level levelOf(const eboNfsLockAdapter& adapter) const;

    /// The highest level that other members hold.
    [[nodiscard]] Level highestOfOthers(const eboNfsLockAdapter& adapter) const;

private:
    /// What is to be done about a request.
    struct Decision {
        enum class Kind { kAnswer, kGrant, kAsk } kind = Kind::kAnswer;
        LockResult answer = eboFileLock::SUCCESS;  ///< kAnswer: without any change.
        Level asked = eboFileLock::Unlocked;       ///< kAsk: what the device is asked for.
        Level granted = eboFileLock::Unlocked;     ///< kGrant, kAsk: the member's level if that works.
        bool operator==(const Decision&) const = default;
    };

    /// How a question under way is taken to end.
    enum class Outlook { kRefused, kGranted };

    using Rule = Decision (eboNfsLock::*)(const eboNfsLockAdapter&, Level, Outlook) const;

    LockResult settle(eboNfsLockAdapter& adapter, Level level, Rule rule);
    [[nodiscard]] Decision onRequest(const eboNfsLockAdapter& adapter, Level level, Outlook outlook) const;
    [[nodiscard]] Decision onReduction(const eboNfsLockAdapter& adapter, Level level, Outlook outlook) const;
    [[nodiscard]] Level highest(const eboNfsLockAdapter* except, Outlook outlook) const;

    const Ask ask_;
    mutable std::mutex mutex_;
    std::condition_variable answered_;
    // All of what follows, and the level of every member, is guarded by mutex_.
    std::list<std::unique_ptr<eboNfsLockAdapter>> adapters_;
    const eboNfsLockAdapter* asking_ = nullptr;  // whose question is under way
    Level hoped_ = eboFileLock::Unlocked;        // what it will hold if the answer is a good one
};
