#pragma once

#include "cli/picture/Scene.h"
#include "cli/picture/TrackWaves.h"

#include <QString>

#include <optional>

namespace tunesift::cli {

/// How a picture of a track shall look.
struct PictureSettings {
    int width = 1600;  ///< Pixels.
    int height = 400;  ///< Pixels.
    QString title;
    std::optional<double> from;  ///< Seconds: a stretch, drawn from the high-resolution wave.
    std::optional<double> to;
};

/// The colours of the low, the middle and the high band.
inline constexpr QRgb kBandColours[] = {0xFF2D6BE0, 0xFFF0932B, 0xFFF5F1E6};

/// Draws the wave in its three bands around a middle line, beats and bars over it, facts above and the time
/// below.
[[nodiscard]] Scene trackPicture(const TrackWaves& waves, const PictureSettings& settings);

}  // namespace tunesift::cli
