#pragma once

#include "key/CRealFFT_If.h"
#include "noise.h"
#include "plainTransform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <complex>
#include <cstddef>
#include <memory>
#include <numbers>
#include <vector>

namespace testsupport {

/// The window by its formula, at the sample `i` of `count`, counted from 0.
inline double windowAt(int type, int i, int count)
{
    const double turn = 2.0 * std::numbers::pi * (i + 1) / (count + 1);
    switch (type) {
    case CRealFFT_If::kSine:
        return std::sin(turn / 2.0);
    case CRealFFT_If::kHann:
        return (1.0 - std::cos(turn)) * 0.5;
    default:
        return 1.0;
    }
}

/// What every real transform must do; `Transform` is a class with the static `create` and `shortest`.
template <typename Transform>
class RealTransform : public testing::Test {
protected:
    using Instance = std::unique_ptr<CRealFFT_If>;

    static Instance make(int blockLength, int zeroPadFactor = 1, int windowType = CRealFFT_If::kRectangular)
    {
        Instance fft;
        EXPECT_EQ(Transform::create(fft, blockLength, zeroPadFactor, windowType), eboKey::kOk);
        return fft;
    }

    static std::vector<std::complex<double>> expected(const CRealFFT_If& fft,
                                                      const std::vector<float>& signal)
    {
        std::vector<std::complex<double>> padded(static_cast<std::size_t>(fft.length()));
        for (int i = 0; i < fft.blockLength(); ++i)
            padded[static_cast<std::size_t>(i)] = windowAt(fft.windowType(), i, fft.blockLength()) *
                                                  static_cast<double>(signal[static_cast<std::size_t>(i)]);
        return plainTransform(padded);
    }

    static std::complex<double> binOf(const std::vector<float>& spectrum, std::size_t bin)
    {
        if (bin == 0)
            return spectrum[0];
        if (2 * bin == spectrum.size())
            return spectrum[1];
        return {spectrum[2 * bin], spectrum[2 * bin + 1]};
    }
};

TYPED_TEST_SUITE_P(RealTransform);

TYPED_TEST_P(RealTransform, AgreesWithADoublePrecisionTransform)
{
    for (int length = TypeParam::shortest; length <= 16384; length *= 2)
        for (const int padding : {1, 2, 4})
            for (const int window : {0, 1, 2}) {
                if (length / padding < 4)
                    continue;
                SCOPED_TRACE(testing::Message()
                             << "length " << length << " padding " << padding << " window " << window);
                const auto fft = this->make(length / padding, padding, window);
                ASSERT_EQ(fft->length(), length);
                ASSERT_EQ(fft->blockLength(), length / padding);
                ASSERT_EQ(fft->windowType(), window);
                const std::vector<float> signal = noise(length / padding, 7);
                const auto wanted = this->expected(*fft, signal);
                std::vector<float> spectrum(static_cast<std::size_t>(length), 1e30f);
                fft->forward(spectrum.data(), signal.data());

                double largest = 0.0;
                double worst = 0.0;
                for (std::size_t bin = 0; bin <= spectrum.size() / 2; ++bin) {
                    largest = std::max(largest, std::abs(wanted[bin]));
                    worst = std::max(worst, std::abs(wanted[bin] - this->binOf(spectrum, bin)));
                }
                EXPECT_LT(worst, 1e-5 * largest);
            }
}

TYPED_TEST_P(RealTransform, ThereAndBackMultipliesByTheLength)
{
    for (int length = TypeParam::shortest; length <= 16384; length *= 2) {
        const auto fft = this->make(length);
        const std::vector<float> signal = noise(length, 3);
        std::vector<float> spectrum(signal.size());
        std::vector<float> back(signal.size());
        fft->forward(spectrum.data(), signal.data());
        const std::vector<float> before = spectrum;
        fft->inverse(back.data(), spectrum.data());
        EXPECT_EQ(spectrum, before);
        for (std::size_t i = 0; i < signal.size(); ++i)
            ASSERT_NEAR(back[i] / static_cast<float>(length), signal[i], 2e-6f)
                << "length " << length << " sample " << i;
    }
}

TYPED_TEST_P(RealTransform, AnImpulseHasTheSameValueInEveryBin)
{
    const auto fft = this->make(64);
    std::vector<float> signal(64);
    signal[0] = 3.0f;
    std::vector<float> spectrum(64);
    fft->forward(spectrum.data(), signal.data());
    EXPECT_FLOAT_EQ(spectrum[0], 3.0f);
    EXPECT_FLOAT_EQ(spectrum[1], 3.0f);
    for (std::size_t i = 2; i < 64; i += 2) {
        EXPECT_FLOAT_EQ(spectrum[i], 3.0f);
        EXPECT_NEAR(spectrum[i + 1], 0.0f, 1e-6f);
    }
}

TYPED_TEST_P(RealTransform, ALateImpulseTurnsTheBinsBackwards)
{
    // One sample late: bin k turns by -2 pi k / 64, so its imaginary part is negative.
    const auto fft = this->make(64);
    std::vector<float> signal(64);
    signal[1] = 1.0f;
    std::vector<float> spectrum(64);
    fft->forward(spectrum.data(), signal.data());
    for (std::size_t k = 1; k < 32; ++k) {
        const double angle = 2.0 * std::numbers::pi * static_cast<double>(k) / 64.0;
        EXPECT_NEAR(spectrum[2 * k], std::cos(angle), 1e-6) << k;
        EXPECT_NEAR(spectrum[2 * k + 1], -std::sin(angle), 1e-6) << k;
    }
    EXPECT_NEAR(spectrum[1], -1.0f, 1e-6f);
}

TYPED_TEST_P(RealTransform, SignalAndSpectrumMayShareABuffer)
{
    for (const int padding : {1, 4}) {
        const auto fft = this->make(256 / padding, padding, CRealFFT_If::kHann);
        const std::vector<float> signal = noise(256 / padding, 11);
        std::vector<float> apart(256);
        fft->forward(apart.data(), signal.data());
        std::vector<float> shared(256, 5.0f);
        std::copy(signal.begin(), signal.end(), shared.begin());
        fft->forward(shared.data(), shared.data());
        EXPECT_EQ(shared, apart);
    }
}

TYPED_TEST_P(RealTransform, BuffersNeedNoAlignment)
{
    const auto fft = this->make(64);
    const std::vector<float> signal = noise(64, 13);
    std::vector<float> aligned(64);
    fft->forward(aligned.data(), signal.data());
    std::vector<float> shifted(signal);
    shifted.insert(shifted.begin(), 0.0f);
    std::vector<float> spectrum(65);
    fft->forward(spectrum.data() + 1, shifted.data() + 1);
    EXPECT_EQ(std::vector<float>(spectrum.begin() + 1, spectrum.end()), aligned);
}

TYPED_TEST_P(RealTransform, ArgumentsThatAllowNoTransformAreRefused)
{
    struct Arguments {
        int blockLength;
        int zeroPadFactor;
        int windowType;
    };
    for (const Arguments& bad :
         {Arguments{0, 1, 0}, Arguments{-64, 1, 0}, Arguments{1, 64, 0}, Arguments{2, 32, 0},
          Arguments{63, 1, 0}, Arguments{96, 1, 0}, Arguments{INT_MIN, 1, 0}, Arguments{64, 0, 0},
          Arguments{64, -1, 0}, Arguments{64, 3, 0}, Arguments{64, 1 << 30, 0}, Arguments{1 << 30, 4, 0},
          Arguments{64, 1, -1}, Arguments{64, 1, 3}}) {
        typename TestFixture::Instance fft = this->make(64);
        EXPECT_EQ(TypeParam::create(fft, bad.blockLength, bad.zeroPadFactor, bad.windowType), 5000003)
            << bad.blockLength << " " << bad.zeroPadFactor << " " << bad.windowType;
        EXPECT_EQ(fft, nullptr);
    }
}

REGISTER_TYPED_TEST_SUITE_P(RealTransform, AgreesWithADoublePrecisionTransform,
                            ThereAndBackMultipliesByTheLength, AnImpulseHasTheSameValueInEveryBin,
                            ALateImpulseTurnsTheBinsBackwards, SignalAndSpectrumMayShareABuffer,
                            BuffersNeedNoAlignment, ArgumentsThatAllowNoTransformAreRefused);

}  // namespace testsupport
