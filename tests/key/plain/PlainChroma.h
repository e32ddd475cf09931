#pragma once

#include <array>
#include <vector>

namespace plain {

using Chroma = std::array<double, 12>;

/// The chroma of music in double precision, one loop per sentence of its definition, for the tests to compare
/// with: at 8192 Hz, blocks of 4096, four octaves. It is told the tuning.
class PlainChroma {
public:
    /// @return the chroma of this block and the one before
    Chroma process(const std::vector<float>& block, double tuningFrequency);

    /// The average over the last 15 blocks; those before the first count as 0.
    [[nodiscard]] Chroma smoothed() const;

    /// The mean of all blocks.
    [[nodiscard]] Chroma mean() const;

private:
    std::vector<double> before_ = std::vector<double>(4096);
    std::vector<Chroma> all_;
};

/// The values divided by their sum, unless that is 0.
Chroma dividedBySum(Chroma chroma);

}  // namespace plain
