#include "runtime/resourcesLeft.h"

#include <future>
#include <system_error>
#include <thread>
#include <vector>

#include <sys/eventfd.h>
#include <unistd.h>

namespace ebo {

bool descriptorsAreLeft(int count)
{
    std::vector<int> opened;
    while (static_cast<int>(opened.size()) < count) {
        const int descriptor = ::eventfd(0, EFD_CLOEXEC);
        if (descriptor < 0)
            break;
        opened.push_back(descriptor);
    }
    for (const int descriptor : opened)
        ::close(descriptor);
    return static_cast<int>(opened.size()) == count;
}

bool threadsAreLeft(int count)
{
    std::promise<void> allCounted;
    const std::shared_future<void> end = allCounted.get_future().share();
    std::vector<std::thread> threads;
    try {
        while (static_cast<int>(threads.size()) < count)
            threads.emplace_back([end] { end.wait(); });
    } catch (const std::system_error&) {
        // That was one too many.
    }
    allCounted.set_value();
    for (std::thread& thread : threads)
        thread.join();
    return static_cast<int>(threads.size()) == count;
}

}  // namespace ebo
