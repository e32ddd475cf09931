#pragma once

#include <vector>

namespace eboDsp {

/// The values of a window, as CRealFFT_If numbers the types: for i = 1 to `count`, in a period of count + 1.
/// @param type   CRealFFT_If::kRectangular, kSine or kHann
[[nodiscard]] std::vector<float> windowFunction(int type, int count);

}  // namespace eboDsp
