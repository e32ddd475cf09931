#pragma once

#include "analysis/TransientEvent.h"

#include <cstddef>
#include <cstdint>
#include <deque>

/// All onsets of a track in the order of their positions; those at one position in the order of insertion.
/// Kept flat, 24 bytes to an onset, since a long track has hundreds of thousands, nearly all appended. Not
/// shared between threads.
class TransientMap {
public:
    struct Entry {
        std::uint64_t position;  ///< In samples from the start of the track.
        TransientEvent event;
    };

    using const_iterator = std::deque<Entry>::const_iterator;

    /// Adds an onset behind those that are at or before its position. Iterators become invalid.
    void insert(std::uint64_t position, const TransientEvent& event);

    /// Gives an onset a strength of at least `strength` and moves it behind the others at its position.
    void raiseStrength(const const_iterator& onset, float strength);

    [[nodiscard]] std::size_t size() const { return entries_.size(); }
    [[nodiscard]] bool empty() const { return entries_.empty(); }
    [[nodiscard]] const_iterator begin() const { return entries_.begin(); }
    [[nodiscard]] const_iterator end() const { return entries_.end(); }
    [[nodiscard]] const Entry& front() const { return entries_.front(); }
    [[nodiscard]] const Entry& back() const { return entries_.back(); }

private:
    std::deque<Entry> entries_;
};
