#pragma once

#include "key/CMovingAverage.h"
#include "key/keyProfiles.h"
#include "key/keyStatus.h"

#include <array>
#include <memory>

namespace eboKey {

/// Names the key of a chroma: twelve values, how strongly each pitch class sounds, from A upward.
///
/// A chroma is scored against the templates of all 24 keys, by four sets of templates. Each set has two
/// opinions on the key: its latest scores and their mean over time. The key is found by a vote among them.
/// One thread.
class CKeyRecognition {
public:
    static constexpr int kOpinions = 2 * kProfileSets;

    /// One value for each key.
    using Scores = std::array<float, kKeys>;

    /// The latest scores by each set of templates.
    using ScoreTables = std::array<Scores, kProfileSets>;

    CKeyRecognition() = default;
    virtual ~CKeyRecognition() = default;
    CKeyRecognition(const CKeyRecognition&) = delete;
    CKeyRecognition& operator=(const CKeyRecognition&) = delete;

    /// Scores a chroma by all sets.
    /// @param chroma        twelve values, not below 0; they come back divided by their sum
    /// @param keepAverages  0 to let the means over time take part, otherwise they stay as they are
    void update(float* chroma, int keepAverages);

    /// Scores a chroma by one set. Nothing is known of the templates before the first update: all keys score
    /// alike then.
    /// @param chroma  as above
    /// @param out24   the keys' scores; they add up to 1
    /// @param set     0 to 3
    void score(float* chroma, float* out24, int set) const;

    /// Votes. Only the sets after Krumhansl and Kessler have a vote, two each; of several keys with most
    /// votes the lowest wins.
    /// @param keys8       eight numbers; the first becomes the key, the others are each opinion's own
    /// @param strengths8  the same for strengths, 0 to 1
    /// @param table24     null, or what the sets that vote think of each key; adds up to 1
    /// @return kNotInitialised, with nothing written but zeros to the table, before the first update of the
    /// means
    Status decide(int* keys8, float* strengths8, float* table24) const;

    /// The latest scores, to be put back after a look at another chroma.
    [[nodiscard]] const ScoreTables& scores() const { return scores_; }
    void setScores(const ScoreTables& scores) { scores_ = scores; }

private:
    using Averages = std::array<CMovingAverage, kProfileSets>;

    [[nodiscard]] const float* opinion(int index) const;

    ScoreTables scores_{};
    KeyProfiles profiles_{};
    std::unique_ptr<Averages> averages_;
};

/// The highest of the scores.
struct BestKey {
    int key;  ///< The lowest of several; -1 if there is none above -1e37.
    float score;
};

[[nodiscard]] BestKey bestKey(const float* scores24);

}  // namespace eboKey
