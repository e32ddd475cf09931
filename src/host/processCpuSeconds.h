#pragma once

#include <QtGlobal>

#include <optional>

namespace tunesift::host {

/// The processor time that a running process has used so far, in user and kernel mode, with all its threads,
/// ended ones included. Read from the process's CPU-time clock, which counts nanoseconds where /proc counts
/// hundredths of a second. Nothing once the process has been reaped.
[[nodiscard]] std::optional<double> processCpuSeconds(qint64 processId);

}  // namespace tunesift::host
