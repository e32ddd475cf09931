#include "formats/eboAudioFormatReader.h"

#include "formats/mixToMono.h"

#include <algorithm>
#include <cstddef>

namespace {

// Frames taken from the decoder at once: small enough that they are still in the processor's cache when they
// are mixed, whatever a caller asks for.
constexpr std::uint32_t kBlockFrames = 4096;

}  // namespace

std::uint64_t eboAudioFormatReader::sampleCount() const { return std::uint64_t{length()} * channelCount(); }

/// Reads block by block into the scratch vector and calls consume(first frame of the block in the request,
/// frames in the block) for each.
template <typename Consume>
std::uint32_t eboAudioFormatReader::readBlocks(std::uint32_t firstFrame, std::uint32_t frames,
                                               Consume consume)
{
    const std::uint32_t channels = channelCount();
    if (channels == 0)
        return 0;
    scratch_.resize(std::size_t{kBlockFrames} * channels);
    std::uint32_t done = 0;
    while (done < frames) {
        const std::uint32_t wanted = std::min(frames - done, kBlockFrames);
        const std::uint64_t firstSample = (std::uint64_t{firstFrame} + done) * channels;
        const std::uint64_t samples =
            readInterleaved(scratch_.data(), firstSample, std::uint64_t{wanted} * channels);
        const auto delivered = static_cast<std::uint32_t>(samples / channels);
        consume(done, delivered);
        done += delivered;
        if (delivered < wanted)
            break;
    }
    return done;
}

std::uint32_t eboAudioFormatReader::readMono(float* target, std::uint32_t firstFrame, std::uint32_t frames)
{
    return readBlocks(firstFrame, frames, [&](std::uint32_t done, std::uint32_t delivered) {
        mixToMono(scratch_.data(), target + done, delivered, channelCount());
    });
}

std::uint32_t eboAudioFormatReader::readChannels(float** targets, std::uint32_t firstFrame,
                                                 std::uint32_t frames, std::uint32_t channels)
{
    const std::uint32_t sourceChannels = channelCount();
    const std::uint32_t targetChannels = channels != 0 ? channels : sourceChannels;
    const std::uint32_t copied = std::min(targetChannels, sourceChannels);
    for (std::uint32_t channel = copied; channel < targetChannels; ++channel)
        std::fill_n(targets[channel], frames, 0.0f);
    return readBlocks(firstFrame, frames, [&](std::uint32_t done, std::uint32_t delivered) {
        for (std::uint32_t channel = 0; channel < copied; ++channel) {
            const float* source = scratch_.data() + channel;
            for (std::uint32_t frame = 0; frame < delivered; ++frame, source += sourceChannels)
                targets[channel][done + frame] = *source;
        }
    });
}

std::uint32_t eboAudioFormatReader::readStereoPlanar(float** targets, std::uint32_t firstFrame,
                                                     std::uint32_t frames)
{
    switch (channelCount()) {
    case 1: {
        const std::uint32_t delivered = readChannels(targets, firstFrame, frames, 1);
        std::copy_n(targets[0], delivered, targets[1]);
        return delivered;
    }
    case 2:
        return readChannels(targets, firstFrame, frames, 2);
    default:
        return 0;
    }
}
