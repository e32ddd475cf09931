#include "runtime/refcounted.h"

#include "runtime/WeakRecord.h"

#include <cassert>

namespace ebo {

refcounted::refcounted() : record_(new WeakRecord(this)) {}

refcounted::~refcounted()
{
    assert(referenceCount() == 0 &&
           "destroyed while referenced, or a refptr to this was made in the destructor");
    record_->detach();
    record_->letGo();
}

void refcounted::ref() { count_.fetch_add(1); }

void refcounted::unref()
{
    if (record_->retire(*this))
        delete this;
}

std::uint32_t refcounted::incrementCount() { return count_.fetch_add(1); }

std::uint32_t refcounted::decrementCount() { return count_.fetch_sub(1); }

WeakRecord* refcounted::weakRecord()
{
    record_->hold();
    return record_;
}

bool refcounted::dropUnlessLast()
{
    std::uint32_t seen = count_.load();
    while (seen != 1) {
        if (count_.compare_exchange_weak(seen, seen - 1))
            return true;
    }
    return false;
}

void refcounted::onAcquired() noexcept { record_->revive(); }

void refcounted::onLastDropped() noexcept
{
    record_->fade();
    // A weak reference may have been promoted between the look at the count and the fading. Its holder
    // either counts already, which is seen here, or will revive the record after this line.
    if (referenceCount() != 1)
        record_->revive();
}

}  // namespace ebo
