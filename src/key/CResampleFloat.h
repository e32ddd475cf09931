#pragma once

#include "key/CResampleBase.h"
#include "key/keyStatus.h"
#include "key/vectorWidth.h"
#include "key/wingSums.h"

#include <cstddef>
#include <memory>
#include <vector>

/// Band-limited interpolation of floats. It gives the same bits however the input is cut into blocks, with
/// every width of vectors. A value that is not finite spoils the outputs under whose wings it lies, no
/// others.
class CResampleFloat final : public CResampleBase {
public:
    /// @param inputRate   Hz, as is @param outputRate
    /// @param quality     zero crossings of the sinc in a wing, 1 to 120
    /// @param maxBlock    the most frames that `process` is given at once
    /// @param channels    1
    /// @param width       one that this processor has
    /// @return kInvalidArgument also if the rates are so far apart that wings or blocks would not stay within
    ///         bounds, or kOutOfMemory, with `instance` null
    static eboKey::Status create(std::unique_ptr<CResampleFloat>& instance, int inputRate, int outputRate,
                                 int quality, int maxBlock, int channels,
                                 eboDsp::VectorWidth width = eboDsp::widestVectors());

    int process(const float* in, int frames, float* out) override;
    void reset() override;

private:
    CResampleFloat(int inputRate, int outputRate, int quality, int maxBlock, eboDsp::VectorWidth width);

    [[nodiscard]] bool isTabulated() const { return !offsets_.empty(); }
    void tabulate(int rows);
    void makeTabulated(int outputs, float* out);
    void makeUntabulated(int outputs, float* out);
    void makePart(std::ptrdiff_t origin, const int* offsets, const float* weights, int firstLane, int count,
                  float* out) const;

    const eboDsp::WingSums wingSums_;
    const int historyFrames_;
    std::vector<float> buffer_;  // slack, history, block, slack

    // The rows of a period of the phases, one for each output: weights in groups, as WingSums wants them, and
    // the output's place behind that of row 0, in input frames.
    std::vector<float> weights_;
    std::vector<int> offsets_;  // empty if a period is too long for a table; weights_ has one group then
    int row_ = 0;               // of the next output
};
