#pragma once

#include "formats/eboAudioFormatReader.h"
#include "formats/eboFileFormats.h"
#include "runtime/refptr.h"

#include <cstdint>
#include <functional>
#include <memory>

/// What a FakeReader plays; shared by the test and all readers of a track.
struct FakeTrack {
    std::uint32_t sampleRate = 44100;
    std::uint32_t length = 44100;     ///< Frames, as announced.
    std::uint32_t delivered = 44100;  ///< Frames that are really there.

    /// Called at the start of each read, on the reading thread.
    std::function<void(float* target, std::uint64_t firstFrame, std::uint64_t frames)> onRead = {};

    bool isGone = false;  ///< No further reader can be made.
    int readers = 0;      ///< Made so far.

    int living = 0;  ///< Readers that have not ended.
    int closed = 0;  ///< Calls of close.

    bool hasLostData = false;  ///< The file has gone away.

    /// Called as the first reader is made, with what its maker has to ask. False: there is none.
    std::function<bool(const StopCheck& stopCheck)> onOpen = {};
};

/// A mono reader that plays a constant of 0.25 for as long as there are frames.
class FakeReader : public eboAudioFormatReader {
public:
    explicit FakeReader(std::shared_ptr<FakeTrack> track) : track_(std::move(track))
    {
        ++track_->readers;
        ++track_->living;
    }
    ~FakeReader() override { --track_->living; }

    ebo::refptr<eboFormatReader> clone() override
    {
        if (track_->isGone)
            throw FileUnsupported("FAKE");
        return ebo::makeRef<FakeReader>(track_);
    }
    void close() override { ++track_->closed; }
    [[nodiscard]] bool hasLostData() const override { return track_->hasLostData; }
    [[nodiscard]] std::uint32_t channelCount() const override { return 1; }
    [[nodiscard]] std::uint32_t sampleRate() const override { return track_->sampleRate; }
    [[nodiscard]] int encoderDelay() const override { return 0; }
    [[nodiscard]] std::uint32_t audioStreamCount() const override { return 1; }
    void selectAudioStream(std::uint32_t /*index*/) override {}
    [[nodiscard]] std::uint32_t length() const override { return track_->length; }

    std::uint64_t readInterleaved(float* target, std::uint64_t firstSample,
                                  std::uint64_t sampleCount) override
    {
        const std::uint64_t left =
            track_->delivered - std::min<std::uint64_t>(track_->delivered, firstSample);
        const std::uint64_t count = std::min(left, sampleCount);
        std::fill_n(target, count, 0.25f);
        return count;
    }

    std::uint32_t readMono(float* target, std::uint32_t firstFrame, std::uint32_t frames) override
    {
        if (track_->onRead)
            track_->onRead(target, firstFrame, frames);
        return static_cast<std::uint32_t>(readInterleaved(target, firstFrame, frames));
    }

private:
    const std::shared_ptr<FakeTrack> track_;
};

/// A registry whose only format plays `track`, whatever the path.
inline ebo::refptr<eboFileFormats> formatsThatPlay(const std::shared_ptr<FakeTrack>& track)
{
    FormatEntry entry;
    entry.extensions = QStringLiteral("fake");
    entry.canRead = [](const QString& /*path*/) { return true; };
    entry.createReader = [track](const QString& /*path*/, const ebo::refptr<eboFileFactory>& /*factory*/,
                                 const DecodingOptions& options) {
        if (track->onOpen && !track->onOpen(options.stopCheck))
            return ebo::refptr<eboFormatReader>();
        return ebo::refptr<eboFormatReader>(ebo::makeRef<FakeReader>(track));
    };
    return ebo::makeRef<eboFileFormats>(ebo::refptr<eboFileFactory>(), std::vector{entry});
}
