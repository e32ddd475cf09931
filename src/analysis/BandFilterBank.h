#pragma once

#include "analysis/LoudnessAnalyzer.h"

#include <array>
#include <cstdint>

/// Nine octave-wide band-pass filters side by side, and the RMS level of what they let through. Band 0 is
/// centred on 32.5 Hz, band 8 on 8317.5 Hz. One thread.
///
/// Each filter is a biquad, the band-pass of constant 0 dB peak gain from Robert Bristow-Johnson's "Cookbook
/// formulae for audio equalizer biquad filter coefficients", in direct form II and single precision. The
/// nine run in the lanes of vectors, with the same bits as one after the other.
class BandFilterBank {
public:
    static constexpr std::uint32_t kBands = 9;
    static constexpr std::array kCentreFrequencies{32.5f,   65.0f,   130.0f,  259.9f, 519.8f,
                                                   1039.7f, 2079.4f, 4158.7f, 8317.5f};  // Hz

    /// One filter's coefficients; b1 is 0 and b2 is -b0.
    struct Coefficients {
        float b0;
        float a1;
        float a2;

        [[nodiscard]] bool finite() const;
    };

    /// @param centreFrequency, sampleRate  Hz. Above half the sample rate the formula stays stable, though
    ///                                     it means little.
    [[nodiscard]] static Coefficients coefficients(float centreFrequency, float sampleRate);

    /// @param sampleRate  Hz. A band without finite coefficients at this rate is mute: its level is 0.
    explicit BandFilterBank(float sampleRate);

    /// Filters the next samples of the track and gives each band's RMS level over them. The filters run on
    /// from call to call. Samples are finite; a band whose power overflows has the level kHighestLevel and
    /// starts afresh.
    /// @param count    samples, above 0
    /// @param levels   nine floats
    /// @param average  gets the same samples; null for none. The filters wait for their own results most of
    ///                 the time, so it costs next to nothing here.
    void process(const float* samples, std::uint32_t count, float* levels,
                 LoudnessAnalyzer::Average* average = nullptr);

    /// The square root of the largest float: no level that did not overflow is above it.
    static constexpr float kHighestLevel = 1.8446743e19f;

private:
    // Three plain vectors of SSE's width: wider ones would spill registers.
    static constexpr std::size_t kLanes = 4;
    static constexpr std::size_t kGroups = 3;
    using Lanes [[gnu::vector_size(4 * sizeof(float))]] = float;

    struct Group {
        Lanes b0{};
        Lanes a1{};
        Lanes a2{};
        Lanes w1{};
        Lanes w2{};

        /// One sample through four filters. @return the square of what comes out
        Lanes step(Lanes sample)
        {
            const Lanes w = sample - a1 * w1 - a2 * w2;
            const Lanes y = (w - w2) * b0;
            w2 = w1;
            w1 = w;
            return y * y;
        }

        void restart(std::size_t lane);
    };

    using Sums = std::array<Lanes, kGroups>;

    template <typename Companion>
    Sums filter(const float* samples, std::uint32_t count, Companion companion);

    std::array<Group, kGroups> groups_;
    std::array<bool, kBands> mute_{};
};
