#include "key/CResonantFilter.h"

namespace eboDsp {

void CResonantFilter::design(float frequency, float radius)
{
    target_ = coefficients(frequency, radius, static_cast<float>(sampleRate_));
    dirty_ = true;
}

void CResonantFilter::process(const float* in, float* out, int count)
{
    if (dirty_) {
        working_ = target_;
        dirty_ = false;
    }
    for (int i = 0; i < count; ++i) {
        step(in[i], working_.gain, working_.a1, working_.a2, y1_, y2_);
        out[i] = y1_;
    }
}

}  // namespace eboDsp
