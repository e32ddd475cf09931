#pragma once

#include "runtime/handToCollector.h"
#include "runtime/refcounted.h"

#include <cassert>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace ebo {

/// A pointer to From goes where a pointer to To is wanted.
template <typename From, typename To>
concept PointsLike = std::is_convertible_v<From*, To*>;

/// Shared ownership of a counted object: one pointer wide, null by default. Distinct refptrs to one object
/// may be used on different threads at once; one refptr may not.
///
/// The object whose last refptr goes is not destroyed there: it goes to the collector (GarbageCollection).
template <typename T>
class refptr {
public:
    using element_type = T;

    constexpr refptr() noexcept = default;
    constexpr refptr(std::nullptr_t) noexcept {}

    explicit refptr(T* object) : object_(object) { acquire(); }

    refptr(const refptr& other) : refptr(other.object_) {}
    refptr(refptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}

    template <PointsLike<T> U>
    refptr(const refptr<U>& other) : refptr(static_cast<T*>(other.get()))
    {}

    template <PointsLike<T> U>
    refptr(refptr<U>&& other) noexcept : object_(other.detach())
    {}

    refptr& operator=(refptr other) noexcept
    {
        swap(other);
        return *this;
    }

    ~refptr() { release(); }

    /// A reference that takes over a count which the caller holds already.
    static refptr adopt(T* counted) noexcept
    {
        refptr result;
        result.object_ = counted;
        return result;
    }

    /// Gives up ownership without touching the count; the caller now holds it.
    [[nodiscard]] T* detach() noexcept { return std::exchange(object_, nullptr); }

    void reset() noexcept { refptr().swap(*this); }
    void swap(refptr& other) noexcept { std::swap(object_, other.object_); }

    [[nodiscard]] T* get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    template <typename U>
    bool operator==(const refptr<U>& other) const noexcept
    {
        return object_ == other.get();
    }
    bool operator==(std::nullptr_t) const noexcept { return object_ == nullptr; }

private:
    // Holders that see only the counting interface cannot reach the weak record; they count and no more.
    static constexpr bool seesRecord() { return std::is_convertible_v<T*, refcounted*>; }

    void acquire()
    {
        if (object_ == nullptr)
            return;
        object_->ref();
        if constexpr (seesRecord())
            object_->onAcquired();
    }

    void release()
    {
        T* object = std::exchange(object_, nullptr);
        if (object == nullptr || object->dropUnlessLast())
            return;
        if constexpr (seesRecord())
            object->onLastDropped();
        handToCollector(object);
    }

    T* object_ = nullptr;
};

/// Makes a counted object and takes the first reference to it.
template <typename T, typename... Arguments>
[[nodiscard]] refptr<T> makeRef(Arguments&&... arguments)
{
    T* object = new T(std::forward<Arguments>(arguments)...);
    assert(object->referenceCount() == 0 && "a refptr to this was made in the constructor");
    return refptr<T>(object);
}

/// The same object seen as a U, or null if it is none.
template <typename U, typename T>
[[nodiscard]] refptr<U> dynamicCast(const refptr<T>& reference)
{
    return refptr<U>(dynamic_cast<U*>(reference.get()));
}

}  // namespace ebo
