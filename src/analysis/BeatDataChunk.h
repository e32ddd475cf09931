#pragma once

#include <QByteArray>

class BeatGrid;

/// The chunk that carries a beat grid to the host. Big-endian: double frames per second, double frames of
/// the track, a byte for validity; then twice (stored anchors, anchors) an int64 count and the anchors as
/// raw records of 24 bytes, little-endian.
[[nodiscard]] QByteArray beatDataChunk(const BeatGrid& grid);
