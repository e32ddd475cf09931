#pragma once

#include "formats/FormatEntry.h"

/// FLAC, told by the extensions .flac and .oga (FLAC inside Ogg) without regard to case, or by the name
/// "AUDIO::flac".
[[nodiscard]] FormatEntry flacFormat();
