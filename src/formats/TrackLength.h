#pragma once

#include <cstdint>

/// How long a track is, how that is known, and whether it can be relied on: what its reader finds out when it
/// opens the file, and everybody else goes by.
class TrackLength {
public:
    enum class Source {
        kStated,   ///< The file says so, and its bytes do not contradict it.
        kCounted,  ///< By walking through all of its packets.
        kSearched  ///< By the number of the last block in the file.
    };

    enum class Verdict {
        kComplete,     ///< All frames from the first to the last that plays.
        kFailed,       ///< The file could not be read to its end: how long it is, is not known.
        kImplausible,  ///< Nothing at all, or more than can be analysed.
    };

    /// Frame numbers of an analysis have 31 bits.
    static constexpr std::int64_t kMostFrames = 0x7FFFFFFF;

    /// @param frames that play, from the first on
    [[nodiscard]] static TrackLength stated(std::int64_t frames);
    /// @param frames       as above
    /// @param statedFrames what the file says, that was not believed; 0 if it says nothing
    [[nodiscard]] static TrackLength counted(std::int64_t frames, std::int64_t statedFrames = 0);
    [[nodiscard]] static TrackLength searched(std::int64_t frames, std::int64_t statedFrames = 0);
    [[nodiscard]] static TrackLength failed();

    [[nodiscard]] std::int64_t frames() const { return frames_; }

    /// frames() in 32 bits: 2^32 - 1 for that and everything above, 0 for a length that is not known.
    [[nodiscard]] std::uint32_t announcedFrames() const;

    /// What the file says, believed or not; 0 if it says nothing.
    [[nodiscard]] std::int64_t statedFrames() const { return statedFrames_; }

    [[nodiscard]] Source source() const { return source_; }
    [[nodiscard]] Verdict verdict() const;

    /// What the frames that were decoded up to the end of the file make of what it states. Encoders' padding,
    /// up to a tenth of a second, is stated by some formats and taken away by their decoders, or the other
    /// way round.
    enum class Ending { kAsStated, kEarly, kLate };
    [[nodiscard]] Ending endingAfter(std::int64_t decodedFrames, std::int64_t sampleRate) const;

    bool operator==(const TrackLength&) const = default;

private:
    TrackLength(std::int64_t frames, std::int64_t statedFrames, Source source, bool hasFailed)
        : frames_(frames), statedFrames_(statedFrames), source_(source), hasFailed_(hasFailed)
    {}

    std::int64_t frames_ = 0;
    std::int64_t statedFrames_ = 0;
    Source source_ = Source::kStated;
    bool hasFailed_ = false;
};
