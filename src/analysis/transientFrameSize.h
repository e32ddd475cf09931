#pragma once

#include <cstdint>

/// Samples in one frame of the transient detection, 1/630 second, at a sample rate in Hz: 70 at 44100. It is
/// 0 for rates below about 315 Hz, at which there is nothing to analyse.
[[nodiscard]] std::uint32_t transientFrameSize(float sampleRate);
