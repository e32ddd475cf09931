#pragma once

#include "key/keyStatus.h"

#include <memory>

/// The Fourier transform of real signals, with zero padding and a window. One class per library that computes
/// it implements this interface. An object belongs to one thread at a time; no operation allocates.
///
/// A spectrum is `length()` floats: element 0 is the value at 0 Hz, element 1 the one at half the sample
/// rate, elements 2k and 2k + 1 are the real and imaginary parts of bin k. Nothing is scaled in either
/// direction, so that there and back multiplies by `length()`.
class CRealFFT_If {
public:
    /// Window types. The window's n values are those of i = 1 to n in a period of n + 1, so neither end is 0.
    static constexpr int kRectangular = 0;
    static constexpr int kSine = 1;
    static constexpr int kHann = 2;

    virtual ~CRealFFT_If() = default;

    /// Windows and transforms `blockLength` samples, zero-padded to `length()`.
    /// @param spectrum  `length()` floats; may be the buffer of the signal, of `length()` floats then
    virtual void forward(float* spectrum, const float* signal) = 0;

    /// The way back, without undoing the window. @param signal `length()` floats, not the spectrum's buffer
    virtual void inverse(float* signal, const float* spectrum) = 0;

    /// Floats in a spectrum: block length times padding factor.
    [[nodiscard]] virtual int length() const = 0;

    /// Samples that `forward` reads.
    [[nodiscard]] virtual int blockLength() const = 0;

    [[nodiscard]] virtual int windowType() const = 0;

    /// Makes a transform by the best library of this build.
    /// @param blockLength    samples; a power of two, a multiple of 4
    /// @param zeroPadFactor  a power of two, 1 for no padding
    /// @return kInvalidArgument, or kOutOfMemory, with `instance` null
    static eboKey::Status create(std::unique_ptr<CRealFFT_If>& instance, int blockLength, int zeroPadFactor,
                                 int windowType);
};
