#include "network/nfs/eboNfsFileAdapter.h"

#include <utility>

eboNfsFileAdapter::eboNfsFileAdapter(ebo::refptr<eboNfsFile> file) : private_(std::move(file)) {}

eboNfsFileAdapter::~eboNfsFileAdapter() = default;

const char* eboNfsFileAdapter::filePath() const { return private_.path().constData(); }

bool eboNfsFileAdapter::open(OpenFlags flags)
{
    const std::lock_guard guard(mutex_);
    return private_.open(flags);
}

void eboNfsFileAdapter::close()
{
    const std::lock_guard guard(mutex_);
    private_.close();
}

ebo::refptr<eboFile> eboNfsFileAdapter::clone()
{
    auto sibling = ebo::makeRef<eboNfsFileAdapter>(private_.file());
    private_.file()->addAdapter(sibling);
    return sibling;
}

std::int64_t eboNfsFileAdapter::read(void* buffer, std::int64_t size)
{
    const std::lock_guard guard(mutex_);
    return private_.read(buffer, size);
}

std::int64_t eboNfsFileAdapter::write(const void* data, std::int64_t size)
{
    const std::lock_guard guard(mutex_);
    return private_.write(data, size);
}

bool eboNfsFileAdapter::seek(std::int64_t position)
{
    const std::lock_guard guard(mutex_);
    return private_.seek(position);
}

int eboNfsFileAdapter::sync()
{
    const std::lock_guard guard(mutex_);
    return private_.sync();
}

std::int64_t eboNfsFileAdapter::pos() const
{
    const std::lock_guard guard(mutex_);
    return private_.pos();
}

std::int64_t eboNfsFileAdapter::size() const { return private_.file()->size(); }

bool eboNfsFileAdapter::isWritable() const
{
    const std::lock_guard guard(mutex_);
    return private_.isWritable();
}

bool eboNfsFileAdapter::truncate(std::int64_t newSize)
{
    const std::lock_guard guard(mutex_);
    return private_.truncate(newSize);
}

int eboNfsFileAdapter::deleteFile()
{
    const std::lock_guard guard(mutex_);
    return private_.deleteFile();
}

eboFileLock::LockResult eboNfsFileAdapter::lock(eboFileLock::Level level)
{
    const std::lock_guard guard(mutex_);
    return private_.lock(level);
}

eboFileLock::Level eboNfsFileAdapter::lockLevel() const
{
    const std::lock_guard guard(mutex_);
    return private_.lockLevel();
}

bool eboNfsFileAdapter::isDirty() const
{
    const std::lock_guard guard(mutex_);
    return private_.isDirty();
}
