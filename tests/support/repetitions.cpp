#include "support/repetitions.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace testsupport {

int repetitions(int full)
{
    const char* text = std::getenv("TEST_SCALE");
    const double scale = text != nullptr ? std::strtod(text, nullptr) : 1.0;
    return std::max(1, static_cast<int>(std::lround(full * scale)));
}

}  // namespace testsupport
