#pragma once

#include <array>
#include <cstddef>

namespace plain {

/// The key recognition as a plain transcription of its formulas in double precision, with nothing shared with
/// the code it checks.
class PlainRecognition {
public:
    using Chroma = std::array<double, 12>;
    using Scores = std::array<double, 24>;

    PlainRecognition();

    [[nodiscard]] Scores score(Chroma chroma, std::size_t set) const;

    /// Takes part in the means over time.
    void update(const Chroma& chroma);

    /// Takes the place of the latest block without taking part in the means.
    void look(const Chroma& chroma);

    struct Decision {
        int key;
        double strength;
        int votes;
        std::array<double, 8> margins;  ///< Best minus second best score of each opinion.
    };
    [[nodiscard]] Decision decide() const;

private:
    std::array<std::array<std::array<double, 12>, 2>, 4> templates_;
    std::array<Scores, 4> latest_{};
    std::array<Scores, 4> sums_{};
    int count_ = 0;
};

}  // namespace plain
