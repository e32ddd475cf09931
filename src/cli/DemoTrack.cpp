#include "cli/DemoTrack.h"

#include "synth/HouseLoop.h"
#include "synth/WavWriter.h"

#include <QFile>

namespace tunesift::cli {
namespace {

// A minor, as the name of the file and the expectation say.
const synth::HouseLoop kLoop{.seconds = 30, .bpm = 124, .key = {.tonic = 9, .mode = synth::Mode::kMinor}};

bool writeLoop(const QString& path)
{
    constexpr unsigned kChannels = 2;
    return synth::writeWav(QFile::encodeName(path).toStdString(), synth::houseLoopStereo(kLoop), kChannels,
                           kLoop.sampleRate, synth::SampleFormat::kPcm16);
}

}  // namespace

DemoTrack::DemoTrack() : good_(folder_.isValid() && writeLoop(path())) {}

QString DemoTrack::path() const { return folder_.filePath(QStringLiteral("house-loop.wav")); }

QString DemoTrack::expectation()
{
    return QStringLiteral("No track given, so here is a demo: %1 s of made house music. "
                          "To be found: %2 BPM, key Am, first downbeat at 0.000 s.\n")
        .arg(kLoop.seconds)
        .arg(kLoop.bpm, 0, 'f', 2);
}

}  // namespace tunesift::cli
