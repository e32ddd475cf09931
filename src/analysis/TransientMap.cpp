#include "analysis/TransientMap.h"

#include <algorithm>

namespace {

bool standsBefore(std::uint64_t position, const TransientMap::Entry& entry)
{
    return position < entry.position;
}

}  // namespace

void TransientMap::insert(std::uint64_t position, const TransientEvent& event)
{
    if (entries_.empty() || entries_.back().position <= position)
        entries_.push_back({position, event});
    else
        entries_.insert(std::upper_bound(entries_.begin(), entries_.end(), position, standsBefore),
                        {position, event});
}

void TransientMap::raiseStrength(const const_iterator& onset, float strength)
{
    const auto entry = entries_.begin() + (onset - entries_.cbegin());
    entry->event.strength = std::max(entry->event.strength, strength);
    const auto endOfEquals =
        std::find_if(entry, entries_.end(),
                     [position = entry->position](const Entry& other) { return other.position != position; });
    std::rotate(entry, entry + 1, endOfEquals);
}
