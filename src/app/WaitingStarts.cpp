#include "app/WaitingStarts.h"

#include <algorithm>

bool WaitingStarts::tryAgain(const Begin& begin)
{
    const auto found = std::find_if(waiting_.cbegin(), waiting_.cend(), begin);
    if (found == waiting_.cend())
        return false;
    waiting_.removeAt(static_cast<int>(found - waiting_.cbegin()));
    return true;
}
