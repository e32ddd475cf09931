#include "key/CResampleFloat.h"
#include "synth/signals.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

namespace {

constexpr int kOutputRate = 8192;
constexpr int kQuality = 5;
constexpr int kBlock = 16384;

std::unique_ptr<CResampleFloat> make(int inputRate, eboDsp::VectorWidth width)
{
    std::unique_ptr<CResampleFloat> resampler;
    CResampleFloat::create(resampler, inputRate, kOutputRate, kQuality, kBlock, 1, width);
    return resampler;
}

/// 240 s of sound at the first argument's rate, with the second's lanes. 44101 Hz has 8192 phases, 96001 Hz
/// is a rate whose weights are not tabulated.
void resample(benchmark::State& state)
{
    const auto rate = static_cast<unsigned>(state.range(0));
    const auto width = static_cast<eboDsp::VectorWidth>(state.range(1));
    if (width > eboDsp::widestVectors()) {
        state.SkipWithError("this processor has no such vectors");
        return;
    }
    const std::vector<float> sound = synth::noise({.seconds = 240, .sampleRate = rate});
    const auto resampler = make(static_cast<int>(rate), width);
    std::vector<float> out(static_cast<std::size_t>(resampler->maxOutput()));
    for (auto _ : state) {
        for (std::size_t at = 0; at + kBlock <= sound.size(); at += kBlock)
            benchmark::DoNotOptimize(resampler->process(&sound[at], kBlock, out.data()));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(sound.size()));
}
BENCHMARK(resample)
    ->ArgNames({"Hz", "lanes"})
    ->ArgsProduct({{44100, 48000, 96000, 8192, 22050, 44101, 96001, 192000}, {4, 8}})
    ->Unit(benchmark::kMillisecond);

void makeResampler(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(make(static_cast<int>(state.range(0)), eboDsp::widestVectors()));
}
BENCHMARK(makeResampler)->ArgName("Hz")->Arg(44100)->Arg(48000)->Arg(44101)->Unit(benchmark::kMicrosecond);

}  // namespace
