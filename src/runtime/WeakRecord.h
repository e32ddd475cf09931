#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

namespace ebo {

class Irefcounted;

/// The small record through which weak references look at an object; it can outlive the object.
///
/// The object itself is the first holder. The record is freed when its last holder lets go. Whether an
/// object may still be promoted to a strong reference or is being destroyed is decided here, under the
/// record's mutex; everything else is atomic. Any thread may call any operation.
class WeakRecord {
public:
    explicit WeakRecord(Irefcounted* object) noexcept : object_(object) {}
    WeakRecord(const WeakRecord&) = delete;
    WeakRecord& operator=(const WeakRecord&) = delete;

    /// Adds a holder.
    void hold() noexcept { holds_.fetch_add(1); }

    /// Takes a holder away; the last one frees the record.
    void letGo() noexcept;

    /// True until the last strong reference to the object is dropped.
    [[nodiscard]] bool isAlive() const noexcept { return alive_.load() != 0; }

    /// Turns weak references to the object invalid.
    void fade() noexcept { alive_.store(0); }

    /// Turns weak references to the object valid again, after a new strong reference to it was taken.
    void revive() noexcept;

    /// Takes a strong reference for the caller. Returns false, with nothing taken, once the last reference
    /// has been dropped or the object is being destroyed.
    [[nodiscard]] bool promote();

    /// Takes one from the count of `object`, whose record this is. If it was the last, no weak reference
    /// can be promoted from then on, and the caller must destroy the object; returns whether that is so.
    [[nodiscard]] bool retire(Irefcounted& object);

    /// The object is gone or about to go, by whatever road: weak references find nothing from now on.
    void detach() noexcept;

private:
    ~WeakRecord() = default;

    std::atomic<std::int32_t> holds_{1};
    std::atomic<std::int32_t> alive_{1};
    std::mutex decision_;  ///< Promotion against destruction.
    Irefcounted* object_;  ///< Guarded by decision_; null once the object is being destroyed.
};

}  // namespace ebo
