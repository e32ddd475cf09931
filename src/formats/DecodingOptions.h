#pragma once

#include "formats/StopCheck.h"

/// What a reader is asked for beside the sound.
struct DecodingOptions {
    /// Ends the opening and the reading early, as a failure of the file would.
    StopCheck stopCheck = {};

    /// Whether a digest of the sound that the file carries is compared with what is decoded; see
    /// eboAudioFormatReader::digestVerdict. It costs a good part of the decoding of FLAC.
    bool comparesDigest = false;
};
