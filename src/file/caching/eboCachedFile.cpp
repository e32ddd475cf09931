#include "file/caching/eboCachedFile.h"

#include "runtime/logCategories.h"

#include <QString>

#include <stdexcept>
#include <utility>

eboCachedFile::eboCachedFile(ebo::refptr<eboFileCachingThread> thread, ebo::refptr<eboFile> plain,
                             ebo::refptr<eboFile> copy)
    : thread_(std::move(thread)), plainFile_(std::move(plain)), cached_(std::move(copy)),
      current_(cached_ ? cached_ : plainFile_),
      state_(cached_ ? eboFileCachingThread::Complete : eboFileCachingThread::Idle)
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
    bool isOpen = current_->open(flags);
    if (!isOpen && cached_) {
        // Somebody has cleared the folder of the copy away.
        forgetCopy();
        isOpen = current_->open(flags);
    }
    if (!isOpen)
        return false;
    openFlags_ = flags;
    thread_->viewOpened();
    counted_ = true;
    return true;
}

void eboCachedFile::close()
{
    const auto guard = thread_->lock();
    if (cached_)
        cached_->close();
    plainFile_->close();
    openFlags_ = {};
    switchIsDue_ = false;
    if (std::exchange(counted_, false))
        thread_->viewClosed();
    if (thread_->cacheState() != eboFileCachingThread::Complete)
        forgetCopy();
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
    const ebo::refptr<eboFile> file = current_;
    ++reading_;
    guard.unlock();
    const std::int64_t count = file->read(buffer, size);
    guard.lock();
    // With no read under way the position stands still, and the copy can go on from it.
    if (--reading_ == 0 && std::exchange(switchIsDue_, false))
        switchToCopy();
    return count;
}

std::int64_t eboCachedFile::write(const void* /*data*/, std::int64_t /*size*/)
{
    throw std::runtime_error("writing is currently not supported with cached files.");
}

void eboCachedFile::onCacheStateChanged(int state)
{
    state_ = state;
    switchIsDue_ = false;
    if (state == eboFileCachingThread::Complete && openFlags_) {
        if (reading_ == 0)
            switchToCopy();
        else
            switchIsDue_ = true;
    }
    if (state == eboFileCachingThread::Removed && !openFlags_)
        forgetCopy();
}

void eboCachedFile::switchToCopy()
{
    if (!thread_->copy())
        return;
    const auto copy = thread_->copy()->clone();
    if (!copy->open(openFlags_) || !goOnFrom(*copy)) {
        qCWarning(ebo::log::fileCaching)
            << "Failed to open cachend file: " << QString::fromUtf8(copy->filePath());
        copy->close();
        return;
    }
    if (cached_)
        cached_->close();  // what is left of an earlier copy
    cached_ = copy;
    current_ = copy;
}

bool eboCachedFile::goOnFrom(eboFile& copy)
{
    if (!copy.seek(current_->pos()))
        return false;
    qCDebug(ebo::log::fileCaching) << "Switching to cached version of" << QString::fromUtf8(filePath())
                                   << ", at:" << QString::fromUtf8(copy.filePath());
    // The reader's claim goes along with it.
    const auto level = current_->lockLevel();
    if (level != eboFileLock::Unlocked) {
        copy.lock(level);
        current_->lock(eboFileLock::Unlocked);
    }
    return true;
}

void eboCachedFile::forgetCopy()
{
    cached_.reset();
    current_ = plainFile_;
}

bool eboCachedFile::seek(std::int64_t position)
{
    const auto guard = thread_->lock();
    return current_->seek(position);
}

int eboCachedFile::sync()
{
    const auto guard = thread_->lock();
    return current_->sync();
}

int eboCachedFile::flush()
{
    const auto guard = thread_->lock();
    return current_->flush();
}

std::int64_t eboCachedFile::pos() const
{
    const auto guard = thread_->lock();
    return current_->pos();
}

std::int64_t eboCachedFile::size() const
{
    const auto guard = thread_->lock();
    return current_->size();
}

bool eboCachedFile::isReadable() const
{
    const auto guard = thread_->lock();
    return current_->isReadable();
}

bool eboCachedFile::isWritable() const
{
    const auto guard = thread_->lock();
    return current_->isWritable();
}

bool eboCachedFile::truncate(std::int64_t newSize)
{
    const auto guard = thread_->lock();
    return current_->truncate(newSize);
}

int eboCachedFile::deleteFile()
{
    const auto guard = thread_->lock();
    return plainFile_->deleteFile();
}

eboFileLock::LockResult eboCachedFile::lock(eboFileLock::Level level)
{
    const auto guard = thread_->lock();
    return current_->lock(level);
}

eboFileLock::Level eboCachedFile::lockLevel() const
{
    const auto guard = thread_->lock();
    return current_->lockLevel();
}

bool eboCachedFile::atEnd() const
{
    const auto guard = thread_->lock();
    return current_->atEnd();
}

bool eboCachedFile::isDirty() const
{
    const auto guard = thread_->lock();
    return current_->isDirty();
}

unsigned int eboCachedFile::blockSize() const
{
    const auto guard = thread_->lock();
    return current_->blockSize();
}

int eboCachedFile::cacheState() const
{
    const auto guard = thread_->lock();
    return state_;
}
