#pragma once

#include "key/keyStatus.h"

#include <memory>

/// The cross-correlation of two blocks of a signal, and the lag at which they resemble each other most. An
/// object belongs to one thread at a time; no operation allocates.
class CCrossCorrelation_If {
public:
    /// The best match of two blocks.
    struct Peak {
        int lag;      ///< samples by which the second block is late: -blockLength to blockLength - 1
        float value;  ///< the correlation there
    };

    virtual ~CCrossCorrelation_If() = default;

    /// The sum of first[i] * second[i + lag] for every lag, which stands at index `lag`, or at
    /// `length()` + lag if it is negative. What lies outside a block counts as 0. With normalisation it is
    /// divided by the geometric mean of the blocks' energies, so that equal blocks have 1 at lag 0 (and
    /// silence has 0 everywhere).
    /// @param correlation  `length()` floats
    /// @param first        blockLength samples, as many as `second`
    virtual void correlate(float* correlation, const float* first, const float* second) = 0;

    /// The largest value of a correlation; of equal ones the first, counted from lag 0 up, then on from the
    /// most negative.
    [[nodiscard]] virtual Peak peak(const float* correlation) const = 0;

    /// Floats in a correlation: twice the block length.
    [[nodiscard]] virtual int length() const = 0;

    /// @param blockLength  samples; a power of two, a multiple of 4
    /// @return kInvalidArgument, or kOutOfMemory, with `instance` null
    static eboKey::Status create(std::unique_ptr<CCrossCorrelation_If>& instance, int blockLength,
                                 bool normalise);
};
