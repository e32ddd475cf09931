#include "file/eboStdFilePrivate.h"

#include "file/eboFileMasterLock.h"
#include "file/openRegularFile.h"
#include "file/withoutLinks.h"
#include "runtime/logCategories.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include <sys/stat.h>

namespace {

QIODevice::OpenMode deviceMode(eboFile::OpenFlags flags)
{
    QIODevice::OpenMode mode = QIODevice::NotOpen;
    const auto add = [&](eboFile::OpenFlag flag, QIODevice::OpenModeFlag deviceFlag) {
        if (flags.testFlag(flag))
            mode |= deviceFlag;
    };
    add(eboFile::OpenRead, QIODevice::ReadOnly);
    add(eboFile::OpenWrite, QIODevice::WriteOnly);
    add(eboFile::OpenAppend, QIODevice::Append);
    add(eboFile::OpenTruncate, QIODevice::Truncate);
    if (!flags.testFlag(eboFile::OpenBinary))
        mode |= QIODevice::Text;
    return mode;
}

}  // namespace

eboStdFilePrivate::eboStdFilePrivate(QByteArray path, std::shared_ptr<eboFileLock> fileLock,
                                     FileAccess access)
    : path_(std::move(path)), fileLock_(std::move(fileLock)), access_(access)
{}

eboStdFilePrivate::~eboStdFilePrivate()
{
    close();
    if (fileLock_ == nullptr)
        return;
    if (const auto master = fileLock_->master())
        master->leave(fileLock_);
}

bool eboStdFilePrivate::open(eboFile::OpenFlags flags)
{
    const auto refuse = [this](const QString& reason) {
        qCDebug(ebo::log::fileStd) << "Failed to open file (" << name() << "). Error message is:" << reason;
        return false;
    };
    if (device_.isOpen())
        return refuse(QStringLiteral("The file is open already"));

    QIODevice::OpenMode mode = deviceMode(flags);
    if (access_.unbuffered)
        mode |= QIODevice::Unbuffered;
    const RegularFile file = openRegularFile(path_.constData(), mode, access_.links);
    if (file.descriptor < 0)
        return refuse(file.error);
    if (!device_.open(file.descriptor, file.mode, QFileDevice::AutoCloseHandle)) {
        ::close(file.descriptor);
        return refuse(device_.errorString());
    }
    knownSize_ = 0;
    const std::int64_t length = size();
    if (flags.testFlag(eboFile::OpenWrite))
        device_.seek(length);
    return true;
}

void eboStdFilePrivate::close()
{
    if (!device_.isOpen())
        return;
    if (lockLevel() != eboFileLock::Unlocked)
        qCCritical(ebo::log::fileStd) << "File" << name() << "was not unlocked before close";
    if (dirty_)
        syncBeforeClose();
    dirty_ = false;
    device_.close();
}

void eboStdFilePrivate::syncBeforeClose()
{
    qCCritical(ebo::log::fileStd) << "Trying to sync file befor close";
    if (lock(eboFileLock::Exclusive) == eboFileLock::SUCCESS) {
        flush();
        lock(eboFileLock::Unlocked);
    } else {
        qCCritical(ebo::log::fileStd) << "FAILED SYNCING FILE!" << name();
    }
}

std::int64_t eboStdFilePrivate::read(void* buffer, std::int64_t size)
{
    if (!device_.isReadable() || size < 0)
        return -1;
    auto* const bytes = static_cast<char*>(buffer);
    // A failure behind the first bytes looks like the end, until one reads on.
    std::int64_t count = 0;
    while (count < size) {
        const std::int64_t more = device_.read(bytes + count, size - count);
        if (more < 0) {
            lostData_ = true;
            return count > 0 ? count : -1;
        }
        if (more == 0)
            break;
        count += more;
    }
    return count;
}

std::int64_t eboStdFilePrivate::write(const void* data, std::int64_t size)
{
    std::int64_t written = -1;
    if (device_.isWritable() && size >= 0) {
        dirty_ = true;
        written = device_.write(static_cast<const char*>(data), size);
        // Nothing stays in the device's buffer: other objects of this path see the bytes at once.
        if (!device_.flush())
            written = -1;
    }
    if (written < 0)
        qCWarning(ebo::log::fileStd) << "Failed writing to file " << name()
                                     << ": Error:" << device_.errorString();
    return written;
}

bool eboStdFilePrivate::seek(std::int64_t position)
{
    return device_.isOpen() && position >= 0 && device_.seek(position);
}

int eboStdFilePrivate::sync()
{
    if (flush() != 0)
        return -1;
    dirty_ = false;
    return 0;
}

int eboStdFilePrivate::flush() { return device_.isOpen() && device_.flush() ? 0 : -1; }

std::int64_t eboStdFilePrivate::size() const
{
    struct stat status = {};
    if (!device_.isOpen())
        return ::stat(path_.constData(), &status) == 0 ? status.st_size : 0;
    // A length that cannot be had (of a mount that went stale) is not 0: that would be an end.
    if (::fstat(device_.handle(), &status) == 0)
        knownSize_ = status.st_size;
    else
        lostData_ = true;
    return knownSize_;
}

bool eboStdFilePrivate::truncate(std::int64_t newSize)
{
    if (newSize < 0)
        return false;
    return device_.isOpen() ? device_.resize(newSize) : truncateClosed(newSize);
}

bool eboStdFilePrivate::truncateClosed(std::int64_t newSize) const
{
    if (access_.links == LinkPolicy::kFollow)
        return ::truncate(path_.constData(), newSize) == 0;
    const RegularFile file =
        openRegularFile(path_.constData(), QIODevice::ReadWrite | QIODevice::ExistingOnly, access_.links);
    if (file.descriptor < 0)
        return false;
    const bool done = ::ftruncate(file.descriptor, newSize) == 0;
    ::close(file.descriptor);
    return done;
}

int eboStdFilePrivate::deleteFile()
{
    if (device_.isOpen())
        device_.close();
    dirty_ = false;
    const int result = access_.links == LinkPolicy::kFollow ? ::unlink(path_.constData())
                                                            : unlinkWithoutLinks(path_.constData());
    return result == 0 ? 0 : -1;
}

eboFileLock::LockResult eboStdFilePrivate::lock(eboFileLock::Level level)
{
    return fileLock_ != nullptr ? fileLock_->request(level) : eboFileLock::FAILED;
}

eboFileLock::Level eboStdFilePrivate::lockLevel() const
{
    return fileLock_ != nullptr ? fileLock_->level() : eboFileLock::Unlocked;
}

std::shared_ptr<eboFileLock> eboStdFilePrivate::createSiblingLock() const
{
    const auto master = fileLock_ != nullptr ? fileLock_->master() : nullptr;
    return master != nullptr ? master->createLock() : nullptr;
}
