#include "file/eboStdFile.h"

#include <utility>

namespace {

constexpr unsigned int kSectorBytes = 512;

}  // namespace

eboStdFile::eboStdFile(QByteArray path, std::shared_ptr<eboFileLock> fileLock, FileAccess access)
    : private_(std::move(path), std::move(fileLock), access)
{}

const char* eboStdFile::filePath() const { return private_.path().constData(); }

bool eboStdFile::open(OpenFlags flags)
{
    const std::lock_guard guard(mutex_);
    return private_.open(flags);
}

void eboStdFile::close()
{
    const std::lock_guard guard(mutex_);
    private_.close();
}

ebo::refptr<eboFile> eboStdFile::clone()
{
    const std::lock_guard guard(mutex_);
    return ebo::makeRef<eboStdFile>(private_.path(), private_.createSiblingLock(), private_.access());
}

std::int64_t eboStdFile::read(void* buffer, std::int64_t size)
{
    const std::lock_guard guard(mutex_);
    return private_.read(buffer, size);
}

std::int64_t eboStdFile::write(const void* data, std::int64_t size)
{
    const std::lock_guard guard(mutex_);
    return private_.write(data, size);
}

bool eboStdFile::seek(std::int64_t position)
{
    const std::lock_guard guard(mutex_);
    return private_.seek(position);
}

int eboStdFile::sync()
{
    const std::lock_guard guard(mutex_);
    return private_.sync();
}

int eboStdFile::flush()
{
    const std::lock_guard guard(mutex_);
    return private_.flush();
}

std::int64_t eboStdFile::pos() const
{
    const std::lock_guard guard(mutex_);
    return private_.pos();
}

std::int64_t eboStdFile::size() const
{
    const std::lock_guard guard(mutex_);
    return private_.size();
}

bool eboStdFile::isReadable() const
{
    const std::lock_guard guard(mutex_);
    return private_.isReadable();
}

bool eboStdFile::isWritable() const
{
    const std::lock_guard guard(mutex_);
    return private_.isWritable();
}

bool eboStdFile::truncate(std::int64_t newSize)
{
    const std::lock_guard guard(mutex_);
    return private_.truncate(newSize);
}

int eboStdFile::deleteFile()
{
    const std::lock_guard guard(mutex_);
    return private_.deleteFile();
}

eboFileLock::LockResult eboStdFile::lock(eboFileLock::Level level)
{
    const std::lock_guard guard(mutex_);
    return private_.lock(level);
}

eboFileLock::Level eboStdFile::lockLevel() const
{
    const std::lock_guard guard(mutex_);
    return private_.lockLevel();
}

bool eboStdFile::isDirty() const
{
    const std::lock_guard guard(mutex_);
    return private_.isDirty();
}

bool eboStdFile::hasLostData() const
{
    const std::lock_guard guard(mutex_);
    return private_.hasLostData();
}

unsigned int eboStdFile::blockSize() const { return kSectorBytes; }
