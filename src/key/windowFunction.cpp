#include "key/windowFunction.h"

#include "key/CRealFFT_If.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace eboDsp {

std::vector<float> windowFunction(int type, int count)
{
    std::vector<float> window(static_cast<std::size_t>(count), 1.0f);
    if (type == CRealFFT_If::kRectangular)
        return window;
    const double halfTurn = std::numbers::pi / (count + 1.0);
    double i = 1.0;
    for (float& value : window) {
        const double shape =
            type == CRealFFT_If::kSine ? std::sin(halfTurn * i) : 0.5 * (1.0 - std::cos(2.0 * halfTurn * i));
        value = static_cast<float>(shape);
        i += 1.0;
    }
    return window;
}

}  // namespace eboDsp
