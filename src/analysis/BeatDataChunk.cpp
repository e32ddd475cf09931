#include "analysis/BeatDataChunk.h"

#include "analysis/BeatAnchor.h"
#include "analysis/BeatGrid.h"

#include <QDataStream>

#include <vector>

namespace {

void writeAnchors(QDataStream& stream, const std::vector<BeatAnchor>& anchors)
{
    stream << static_cast<qint64>(anchors.size());
    stream.writeRawData(reinterpret_cast<const char*>(anchors.data()),
                        static_cast<int>(anchors.size() * sizeof(BeatAnchor)));
}

}  // namespace

QByteArray beatDataChunk(const BeatGrid& grid)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << grid.sampleRate() << grid.sampleCount() << grid.isValid();
    writeAnchors(stream, grid.collection().storedAnchors());
    writeAnchors(stream, grid.collection().anchors());
    return bytes;
}
