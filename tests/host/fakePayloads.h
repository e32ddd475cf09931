#pragma once

#include <QByteArray>
#include <QtGlobal>

/// The payloads that the fake worker sends, for a track of ten seconds at 44100 Hz and 120 beats per minute.
namespace fakeworker {

[[nodiscard]] QByteArray progress(float share);

/// @param firstAnchor  frame position of beat -4; the last of the two anchors is beat 20
[[nodiscard]] QByteArray beatGrid(double firstAnchor);
[[nodiscard]] QByteArray beatGridWithLyingCount();
[[nodiscard]] QByteArray trackInfo(double loudness, qint32 key);
[[nodiscard]] QByteArray overviewWave();
[[nodiscard]] QByteArray highResolutionWave();
[[nodiscard]] QByteArray finished(double tempo);

}  // namespace fakeworker
