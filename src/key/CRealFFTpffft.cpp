#include "key/CRealFFTpffft.h"

#ifdef TUNESIFT_HAS_PFFFT

#include <pffft.h>

#include <algorithm>
#include <cstddef>
#include <new>

void CRealFFTpffft::SetupDeleter::operator()(PFFFT_Setup* setup) const { pffft_destroy_setup(setup); }

void CRealFFTpffft::BufferDeleter::operator()(float* buffer) const { pffft_aligned_free(buffer); }

CRealFFTpffft::CRealFFTpffft(int blockLength, int zeroPadFactor, int windowType)
    : CRealFFTBase(blockLength, zeroPadFactor, windowType), setup_(pffft_new_setup(length(), PFFFT_REAL))
{
    const std::size_t bytes = static_cast<std::size_t>(length()) * sizeof(float);
    work_.reset(static_cast<float*>(pffft_aligned_malloc(bytes)));
    aligned_.reset(static_cast<float*>(pffft_aligned_malloc(bytes)));
}

eboKey::Status CRealFFTpffft::create(std::unique_ptr<CRealFFT_If>& instance, int blockLength,
                                     int zeroPadFactor, int windowType)
{
    instance.reset();
    if (lengthFor(blockLength, zeroPadFactor, windowType) < kShortest)
        return eboKey::kInvalidArgument;
    try {
        std::unique_ptr<CRealFFTpffft> made(new CRealFFTpffft(blockLength, zeroPadFactor, windowType));
        if (!made->isComplete())
            return eboKey::kOutOfMemory;
        instance = std::move(made);
        return eboKey::kOk;
    } catch (const std::bad_alloc&) {
        return eboKey::kOutOfMemory;
    }
}

void CRealFFTpffft::forward(float* spectrum, const float* signal)
{
    windowAndPad(aligned_.get(), signal);
    pffft_transform_ordered(setup_.get(), aligned_.get(), aligned_.get(), work_.get(), PFFFT_FORWARD);
    std::copy_n(aligned_.get(), length(), spectrum);
}

void CRealFFTpffft::inverse(float* signal, const float* spectrum)
{
    std::copy_n(spectrum, length(), aligned_.get());
    pffft_transform_ordered(setup_.get(), aligned_.get(), aligned_.get(), work_.get(), PFFFT_BACKWARD);
    std::copy_n(aligned_.get(), length(), signal);
}

#endif
