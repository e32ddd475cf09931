#include "cli/probe/announcedBytes.h"

#include <QByteArray>
#include <QFile>
#include <QtEndian>

namespace tunesift::probe {

std::optional<qint64> announcedBytes(const QString& path)
{
    // Four letters, the number of bytes behind it, four letters more.
    constexpr int kHeaderSize = 12;
    constexpr int kSizeOffset = 4;
    constexpr int kKindOffset = 8;
    constexpr qint64 kBehind = 8;  // where the bytes that are counted begin
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray header = file.read(kHeaderSize);
    if (header.size() < kHeaderSize)
        return {};
    const QByteArray kind = header.mid(kKindOffset);
    quint32 size = 0;
    if (header.startsWith("RIFF") && kind == "WAVE")
        size = qFromLittleEndian<quint32>(header.constData() + kSizeOffset);
    else if (header.startsWith("FORM") && (kind == "AIFF" || kind == "AIFC"))
        size = qFromBigEndian<quint32>(header.constData() + kSizeOffset);
    constexpr quint32 kUnknown = 0x7FFFFFFF;  // and above: what streams write
    if (size == 0 || size >= kUnknown)
        return {};
    return kBehind + size;
}

}  // namespace tunesift::probe
