#pragma once

#include "key/KeyResult.h"
#include "key/keyStatus.h"

namespace eboKey {
class CKeyDetectResult;
}

/// Finds the musical key of one track, fed in blocks of any sample rate from 8192 Hz up. One thread at a
/// time.
class CKeyDetect_If {
public:
    /// The longest block, in frames.
    static constexpr int kLongestBlock = 16384;

    virtual ~CKeyDetect_If() = default;

    /// Takes the next block, which stays as it is. Several channels are added up.
    /// @param frames  1 to kLongestBlock
    /// @return kInvalidArgument, with nothing consumed, for null or for another number of frames
    virtual eboKey::Status process(const float* interleaved, int frames) = 0;

    /// Takes the next block, one pointer per channel.
    virtual eboKey::Status process(const float* const* channels, int frames) = 0;

    /// The key of the recent past, with the vote of Krumhansl's and Kessler's templates as second key.
    /// @param profile  null, or room for the twelve values of the chroma, from A upward
    /// @return kInvalidArgument for a null result
    virtual eboKey::Status getRunningKey(KeyResult* result, float* profile) = 0;

    /// The key of all that was fed so far, with an estimate on the circle of fifths as second key. May be
    /// asked for at any time and changes nothing.
    /// @param profile   null, or room for the twelve values of the mean chroma
    /// @param reserved  not looked at
    /// @return kInvalidArgument for a null result
    virtual eboKey::Status getKey(KeyResult* result, float* profile, int reserved) = 0;

    /// Hands over the running key, the chroma and the log of all blocks. @return kInvalidArgument for null
    virtual eboKey::Status getResult(eboKey::CKeyDetectResult* result) = 0;
};

/// Makes a key detector.
/// @param sampleRate       Hz, of the input
/// @param channels         of the input, from 1
/// @param flag             0 for the good resampler, otherwise the fast one
/// @param tuningFrequency  where to look for A at first, in Hz; 440 is taken for 400 and below
/// @return kSampleRateTooLow below 8192 Hz, kInvalidArgument; `instance` is null then. Throws std::bad_alloc.
eboKey::Status CreateInstance(CKeyDetect_If** instance, int sampleRate, int channels, int flag,
                              float tuningFrequency);

/// Destroys a detector and sets the pointer to null. @return kInvalidArgument for a null pointer
eboKey::Status DestroyInstance(CKeyDetect_If** instance);
