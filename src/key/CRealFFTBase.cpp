#include "key/CRealFFTBase.h"

#include "key/windowFunction.h"

#include <algorithm>
#include <bit>

namespace {

/// Far above any spectrum that tells keys apart, and within what the libraries can do.
constexpr int kLongest = 1 << 17;

bool isPowerOfTwo(int number) { return number > 0 && std::has_single_bit(static_cast<unsigned>(number)); }

}  // namespace

int CRealFFTBase::lengthFor(int blockLength, int zeroPadFactor, int windowType)
{
    const bool allowed = isPowerOfTwo(blockLength) && blockLength % 4 == 0 && isPowerOfTwo(zeroPadFactor) &&
                         windowType >= kRectangular && windowType <= kHann &&
                         blockLength <= kLongest / zeroPadFactor;
    return allowed ? blockLength * zeroPadFactor : 0;
}

CRealFFTBase::CRealFFTBase(int blockLength, int zeroPadFactor, int windowType)
    : fftLength_(blockLength * zeroPadFactor), blockLength_(blockLength),
      window_(eboDsp::windowFunction(windowType, blockLength)), windowType_(windowType)
{}

void CRealFFTBase::windowAndPad(float* padded, const float* signal) const
{
    // A window of ones changes no bit, so the rectangle needs no branch of its own.
    std::transform(window_.begin(), window_.end(), signal, padded,
                   [](float weight, float sample) { return weight * sample; });
    std::fill(padded + blockLength_, padded + fftLength_, 0.0f);
}
