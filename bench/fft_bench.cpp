#include "key/CRealFFT_If.h"
#include "key/vectorOps.h"
#include "synth/signals.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace {

constexpr int kLength = 8192;

/// A window of the key detection, of which there are two in a second.
void windowedSpectrum(benchmark::State& state)
{
    std::unique_ptr<CRealFFT_If> fft;
    CRealFFT_If::create(fft, kLength, 1, CRealFFT_If::kHann);
    const std::vector<float> sound = synth::noise({.seconds = 1, .sampleRate = kLength});
    std::vector<float> spectrum(kLength);
    for (auto _ : state) {
        fft->forward(spectrum.data(), sound.data());
        benchmark::DoNotOptimize(spectrum.data());
    }
}
BENCHMARK(windowedSpectrum)->Unit(benchmark::kMicrosecond);

void spectrumMagnitudes(benchmark::State& state)
{
    const std::vector<float> spectrum = synth::noise({.seconds = 1, .sampleRate = kLength});
    std::vector<float> magnitudes(kLength / 2);
    for (auto _ : state) {
        eboDsp::magnitudes(spectrum.data(), magnitudes.data(), kLength / 2);
        benchmark::DoNotOptimize(eboDsp::maximum(magnitudes.data(), kLength / 2));
    }
}
BENCHMARK(spectrumMagnitudes)->Unit(benchmark::kMicrosecond);

void spectrumEnergy(benchmark::State& state)
{
    const std::vector<float> sound = synth::noise({.seconds = 1, .sampleRate = kLength});
    for (auto _ : state)
        benchmark::DoNotOptimize(eboDsp::dotProduct(sound.data(), sound.data(), kLength));
}
BENCHMARK(spectrumEnergy)->Unit(benchmark::kMicrosecond);

}  // namespace
