// How a remote file's device is asked for a lock, for all adapters of the file together.

#include "network/nfs/eboNfsFile.h"
#include "runtime/logCategories.h"

#include <chrono>

namespace {

constexpr int kMostTurns = 3;
constexpr std::chrono::seconds kTurn{1};

}  // namespace

void eboNfsFile::sendLockRequest(eboFileLock::Level level)
{
    if (!isUsable() || isUnavailable()) {
        qCWarning(ebo::log::remoteFile) << "void eboNfsFile::sendLockRequest(eboFileLock::Level)"
                                        << errorName_ << ", status:" << status();
        return;
    }
    Message request = messageOf(eboNfsMessages::eFileLockRequest);
    request.lockLevel = level;
    send(request);
}

/// One question at a time: eboNfsLock sees to that.
eboFileLock::LockResult eboNfsFile::lock(eboFileLock::Level level)
{
    if (isUnavailable())
        return eboFileLock::SUCCESS;  // who cleans up does not wait for a device that has gone
    constexpr const char* kName = "eboFileLock::LockResult eboNfsFile::lock(eboFileLock::Level)";
    if (!isUsable())
        qCWarning(ebo::log::remoteFile) << kName << errorName_ << ", status:" << status();
    if (!host()) {
        qCWarning(ebo::log::remoteFile) << "Lock failed because no Host available:" << errorName_;
        return eboFileLock::FAILED;
    }
    std::optional<LockAnswer> answer;
    int turns = 0;
    lockAnswer_.expect();
    while (turns < kMostTurns && !answer && !isUnavailable()) {
        ++turns;
        sendLockRequest(level);
        answer = lockAnswer_.wait(kTurn, [this] { return isUnavailable(); });
    }
    if (turns == kMostTurns)
        qCCritical(ebo::log::remoteFile) << kName << "lock failed";
    if (isUnavailable())
        return eboFileLock::SUCCESS;
    const bool isGranted = answer && answer->level == level && answer->result == eboFileLock::SUCCESS;
    return isGranted ? eboFileLock::SUCCESS : eboFileLock::BUSY;
}
