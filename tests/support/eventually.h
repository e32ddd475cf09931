#pragma once

#include <chrono>
#include <thread>

namespace testsupport {

/// Waits until `condition` holds; false if it still does not after a minute, which only a hang explains.
template <typename Condition>
[[nodiscard]] bool eventually(Condition condition)
{
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > giveUp)
            return false;
        std::this_thread::yield();
    }
    return true;
}

}  // namespace testsupport
