#pragma once

#include <pthread.h>

namespace ebo {

/// How the system schedules a thread.
struct Scheduling {
    int policy;    ///< SCHED_BATCH or SCHED_FIFO.
    int priority;  ///< In the policy's own scale.

    bool operator==(const Scheduling&) const = default;
};

/// The scheduling for one of our priority levels. Levels up to 8 are all the same to the system; from 9 on a
/// thread is real-time, with at most 49 as its priority.
/// @param fifoMinimum, fifoMaximum  the system's limits for SCHED_FIFO
[[nodiscard]] Scheduling schedulingFor(int level, int fifoMinimum, int fifoMaximum) noexcept;

/// The same with the limits of this system.
[[nodiscard]] Scheduling schedulingFor(int level) noexcept;

/// The text that ends the process when pthread_setschedparam fails with `error` (an errno value).
[[nodiscard]] const char* priorityFailureText(int error) noexcept;

/// Gives a thread the scheduling of a level; a handle of 0 means the calling thread. A thread that cannot
/// have the agreed scheduling ends the process by a fatal message.
void setThreadPriority(pthread_t handle, int level);

}  // namespace ebo
