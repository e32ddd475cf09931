#include "host/processCpuSeconds.h"

#include <ctime>
#include <sys/types.h>

namespace tunesift::host {

std::optional<double> processCpuSeconds(qint64 processId)
{
    constexpr double kNanosecond = 1e-9;
    clockid_t clock{};
    timespec used{};
    // Process 0 would mean the caller.
    if (processId <= 0 || clock_getcpuclockid(static_cast<pid_t>(processId), &clock) != 0 ||
        clock_gettime(clock, &used) != 0)
        return {};
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * kNanosecond;
}

}  // namespace tunesift::host
