#include "fakePayloads.h"

#include <QDataStream>
#include <QIODevice>
#include <QtEndian>

namespace fakeworker {
namespace {

constexpr double kSampleRate = 44100.0;
constexpr qint64 kFrames = 441000;
constexpr double kBeatLength = 22050.0;
constexpr quint32 kBeats = 24;

template <typename T>
QByteArray littleEndian(T value)
{
    QByteArray bytes(sizeof(T), '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray anchor(double position, qint64 number, quint32 beatsToNext)
{
    return littleEndian(position) + littleEndian(number) + littleEndian(beatsToNext) + QByteArray(4, '\xAA');
}

QByteArray wave(int bytesPerEntry)
{
    constexpr qint64 kEntries = 2;
    constexpr qint64 kTotal = 1024;
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << kEntries << kTotal << 420.0;
    return bytes + QByteArray((static_cast<int>(kEntries) + 1) * bytesPerEntry, '\x10');
}

}  // namespace

QByteArray progress(float share) { return littleEndian(share); }

QByteArray beatGrid(double firstAnchor)
{
    QByteArray list;
    QDataStream(&list, QIODevice::WriteOnly) << qint64{2};
    list += anchor(firstAnchor, -4, kBeats) + anchor(firstAnchor + kBeats * kBeatLength, 20, 0);
    QByteArray head;
    QDataStream(&head, QIODevice::WriteOnly) << kSampleRate << static_cast<double>(kFrames) << true;
    return head + list + list;
}

QByteArray beatGridWithLyingCount()
{
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly)
        << kSampleRate << static_cast<double>(kFrames) << true << (qint64{1} << 60);
    return bytes;
}

QByteArray trackInfo(double loudness, qint32 key)
{
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly) << kSampleRate << kFrames << loudness << key;
    return bytes;
}

QByteArray overviewWave() { return wave(3); }

QByteArray highResolutionWave() { return wave(6); }

QByteArray finished(double tempo) { return littleEndian(tempo); }

}  // namespace fakeworker
