#pragma once

namespace tunesift::cli {

/// What the process ends with. An interruption adds the signal's number to kInterruptedBase, as shells do:
/// Ctrl-C gives 130.
enum ExitStatus : int {
    kAllWell = 0,
    kSomeFailed = 1,  ///< At least one track has no results, or the output could not be written.
    kBadUsage = 2,
    kNothingDone = 3,  ///< Nothing could even be tried.
    kInterruptedBase = 128,
};

}  // namespace tunesift::cli
