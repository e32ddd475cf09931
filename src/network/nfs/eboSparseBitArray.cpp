#include "network/nfs/eboSparseBitArray.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

namespace {

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();

/// The range of a map's entry that holds the number, or the end.
template <typename Ranges>
auto rangeWith(Ranges& ranges, std::uint64_t bit)
{
    auto entry = ranges.upper_bound(bit);
    if (entry == ranges.begin())
        return ranges.end();
    --entry;
    return entry->second >= bit ? entry : ranges.end();
}

}  // namespace

eboSparseBitArray& eboSparseBitArray::operator=(const eboSparseBitArray& other)
{
    Ranges copy = other.snapshot();
    const std::lock_guard guard(mutex_);
    ranges_.swap(copy);
    return *this;
}

eboSparseBitArray::Ranges eboSparseBitArray::snapshot() const
{
    const std::lock_guard guard(mutex_);
    return ranges_;
}

void eboSparseBitArray::add(Ranges& ranges, Range range)
{
    if (range.last < range.first)
        return;
    // Whatever overlaps or touches becomes part of the new range.
    const auto before = rangeWith(ranges, range.first == 0 ? 0 : range.first - 1);
    auto entry = before != ranges.end() ? before : ranges.lower_bound(range.first);
    const std::uint64_t reach = range.last == kLargest ? kLargest : range.last + 1;
    while (entry != ranges.end() && entry->first <= reach) {
        range.first = std::min(range.first, entry->first);
        range.last = std::max(range.last, entry->second);
        entry = ranges.erase(entry);
    }
    ranges.emplace_hint(entry, range.first, range.last);
}

void eboSparseBitArray::cut(Ranges& ranges, Range range)
{
    if (range.last < range.first)
        return;
    const auto atStart = rangeWith(ranges, range.first);
    auto entry = atStart != ranges.end() ? atStart : ranges.lower_bound(range.first);
    while (entry != ranges.end() && entry->first <= range.last) {
        const Range whole{entry->first, entry->second};
        entry = ranges.erase(entry);
        if (whole.first < range.first)
            ranges.emplace_hint(entry, whole.first, range.first - 1);
        if (whole.last > range.last)
            entry = ranges.emplace_hint(entry, range.last + 1, whole.last);
    }
}

void eboSparseBitArray::set(Range range)
{
    const std::lock_guard guard(mutex_);
    add(ranges_, range);
}

void eboSparseBitArray::set(const eboSparseBitArray& other)
{
    const Ranges added = other.snapshot();
    const std::lock_guard guard(mutex_);
    for (const auto& [first, last] : added)
        add(ranges_, {first, last});
}

void eboSparseBitArray::remove(Range range)
{
    const std::lock_guard guard(mutex_);
    cut(ranges_, range);
}

void eboSparseBitArray::remove(const eboSparseBitArray& other)
{
    const Ranges removed = other.snapshot();
    const std::lock_guard guard(mutex_);
    for (const auto& [first, last] : removed)
        cut(ranges_, {first, last});
}

void eboSparseBitArray::clear()
{
    const std::lock_guard guard(mutex_);
    ranges_.clear();
}

std::optional<std::uint64_t> eboSparseBitArray::takeFirst()
{
    const std::lock_guard guard(mutex_);
    if (ranges_.empty())
        return std::nullopt;
    const std::uint64_t lowest = ranges_.begin()->first;
    auto range = ranges_.extract(ranges_.begin());
    if (range.mapped() > lowest) {
        range.key() = lowest + 1;
        ranges_.insert(ranges_.begin(), std::move(range));
    }
    return lowest;
}

bool eboSparseBitArray::contains(std::uint64_t bit) const
{
    const std::lock_guard guard(mutex_);
    return rangeWith(ranges_, bit) != ranges_.end();
}

bool eboSparseBitArray::isEmpty() const
{
    const std::lock_guard guard(mutex_);
    return ranges_.empty();
}

std::vector<eboSparseBitArray::Range> eboSparseBitArray::ranges() const
{
    const std::lock_guard guard(mutex_);
    std::vector<Range> result;
    result.reserve(ranges_.size());
    for (const auto& [first, last] : ranges_)
        result.push_back({first, last});
    return result;
}

std::size_t eboSparseBitArray::rangeCount() const
{
    const std::lock_guard guard(mutex_);
    return ranges_.size();
}

std::uint64_t eboSparseBitArray::count() const
{
    const std::lock_guard guard(mutex_);
    std::uint64_t result = 0;
    for (const auto& [first, last] : ranges_) {
        const std::uint64_t beyondFirst = last - first;
        if (beyondFirst == kLargest)
            return kLargest;
        result += beyondFirst + 1;
    }
    return result;
}

bool eboSparseBitArray::operator==(const eboSparseBitArray& other) const
{
    if (this == &other)
        return true;
    const std::scoped_lock guard(mutex_, other.mutex_);
    return ranges_ == other.ranges_;
}
