#include "analysis/BeatDetection.h"

#include "synth/Noise.h"

#include <benchmark/benchmark.h>

#include <utility>

namespace {

constexpr double kRate = 44100;

/// Given onsets instead of a detector.
class FixedTransients : public ITransientDetection {
public:
    explicit FixedTransients(TransientMap onsets) : onsets_(std::move(onsets)) {}

    void process(const float*, std::uint32_t, std::uint64_t, RmsInterface*) override {}
    [[nodiscard]] std::uint32_t getFrameSize() const override { return 70; }
    [[nodiscard]] const TransientMap& getTransients() const override { return onsets_; }

private:
    TransientMap onsets_;
};

/// Clicks heard in all nine bands, a little unsteady.
TransientMap clicks(double seconds, double clicksPerSecond)
{
    synth::Noise noise(1);
    TransientMap onsets;
    const auto interval = static_cast<std::uint32_t>(kRate / clicksPerSecond);
    for (int i = 0; i < static_cast<int>(seconds * clicksPerSecond); ++i) {
        const double position = (i + 1 + 0.01 * static_cast<double>(noise.next())) * kRate / clicksPerSecond;
        for (std::uint32_t band = 0; band < 9; ++band)
            onsets.insert(static_cast<std::uint64_t>(position),
                          {band, 0.1f, static_cast<float>(60 * clicksPerSecond), interval});
    }
    return onsets;
}

/// Tempo and phase of a whole track; counted in onsets.
void tempoAndPhase(benchmark::State& state, double seconds, double clicksPerSecond)
{
    const TransientMap onsets = clicks(seconds, clicksPerSecond);
    BeatDetection detection(static_cast<float>(kRate), 58, std::make_unique<FixedTransients>(onsets));
    for (auto _ : state) {
        float bpm = 0.0f;
        float offset = 0.0f;
        detection.analyze(&bpm, &offset, nullptr);
        benchmark::DoNotOptimize(bpm + offset);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(onsets.size()));
}
BENCHMARK_CAPTURE(tempoAndPhase, fourMinutesAt120, 240.0, 2.0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(tempoAndPhase, twoHoursAt120, 7200.0, 2.0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(tempoAndPhase, twoHoursAtTheDensest, 7200.0, 9.5)->Unit(benchmark::kMillisecond);

}  // namespace
