#include "synth/ClickTrack.h"
#include "synth/HouseLoop.h"
#include "synth/WavWriter.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

/// make_track house|clicks|sparse SECONDS OUT.wav: the inputs of whole_process.py, 44100 Hz, 16 bits.
/// house is stereo music, clicks a mono click track at 180 BPM, sparse one click in every minute.
int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fputs("usage: make_track house|clicks|sparse SECONDS OUT.wav\n", stderr);
        return 2;
    }
    const std::string kind = argv[1];
    const int seconds = std::atoi(argv[2]);
    const bool isStereo = kind == "house";
    constexpr unsigned kRate = 44100;
    constexpr int kPieceSeconds = 60;

    synth::WavWriter out(argv[3], isStereo ? 2 : 1, kRate, synth::SampleFormat::kPcm16);
    for (int written = 0; written < seconds; written += kPieceSeconds) {
        const double piece = std::min(kPieceSeconds, seconds - written);
        std::vector<float> samples;
        if (kind == "house")
            samples = synth::houseLoopStereo({.seconds = piece, .seed = static_cast<unsigned>(written + 1)});
        else if (kind == "clicks")
            samples = synth::clickTrack({.bpm = 180, .seconds = piece});
        else
            samples = synth::clickTrack({.bpm = 1, .seconds = piece});
        if (!out.write(samples))
            return 1;
    }
    return out.close() ? 0 : 1;
}
