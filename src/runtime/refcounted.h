#pragma once

#include "runtime/Irefcounted.h"

#include <atomic>
#include <cstdint>

namespace ebo {

/// The one implementation of counting; base of every shared class, behind the Qt base where there is one.
///
/// A new object has a count of 0 and is owned by nobody until the first refptr takes it. A constructor or
/// destructor must not make a refptr to its own object: the reference would reach the collector before the
/// object is whole, or after it has gone (asserted in debug builds, see makeRef).
class refcounted : public virtual Irefcounted {
public:
    refcounted(const refcounted&) = delete;
    refcounted& operator=(const refcounted&) = delete;

    void ref() override;
    void unref() override;
    std::uint32_t incrementCount() override;
    std::uint32_t decrementCount() override;
    WeakRecord* weakRecord() override;
    bool dropUnlessLast() override;

    /// A strong reference was taken: weak references are valid again if they had faded.
    void onAcquired() noexcept;

    /// The caller holds the last reference and is about to hand it on: weak references fade.
    void onLastDropped() noexcept;

    /// The count at this moment, for assertions and tests.
    [[nodiscard]] std::uint32_t referenceCount() const noexcept { return count_.load(); }

protected:
    refcounted();
    ~refcounted() override;

private:
    std::atomic<std::uint32_t> count_{0};
    WeakRecord* record_;
};

}  // namespace ebo
