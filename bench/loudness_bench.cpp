#include "analysis/LoudnessAnalyzer.h"
#include "synth/signals.h"

#include <benchmark/benchmark.h>

namespace {

constexpr std::uint32_t kBlock = 16384;

void loudness(benchmark::State& state)
{
    const auto samples = synth::noise({.seconds = 1});
    LoudnessAnalyzer analyzer(44100);
    for (auto _ : state) {
        analyzer.process(samples.data(), kBlock);
        benchmark::DoNotOptimize(analyzer.peakLevel());
    }
    state.SetItemsProcessed(state.iterations() * kBlock);
}
BENCHMARK(loudness);

}  // namespace
