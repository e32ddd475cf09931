#include "formats/ffmpeg/ffmpegFileReader.h"

#include "formats/ffmpeg/ffmpegTime.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace {

// A known length is kept within the range of frame numbers.
constexpr std::uint64_t kMostFrames = ffmpeg::kFarthestFrame;
constexpr std::int64_t kUnknownPosition = -1;
constexpr std::size_t kExtensionBytes = 4;
constexpr std::int64_t kLastFrame = std::numeric_limits<std::uint32_t>::max();

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
      sampleRate(stream.sampleRate()), startOffset(stream.startOffset()), skipCount(stream.skipCount())
{}

ffmpegFileReader::ffmpegFileReader(ebo::refptr<eboFile> file, std::uint64_t knownFrames,
                                   int wantedStreamIndex)
    : file_(withoutWindowsMedia(std::move(file)), "FFMPEG")
{
    openStream(wantedStreamIndex, static_cast<std::int64_t>(std::min(knownFrames, kMostFrames)));
}

ffmpegFileReader::~ffmpegFileReader() = default;

void ffmpegFileReader::openStream(int wantedStreamIndex, std::int64_t knownFrames)
{
    auto input = std::make_unique<ffmpegInput>(*file_);
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
            input = std::make_unique<ffmpegInput>(*file_);
        if (tryStream(std::move(input), index, knownFrames))
            return;
    }
    throw FileUnsupported("FFMPEG");
}

bool ffmpegFileReader::tryStream(std::unique_ptr<ffmpegInput> input, int streamIndex,
                                 std::int64_t knownFrames)
{
    try {
        stream_ = std::make_unique<ffmpegAudioStream>(std::move(input), streamIndex);
    } catch (const FileUnsupported&) {
        return false;
    }
    facts_ = StreamFacts(*stream_);
    position_ = 0;
    totalFrames_ = knownFrames;
    if (totalFrames_ == 0)
        totalFrames_ = stream_->statedFrames();
    if (totalFrames_ == 0) {
        stream_.reset();  // two of them cannot share the file
        totalFrames_ = ffmpegInput(*file_).countFrames(streamIndex, facts_.sampleRate);
        return rewind();
    }
    return true;
}

ebo::refptr<eboFormatReader> ffmpegFileReader::clone()
{
    return ebo::makeRef<ffmpegFileReader>(file_->clone(), static_cast<std::uint64_t>(totalFrames_),
                                          facts_.index);
}

void ffmpegFileReader::close()
{
    stream_.reset();
    file_.close();
}

std::uint32_t ffmpegFileReader::channelCount() const { return static_cast<std::uint32_t>(facts_.channels); }

std::uint32_t ffmpegFileReader::sampleRate() const { return static_cast<std::uint32_t>(facts_.sampleRate); }

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
    if (stream_ == nullptr || index >= audioStreams_.size())
        return;
    stream_.reset();
    const std::int64_t previousTotal = totalFrames_;
    const StreamFacts previous = facts_;
    try {
        if (tryStream(std::make_unique<ffmpegInput>(*file_), audioStreams_[index], 0))
            return;
        tryStream(std::make_unique<ffmpegInput>(*file_), previous.index, previousTotal);
    } catch (const FileUnsupported&) {
        stream_.reset();
    }
}

std::uint32_t ffmpegFileReader::length() const
{
    return static_cast<std::uint32_t>(
        std::clamp(totalFrames_ - facts_.startOffset, std::int64_t{0}, kLastFrame));
}

std::uint64_t ffmpegFileReader::readInterleaved(float* target, std::uint64_t firstSample,
                                                std::uint64_t sampleCount)
{
    const std::uint64_t channels = channelCount();
    if (stream_ == nullptr || firstSample % channels != 0 || firstSample / channels > kLastFrame)
        return 0;
    const auto firstFrame = static_cast<std::int64_t>(firstSample / channels);
    if (!goTo(firstFrame))
        return 0;
    const std::int64_t delivered = stream_->take(target, static_cast<std::int64_t>(sampleCount / channels));
    position_ = firstFrame + delivered;
    return static_cast<std::uint64_t>(delivered) * channels;
}

std::uint32_t ffmpegFileReader::readStereoPlanar(float** targets, std::uint32_t firstFrame,
                                                 std::uint32_t frames)
{
    if (channelCount() <= 2)
        return eboAudioFormatReader::readStereoPlanar(targets, firstFrame, frames);
    if (stream_ == nullptr || !goTo(firstFrame))
        return 0;
    return advance(firstFrame, stream_->takePlanarStereo(targets, frames));
}

std::uint32_t ffmpegFileReader::readMono(float* target, std::uint32_t firstFrame, std::uint32_t frames)
{
    if (stream_ == nullptr || !stream_->hasFloatPlanes())
        return eboAudioFormatReader::readMono(target, firstFrame, frames);
    if (!goTo(firstFrame))
        return 0;
    return advance(firstFrame, stream_->takeMono(target, frames));
}

std::uint32_t ffmpegFileReader::advance(std::uint32_t firstFrame, std::int64_t delivered)
{
    position_ = firstFrame + delivered;
    return static_cast<std::uint32_t>(delivered);
}

/// Starts over with a new decoder, so that what follows is what a new reader would deliver.
bool ffmpegFileReader::rewind()
{
    stream_.reset();
    try {
        stream_ = std::make_unique<ffmpegAudioStream>(std::make_unique<ffmpegInput>(*file_), facts_.index);
    } catch (const FileUnsupported&) {
        return false;
    }
    if (StreamFacts(*stream_) != facts_) {
        stream_.reset();  // the file has changed
        return false;
    }
    position_ = 0;
    return true;
}

bool ffmpegFileReader::goTo(std::int64_t frame)
{
    if (frame == position_)
        return true;
    position_ = kUnknownPosition;
    switch (stream_->seek(frame)) {
    case ffmpegAudioStream::Seek::Done:
        position_ = frame;
        return true;
    case ffmpegAudioStream::Seek::Unaligned:
        if (!rewind())
            return false;
        position_ = stream_->drop(frame);
        return position_ == frame;
    case ffmpegAudioStream::Seek::Failed:
        break;
    }
    return false;
}
