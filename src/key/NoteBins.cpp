#include "key/NoteBins.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace eboKey {

namespace {

constexpr float kSemitone = 1.0594631f;
constexpr float kQuarterTone = 1.0293022f;

}  // namespace

NoteBins::NoteBins(int notes, int bins) : bins_(bins), windows_(static_cast<std::size_t>(notes)) {}

void NoteBins::update(float tuningFrequency, int sampleRate, int blockLength)
{
    range_ = {bins_, 0};
    float centre = ((tuningFrequency * 110.0f) / 440.0f) / static_cast<float>(sampleRate) *
                   static_cast<float>(blockLength);
    for (Window& window : windows_) {
        window = {centre / kQuarterTone, centre, centre * kQuarterTone};
        centre *= kSemitone;
        if (!(window.low > 0.0f && window.high < static_cast<float>(bins_)))
            continue;
        window.first = static_cast<int>(std::ceil(window.low) + 0.1f);
        window.last = static_cast<int>(std::floor(window.high) + 0.1f);
        range_.first = std::min(range_.first, window.first - 1);
        range_.end = std::max(range_.end, std::min(window.last + 2, bins_));
    }
    range_.first = std::min(range_.first, range_.end);
}

void NoteBins::shape(const Window& window, float* spectrum)
{
    const int top = std::min(static_cast<int>(window.centre), window.last);
    for (int bin = window.first; bin <= top; ++bin)
        spectrum[bin] *= (static_cast<float>(bin) - window.low) / (window.centre - window.low);
    for (int bin = std::max(window.first, top + 1); bin <= window.last; ++bin)
        spectrum[bin] *= (window.high - static_cast<float>(bin)) / (window.high - window.centre);
}

void NoteBins::fold(float* spectrum, float* chroma) const
{
    std::fill_n(chroma, kPitchClasses, 0.0f);
    for (std::size_t note = 0; note < windows_.size(); ++note) {
        const Window& window = windows_[note];
        if (window.last < window.first)
            continue;
        shape(window, spectrum);
        const float* const peak =
            std::max_element(spectrum + window.first, spectrum + window.last + 1);  // the lowest on a tie

        float& sum = chroma[note % kPitchClasses];
        sum += *peak;
        const bool risesBelow = peak == spectrum + window.first && spectrum[window.first - 1] > *peak;
        const bool risesAbove =
            peak == spectrum + window.last && window.last + 1 < bins_ && spectrum[window.last + 1] > *peak;
        if (risesBelow || risesAbove)
            sum -= *peak;
    }
    const float total = std::accumulate(chroma, chroma + kPitchClasses, 0.0f);
    if (total != 0.0f) {
        for (int i = 0; i < kPitchClasses; ++i)
            chroma[i] /= total;
    }
}

}  // namespace eboKey
