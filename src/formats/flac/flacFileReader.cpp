#include "formats/flac/flacFileReader.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

namespace {

constexpr std::uint64_t kLastFrame = std::numeric_limits<std::uint32_t>::max();

}  // namespace

flacFileReader::flacFileReader(ebo::refptr<eboFile> file, std::uint64_t knownFrames)
    : file_(std::move(file), "FLAC"), stream_(openStream()), channels_(stream_->channels()),
      sampleRate_(stream_->sampleRate()), totalFrames_(knownFrames)
{
    if (totalFrames_ == 0)
        totalFrames_ = stream_->statedFrames();
    if (totalFrames_ == 0) {
        totalFrames_ = stream_->findEnd();
        stream_ = openStream();
    }
}

flacFileReader::~flacFileReader() = default;

std::unique_ptr<flacStream> flacFileReader::openStream() const
{
    const bool isInOgg = std::string_view(file_->filePath()).ends_with(".oga");
    return std::make_unique<flacStream>(*file_,
                                        isInOgg ? flacStream::Container::Ogg : flacStream::Container::Native);
}

ebo::refptr<eboFormatReader> flacFileReader::clone()
{
    return ebo::makeRef<flacFileReader>(file_->clone(), totalFrames_);
}

void flacFileReader::close()
{
    stream_.reset();
    file_.close();
}

std::uint32_t flacFileReader::length() const
{
    return static_cast<std::uint32_t>(std::min(totalFrames_, kLastFrame));
}

std::uint64_t flacFileReader::readInterleaved(float* target, std::uint64_t firstSample,
                                              std::uint64_t sampleCount)
{
    if (stream_ == nullptr || firstSample % channels_ != 0)
        return 0;
    return stream_->read(target, firstSample / channels_, sampleCount / channels_) * channels_;
}
