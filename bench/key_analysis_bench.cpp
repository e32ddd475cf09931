#include "key/CAverage.h"
#include "key/CEqIf.h"
#include "key/CKeyAnalysisIf.h"
#include "key/CKeyPreProcess.h"
#include "key/CRealFFT_If.h"
#include "key/CResonantFilter.h"
#include "key/LogSpectrum.h"
#include "key/NoteBins.h"
#include "key/ResonatorBank.h"
#include "key/TuningTracker.h"
#include "synth/HouseLoop.h"
#include "synth/signals.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr int kRate = 8192;  // Hz
constexpr int kBlock = 4096;
constexpr int kHop = 256;
constexpr int kFilters = eboDsp::ResonatorBank::kFilters;

struct Design {
    std::array<float, kFilters> frequencies{};
    std::array<float, kFilters> radii{};
};

/// Three resonators round each of 24 semitones from 220 Hz.
Design semitones()
{
    Design design;
    for (std::size_t i = 0; i < kFilters; ++i) {
        const std::size_t semitone = i / 3;
        const float octaves = static_cast<float>(semitone) / 12.0f;
        const float width = 1.6f * std::exp2(octaves);
        design.frequencies[i] = 220.0f * std::exp2(octaves) + (static_cast<float>(i % 3) - 1.0f) * width;
        design.radii[i] = std::exp(-3.14159f * width / kRate);
    }
    return design;
}

/// Four minutes at the rate of the key analysis: each iteration is a whole track.
const std::vector<float>& track()
{
    static const std::vector<float> samples = synth::houseLoop({.seconds = 240, .sampleRate = kRate});
    return samples;
}

void resonatorBank(benchmark::State& state)
{
    const auto width = static_cast<eboDsp::VectorWidth>(state.range(0));
    if (width > eboDsp::widestVectors()) {
        state.SkipWithError("not with this processor");
        return;
    }
    const Design design = semitones();
    for (auto _ : state) {
        eboDsp::ResonatorBank bank(kRate, 0.95f, width);
        bank.design(design.frequencies.data(), design.radii.data());
        for (std::size_t start = 0; start + kHop <= track().size(); start += kHop)
            bank.process(track().data() + start, kHop);
        benchmark::DoNotOptimize(bank.levels()[0]);
    }
}
BENCHMARK(resonatorBank)->Arg(4)->Arg(8)->Arg(16)->Unit(benchmark::kMillisecond);

/// What the bank is measured against: 72 filters and averages one after the other.
void plainResonators(benchmark::State& state)
{
    const Design design = semitones();
    for (auto _ : state) {
        std::vector<eboDsp::CResonantFilter> filters(kFilters, eboDsp::CResonantFilter(kRate));
        std::vector<CAverage> averages(kFilters, CAverage(kRate));
        for (std::size_t i = 0; i < kFilters; ++i)
            filters[i].design(design.frequencies[i], design.radii[i]);
        std::array<float, kHop> scratch;
        for (std::size_t start = 0; start + kHop <= track().size(); start += kHop) {
            for (std::size_t i = 0; i < kFilters; ++i) {
                filters[i].process(track().data() + start, scratch.data(), kHop);
                averages[i].process(scratch.data(), kHop);
            }
        }
        benchmark::DoNotOptimize(averages[0].mean());
    }
}
BENCHMARK(plainResonators)->Unit(benchmark::kMillisecond);

/// The designs of a track whose tuning moves at every hop.
void resonatorDesign(benchmark::State& state)
{
    Design design = semitones();
    eboDsp::ResonatorBank bank(kRate, 0.95f);
    for (auto _ : state) {
        for (std::size_t hop = 0; hop < track().size() / kHop; ++hop) {
            bank.design(design.frequencies.data(), design.radii.data());
            benchmark::ClobberMemory();
        }
    }
}
BENCHMARK(resonatorDesign)->Unit(benchmark::kMillisecond);

void tuning(benchmark::State& state)
{
    for (auto _ : state) {
        eboKey::TuningTracker tracker(kRate, 440.0f);
        tracker.process(track().data(), static_cast<int>(track().size()));
        benchmark::DoNotOptimize(tracker.tuningFrequency());
    }
}
BENCHMARK(tuning)->Unit(benchmark::kMillisecond);

/// The transform alone: what of the next one is not ours.
void transforms(benchmark::State& state)
{
    std::unique_ptr<CRealFFT_If> fft;
    if (CRealFFT_If::create(fft, 2 * kBlock, 1, CRealFFT_If::kHann) != eboKey::kOk)
        return;
    std::vector<float> spectrum(2 * kBlock);
    for (auto _ : state) {
        for (std::size_t start = 0; start + 2 * kBlock <= track().size(); start += kBlock)
            fft->forward(spectrum.data(), track().data() + start);
        benchmark::DoNotOptimize(spectrum[0]);
    }
}
BENCHMARK(transforms)->Unit(benchmark::kMillisecond);

void spectrumAndChroma(benchmark::State& state)
{
    std::unique_ptr<CRealFFT_If> fft;
    if (CRealFFT_If::create(fft, 2 * kBlock, 1, CRealFFT_If::kHann) != eboKey::kOk)
        return;
    eboKey::LogSpectrum spectrum(std::move(fft));
    eboKey::NoteBins notes(48, spectrum.bins());
    notes.update(440.0f, kRate, 2 * kBlock);
    std::array<float, eboKey::NoteBins::kPitchClasses> chroma{};
    for (auto _ : state) {
        for (std::size_t start = 0; start + 2 * kBlock <= track().size(); start += kBlock)
            notes.fold(spectrum.compute(track().data() + start, notes.range()), chroma.data());
        benchmark::DoNotOptimize(chroma);
    }
}
BENCHMARK(spectrumAndChroma)->Unit(benchmark::kMillisecond);

void highPass(benchmark::State& state)
{
    std::vector<float> out(track().size());
    for (auto _ : state) {
        std::unique_ptr<eboKey::CEqIf> eq;
        if (eboKey::CEqIf::create(eq, 1, eboKey::CEqIf::kHighPass, kRate) != eboKey::kOk)
            return;
        eq->setParam(75.0f, 0.0f, 1.0f);
        eq->process(track().data(), out.data(), static_cast<int>(out.size()));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(highPass)->Unit(benchmark::kMillisecond);

void keyAnalysis(benchmark::State& state)
{
    std::array<float, eboKey::NoteBins::kPitchClasses> chroma{};
    for (auto _ : state) {
        std::unique_ptr<eboKey::CKeyAnalysisIf> analysis;
        if (eboKey::CKeyAnalysisIf::create(analysis, kRate, kBlock, 4, 440.0f) != eboKey::kOk)
            return;
        for (std::size_t start = 0; start + kBlock <= track().size(); start += kBlock)
            analysis->process(track().data() + start, kBlock, chroma.data());
        benchmark::DoNotOptimize(chroma);
    }
}
BENCHMARK(keyAnalysis)->Unit(benchmark::kMillisecond);

/// From the track at the rate of the argument to the ring, in blocks as they are read.
void preProcess(benchmark::State& state)
{
    constexpr int kReadBlock = 16384;
    const auto rate = static_cast<unsigned>(state.range(0));
    const auto sound = synth::noise({.seconds = 240, .sampleRate = rate, .amplitude = 0.5});
    std::array<float, kBlock> block;
    for (auto _ : state) {
        std::unique_ptr<eboKey::CKeyPreProcess> preProcess;
        if (eboKey::CKeyPreProcess::create(preProcess, static_cast<int>(rate), kRate, 1, kReadBlock, 0) !=
            eboKey::kOk)
            return;
        eboKey::CRingBuffer ring;
        for (std::size_t start = 0; start + kReadBlock <= sound.size(); start += kReadBlock) {
            int frames = kReadBlock;
            preProcess->process(sound.data() + start, ring, &frames);
            while (ring.readable() >= kBlock)
                ring.take(block.data(), kBlock);
        }
        benchmark::DoNotOptimize(block);
    }
}
BENCHMARK(preProcess)->ArgName("Hz")->Arg(44100)->Arg(48000)->Unit(benchmark::kMillisecond);

/// Filter and analysis over a minute of music and one of digital silence (argument 1) or two of music
/// (argument 0): numbers fading below full precision would make the silence many times slower.
void keyAnalysisInFades(benchmark::State& state)
{
    std::vector<float> sound(track().begin(), track().begin() + 120 * kRate);
    if (state.range(0) == 1)
        std::fill(sound.begin() + 60 * kRate, sound.end(), 0.0f);
    std::array<float, eboKey::NoteBins::kPitchClasses> chroma{};
    std::array<float, kBlock> block;
    for (auto _ : state) {
        std::unique_ptr<eboKey::CEqIf> eq;
        std::unique_ptr<eboKey::CKeyAnalysisIf> analysis;
        if (eboKey::CEqIf::create(eq, 1, eboKey::CEqIf::kHighPass, kRate) != eboKey::kOk ||
            eboKey::CKeyAnalysisIf::create(analysis, kRate, kBlock, 4, 440.0f) != eboKey::kOk)
            return;
        eq->setParam(75.0f, 0.0f, 1.0f);
        for (std::size_t start = 0; start + kBlock <= sound.size(); start += kBlock) {
            eq->process(sound.data() + start, block.data(), kBlock);
            analysis->process(block.data(), kBlock, chroma.data());
        }
        benchmark::DoNotOptimize(chroma);
    }
}
BENCHMARK(keyAnalysisInFades)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
