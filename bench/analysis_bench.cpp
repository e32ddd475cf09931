#include "analysis/Analysis.h"

#include "analysis/StatusCallbackDummy.h"
#include "synth/HouseLoop.h"

#include <benchmark/benchmark.h>

#include <algorithm>

namespace {

constexpr std::uint32_t kBlock = 16384;

/// Everything but reading, on half a minute of music: loudness, waveform, onsets, tempo and phase.
void wholeAnalysis(benchmark::State& state)
{
    const auto track = synth::houseLoop({.seconds = 30});
    const boost::shared_array<float> buffer(new float[kBlock]());
    StatusCallbackDummy status;
    for (auto _ : state) {
        const auto analysis = ebo::makeRef<Analysis>(AnalysisSetup{
            .sampleRate = 44100,
            .sampleCount = static_cast<std::int32_t>(track.size()),
            .minimumBpm = 58,
            .detectKey = false,
            .overviewSize = 1024,
        });
        for (std::size_t start = 0; start < track.size(); start += kBlock) {
            const auto count =
                static_cast<std::uint32_t>(std::min<std::size_t>(kBlock, track.size() - start));
            std::copy_n(track.data() + start, count, buffer.get());
            analysis->process(buffer, static_cast<std::uint32_t>(start), count, start + count == track.size(),
                              &status);
        }
        benchmark::DoNotOptimize(analysis->bpm());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(track.size()));
}
BENCHMARK(wholeAnalysis)->Unit(benchmark::kMillisecond);

}  // namespace
