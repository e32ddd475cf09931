#include "runtime/WeakRecord.h"

#include "runtime/Irefcounted.h"

namespace ebo {

void WeakRecord::letGo() noexcept
{
    if (holds_.fetch_sub(1) == 1)
        delete this;
}

void WeakRecord::revive() noexcept
{
    std::int32_t dead = 0;
    alive_.compare_exchange_strong(dead, 1);
}

bool WeakRecord::promote()
{
    const std::lock_guard guard(decision_);
    if (!isAlive() || object_ == nullptr)
        return false;
    object_->ref();
    revive();
    return true;
}

bool WeakRecord::retire(Irefcounted& object)
{
    const std::lock_guard guard(decision_);
    if (object.decrementCount() != 1)
        return false;
    fade();
    object_ = nullptr;
    return true;
}

void WeakRecord::detach() noexcept
{
    const std::lock_guard guard(decision_);
    fade();
    object_ = nullptr;
}

}  // namespace ebo
