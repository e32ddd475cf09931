#include "key/CMovingAverage.h"

#include <algorithm>
#include <numeric>

namespace eboKey {

namespace {

std::vector<float> makeWindow(int length, int windowType)
{
    std::vector<float> window(static_cast<std::size_t>(length), 1.0f);
    if (windowType == CMovingAverage::kTriangular) {
        for (int i = 0; i < length; ++i)
            window[static_cast<std::size_t>(i)] = 2.0f * static_cast<float>(std::min(i, length - 1 - i));
    }
    const float sum = std::accumulate(window.begin(), window.end(), 0.0f);
    if (sum > 0.0f) {
        for (float& weight : window)
            weight /= sum;
    }
    return window;
}

}  // namespace

CMovingAverage::CMovingAverage(int length, int channels, int windowType)
    : window_(makeWindow(length, windowType)), means_(static_cast<std::size_t>(channels)),
      history_(window_.size() * means_.size())
{}

void CMovingAverage::push(const float* values)
{
    const auto frame = static_cast<std::ptrdiff_t>(means_.size());
    std::copy(history_.begin() + frame, history_.end(), history_.begin());
    std::copy_n(values, frame, history_.end() - frame);

    const auto before = static_cast<float>(count_);
    ++count_;
    const auto now = static_cast<float>(count_);
    for (std::size_t c = 0; c < means_.size(); ++c)
        means_[c] = (values[c] + before * means_[c]) / now;
}

float CMovingAverage::movingValue(int channel) const
{
    float sum = 0.0f;
    auto position = static_cast<std::size_t>(channel);
    for (const float weight : window_) {
        sum += weight * history_[position];
        position += means_.size();
    }
    return sum;
}

void CMovingAverage::movingValues(float* values) const
{
    for (int c = 0; c < channels(); ++c)
        values[c] = movingValue(c);
}

}  // namespace eboKey
