#include "analysis/exactSamplePosition.h"

#include <boost/numeric/conversion/cast.hpp>

#include <cmath>
#include <limits>

double exactSamplePosition(double position)
{
    constexpr double kTwoTo63 = 9223372036854775808.0;
    const double raised = position + 0.5;
    if (!std::isfinite(raised))
        throw boost::numeric::bad_numeric_cast();
    if (raised <= -kTwoTo63)
        throw boost::numeric::negative_overflow();
    if (raised >= kTwoTo63)
        throw boost::numeric::positive_overflow();
    const double whole = std::trunc(raised);
    return std::abs(position - whole) <= position * std::numeric_limits<double>::epsilon() ? whole : position;
}
