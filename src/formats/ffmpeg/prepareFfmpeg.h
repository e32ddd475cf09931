#pragma once

/// Silences the FFmpeg libraries and bounds what they may allocate at once, for the whole process. May be
/// called again; before the first use of the libraries.
void prepareFfmpeg();
