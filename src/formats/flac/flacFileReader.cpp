#include "formats/flac/flacFileReader.h"

#include <string_view>
#include <utility>

namespace {

bool isInOgg(const eboFile& file) { return std::string_view(file.filePath()).ends_with(".oga"); }

std::int64_t mostBytesPerCall(const ebo::refptr<eboFile>& file)
{
    // libogg keeps what it collects for a packet; without it libFLAC keeps nothing of what it passes over.
    return file && isInOgg(*file) ? DecoderFeed::kMostBytesPerCall : DecoderFeed::kUnlimited;
}

}  // namespace

flacFileReader::flacFileReader(ebo::refptr<eboFile> file, const DecodingOptions& options,
                               std::optional<TrackLength> knownLength)
    : eboDecodedFileReader(file, "FLAC", options, mostBytesPerCall(file))
{
    const TrackLength length = knownLength ? *knownLength : findLength();
    auto stream = openStream();
    const std::uint32_t channels = stream->channels();
    const std::uint32_t sampleRate = stream->sampleRate();
    play(
        std::move(stream),
        [this]() -> std::unique_ptr<BlockDecoder> {
            try {
                return openStream();
            } catch (const FileUnsupported&) {
                return nullptr;
            }
        },
        channels, sampleRate, length);
}

flacFileReader::~flacFileReader() = default;

std::unique_ptr<flacStream> flacFileReader::openStream()
{
    const auto container = isInOgg(file()) ? flacStream::Container::kOgg : flacStream::Container::kNative;
    return std::make_unique<flacStream>(feed(), container, options().comparesDigest);
}

TrackLength flacFileReader::findLength()
{
    const auto stream = openStream();
    const auto stated = static_cast<std::int64_t>(stream->statedFrames());
    const auto end = stream->findEnd();
    if (!end || feed().hasFailed())
        return TrackLength::failed();
    const auto found = static_cast<std::int64_t>(end->frames);
    if (found == stated || (found < stated && end->isCutOff))
        return TrackLength::stated(stated);
    return TrackLength::searched(found, stated);
}

ebo::refptr<eboFormatReader> flacFileReader::clone()
{
    return ebo::makeRef<flacFileReader>(file().clone(), options(), trackLength());
}

flacFileReader::DigestVerdict flacFileReader::digestVerdict()
{
    if (decoder() == nullptr || hasLostData())
        return DigestVerdict::kNotCompared;
    const auto same = static_cast<flacStream&>(*decoder()).isDigestSame();
    playNothing();
    if (!same)
        return DigestVerdict::kNotCompared;
    return *same ? DigestVerdict::kSame : DigestVerdict::kDiffers;
}

std::uint64_t flacFileReader::readInterleaved(float* target, std::uint64_t firstSample,
                                              std::uint64_t sampleCount)
{
    const FrameCursor::Delivery delivery = deliverInterleaved(target, firstSample, sampleCount);
    return delivery.hasFailed ? 0 : static_cast<std::uint64_t>(delivery.frames) * channelCount();
}
