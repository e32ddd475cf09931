#include "key/CCrossCorrelation.h"

#include "key/vectorOps.h"

#include <cmath>
#include <cstddef>
#include <new>
#include <utility>

CCrossCorrelation::CCrossCorrelation(std::unique_ptr<CRealFFT_If> fft, bool normalise)
    : fft_(std::move(fft)), normalise_(normalise), first_(static_cast<std::size_t>(fft_->length())),
      second_(first_)
{}

void CCrossCorrelation::correlate(float* correlation, const float* first, const float* second)
{
    fft_->forward(first_.data(), first);
    fft_->forward(second_.data(), second);
    second_[0] *= first_[0];
    second_[1] *= first_[1];
    for (std::size_t bin = 2; bin < second_.size(); bin += 2) {
        const float re = first_[bin] * second_[bin] + first_[bin + 1] * second_[bin + 1];
        const float im = first_[bin] * second_[bin + 1] - first_[bin + 1] * second_[bin];
        second_[bin] = re;
        second_[bin + 1] = im;
    }
    fft_->inverse(correlation, second_.data());

    const int blockLength = fft_->blockLength();
    float scale = 1.0f / static_cast<float>(length());
    if (normalise_) {
        const float energies = std::sqrt(eboDsp::dotProduct(first, first, blockLength)) *
                               std::sqrt(eboDsp::dotProduct(second, second, blockLength));
        scale = energies > 0.0f ? scale / energies : 0.0f;
    }
    eboDsp::multiply(correlation, scale, length());
}

CCrossCorrelation_If::Peak CCrossCorrelation::peak(const float* correlation) const
{
    const eboDsp::Maximum most = eboDsp::maximum(correlation, length());
    const int lag = most.index < fft_->blockLength() ? most.index : most.index - length();
    return {lag, most.value};
}

eboKey::Status CCrossCorrelation_If::create(std::unique_ptr<CCrossCorrelation_If>& instance, int blockLength,
                                            bool normalise)
{
    instance.reset();
    std::unique_ptr<CRealFFT_If> fft;
    constexpr int kPadding = 2;
    const eboKey::Status status = CRealFFT_If::create(fft, blockLength, kPadding, CRealFFT_If::kRectangular);
    if (status != eboKey::kOk)
        return status;
    try {
        instance = std::make_unique<CCrossCorrelation>(std::move(fft), normalise);
        return eboKey::kOk;
    } catch (const std::bad_alloc&) {
        return eboKey::kOutOfMemory;
    }
}
