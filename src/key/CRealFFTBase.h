#pragma once

#include "key/CRealFFT_If.h"

#include <vector>

/// What the real transforms have in common whatever library computes them: lengths, window and padding.
class CRealFFTBase : public CRealFFT_If {
public:
    [[nodiscard]] int length() const final { return fftLength_; }
    [[nodiscard]] int blockLength() const final { return blockLength_; }
    [[nodiscard]] int windowType() const final { return windowType_; }

    /// The length of the transform that `create` is asked for, or 0 if the arguments allow none.
    [[nodiscard]] static int lengthFor(int blockLength, int zeroPadFactor, int windowType);

protected:
    /// The arguments are ones that lengthFor() allows.
    CRealFFTBase(int blockLength, int zeroPadFactor, int windowType);

    /// Writes the windowed signal and the zeros behind it to `padded`, `length()` floats.
    void windowAndPad(float* padded, const float* signal) const;

private:
    const int fftLength_;
    const int blockLength_;
    const std::vector<float> window_;
    const int windowType_;
};
