#pragma once

#include <QMetaType>

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

/// A set of 64-bit numbers, kept as ranges: the blocks of a file that somebody wants, has or has lost. What
/// it costs depends on how many ranges there are, never on how long they are, and adding or removing one
/// takes time in the logarithm of their number, however a peer may have scattered them.
///
/// Any thread may call any operation; each has the set to itself while it runs. Operations with another set
/// look at it as it was at one moment.
class eboSparseBitArray {
public:
    /// The numbers from `first` to `last`, both included. One whose `last` is below its `first` is empty.
    struct Range {
        std::uint64_t first;
        std::uint64_t last;
        bool operator==(const Range&) const = default;
    };

    eboSparseBitArray() = default;
    eboSparseBitArray(const eboSparseBitArray& other) : ranges_(other.snapshot()) {}
    eboSparseBitArray& operator=(const eboSparseBitArray& other);
    ~eboSparseBitArray() = default;

    void set(std::uint64_t bit) { set(Range{bit, bit}); }
    void set(Range range);
    void set(const eboSparseBitArray& other);
    void remove(Range range);
    void remove(const eboSparseBitArray& other);
    void clear();

    /// Removes the lowest number; nothing from an empty set.
    std::optional<std::uint64_t> takeFirst();

    [[nodiscard]] bool contains(std::uint64_t bit) const;
    [[nodiscard]] bool isEmpty() const;

    /// The ranges in order. Between two of them at least one number is missing.
    [[nodiscard]] std::vector<Range> ranges() const;
    [[nodiscard]] std::size_t rangeCount() const;

    /// How many numbers there are; the one count that does not fit, that of all of them, reads one less.
    [[nodiscard]] std::uint64_t count() const;

    bool operator==(const eboSparseBitArray& other) const;

private:
    using Ranges = std::map<std::uint64_t, std::uint64_t>;  // first to last; neighbours never touch

    [[nodiscard]] Ranges snapshot() const;
    static void add(Ranges& ranges, Range range);
    static void cut(Ranges& ranges, Range range);

    mutable std::mutex mutex_;
    Ranges ranges_;  // guarded by mutex_
};

Q_DECLARE_METATYPE(eboSparseBitArray)
