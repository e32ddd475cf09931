#include "file/eboFileLock.h"

#include "file/eboFileMasterLock.h"

#include <utility>

eboFileLock::eboFileLock(std::weak_ptr<eboFileMasterLock> master) : master_(std::move(master)) {}

eboFileLock::LockResult eboFileLock::request(Level newLevel)
{
    const std::shared_ptr<eboFileMasterLock> group = master();
    return group != nullptr ? group->request(*this, newLevel) : FAILED;
}
