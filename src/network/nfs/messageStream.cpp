#include "network/nfs/messageStream.h"

#include <QBuffer>
#include <QDataStream>

#include <algorithm>
#include <climits>

namespace eboNfsMessages {

namespace {

constexpr std::int32_t kMagic = 0x666C7478;  // "fltx"
constexpr int kStreamVersion = QDataStream::Qt_5_4;
static_assert(kStreamVersion == 16);

void reject(QDataStream& stream) { stream.setStatus(QDataStream::ReadCorruptData); }

// The stream's own functions take Qt's names of the integer types.
void put(QDataStream& stream, std::int64_t value) { stream << static_cast<qint64>(value); }

std::int64_t takeInt64(QDataStream& stream)
{
    qint64 value = 0;
    stream >> value;
    return value;
}

/// A count of elements that take so many bytes at least; beyond what the device still holds it is a lie, and
/// the answer is 0.
std::int64_t takeCount(QDataStream& stream, std::int64_t count, std::int64_t bytesEach)
{
    if (count >= 0 && count <= stream.device()->bytesAvailable() / bytesEach)
        return count;
    reject(stream);
    return 0;
}

void put(QDataStream& stream, const eboSparseBitArray& blocks)
{
    const auto ranges = blocks.ranges();
    put(stream, static_cast<std::int64_t>(ranges.size()));
    for (const auto& range : ranges) {
        put(stream, static_cast<std::int64_t>(range.first));
        put(stream, static_cast<std::int64_t>(range.last));
    }
}

void takeBlocks(QDataStream& stream, eboSparseBitArray& blocks)
{
    constexpr std::int64_t kRangeBytes = 16;
    const std::int64_t count = takeCount(stream, takeInt64(stream), kRangeBytes);
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t first = takeInt64(stream);
        const std::int64_t last = takeInt64(stream);
        if (first < 0 || last < first)
            return reject(stream);
        blocks.set({static_cast<std::uint64_t>(first), static_cast<std::uint64_t>(last)});
    }
}

void put(QDataStream& stream, const QStringList& entries)
{
    stream << static_cast<qint32>(entries.size());
    for (const QString& entry : entries)
        stream << entry;
}

void takeEntries(QDataStream& stream, QStringList& entries)
{
    constexpr std::int64_t kLeastEntryBytes = 4;
    qint32 stated = 0;
    stream >> stated;
    const std::int64_t count = takeCount(stream, stated, kLeastEntryBytes);
    for (std::int64_t i = 0; i < count; ++i) {
        QString entry;
        stream >> entry;
        if (stream.status() != QDataStream::Ok) {
            entries.clear();
            return;
        }
        entries.append(entry);
    }
}

void takeData(QDataStream& stream, Message& message)
{
    message.offset = takeInt64(stream);
    stream >> message.data;
    if (message.data.size() > kBlockSize)
        reject(stream);
}

void takeDirectoryInfo(QDataStream& stream, Message& message)
{
    stream >> message.exists >> message.flags;
    // Older devices do not tell the limit, which can be seen at the end of a packet only.
    if (stream.atEnd())
        message.fileSizeLimit |= std::int64_t{0xFFFFFFFF};
    else
        message.fileSizeLimit = takeInt64(stream);
}

/// Field by field: of a time in a named zone, which no file has, Qt makes a moment that it cannot print.
void takeTime(QDataStream& stream, QDateTime& time)
{
    constexpr qint32 kMostOffset = 14 * 60 * 60;  // seconds; as far from UTC as any clock
    qint64 day = 0;
    quint32 milliseconds = 0;
    qint8 spec = Qt::LocalTime;
    qint32 offset = 0;
    stream >> day >> milliseconds >> spec;
    if (spec == Qt::OffsetFromUTC)
        stream >> offset;
    if (spec < Qt::LocalTime || spec > Qt::OffsetFromUTC || offset < -kMostOffset || offset > kMostOffset)
        return reject(stream);
    const auto sinceMidnight = static_cast<int>(std::min<quint32>(milliseconds, INT_MAX));
    time = QDateTime(QDate::fromJulianDay(day), QTime::fromMSecsSinceStartOfDay(sinceMidnight),
                     static_cast<Qt::TimeSpec>(spec), offset);
}

void takeTimes(QDataStream& stream, Message& message)
{
    takeTime(stream, message.ctime);
    takeTime(stream, message.mtime);
    takeTime(stream, message.atime);
}

void writeBody(QDataStream& stream, const Message& message)
{
    switch (message.type) {
    case eInfo:
        stream << message.exists << message.isDir << message.flags;
        stream << message.ctime << message.mtime << message.atime;
        put(stream, message.size);
        break;
    case eDirectoryInfo:
        stream << message.exists << message.flags;
        put(stream, message.fileSizeLimit);
        break;
    case eDirectoryContents:
        put(stream, message.entries);
        stream << message.isFirst << message.isLast << message.containsDirectories;
        break;
    case eFileInfo:
        put(stream, message.fileSize);
        stream << message.fileFlags;
        break;
    case eFileData:
    case eFileWriteRequest:
        put(stream, message.offset);
        stream << message.data;
        break;
    case eFileDataInvalid:
        put(stream, message.invalidBlocks);
        put(stream, message.newSize);
        break;
    case eFileLockResponse:
        stream << static_cast<qint8>(message.lockResult) << message.lockLevel;
        break;
    case eDeviceInfo:
        stream << message.deviceName;
        break;
    case eFileTruncateResponse:
        stream << message.truncated;
        put(stream, message.fileSize);
        break;
    case eFileDeleteResponse:
        stream << message.deleted;
        break;
    case eInfoRequest:
    case eDirectoryRequest:
        stream << message.path;
        break;
    case eFileRequest:
        stream << message.path << message.requestFlags;
        break;
    case eFileDataRequest:
        put(stream, message.requestedBlocks);
        break;
    case eFileLockRequest:
        stream << message.lockLevel;
        break;
    case eFileTruncateRequest:
        put(stream, message.newSize);
        break;
    case kInvalid:
    case eObjectUnavailable:
    case eDirectoryRelease:
    case eFileRelease:
    case eFileSyncRequest:
    case eFileDeleteRequest:
        break;
    }
}

void readBody(QDataStream& stream, Message& message)
{
    switch (message.type) {
    case eInfo:
        stream >> message.exists >> message.isDir >> message.flags;
        takeTimes(stream, message);
        message.size = takeInt64(stream);
        break;
    case eDirectoryInfo:
        takeDirectoryInfo(stream, message);
        break;
    case eDirectoryContents:
        takeEntries(stream, message.entries);
        stream >> message.isFirst >> message.isLast >> message.containsDirectories;
        break;
    case eFileInfo:
        message.fileSize = takeInt64(stream);
        stream >> message.fileFlags;
        break;
    case eFileData:
        takeData(stream, message);
        if (message.offset < 0 || message.offset % kBlockSize != 0)
            reject(stream);
        break;
    case eFileWriteRequest:  // what its offset must be is for the one who writes to say
        takeData(stream, message);
        break;
    case eFileDataInvalid:
        takeBlocks(stream, message.invalidBlocks);
        message.newSize = takeInt64(stream);
        break;
    case eFileLockResponse: {
        qint8 result = 0;
        stream >> result >> message.lockLevel;
        message.lockResult = result;
        break;
    }
    case eDeviceInfo:
        stream >> message.deviceName;
        break;
    case eFileTruncateResponse:
        stream >> message.truncated;
        message.fileSize = takeInt64(stream);
        break;
    case eFileDeleteResponse:
        stream >> message.deleted;
        break;
    case eInfoRequest:
    case eDirectoryRequest:
        stream >> message.path;
        break;
    case eFileRequest:
        stream >> message.path >> message.requestFlags;
        break;
    case eFileDataRequest:
        takeBlocks(stream, message.requestedBlocks);
        break;
    case eFileLockRequest:
        stream >> message.lockLevel;
        break;
    case eFileTruncateRequest:
        message.newSize = takeInt64(stream);
        break;
    case eObjectUnavailable:
    case eDirectoryRelease:
    case eFileRelease:
    case eFileSyncRequest:
    case eFileDeleteRequest:
        break;
    case kInvalid:
    default:
        reject(stream);
        break;
    }
}

}  // namespace

void writeMessage(QIODevice* device, const Message& message)
{
    QDataStream stream(device);
    stream.setVersion(kStreamVersion);
    stream << kMagic << static_cast<qint32>(message.objectId) << static_cast<qint32>(message.type);
    writeBody(stream, message);
}

QByteArray toPacket(const Message& message)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    writeMessage(&buffer, message);
    return buffer.data();
}

Message readMessage(QIODevice* device)
{
    QDataStream stream(device);
    stream.setVersion(kStreamVersion);
    Message message;
    qint32 magic = 0;
    stream >> magic;
    if (magic == kMagic) {
        qint32 objectId = 0;
        qint32 type = kInvalid;
        stream >> objectId >> type;
        message.objectId = static_cast<std::uint32_t>(objectId);
        message.type = static_cast<Type>(type);
        readBody(stream, message);
    } else {
        reject(stream);
    }
    if (stream.status() != QDataStream::Ok)
        message.type = kInvalid;
    return message;
}

}  // namespace eboNfsMessages
