#pragma once

#include "host/TrackResult.h"

#include <QByteArray>
#include <QString>

namespace tunesift::host {

/// Why a worker could not analyse a track, by what it logged about it on its standard error: the message of a
/// failed run has no room for a reason. Empty if it logged none, as when its log goes into a file.
[[nodiscard]] QString rejectionReason(const QByteArray& standardError);

/// What a track failed of by such a reason: kUnreadable, kTooShort, kTooLong,
/// kOutOfMemory, or kRejected for all others.
[[nodiscard]] ErrorKind rejectionKind(const QString& reason);

}  // namespace tunesift::host
