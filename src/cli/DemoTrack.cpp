#include "cli/DemoTrack.h"

#include "synth/HouseLoop.h"
#include "synth/WavWriter.h"

#include <QFile>

namespace tunesift::cli {
namespace {

// Slow for house, so that the default range of tempos, 58 to 116, holds it and not only half of it. The key
// is A minor, as the description says.
const synth::HouseLoop kLoop{.seconds = 30, .bpm = 112, .key = {.tonic = 9, .mode = synth::Mode::kMinor}};

bool writeLoop(const QString& path)
{
    constexpr unsigned kChannels = 2;
    return synth::writeWav(QFile::encodeName(path).toStdString(), synth::houseLoopStereo(kLoop), kChannels,
                           kLoop.sampleRate, synth::SampleFormat::kPcm16);
}

}  // namespace

DemoTrack::DemoTrack() : good_(folder_.isValid() && writeLoop(path())) {}

QString DemoTrack::path() const { return folder_.filePath(QStringLiteral("house-loop.wav")); }

QString DemoTrack::description()
{
    return QStringLiteral("No track given, so here is a demo: %1 s of made house music, %2 BPM in A minor, "
                          "first downbeat at 0.000 s.\n")
        .arg(kLoop.seconds)
        .arg(kLoop.bpm, 0, 'f', 2);
}

}  // namespace tunesift::cli
