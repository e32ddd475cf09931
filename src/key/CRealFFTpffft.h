#pragma once

#ifdef TUNESIFT_HAS_PFFFT

#include "key/CRealFFTBase.h"

#include <memory>

struct PFFFT_Setup;

/// The real transform by pffft, in builds that found the library.
class CRealFFTpffft : public CRealFFTBase {
public:
    /// The shortest real transform that pffft can do.
    static constexpr int kShortest = 32;

    /// As CRealFFT_If::create; kInvalidArgument also for a transform below kShortest.
    static eboKey::Status create(std::unique_ptr<CRealFFT_If>& instance, int blockLength, int zeroPadFactor,
                                 int windowType);

    void forward(float* spectrum, const float* signal) override;
    void inverse(float* signal, const float* spectrum) override;

private:
    struct SetupDeleter {
        void operator()(PFFFT_Setup* setup) const;
    };
    struct BufferDeleter {
        void operator()(float* buffer) const;
    };
    /// Aligned as the library wants it.
    using Buffer = std::unique_ptr<float[], BufferDeleter>;

    CRealFFTpffft(int blockLength, int zeroPadFactor, int windowType);
    [[nodiscard]] bool isComplete() const { return setup_ && work_ && aligned_; }

    std::unique_ptr<PFFFT_Setup, SetupDeleter> setup_;
    Buffer work_;     // length() floats, the library's own
    Buffer aligned_;  // length() floats: callers need not align theirs
};

#endif
