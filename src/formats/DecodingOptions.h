#pragma once

#include "formats/StopCheck.h"

/// What a reader is asked for beside the sound.
struct DecodingOptions {
    /// Ends the opening and the reading early, as a failure of the file would.
    StopCheck stopCheck = {};
};
