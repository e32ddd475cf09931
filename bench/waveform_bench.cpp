#include "analysis/WaveformAnalyzer.h"

#include <benchmark/benchmark.h>

#include <array>

namespace {

/// Counted in audio samples: 70 for each detector frame that the waveform is told of.
void waveform(benchmark::State& state)
{
    constexpr std::uint32_t kHop = 70;
    constexpr std::uint32_t kHops = 630 * 60;
    const std::array<float, WaveformAnalyzer::kBandCount> bands{0.05f, 0.04f, 0.03f, 0.02f, 0.01f,
                                                                0.02f, 0.03f, 0.04f, 0.05f};
    for (auto _ : state) {
        WaveformAnalyzer analyzer(44100, 6 * kHop, kHops * kHop, 1024);
        for (std::uint32_t hop = 0; hop < kHops; ++hop)
            analyzer.addBands(hop * kHop, bands.data());
        analyzer.flush();
        benchmark::DoNotOptimize(analyzer.highResolutionEntries().data());
    }
    state.SetItemsProcessed(state.iterations() * kHops * kHop);
}
BENCHMARK(waveform)->Unit(benchmark::kMillisecond);

}  // namespace
