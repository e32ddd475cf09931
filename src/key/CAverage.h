#pragma once

#include <cstdint>

/// Measures how strong a signal is, by the absolute values of its samples: their envelope, which forgets, and
/// their mean since the start. One thread.
class CAverage {
public:
    static constexpr float kDefaultEnvelopeCoefficient = 0.99998f;
    static constexpr float kSlowCoefficient = 0.5f;

    /// @param sampleRate  Hz
    explicit CAverage(int sampleRate);
    virtual ~CAverage() = default;

    /// What the envelope keeps of itself from sample to sample: 0 for no memory, towards 1 for a long one.
    void setEnvelopeCoefficient(float coefficient) { envelopeCoefficient_ = coefficient; }

    /// Takes the next samples. @param count  0 changes nothing
    void process(const float* samples, int count);

    /// The envelope after the last sample.
    [[nodiscard]] float envelope() const { return envelope_; }

    /// The mean of all samples so far.
    [[nodiscard]] float mean() const { return mean_; }

    /// The mean as it was smoothed from call to call.
    [[nodiscard]] float slowMean() const { return slowMean_; }

    /// Samples so far.
    [[nodiscard]] std::int64_t count() const { return count_; }

    [[nodiscard]] int sampleRate() const { return sampleRate_; }

    /// One step of an envelope. `Value` is a float or a vector of them.
    template <typename Value>
    [[gnu::always_inline]] static void follow(Value& envelope, const Value& magnitude,
                                              const Value& coefficient)
    {
        envelope = magnitude + (envelope - magnitude) * coefficient;
    }

    /// The mean of `before` and `added` samples, of which the first have the mean `mean` and the others the
    /// sum `sum`.
    static float joinedMean(float mean, float sum, std::int64_t before, std::int64_t added)
    {
        const auto count = static_cast<double>(before + added);
        return static_cast<float>(double{mean} * static_cast<double>(before) / count + double{sum} / count);
    }

private:
    int sampleRate_;
    std::int64_t count_ = 0;
    float mean_ = 0.0f;
    float slowMean_ = 0.0f;
    float envelope_ = 0.0f;
    float envelopeCoefficient_ = kDefaultEnvelopeCoefficient;
};
