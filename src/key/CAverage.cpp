#include "key/CAverage.h"

#include <cmath>

CAverage::CAverage(int sampleRate) : sampleRate_(sampleRate) {}

void CAverage::process(const float* samples, int count)
{
    if (count <= 0)
        return;
    float sum = 0.0f;
    for (int i = 0; i < count; ++i) {
        const float magnitude = std::abs(samples[i]);
        follow(envelope_, magnitude, envelopeCoefficient_);
        sum += magnitude;
    }
    mean_ = joinedMean(mean_, sum, count_, count);
    count_ += count;
    follow(slowMean_, mean_, kSlowCoefficient);
}
