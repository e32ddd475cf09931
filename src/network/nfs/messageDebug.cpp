#include "file/eboFileLock.h"
#include "network/nfs/Message.h"

namespace eboNfsMessages {

namespace {

void print(QDebug& debug, const eboSparseBitArray& blocks)
{
    for (const auto& range : blocks.ranges())
        debug << "[" << static_cast<quint64>(range.first) << "=>" << static_cast<quint64>(range.last) << "],";
}

const char* lockResultName(int result)
{
    switch (result) {
    case eboFileLock::SUCCESS:
        return "eboFileLock::LockResult::SUCCESS";
    case eboFileLock::BUSY:
        return "eboFileLock::LockResult::BUSY";
    default:
        return "eboFileLock::LockResult::FAILED";
    }
}

void print(QDebug& debug, const Message& message)
{
    switch (message.type) {
    case eInfo:
        debug << "eInfo exists:" << message.exists << ", isDir:" << message.isDir
              << ", flags:" << message.flags << ", ctime:" << message.ctime << ", mtime:" << message.mtime
              << ", atime:" << message.atime << ", size:" << static_cast<qint64>(message.size);
        break;
    case eDirectoryInfo:
        debug << "eDirectoryInfo:" << message.exists << ", flags:" << message.flags;
        break;
    case eDirectoryContents:
        debug << "eDirectoryContents: " << message.entries << ", is first: " << message.isFirst
              << ", is last: " << message.isLast << ", contains directories " << message.containsDirectories;
        break;
    case eFileInfo:
        debug << "eFileInfo: " << static_cast<qint64>(message.fileSize)
              << " bytes, flags:" << message.fileFlags;
        break;
    case eFileData:
        debug << "eFileData: " << static_cast<qint64>(message.offset) << ", " << message.data.size();
        break;
    case eFileDataInvalid:
        debug << "eFileDataInvalid: ";
        print(debug, message.invalidBlocks);
        debug << ", " << static_cast<qint64>(message.newSize);
        break;
    case eFileLockResponse:
        debug << "eFileLockResponse: " << lockResultName(message.lockResult) << ", " << message.lockLevel;
        break;
    case eDeviceInfo:
        debug << "eDeviceInfo: " << message.deviceName;
        break;
    case eObjectUnavailable:
        debug << "eObjectUnavailable";
        break;
    case eFileTruncateResponse:
        debug << "eFileTruncateResponse: " << message.truncated << static_cast<qint64>(message.fileSize);
        break;
    case eFileDeleteResponse:
        debug << "eFileDeleteResponse" << message.deleted;
        break;
    case eInfoRequest:
        debug << "eInfoRequest: " << message.path;
        break;
    case eDirectoryRequest:
        debug << "eDirectoryRequest:" << message.path;
        break;
    case eDirectoryRelease:
        debug << "eDirectoryRelease";
        break;
    case eFileRequest:
        debug << "eFileRequest: " << message.path << ", flags:" << message.requestFlags;
        break;
    case eFileDataRequest:
        debug << "eFileDataRequest: ";
        print(debug, message.requestedBlocks);
        break;
    case eFileRelease:
        debug << "eFileRelease";
        break;
    case eFileWriteRequest:
        debug << "eFileWriteRequest";
        break;
    case eFileSyncRequest:
        debug << "eFileSyncRequest";
        break;
    case eFileLockRequest:
        debug << "eFileLockRequest";
        break;
    case eFileTruncateRequest:
        debug << "eFileTruncateRequest";
        break;
    case eFileDeleteRequest:
        debug << "eFileDeleteRequest";
        break;
    case kInvalid:
    default:
        debug << "kInvalid";
        break;
    }
}

}  // namespace

QDebug operator<<(QDebug debug, const Message& message)
{
    const QDebugStateSaver saver(debug);
    debug.nospace() << "eboNfsMessages::Message(" << message.objectId << ",";
    print(debug, message);
    debug << ")";
    return debug;
}

}  // namespace eboNfsMessages
