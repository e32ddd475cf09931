#pragma once

#include "host/messages.h"

#include <QByteArray>
#include <QtGlobal>

#include <optional>

/// Payload bytes in, a typed message out; nothing if the bytes are not what their kind lays down, to the
/// last byte. Counts are judged against the bytes that are there before anything is allocated. Pure
/// functions, for any thread. docs/protocol.md has the byte tables.
namespace tunesift::host {

[[nodiscard]] std::optional<Progress> parseProgress(const QByteArray& payload);
[[nodiscard]] std::optional<BeatGrid> parseBeatGrid(const QByteArray& payload);
[[nodiscard]] std::optional<TrackInfo> parseTrackInfo(const QByteArray& payload);
[[nodiscard]] std::optional<OverviewWave> parseOverviewWave(const QByteArray& payload);
[[nodiscard]] std::optional<HighResolutionWave> parseHighResolutionWave(const QByteArray& payload);
[[nodiscard]] std::optional<Finished> parseFinished(const QByteArray& payload);

/// The message with this number of the control protocol. Payloads of messages that carry nothing are not
/// looked at; a number that is not known gives UnknownMessage.
[[nodiscard]] std::optional<Message> parseMessage(quint32 id, const QByteArray& payload);

}  // namespace tunesift::host
