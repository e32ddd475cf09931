#include "host/TrackResult.h"

#include "host/decodedFrames.h"

namespace tunesift::host {

QString kindName(ErrorKind kind)
{
    switch (kind) {
    case ErrorKind::kCannotListen:
        return QStringLiteral("cannot-listen");
    case ErrorKind::kCannotStart:
        return QStringLiteral("cannot-start");
    case ErrorKind::kNeverConnected:
        return QStringLiteral("never-connected");
    case ErrorKind::kWorkerExited:
        return QStringLiteral("worker-exited");
    case ErrorKind::kWorkerCrashed:
        return QStringLiteral("worker-crashed");
    case ErrorKind::kConnectionLost:
        return QStringLiteral("connection-lost");
    case ErrorKind::kSilent:
        return QStringLiteral("silent");
    case ErrorKind::kUnreachable:
        return QStringLiteral("unreachable");
    case ErrorKind::kTimedOut:
        return QStringLiteral("timed-out");
    case ErrorKind::kOutOfMemory:
        return QStringLiteral("out-of-memory");
    case ErrorKind::kBadMessage:
        return QStringLiteral("bad-message");
    case ErrorKind::kRejected:
        return QStringLiteral("rejected");
    case ErrorKind::kUnreadable:
        return QStringLiteral("unreadable");
    case ErrorKind::kTooShort:
        return QStringLiteral("too-short");
    case ErrorKind::kTooLong:
        return QStringLiteral("too-long");
    case ErrorKind::kStopped:
        return QStringLiteral("stopped");
    }
    return QStringLiteral("unknown");
}

bool TrackResult::endedEarly() const noexcept
{
    return frames && decodedFrames && *frames - *decodedFrames >= kBlockFrames;
}

}  // namespace tunesift::host
