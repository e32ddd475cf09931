#include "cli/rows/TrackOutcome.h"

#include "cli/rows/pathText.h"

namespace tunesift::cli {
namespace {

Failure rejection(const QByteArray& path)
{
    if (isOnAnotherDevice(path))
        return {kUnreachable,
                QStringLiteral("it cannot be reached, or is no audio that the worker can read")};
    if (!hasKnownExtension(path))
        return {kUnsupported, QStringLiteral("its name is not that of a format that the worker reads")};
    return {kNotAudio, QStringLiteral("it is no audio that the worker can read")};
}

Failure earlyEnd(const host::TrackResult& result)
{
    const auto seconds = [&](qint64 frames) {
        return QString::number(static_cast<double>(frames) / *result.sampleRate, 'f', 1);
    };
    return {kTruncated, QStringLiteral("it ends after some %1 of %2 s")
                            .arg(seconds(*result.decodedFrames), seconds(*result.frames))};
}

}  // namespace

QString analyzerVersion() { return QStringLiteral("tunesift " TUNESIFT_VERSION); }

std::optional<Failure> failureOf(const QByteArray& path, const host::TrackResult& result)
{
    if (result.succeeded())
        return result.endedEarly() ? std::optional(earlyEnd(result)) : std::nullopt;
    const host::TrackError& error = *result.error;
    switch (error.kind) {
    case host::ErrorKind::kRejected:
        return rejection(path);
    case host::ErrorKind::kSilent:
    case host::ErrorKind::kTimedOut:
        return Failure{kTimeout, error.text};
    case host::ErrorKind::kUnreadable:
        return Failure{isOnAnotherDevice(path) ? kUnreachable : kUnreadable, error.text};
    case host::ErrorKind::kTooShort:
        return Failure{kTooShort, error.text};
    case host::ErrorKind::kTooLong:
        return Failure{kTooLong, error.text};
    case host::ErrorKind::kUnreachable:
        return Failure{kUnreachable, error.text};
    case host::ErrorKind::kOutOfMemory:
        return Failure{kOutOfMemory, error.text};
    case host::ErrorKind::kStopped:
        return Failure{kCancelled, error.text};
    default:
        return Failure{kCrashed, error.text};
    }
}

}  // namespace tunesift::cli
