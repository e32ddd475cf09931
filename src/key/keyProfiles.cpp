#include "key/keyProfiles.h"

#include <cstddef>

namespace eboKey {

namespace {

constexpr KeyProfiles kRatings{{
    {{1.0f, 0.0f, 1.0f, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f, 0.0f, 1.0f, 0.0f, 1.0f},
     {1.0f, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f, 0.0f, 1.0f, 1.0f, 0.0f, 0.8f, 0.5f}},
    {{6.35f, 2.23f, 3.48f, 2.33f, 4.38f, 4.09f, 2.52f, 5.19f, 2.39f, 3.66f, 2.29f, 2.88f},
     {6.33f, 2.68f, 3.52f, 5.38f, 2.60f, 3.53f, 2.54f, 4.75f, 3.98f, 2.69f, 3.34f, 3.17f}},
    {{6.35f, 2.23f, 3.48f, 2.33f, 4.38f, 4.09f, 2.52f, 5.19f, 2.39f, 3.66f, 2.29f, 2.88f},
     {6.35f, 2.59f, 3.52f, 5.38f, 2.51f, 3.53f, 2.45f, 5.19f, 3.98f, 2.60f, 3.34f, 3.17f}},
    {{5.0f, 2.0f, 3.5f, 2.0f, 4.5f, 4.0f, 2.0f, 4.5f, 2.0f, 3.5f, 1.5f, 4.0f},
     {5.0f, 2.0f, 3.5f, 4.5f, 2.0f, 4.0f, 2.0f, 4.5f, 3.5f, 2.0f, 1.5f, 4.0f}},
}};

/// What a degree adds to each degree above it: itself (octaves), the major third, the fifth.
constexpr KeyProfile kHarmonics{1.75f, 0.0f, 0.0f, 0.0f, 0.2f, 0.0f, 0.0f, 0.5f, 0.0f, 0.0f, 0.0f, 0.0f};

constexpr KeyProfile withHarmonics(const KeyProfile& ratings)
{
    KeyProfile profile = ratings;
    for (std::size_t i = 0; i < kPitchClasses; ++i) {
        for (std::size_t j = 0; j < kPitchClasses; ++j)
            profile[(i + j) % kPitchClasses] += ratings[i] * kHarmonics[j];
    }
    float sum = 0.0f;
    for (const float value : profile)
        sum += value;
    for (float& value : profile)
        value /= sum;
    return profile;
}

constexpr KeyProfiles makeProfiles()
{
    KeyProfiles profiles{};
    for (std::size_t set = 0; set < kProfileSets; ++set)
        profiles[set] = {withHarmonics(kRatings[set].major), withHarmonics(kRatings[set].minor)};
    return profiles;
}

}  // namespace

const KeyProfiles& keyProfiles()
{
    static constexpr KeyProfiles kProfiles = makeProfiles();
    return kProfiles;
}

}  // namespace eboKey
