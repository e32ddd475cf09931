#include "cli/probe/Decoding.h"

#include "cli/probe/Complaints.h"
#include "cli/probe/announcedBytes.h"
#include "formats/eboAudioFormatReader.h"
#include "formats/eboFileFormats.h"

#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <vector>

namespace tunesift::probe {
namespace {

/// Finds the places where a channel stays at full scale.
class ClipCounter {
public:
    explicit ClipCounter(std::size_t channels) : runs_(channels) {}

    void take(const float* interleaved, std::size_t samples)
    {
        for (std::size_t i = 0; i < samples; ++i) {
            const float level = std::fabs(interleaved[i]);
            peak_ = std::max(peak_, level);
            int& run = runs_[channel_];
            run = level >= kFullScale ? run + 1 : 0;
            places_ += run == kShortestRun ? 1 : 0;
            channel_ = channel_ + 1 == runs_.size() ? 0 : channel_ + 1;
        }
    }

    [[nodiscard]] double peak() const { return double{peak_}; }
    [[nodiscard]] quint64 places() const { return places_; }

private:
    static constexpr float kFullScale = 32766.5F / 32768.0F;  // what 16 bits have at most, at any scaling
    static constexpr int kShortestRun = 3;                    // a single peak may well end there

    std::vector<int> runs_;  ///< Samples at full scale in a row, by channel.
    std::size_t channel_ = 0;
    float peak_ = 0.0F;
    quint64 places_ = 0;
};

void decodeAll(eboAudioFormatReader& reader, Decoding& decoding)
{
    constexpr quint64 kBlockFrames = 16384;
    const quint64 channels = reader.channelCount();
    const quint64 wanted = kBlockFrames * channels;
    std::vector<float> block(static_cast<std::size_t>(wanted));
    ClipCounter counter(static_cast<std::size_t>(channels));
    quint64 samples = 0;
    quint64 delivered = wanted;
    while (delivered == wanted) {
        delivered = reader.readInterleaved(block.data(), samples, wanted);
        samples += delivered;
        counter.take(block.data(), static_cast<std::size_t>(delivered));
    }
    decoding.decodedFrames = samples / channels;
    decoding.peak = counter.peak();
    decoding.clippedPlaces = counter.places();
}

void judge(eboAudioFormatReader& reader, Decoding& decoding)
{
    const TrackLength length = reader.trackLength();
    decoding.statedFrames =
        static_cast<quint64>(length.statedFrames() > 0 ? length.statedFrames() : length.frames());
    decoding.ending =
        length.endingAfter(static_cast<std::int64_t>(decoding.decodedFrames), reader.sampleRate());
    decoding.hasFailed = reader.hasLostData();
    // Of a part of the sound there is no digest.
    decoding.digestDiffers = decoding.ending != TrackLength::Ending::kEarly &&
                             reader.digestVerdict() == eboAudioFormatReader::DigestVerdict::kDiffers;
}

}  // namespace

Decoding decode(const QString& path)
{
    Decoding decoding;
    decoding.announcedBytes = announcedBytes(path);
    decoding.bytes = QFileInfo(path).size();
    const auto formats = ebo::makeRef<eboFileFormats>(nullptr);
    const Complaints complaints;  // after the formats, which silence their decoders
    DecodingOptions options;
    options.comparesDigest = true;
    const auto reader = ebo::dynamicCast<eboAudioFormatReader>(formats->createReader(path, options));
    if (reader && reader->channelCount() > 0) {
        decoding.opened = true;
        decoding.sampleRate = reader->sampleRate();
        decoding.channels = reader->channelCount();
        decodeAll(*reader, decoding);
        judge(*reader, decoding);
    }
    decoding.complaints = complaints.texts();
    return decoding;
}

}  // namespace tunesift::probe
