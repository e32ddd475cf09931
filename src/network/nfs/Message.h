#pragma once

#include "network/nfs/eboSparseBitArray.h"

#include <QByteArray>
#include <QDateTime>
#include <QDebug>
#include <QMetaType>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <limits>

/// What two devices say to each other about files: small messages, each naming an object of the device that
/// asked.
namespace eboNfsMessages {

/// The unit in which files travel, in bytes: block b covers the bytes from b * kBlockSize on.
inline constexpr std::int64_t kBlockSize = 4096;

/// What a directory without a limit tells as its limit. Bytes.
inline constexpr std::int64_t kNoSizeLimit = std::numeric_limits<std::int64_t>::max();

/// Flags that the root of a device has in every answer.
inline constexpr std::int32_t kRootFlags = 0xFFFFF;

/// Answers are numbered from 1, requests from 2001.
enum Type : std::int32_t {
    kInvalid = -1,  ///< Never sent: what the reader made of bytes that it rejected.

    eInfo = 1,
    eDirectoryInfo = 2,
    eDirectoryContents = 3,
    eFileInfo = 4,
    eFileData = 5,
    eFileDataInvalid = 6,
    eFileLockResponse = 7,
    eDeviceInfo = 8,
    eObjectUnavailable = 9,
    eFileTruncateResponse = 10,
    eFileDeleteResponse = 11,

    eInfoRequest = 2001,
    eDirectoryRequest = 2002,
    eDirectoryRelease = 2003,
    eFileRequest = 2004,
    eFileDataRequest = 2005,
    eFileRelease = 2006,
    eFileWriteRequest = 2007,
    eFileSyncRequest = 2008,
    eFileLockRequest = 2009,
    eFileTruncateRequest = 2010,
    eFileDeleteRequest = 2011,
};

[[nodiscard]] constexpr bool isAnswer(Type type) { return type >= 1 && type <= 999; }
[[nodiscard]] constexpr bool isRequest(Type type) { return type >= 2001 && type <= 2999; }

/// One message: the fields of all types side by side, of which a type uses its own. A plain value.
struct Message {
    Message() = default;
    Message(Type messageType, std::uint32_t object) : objectId(object), type(messageType) {}

    std::uint32_t objectId = 0;  ///< Chosen by the device that asks; 0 for eDeviceInfo.
    Type type = kInvalid;

    // eInfo; exists and flags also eDirectoryInfo
    bool exists = false;
    bool isDir = false;
    std::int32_t flags = 0;  ///< QFile::Permissions, or kRootFlags.
    QDateTime ctime;         ///< Created.
    QDateTime mtime;         ///< Last modified.
    QDateTime atime;         ///< Last read.
    std::int64_t size = 0;   ///< Bytes.

    std::int64_t fileSizeLimit = 0;  ///< eDirectoryInfo; bytes.

    // eDirectoryContents
    QStringList entries;
    bool isFirst = false;
    bool isLast = false;
    bool containsDirectories = false;

    std::int64_t fileSize = 0;   ///< eFileInfo, eFileTruncateResponse; bytes.
    std::int32_t fileFlags = 0;  ///< eFileInfo: 1 if the file is open, 0 if it could not be opened.

    std::int64_t offset = 0;  ///< eFileData, eFileWriteRequest: bytes from the file's start.
    QByteArray data;          ///< Likewise: at most one block.

    eboSparseBitArray invalidBlocks;  ///< eFileDataInvalid
    std::int64_t newSize = 0;         ///< eFileDataInvalid, eFileTruncateRequest; bytes.

    std::int8_t lockResult = 0;  ///< eFileLockResponse: an eboFileLock::LockResult.
    std::int32_t lockLevel = 0;  ///< eFileLockRequest, eFileLockResponse: an eboFileLock::Level.
    QString deviceName;          ///< eDeviceInfo
    bool truncated = false;      ///< eFileTruncateResponse
    bool deleted = false;        ///< eFileDeleteResponse
    QString path;                ///< eInfoRequest, eDirectoryRequest, eFileRequest: from the host's root on.
    std::int32_t requestFlags = 0;      ///< eFileRequest; always 0.
    eboSparseBitArray requestedBlocks;  ///< eFileDataRequest
};

/// For the log: the object's number and what the message says.
QDebug operator<<(QDebug debug, const Message& message);

}  // namespace eboNfsMessages

Q_DECLARE_METATYPE(eboNfsMessages::Message)
