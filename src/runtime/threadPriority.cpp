#include "runtime/threadPriority.h"

#include <QtGlobal>

#include <algorithm>
#include <cerrno>
#include <sched.h>

namespace ebo {
namespace {

constexpr int kHighestBatchLevel = 8;
constexpr int kHighestLevel = 11;

// Above this the threads of the audio engine itself run; analysis must never get in their way.
constexpr int kFifoCeiling = 49;

}  // namespace

Scheduling schedulingFor(int level, int fifoMinimum, int fifoMaximum) noexcept
{
    if (level <= kHighestBatchLevel)
        return {SCHED_BATCH, 0};
    const int top = std::min(kFifoCeiling, fifoMaximum);
    // Levels beyond the highest are all clipped to the top below; clipping first keeps the product small.
    const int scaled = top * std::min(level, kHighestLevel) / kHighestLevel + 1;
    return {SCHED_FIFO, std::max(std::min(scaled, top), fifoMinimum)};
}

Scheduling schedulingFor(int level) noexcept
{
    return schedulingFor(level, sched_get_priority_min(SCHED_FIFO), sched_get_priority_max(SCHED_FIFO));
}

const char* priorityFailureText(int error) noexcept
{
    switch (error) {
    case ESRCH:
        return "No thread with the ID thread could be found.";
    case EINVAL:
        return "policy is not a recognized policy, or param does not make sense for the policy.";
    case EPERM:
        return "The caller does not have appropriate privileges to set the specified scheduling policy and "
               "parameters.";
    case ENOTSUP:
        // Supervisors match on this text as it is, cut beginning included.
        return "tempt was made to set the policy or scheduling parameters to an unsupported value";
    default:
        return "Failed to set thread priority";
    }
}

void setThreadPriority(pthread_t handle, int level)
{
    const Scheduling scheduling = schedulingFor(level);
    sched_param parameters{};
    parameters.sched_priority = scheduling.priority;
    const pthread_t target = handle != pthread_t{} ? handle : pthread_self();
    if (const int error = pthread_setschedparam(target, scheduling.policy, &parameters); error != 0)
        qFatal("%s", priorityFailureText(error));
}

}  // namespace ebo
