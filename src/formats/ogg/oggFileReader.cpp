#include "formats/ogg/oggFileReader.h"

#include <algorithm>
#include <utility>

oggFileReader::oggFileReader(ebo::refptr<eboFile> file, const DecodingOptions& options)
    : eboDecodedFileReader(std::move(file), "OGG", options)
{
    auto stream = std::make_unique<oggStream>(feed());
    const std::uint32_t channels = stream->channels();
    const std::uint32_t sampleRate = stream->sampleRate();
    const std::int64_t stated = std::max(stream->statedFrames(), std::int64_t{0});
    play(
        std::move(stream),
        [this]() -> std::unique_ptr<BlockDecoder> {
            try {
                return std::make_unique<oggStream>(feed());
            } catch (const FileUnsupported&) {
                return nullptr;
            }
        },
        channels, sampleRate, feed().hasFailed() ? TrackLength::failed() : TrackLength::stated(stated));
}

oggFileReader::~oggFileReader() = default;

ebo::refptr<eboFormatReader> oggFileReader::clone()
{
    return ebo::makeRef<oggFileReader>(file().clone(), options());
}
