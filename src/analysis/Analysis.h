#pragma once

#include "analysis/AnalysisSetup.h"
#include "analysis/BeatDetection.h"
#include "analysis/BeatGrid.h"
#include "analysis/LoudnessAnalyzer.h"
#include "analysis/RmsInterface.h"
#include "analysis/WaveformAnalyzer.h"
#include "key/CKeyDetect_If.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"

#include <QString>

#include <boost/noncopyable.hpp>
#include <boost/smart_ptr/shared_array.hpp>

#include <cstdint>

class StatusCallbackInterface;

/// The one object that sees every sample of a track. It hands each block to all analyzers in a fixed order,
/// and after the last block it has tempo, beat grid and key found. Made for one run, on whose thread it
/// lives. Nothing fails here: what cannot be found out is told by the results.
class Analysis : public ebo::refcounted, private boost::noncopyable, public RmsInterface {
public:
    explicit Analysis(const AnalysisSetup& setup);

    /// Analyses the next block.
    /// @param samples   mono, finite; the buffer holds at least max(16384, frameSize()) floats, also when
    ///                  `count` is less: the last frame of a short block may look behind `count`, at what the
    ///                  buffer held before
    /// @param position  how many samples were handed over before this block
    /// @param count     samples in this block; may be 0
    /// @param isLast    whether the track ends with this block; no call may follow
    /// @param status    polled during the tempo search of the last block. Told to stop, the search leaves the
    ///                  tempo found so far and a grid without an offset.
    void process(const boost::shared_array<float>& samples, std::uint32_t position, std::uint32_t count,
                 bool isLast, StatusCallbackInterface* status);

    /// Takes the band levels of one detector frame, scales them by 1/6 in place, for the detector too, and
    /// feeds the waveform.
    void rmsUpdate(std::uint32_t position, float* bands) override;

    /// At 120 BPM from sample 1 on until the last block, then at the tempo found.
    [[nodiscard]] const BeatGrid& beatGrid() const { return *beatGrid_; }

    /// Beats per minute: 120 until the last block.
    [[nodiscard]] double bpm() const { return bpm_; }

    /// The key in the spelling of normalizedKeyText; empty while, or if, it is not known.
    [[nodiscard]] const QString& key() const { return key_; }

    /// Whether a key is being looked for: not if the setup says so, nor at rates below 8192 Hz.
    [[nodiscard]] bool keyEnabled() const { return keyDetector_ != nullptr; }

    [[nodiscard]] const LoudnessAnalyzer& loudness() const { return *loudness_; }
    [[nodiscard]] WaveformAnalyzer& waveform() { return *waveform_; }

    /// Samples in one frame of the transient detection.
    [[nodiscard]] std::uint32_t frameSize() const;

private:
    struct DestroyKeyDetector {
        void operator()(CKeyDetect_If* detector) const { DestroyInstance(&detector); }
    };
    using KeyDetector = std::unique_ptr<CKeyDetect_If, DestroyKeyDetector>;

    static KeyDetector makeKeyDetector(const AnalysisSetup& setup);

    void finish(StatusCallbackInterface* status);

    const ebo::refptr<LoudnessAnalyzer> loudness_;  // fed by the transient detection, in passing
    const std::unique_ptr<BeatDetection> beatDetection_;
    ebo::refptr<BeatGrid> beatGrid_;
    const ebo::refptr<WaveformAnalyzer> waveform_;
    QString key_;
    const KeyDetector keyDetector_;  // null if no key is looked for
    const double sampleRate_;        // Hz
    const std::int32_t sampleCount_;
    double bpm_;
};
