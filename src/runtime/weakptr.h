#pragma once

#include "runtime/WeakRecord.h"
#include "runtime/refptr.h"

#include <utility>

namespace ebo {

/// A reference that does not keep its object alive. It can be looked through only by promotion to a refptr,
/// which gives null from the moment the last refptr to the object was dropped.
///
/// Distinct weakptrs to one object may be used on different threads at once; one weakptr may not.
template <typename T>
class weakptr {
public:
    weakptr() noexcept = default;
    explicit weakptr(T* object) : record_(object != nullptr ? object->weakRecord() : nullptr), object_(object)
    {}
    weakptr(const refptr<T>& strong) : weakptr(strong.get()) {}

    weakptr(const weakptr& other) noexcept : record_(other.record_), object_(other.object_)
    {
        if (record_ != nullptr)
            record_->hold();
    }
    weakptr(weakptr&& other) noexcept
        : record_(std::exchange(other.record_, nullptr)), object_(std::exchange(other.object_, nullptr))
    {}
    weakptr& operator=(weakptr other) noexcept
    {
        std::swap(record_, other.record_);
        std::swap(object_, other.object_);
        return *this;
    }
    ~weakptr()
    {
        if (record_ != nullptr)
            record_->letGo();
    }

    /// Whether a promotion at this moment would have succeeded.
    [[nodiscard]] bool isValid() const noexcept { return record_ != nullptr && record_->isAlive(); }

    /// A strong reference, or null if the object's last one has been dropped.
    [[nodiscard]] refptr<T> promote() const
    {
        if (record_ == nullptr || !record_->promote())
            return nullptr;
        return refptr<T>::adopt(object_);
    }

private:
    WeakRecord* record_ = nullptr;
    T* object_ = nullptr;
};

}  // namespace ebo
