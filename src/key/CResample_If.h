#pragma once

/// Changes the sample rate of a mono stream, block by block. One thread.
class CResample_If {
public:
    virtual ~CResample_If() = default;

    /// Takes the next input and gives what output can be made by now.
    /// @param in      mono samples of the stream, in a buffer apart from `out`
    /// @param frames  0 to the `maxBlock` that the object was made for
    /// @param out     room for `maxOutput()` floats
    /// @return samples written to `out`
    virtual int process(const float* in, int frames, float* out) = 0;

    /// The most that one call of `process` gives.
    [[nodiscard]] virtual int maxOutput() const = 0;

    /// Starts a new stream.
    virtual void reset() = 0;
};
