#include "formats/ffmpeg/ffmpegFileReader.h"

#include "formats/ffmpeg/chainedPackets.h"
#include "formats/ffmpeg/countFrames.h"
#include "formats/ffmpeg/fitsPcmBytes.h"
#include "formats/ffmpeg/mpegAccount.h"
#include "formats/trailingTags.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace {

constexpr std::size_t kExtensionBytes = 4;

constexpr int kAacDelayFrames = 2112;  // what AAC encoders put before the sound if they do not say otherwise

ebo::refptr<eboFile> withoutWindowsMedia(ebo::refptr<eboFile> file)
{
    const std::string path = file ? file->filePath() : "none";
    if (path.substr(path.size() - kExtensionBytes) == ".wma")
        throw eboFormatReader::FileUnsupported("FFMPEG");
    return file;
}

}  // namespace

ffmpegFileReader::StreamFacts::StreamFacts(const ffmpegAudioStream& stream)
    : index(stream.index()), codecId(stream.codecId()), channels(stream.channels()),
      sampleRate(stream.sampleRate()), startOffset(stream.startOffset()), skipCount(stream.skipCount()),
      hasFloatPlanes(stream.hasFloatPlanes())
{}

ffmpegFileReader::ffmpegFileReader(ebo::refptr<eboFile> file, const DecodingOptions& options,
                                   std::optional<TrackLength> knownLength, int wantedStreamIndex)
    : eboDecodedFileReader(withoutWindowsMedia(std::move(file)), "FFMPEG", options, DecoderFeed::kUnlimited)
{
    openStream(wantedStreamIndex, knownLength);
}

ffmpegFileReader::~ffmpegFileReader() = default;

void ffmpegFileReader::openStream(int wantedStreamIndex, const std::optional<TrackLength>& knownLength)
{
    auto input = std::make_unique<ffmpegInput>(feed());
    audioStreams_ = input->audioStreams();
    std::vector<int> candidates = audioStreams_;
    if (wantedStreamIndex != kFirstUsableStream) {
        std::reverse(candidates.begin(), candidates.end());
        std::stable_partition(candidates.begin(), candidates.end(),
                              [=](int index) { return index == wantedStreamIndex; });
    }
    for (const int index : candidates) {
        // A failed attempt has used the input up.
        if (input == nullptr)
            input = std::make_unique<ffmpegInput>(feed());
        if (tryStream(std::move(input), index, knownLength))
            return;
    }
    throw FileUnsupported("FFMPEG");
}

bool ffmpegFileReader::tryStream(std::unique_ptr<ffmpegInput> input, int streamIndex,
                                 const std::optional<TrackLength>& knownLength)
{
    std::unique_ptr<ffmpegAudioStream> opened;
    try {
        opened = std::make_unique<ffmpegAudioStream>(std::move(input), streamIndex);
    } catch (const FileUnsupported&) {
        return false;
    }
    const StreamFacts facts(*opened);
    const TrackLength length = knownLength ? *knownLength : findLength(opened);
    if (opened == nullptr)
        return false;
    facts_ = facts;
    play(
        std::move(opened), [this, facts] { return reopen(facts); },
        static_cast<std::uint32_t>(facts.channels), static_cast<std::uint32_t>(facts.sampleRate), length);
    return true;
}

/// Looks for the length of a stream that stands at its start, and leaves it there, or a new one in its place;
/// null if there is none any more.
TrackLength ffmpegFileReader::findLength(std::unique_ptr<ffmpegAudioStream>& stream)
{
    const std::int64_t stated = stream->statedFrames();
    if (stated > 0 && isStatedLengthPlausible(*stream, stated))
        return TrackLength::stated(stated);
    if (stated == 0) {
        if (const auto chained = countChained(*stream))
            return TrackLength::counted(*chained);
    }
    const StreamFacts facts(*stream);
    stream.reset();  // two of them cannot share the file
    ffmpegInput input(feed());
    const std::int64_t counted = countFrames(input, facts.index, facts.sampleRate);
    const bool hasFailed = input.hasFailed();
    stream = reopen(facts);
    return hasFailed ? TrackLength::failed() : TrackLength::counted(counted, stated);
}

/// The frames of mp3 or ADTS that holds nothing else and trims nothing: a tenth of the work of a demuxer.
std::optional<std::int64_t> ffmpegFileReader::countChained(const ffmpegAudioStream& stream)
{
    const ParsePacketHeader parse = packetHeaderOf(stream.input(), stream.index());
    if (parse == nullptr || stream.firstByte() < 0 || stream.skipCount() != 0)
        return {};
    const std::int64_t place = feed().pos();  // the library's, which goes on from there
    const std::int64_t end = feed().size() - trailingTagBytes(feed());
    const auto chained = chainedFrames(feed(), stream.firstByte(), end, parse);
    if (!feed().seek(place) || feed().hasFailed() || !chained)
        return {};
    return av_rescale(chained->frames, stream.sampleRate(), chained->sampleRate);
}

bool ffmpegFileReader::isStatedLengthPlausible(const ffmpegAudioStream& stream, std::int64_t statedFrames)
{
    if (stream.firstByte() < 0)
        return true;
    const std::int64_t place = feed().pos();  // the library's, which goes on from there
    bool isPlausible = true;
    if (stream.input().isContainer("mp3"))
        isPlausible = mpegAccount(feed(), stream.firstByte(), statedFrames + stream.statedPriming()) !=
                      MpegAccount::kContradicts;
    else if (stream.pcmFrameBytes() > 0 && stream.input().isContainer("aiff"))
        isPlausible = fitsPcmBytes(feed(), stream.firstByte(), statedFrames * stream.pcmFrameBytes());
    return feed().seek(place) && isPlausible;
}

/// A new decoder at the start of a stream that is known, so that what follows is what a new reader would
/// deliver; null if that is not to be had, or not the same.
std::unique_ptr<ffmpegAudioStream> ffmpegFileReader::reopen(const StreamFacts& facts)
{
    try {
        auto stream = std::make_unique<ffmpegAudioStream>(std::make_unique<ffmpegInput>(feed()), facts.index);
        if (StreamFacts(*stream) == facts)  // otherwise the file has changed
            return stream;
    } catch (const FileUnsupported&) {
        return nullptr;
    }
    return nullptr;
}

ffmpegAudioStream& ffmpegFileReader::stream() const { return static_cast<ffmpegAudioStream&>(*decoder()); }

ebo::refptr<eboFormatReader> ffmpegFileReader::clone()
{
    return ebo::makeRef<ffmpegFileReader>(file().clone(), options(), trackLength(), facts_.index);
}

int ffmpegFileReader::encoderDelay() const
{
    switch (facts_.codecId) {
    case AV_CODEC_ID_AAC:
        return facts_.startOffset == 0 ? kAacDelayFrames : 0;
    case AV_CODEC_ID_MP3:
        return -2 * facts_.skipCount;
    default:
        return 0;
    }
}

std::uint32_t ffmpegFileReader::audioStreamCount() const
{
    return static_cast<std::uint32_t>(audioStreams_.size());
}

void ffmpegFileReader::selectAudioStream(std::uint32_t index)
{
    if (decoder() == nullptr || index >= audioStreams_.size())
        return;
    playNothing();
    const StreamFacts previous = facts_;
    const TrackLength previousLength = trackLength();
    try {
        if (!tryStream(std::make_unique<ffmpegInput>(feed()), audioStreams_[index], {}))
            tryStream(std::make_unique<ffmpegInput>(feed()), previous.index, previousLength);
    } catch (const FileUnsupported&) {
        return;  // nothing can be read from the file any more
    }
}

std::uint32_t ffmpegFileReader::readStereoPlanar(float** targets, std::uint32_t firstFrame,
                                                 std::uint32_t frames)
{
    if (channelCount() <= 2)
        return eboDecodedFileReader::readStereoPlanar(targets, firstFrame, frames);
    const auto delivery =
        deliver(firstFrame, frames, [&](std::int64_t first, std::int64_t count, std::int64_t done) {
            const std::array planes{targets[0] + done, targets[1] + done};
            return stream().planarStereo(first, count, planes.data());
        });
    return static_cast<std::uint32_t>(delivery.frames);
}

std::uint32_t ffmpegFileReader::readMono(float* target, std::uint32_t firstFrame, std::uint32_t frames)
{
    if (!facts_.hasFloatPlanes)
        return eboDecodedFileReader::readMono(target, firstFrame, frames);
    const auto delivery =
        deliver(firstFrame, frames, [&](std::int64_t first, std::int64_t count, std::int64_t done) {
            stream().mono(first, count, target + done);
            return true;
        });
    return static_cast<std::uint32_t>(delivery.frames);
}
