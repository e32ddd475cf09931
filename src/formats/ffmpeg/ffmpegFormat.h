#pragma once

#include "formats/FormatEntry.h"

/// What the FFmpeg libraries read for us: mp3, m4a, mp4, aac, aif, aiff and wav, told by the extension
/// without regard to case. Readies the libraries on the way, see prepareFfmpeg.
[[nodiscard]] FormatEntry ffmpegFormat();
