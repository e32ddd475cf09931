#include "network/nfs/eboNfsLock.h"

#include <algorithm>
#include <utility>

eboNfsLock::eboNfsLock(Ask ask) : ask_(std::move(ask)) {}

eboNfsLock::~eboNfsLock() = default;

eboNfsLockAdapter* eboNfsLock::createAdapter()
{
    auto adapter = std::make_unique<eboNfsLockAdapter>(*this);
    const std::lock_guard guard(mutex_);
    return adapters_.emplace_back(std::move(adapter)).get();
}

void eboNfsLock::leave(const eboNfsLockAdapter* adapter)
{
    const std::lock_guard guard(mutex_);
    adapters_.remove_if([adapter](const auto& member) { return member.get() == adapter; });
}

eboFileLock::Level eboNfsLock::levelOf(const eboNfsLockAdapter& adapter) const
{
    const std::lock_guard guard(mutex_);
    return adapter.level_;
}

eboFileLock::Level eboNfsLock::highestOfOthers(const eboNfsLockAdapter& adapter) const
{
    const std::lock_guard guard(mutex_);
    return highest(&adapter, Outlook::kRefused);
}

eboFileLock::Level eboNfsLock::highest(const eboNfsLockAdapter* except, Outlook outlook) const
{
    Level result = eboFileLock::Unlocked;
    for (const auto& member : adapters_) {
        if (member.get() == except)
            continue;
        const bool willChange = member.get() == asking_ && outlook == Outlook::kGranted;
        result = std::max(result, willChange ? hoped_ : member->level_);
    }
    return result;
}

eboFileLock::LockResult eboNfsLock::lock(eboNfsLockAdapter& adapter, Level level)
{
    return settle(adapter, level, &eboNfsLock::onRequest);
}

eboFileLock::LockResult eboNfsLock::reduce(eboNfsLockAdapter& adapter, Level level)
{
    return settle(adapter, level, &eboNfsLock::onReduction);
}

eboNfsLock::Decision eboNfsLock::onRequest(const eboNfsLockAdapter& adapter, Level level,
                                           Outlook outlook) const
{
    using Kind = Decision::Kind;
    const Decision busy{Kind::kAnswer, eboFileLock::BUSY};
    if (level < eboFileLock::Unlocked || level > eboFileLock::Exclusive)
        return busy;
    if (level == adapter.level_)
        return {Kind::kAnswer, eboFileLock::SUCCESS};
    if (level < adapter.level_)
        return onReduction(adapter, level, outlook);

    const Decision ask{Kind::kAsk, eboFileLock::SUCCESS, level, level};
    switch (highest(&adapter, outlook)) {
    case eboFileLock::Unlocked:
        return ask;
    case eboFileLock::Shared:
        if (level == eboFileLock::Reserved)
            return ask;
        break;
    case eboFileLock::Reserved:
        break;
    case eboFileLock::Exclusive:
        return busy;
    }
    // The device has granted as much to the group already.
    if (level == eboFileLock::Shared)
        return {Kind::kGrant, eboFileLock::SUCCESS, eboFileLock::Unlocked, level};
    return busy;
}

eboNfsLock::Decision eboNfsLock::onReduction(const eboNfsLockAdapter& adapter, Level level,
                                             Outlook outlook) const
{
    using Kind = Decision::Kind;
    if (level > adapter.level_ || level < eboFileLock::Unlocked)
        return {Kind::kAnswer, eboFileLock::FAILED};
    const Level all = highest(nullptr, outlook);
    const Level target = std::max(level, highest(&adapter, outlook));
    if (target == all)
        return {Kind::kGrant, eboFileLock::SUCCESS, eboFileLock::Unlocked, level};
    return {Kind::kAsk, eboFileLock::SUCCESS, target, level};
}

eboFileLock::LockResult eboNfsLock::settle(eboNfsLockAdapter& adapter, Level level, Rule rule)
{
    std::unique_lock lock(mutex_);
    Decision decision = (this->*rule)(adapter, level, Outlook::kRefused);
    while (asking_ != nullptr) {
        // What is the same whatever the device answers needs no waiting, but a second question would.
        if (decision.kind != Decision::Kind::kAsk &&
            decision == (this->*rule)(adapter, level, Outlook::kGranted))
            break;
        answered_.wait(lock);
        decision = (this->*rule)(adapter, level, Outlook::kRefused);
    }
    switch (decision.kind) {
    case Decision::Kind::kAnswer:
        return decision.answer;
    case Decision::Kind::kGrant:
        adapter.level_ = decision.granted;
        return eboFileLock::SUCCESS;
    case Decision::Kind::kAsk:
        break;
    }
    asking_ = &adapter;
    hoped_ = decision.granted;
    lock.unlock();
    const LockResult result = ask_(decision.asked);
    lock.lock();
    asking_ = nullptr;
    if (result == eboFileLock::SUCCESS)
        adapter.level_ = decision.granted;
    answered_.notify_all();
    return result;
}
