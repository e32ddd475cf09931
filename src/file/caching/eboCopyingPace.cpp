#include "file/caching/eboCopyingPace.h"

#include <algorithm>

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kSlowReading{26};
constexpr int kRestPerReading = 10;
constexpr milliseconds kLongestRest{1000};

}  // namespace

milliseconds eboCopyingPace::restAfter(milliseconds reading)
{
    // Readings beyond the longest rest are cut first: ten times as much must not overflow.
    return reading < kSlowReading ? milliseconds{0}
                                  : std::min(kRestPerReading * std::min(reading, kLongestRest), kLongestRest);
}
