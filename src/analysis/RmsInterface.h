#pragma once

#include <cstdint>

/// Receives the band levels of the transient detection, once per detector frame, on the analysing thread.
class RmsInterface {
public:
    virtual ~RmsInterface() = default;

    /// @param position  low 32 bits of the sample position that the detector has reached
    /// @param bands     the detector's nine levels, lowest band first. The receiver may change them; the
    ///                  detector goes on with the changed values.
    virtual void rmsUpdate(std::uint32_t position, float* bands) = 0;
};
