#include "host/rejection.h"

namespace tunesift::host {
namespace {

// What the worker logs.
constexpr char kVerdict[] = "Cannot analyse the track: ";
constexpr char kFailedRead[] = "Failed to read ";

}  // namespace

QString rejectionReason(const QByteArray& standardError)
{
    const int verdict = standardError.lastIndexOf(kVerdict);
    if (verdict >= 0) {
        const QByteArray rest = standardError.mid(verdict + static_cast<int>(sizeof kVerdict) - 1);
        return QString::fromUtf8(rest.split('\n').first()).trimmed();
    }
    // A file that failed while it was opened has no reader that could say more.
    return standardError.contains(kFailedRead) ? QStringLiteral("it could not be read to its end")
                                               : QString();
}

ErrorKind rejectionKind(const QString& reason)
{
    if (reason.startsWith(QLatin1String("it could not be read")))
        return ErrorKind::kUnreadable;
    if (reason.startsWith(QLatin1String("it is too short")))
        return ErrorKind::kTooShort;
    if (reason.startsWith(QLatin1String("it is too long")))
        return ErrorKind::kTooLong;
    if (reason.startsWith(QLatin1String("it needs more memory")))
        return ErrorKind::kOutOfMemory;
    return ErrorKind::kRejected;
}

}  // namespace tunesift::host
