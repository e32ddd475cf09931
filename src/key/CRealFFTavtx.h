#pragma once

#include "key/CRealFFTBase.h"

#include <memory>

struct AVTXContext;

/// The real transform by libavutil's av_tx, which every build has.
class CRealFFTavtx : public CRealFFTBase {
public:
    /// As CRealFFT_If::create.
    static eboKey::Status create(std::unique_ptr<CRealFFT_If>& instance, int blockLength, int zeroPadFactor,
                                 int windowType);

    void forward(float* spectrum, const float* signal) override;
    void inverse(float* signal, const float* spectrum) override;

private:
    struct ContextDeleter {
        void operator()(AVTXContext* context) const;
    };
    struct BufferDeleter {
        void operator()(float* buffer) const;
    };
    /// Aligned as the library wants it.
    using Buffer = std::unique_ptr<float[], BufferDeleter>;

    /// One direction of the transform, as the library gives it.
    struct Direction {
        std::unique_ptr<AVTXContext, ContextDeleter> context;
        void (*run)(AVTXContext* context, void* out, void* in, std::ptrdiff_t stride) = nullptr;

        eboKey::Status init(bool isInverse, int length);
    };

    CRealFFTavtx(int blockLength, int zeroPadFactor, int windowType);
    eboKey::Status init();

    Direction forward_;
    Direction inverse_;
    Buffer signal_;    // length() floats
    Buffer spectrum_;  // length() / 2 + 1 bins: the last one is half the sample rate's
};
