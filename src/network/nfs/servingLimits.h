#pragma once

#include <QtGlobal>

/// What other devices can make the serving side hold. Shared by all of it.
namespace servingLimits {

/// A connection that has taken more bytes than this without sending them counts as one that refuses blocks
/// and pages of directories. Enough to keep a gigabit link busy for two milliseconds, which is many turns.
inline constexpr qint64 kMostUnsentBytes = 256 * 1024;

/// With more bytes of answers than this unread, a device gets no further ones: it asks without listening.
inline constexpr qint64 kMostUnreadBytes = 16 * 1024 * 1024;

/// Files and directories that one device can use at once. Each may cost a descriptor, and a process commonly
/// has 1024 of them.
inline constexpr int kMostObjectsOfHost = 256;

/// Directories that are watched for one device.
inline constexpr int kMostWatchedOfHost = 64;

/// Served files and directories that nobody uses any more stay listed until there are so many.
inline constexpr int kMostIdleEntries = 1024;

}  // namespace servingLimits
