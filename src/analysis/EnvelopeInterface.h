#pragma once

namespace eboEnvelopes {

/// A follower of a level, fed with one value per update.
class EnvelopeInterface {
public:
    virtual ~EnvelopeInterface() = default;

    /// Takes the next value. @return the envelope after it
    virtual float process(float value) = 0;
};

}  // namespace eboEnvelopes
