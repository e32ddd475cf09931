#include "analysis/reasonAgainst.h"

#include "analysis/transientFrameSize.h"
#include "formats/eboAudioFormatReader.h"

std::optional<QString> reasonAgainst(const eboAudioFormatReader& reader)
{
    const TrackLength length = reader.trackLength();
    if (reader.hasLostData() || length.verdict() == TrackLength::Verdict::kFailed)
        return QStringLiteral("could not be read to its end");
    if (length.frames() <= 0)
        return QStringLiteral("is too short to analyse: it holds no sound");
    if (length.verdict() == TrackLength::Verdict::kImplausible)
        return QStringLiteral("is too long to analyse: %1 frames, where %2 are the most")
            .arg(length.frames())
            .arg(TrackLength::kMostFrames);
    if (transientFrameSize(static_cast<float>(reader.sampleRate())) == 0)
        return QStringLiteral("has too low a sample rate to analyse: %1 Hz").arg(reader.sampleRate());
    return {};
}

QString tooShortReason(std::uint32_t frames)
{
    return QStringLiteral("is too short to analyse: it has %1 frames").arg(frames);
}
