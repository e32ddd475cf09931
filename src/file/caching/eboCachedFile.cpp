#include "file/caching/eboCachedFile.h"

#include "runtime/logCategories.h"

#include <QString>

#include <stdexcept>
#include <utility>

eboCachedFile::eboCachedFile(ebo::refptr<eboFileCachingThread> thread, ebo::refptr<eboFile> plain,
                             ebo::refptr<eboFile> copy)
    : thread_(std::move(thread)), plainFile_(std::move(plain)), copy_(std::move(copy)),
      state_(copy_ ? eboFileCachingThread::Complete : eboFileCachingThread::Idle)
{}

eboCachedFile::~eboCachedFile()
{
    eboCachedFile::close();
    thread_->dropDeadListeners();
}

const char* eboCachedFile::filePath() const { return plainFile_->filePath(); }

bool eboCachedFile::open(OpenFlags flags)
{
    if (flags.testFlag(OpenWrite))
        throw std::runtime_error("Writing is currently not supported for cached files");

    const auto guard = thread_->lock();
    if (openFlags_)
        return false;
    bool isOpen = current()->open(flags);
    if (!isOpen && copy_) {
        // Somebody has cleared the folder of the copy away.
        copy_.reset();
        isOpen = current()->open(flags);
    }
    if (!isOpen)
        return false;
    openFlags_ = flags;
    thread_->viewOpened();
    return true;
}

void eboCachedFile::close()
{
    const auto guard = thread_->lock();
    if (copy_)
        copy_->close();
    plainFile_->close();
    next_.reset();
    if (std::exchange(openFlags_, {}))
        thread_->viewClosed();
    if (thread_->cacheState() != eboFileCachingThread::Complete)
        copy_.reset();
}

ebo::refptr<eboFile> eboCachedFile::clone()
{
    ebo::refptr<eboFile> copy;
    auto guard = thread_->lock();
    if (thread_->cacheState() == eboFileCachingThread::Complete)
        copy = thread_->copy()->clone();
    const auto view = ebo::makeRef<eboCachedFile>(thread_, plainFile_->clone(), copy);
    guard.unlock();
    thread_->addListener(ebo::weakptr<eboFileCachingThreadListener>(view));
    return view;
}

std::int64_t eboCachedFile::read(void* buffer, std::int64_t size)
{
    auto guard = thread_->lock();
    if (!openFlags_)
        return -1;
    const ebo::refptr<eboFile> file = current();
    ++reading_;
    guard.unlock();
    const std::int64_t count = file->read(buffer, size);
    const bool hasLost = file->hasLostData();
    guard.lock();
    hasLostData_ = hasLostData_ || hasLost;
    // With no read under way the position stands still, and the copy can go on from it.
    if (--reading_ == 0 && next_)
        switchToNext();
    return count;
}

std::int64_t eboCachedFile::write(const void* /*data*/, std::int64_t /*size*/)
{
    throw std::runtime_error("writing is currently not supported with cached files.");
}

void eboCachedFile::onCacheStateChanged(int state)
{
    state_ = state;
    next_.reset();
    const bool isOpen = openFlags_ != 0;
    if (state == eboFileCachingThread::Complete && isOpen) {
        next_ = thread_->copy()->clone();
        if (reading_ == 0)
            switchToNext();
    }
    if (state == eboFileCachingThread::Removed && !isOpen)
        copy_.reset();
}

void eboCachedFile::switchToNext()
{
    const ebo::refptr<eboFile> next = std::exchange(next_, nullptr);
    if (!next->open(openFlags_) || !goOnFrom(*next)) {
        qCWarning(ebo::log::fileCaching)
            << "Failed to open cachend file: " << QString::fromUtf8(next->filePath());
        next->close();
        return;
    }
    if (copy_)
        copy_->close();  // what is left of an earlier copy
    copy_ = next;
}

bool eboCachedFile::goOnFrom(eboFile& copy)
{
    if (!copy.seek(current()->pos()))
        return false;
    qCDebug(ebo::log::fileCaching) << "Switching to cached version of" << QString::fromUtf8(filePath())
                                   << ", at:" << QString::fromUtf8(copy.filePath());
    // The reader's claim goes along with it.
    const auto level = current()->lockLevel();
    if (level != eboFileLock::Unlocked) {
        copy.lock(level);
        current()->lock(eboFileLock::Unlocked);
    }
    return true;
}

bool eboCachedFile::seek(std::int64_t position)
{
    const auto guard = thread_->lock();
    return current()->seek(position);
}

int eboCachedFile::sync()
{
    const auto guard = thread_->lock();
    return current()->sync();
}

int eboCachedFile::flush()
{
    const auto guard = thread_->lock();
    return current()->flush();
}

std::int64_t eboCachedFile::pos() const
{
    const auto guard = thread_->lock();
    return current()->pos();
}

std::int64_t eboCachedFile::size() const
{
    const auto guard = thread_->lock();
    return current()->size();
}

bool eboCachedFile::isReadable() const
{
    const auto guard = thread_->lock();
    return current()->isReadable();
}

bool eboCachedFile::isWritable() const
{
    const auto guard = thread_->lock();
    return current()->isWritable();
}

bool eboCachedFile::truncate(std::int64_t newSize)
{
    const auto guard = thread_->lock();
    return current()->truncate(newSize);
}

int eboCachedFile::deleteFile()
{
    const auto guard = thread_->lock();
    return plainFile_->deleteFile();
}

eboFileLock::LockResult eboCachedFile::lock(eboFileLock::Level level)
{
    const auto guard = thread_->lock();
    return current()->lock(level);
}

eboFileLock::Level eboCachedFile::lockLevel() const
{
    const auto guard = thread_->lock();
    return current()->lockLevel();
}

bool eboCachedFile::atEnd() const
{
    const auto guard = thread_->lock();
    return current()->atEnd();
}

bool eboCachedFile::isDirty() const
{
    const auto guard = thread_->lock();
    return current()->isDirty();
}

unsigned int eboCachedFile::blockSize() const
{
    const auto guard = thread_->lock();
    return current()->blockSize();
}

bool eboCachedFile::hasLostData() const
{
    auto guard = thread_->lock();
    if (hasLostData_)
        return true;
    const ebo::refptr<eboFile> file = current();
    guard.unlock();
    return file->hasLostData();
}

int eboCachedFile::cacheState() const
{
    const auto guard = thread_->lock();
    return state_;
}
