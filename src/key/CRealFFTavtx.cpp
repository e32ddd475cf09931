#include "key/CRealFFTavtx.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/mem.h>
#include <libavutil/tx.h>
}

#include <algorithm>
#include <cstddef>
#include <new>

void CRealFFTavtx::ContextDeleter::operator()(AVTXContext* context) const { av_tx_uninit(&context); }

void CRealFFTavtx::BufferDeleter::operator()(float* buffer) const { av_free(buffer); }

eboKey::Status CRealFFTavtx::Direction::init(bool isInverse, int length)
{
    const float scale = 1.0f;
    AVTXContext* made = nullptr;
    const int result = av_tx_init(&made, &run, AV_TX_FLOAT_RDFT, isInverse ? 1 : 0, length, &scale, 0);
    context.reset(made);
    if (result == AVERROR(ENOMEM))
        return eboKey::kOutOfMemory;
    return result < 0 ? eboKey::kInvalidArgument : eboKey::kOk;
}

CRealFFTavtx::CRealFFTavtx(int blockLength, int zeroPadFactor, int windowType)
    : CRealFFTBase(blockLength, zeroPadFactor, windowType)
{}

eboKey::Status CRealFFTavtx::init()
{
    const auto floats = static_cast<std::size_t>(length());
    signal_.reset(static_cast<float*>(av_calloc(floats, sizeof(float))));
    spectrum_.reset(static_cast<float*>(av_calloc(floats + 2, sizeof(float))));
    if (!signal_ || !spectrum_)
        return eboKey::kOutOfMemory;
    const eboKey::Status status = forward_.init(false, length());
    return status != eboKey::kOk ? status : inverse_.init(true, length());
}

eboKey::Status CRealFFTavtx::create(std::unique_ptr<CRealFFT_If>& instance, int blockLength,
                                    int zeroPadFactor, int windowType)
{
    instance.reset();
    if (lengthFor(blockLength, zeroPadFactor, windowType) == 0)
        return eboKey::kInvalidArgument;
    try {
        std::unique_ptr<CRealFFTavtx> made(new CRealFFTavtx(blockLength, zeroPadFactor, windowType));
        const eboKey::Status status = made->init();
        if (status == eboKey::kOk)
            instance = std::move(made);
        return status;
    } catch (const std::bad_alloc&) {
        return eboKey::kOutOfMemory;
    }
}

void CRealFFTavtx::forward(float* spectrum, const float* signal)
{
    windowAndPad(signal_.get(), signal);
    forward_.run(forward_.context.get(), spectrum_.get(), signal_.get(), sizeof(float));
    std::copy_n(spectrum_.get(), length(), spectrum);
    // The last bin's imaginary part is 0, and the library does not even write it.
    spectrum[1] = spectrum_[static_cast<std::size_t>(length())];
}

void CRealFFTavtx::inverse(float* signal, const float* spectrum)
{
    const auto last = static_cast<std::size_t>(length());
    std::copy_n(spectrum, length(), spectrum_.get());
    spectrum_[last] = spectrum[1];
    spectrum_[last + 1] = 0.0f;
    spectrum_[1] = 0.0f;
    // The library uses its input as a work space.
    inverse_.run(inverse_.context.get(), signal_.get(), spectrum_.get(), 2 * sizeof(float));
    std::copy_n(signal_.get(), length(), signal);
}
