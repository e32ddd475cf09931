#include "file/eboFileLocker.h"

#include <QDebug>
#include <QString>

#include <stdexcept>

eboFileLocker::eboFileLocker(const ebo::refptr<eboFile>& file)
{
    if (!file)
        throw std::runtime_error("No file in eboFileLocker constructor");
    if (file->lockLevel() != eboFileLock::Unlocked)
        throw RecursiveLockException();
    if (file->lock(eboFileLock::Shared) != eboFileLock::SUCCESS)
        throw LockFailException();
    file_ = file;
}

eboFileLocker::~eboFileLocker()
{
    const ebo::refptr<eboFile> file = file_.promote();
    if (!file)
        return;
    file->lock(eboFileLock::Unlocked);
    if (file->lockLevel() != eboFileLock::Unlocked)
        qCritical() << "Failed to unlock file:" << QString::fromUtf8(file->filePath());
}
