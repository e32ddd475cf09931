#include "host/TrackResult.h"

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
    case ErrorKind::kBadMessage:
        return QStringLiteral("bad-message");
    case ErrorKind::kRejected:
        return QStringLiteral("rejected");
    case ErrorKind::kStopped:
        return QStringLiteral("stopped");
    }
    return QStringLiteral("unknown");
}

}  // namespace tunesift::host
