#pragma once

#include "formats/FormatEntry.h"

/// Ogg Vorbis, told by the extension .ogg without regard to case, or by the name "AUDIO::ogg".
[[nodiscard]] FormatEntry oggFormat();
