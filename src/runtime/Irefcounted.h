#pragma once

#include <cstdint>

namespace ebo {

class WeakRecord;

/// What every shared object can do with its own reference count. Any thread may call any operation.
///
/// Callers use refptr and weakptr; the operations are for those two and for the collector.
class Irefcounted {
public:
    virtual ~Irefcounted() = default;

    /// Adds one to the count.
    virtual void ref() = 0;

    /// Takes one from the count and, if it was the last, destroys the object at once on the calling thread.
    virtual void unref() = 0;

    /// Adds one to the count; returns the old value.
    virtual std::uint32_t incrementCount() = 0;

    /// Takes one from the count; returns the old value. Does nothing else, also at 1.
    virtual std::uint32_t decrementCount() = 0;

    /// The object's weak record with one hold added for the caller, or null if it has none.
    virtual WeakRecord* weakRecord() = 0;

    /// Takes one from the count unless it is 1. Returns false, with the count unchanged, if the caller's
    /// own count is the only one; that count then has to be handed on to the collector, so that the object
    /// is never seen at 0 by anybody but the one who destroys it.
    virtual bool dropUnlessLast() = 0;
};

}  // namespace ebo
