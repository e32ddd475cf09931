#pragma once

#include "formats/ffmpeg/ffmpegHandles.h"

#include <cstdint>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

/// Converts decoded audio to float, full scale being 1.0, at its own rate. The channels are taken in their
/// usual order, whatever the stream calls them. Since the rate stays, nothing is held back between calls, and
/// there is nothing to be emptied when the stream is read elsewhere. One thread at a time.
class ffmpegResampler {
public:
    enum class Output {
        Interleaved,   ///< One plane with the channels of the source.
        PlanarStereo,  ///< Two planes; what is not stereo is mixed to it.
    };

    /// @param sampleRate frames per second
    /// @throws eboFormatReader::FileUnsupported if there is no such conversion
    ffmpegResampler(int channels, int sampleRate, AVSampleFormat format, Output output);

    /// Converts a part of a decoded block.
    /// @param first first frame (moment) of the block to convert
    /// @param count frames to convert
    /// @param targets a pointer per plane of the output
    /// @return whether all of them were converted
    bool convert(const AVFrame& decoded, std::int64_t first, std::int64_t count, float* const* targets);

private:
    const Output output_;
    ffmpeg::Resampler context_;
};
