#pragma once

#include <cstdint>
#include <vector>

namespace eboKey {

/// Receives everything that a key detector knows about the recent past, item by item in the order of the
/// operations below. For callers that want the course of the key and not only its end.
class CKeyDetectResult {
public:
    /// What the detector thought after one of its blocks.
    struct KeyEntry {
        std::int32_t key;  ///< 0 to 23, or -1 for none.
        float strength;
        float time;  ///< Seconds from the start of the track; below 0 at its beginning, see getLatency.
    };

    /// The entries of all blocks so far. Grows by a constant step: a track's length is not known beforehand,
    /// and a block comes but twice a second.
    class KeyArray {
    public:
        KeyArray() { entries_.reserve(kFirstCapacity); }

        void append(const KeyEntry& entry)
        {
            if (entries_.size() == entries_.capacity())
                entries_.reserve(entries_.size() + kGrowth);
            entries_.push_back(entry);
        }

        [[nodiscard]] const std::vector<KeyEntry>& entries() const { return entries_; }
        [[nodiscard]] std::int32_t count() const { return static_cast<std::int32_t>(entries_.size()); }

    private:
        static constexpr std::size_t kFirstCapacity = 20;  // ten seconds
        static constexpr std::size_t kGrowth = 100;

        std::vector<KeyEntry> entries_;
    };

    virtual ~CKeyDetectResult() = default;

    virtual void setKey(std::int32_t key, float strength) = 0;
    virtual void setSecondKey(std::int32_t key, float strength) = 0;

    /// @param smoothed, mean  twelve values each, from A upward: the chroma of the last blocks, and that of
    ///                        the whole track so far
    virtual void setChroma(const float* smoothed, const float* mean) = 0;

    virtual void setTuningFrequency(float hertz) = 0;
    virtual void setKeyCount(std::int32_t count) = 0;
    virtual void addKey(const KeyEntry& entry) = 0;
};

}  // namespace eboKey
