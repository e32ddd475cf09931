#include "analysis/BandFilterBank.h"
#include "analysis/EboTransientDetection.h"
#include "analysis/RmsInterface.h"
#include "synth/HouseLoop.h"
#include "synth/signals.h"

#include <benchmark/benchmark.h>

#include <array>

namespace {

constexpr std::uint32_t kBlock = 16384;
constexpr std::uint32_t kFrame = 70;  // samples

class Scaler : public RmsInterface {
public:
    void rmsUpdate(std::uint32_t, float* bands) override
    {
        for (std::uint32_t i = 0; i < BandFilterBank::kBands; ++i)
            bands[i] /= 6.0f;
    }
};

void filterBank(benchmark::State& state, const std::vector<float>& samples)
{
    BandFilterBank bank(44100.0f);
    std::array<float, BandFilterBank::kBands> levels{};
    std::size_t start = 0;
    for (auto _ : state) {
        bank.process(samples.data() + start, kFrame, levels.data());
        benchmark::DoNotOptimize(levels);
        start += kFrame;
        if (start + kFrame > samples.size())
            start = 0;
    }
    state.SetItemsProcessed(state.iterations() * kFrame);
}

void bandFilters(benchmark::State& state) { filterBank(state, synth::noise({.seconds = 1})); }
BENCHMARK(bandFilters);

/// Ten seconds of digital silence after each tenth of a second of noise: what memories fading into the
/// smallest floats cost.
void bandFiltersInFades(benchmark::State& state)
{
    auto samples = synth::noise({.seconds = 0.1});
    samples.resize(441000);
    filterBank(state, samples);
}
BENCHMARK(bandFiltersInFades);

/// A new detector for each pass over ten seconds of music, as its list of onsets only grows.
void transientDetection(benchmark::State& state)
{
    const auto samples = synth::houseLoop({.seconds = 10});
    Scaler scaler;
    std::int64_t processed = 0;
    for (auto _ : state) {
        EboTransientDetection detection(44100.0f);
        std::size_t start = 0;
        for (; start + kBlock <= samples.size(); start += kBlock)
            detection.process(samples.data() + start, kBlock, start, &scaler);
        processed += static_cast<std::int64_t>(start);
        benchmark::DoNotOptimize(detection.getTransients().size());
    }
    state.SetItemsProcessed(processed);
}
BENCHMARK(transientDetection)->Unit(benchmark::kMillisecond);

}  // namespace
