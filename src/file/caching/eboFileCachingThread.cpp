#include "file/caching/eboFileCachingThread.h"

#include "file/tempFolderPath.h"
#include "runtime/logCategories.h"

#include <boost/filesystem/operations.hpp>

#include <QString>
#include <QThread>

#include <array>
#include <chrono>
#include <cstdint>
#include <exception>
#include <utility>

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLook{300};
constexpr std::size_t kBlockBytes = 4096;

/// Closes the file when the scope is left.
class Closing {
public:
    explicit Closing(eboFile& file) : file_(file) {}
    ~Closing() { file_.close(); }
    Closing(const Closing&) = delete;
    Closing& operator=(const Closing&) = delete;

private:
    eboFile& file_;
};

/// A name that no other file has, with the extension of the given path.
std::string randomName(const boost::filesystem::path& like)
{
    // The digits come from the kernel's random numbers.
    return boost::filesystem::unique_path("%%%%-%%%%-%%%%-%%%%").string() + like.extension().string();
}

}  // namespace

eboFileCachingThread::eboFileCachingThread(ebo::refptr<eboFileFactory> factory, ebo::refptr<eboFile> source,
                                           boost::filesystem::path storage,
                                           std::shared_ptr<eboCopyingPace> pace)
    : fileFactory_(std::move(factory)), source_(std::move(source)), storage_(std::move(storage)),
      pace_(std::move(pace))
{}

eboFileCachingThread::~eboFileCachingThread()
{
    {
        // Under the lock, so that a thread about to wait does not miss it.
        const auto guard = lock();
        requestStop();
    }
    stop();
}

void eboFileCachingThread::begin()
{
    start();
    changeState(Idle);
}

void eboFileCachingThread::addListener(const ebo::weakptr<eboFileCachingThreadListener>& listener)
{
    const auto guard = lock();
    listeners_.push_back(listener);
}

void eboFileCachingThread::dropDeadListeners()
{
    const auto guard = lock();
    listeners_.remove_if([](const auto& listener) { return !listener.isValid(); });
}

std::size_t eboFileCachingThread::listenerCount()
{
    const auto guard = lock();
    return listeners_.size();
}

void eboFileCachingThread::setEnabled(bool enabled)
{
    const auto guard = lock();
    enabled_ = enabled;
}

std::unique_lock<std::mutex> eboFileCachingThread::lock() { return std::unique_lock(wakeUpMutex_); }

void eboFileCachingThread::viewOpened()
{
    ++openCount_;
    wakeUp_.notify_all();
}

void eboFileCachingThread::viewClosed()
{
    if (openCount_ > 0)
        --openCount_;
    if (openCount_ == 0)
        wereAllClosed_ = true;
    wakeUp_.notify_all();
}

void eboFileCachingThread::_run()
{
    QThread::currentThread()->setObjectName(QStringLiteral("File cache thread (%1)").arg(sourceName()));
    auto guard = lock();
    while (!stopRequested()) {
        wakeUp_.wait_for(guard, kLook, [this] { return stopRequested() || hasLeftOver() || wantsCopy(); });
        const bool removes = hasLeftOver();
        const bool copies = !removes && !stopRequested() && wantsCopy();
        guard.unlock();
        if (removes)
            removeCopy();
        if (copies)
            makeCopy();
        guard.lock();
    }
    // The last view may have closed after the last look, or never.
    const bool removes = wereAllClosed_ || copy_;
    guard.unlock();
    if (removes)
        removeCopy();
}

void eboFileCachingThread::changeState(State state)
{
    // A listener that dies here must not do so under the lock, which it takes in its end.
    Listeners told;
    const auto guard = lock();
    told = tell(state);
}

eboFileCachingThread::Listeners eboFileCachingThread::tell(State state)
{
    state_ = state;
    Listeners told;
    for (const auto& weak : listeners_) {
        if (auto listener = weak.promote()) {
            listener->onCacheStateChanged(state);
            told.push_back(std::move(listener));
        }
    }
    return told;
}

void eboFileCachingThread::makeCopy()
{
    changeState(Copying);
    if (tryToCopy())
        return;
    Listeners told;
    const auto guard = lock();
    gaveUp_ = !isInterrupted();
    told = tell(Failed);
}

bool eboFileCachingThread::tryToCopy()
{
    {
        const auto guard = lock();
        if (!enabled_)
            return false;
    }
    try {
        return cloneToTempFile();
    } catch (const std::exception& error) {
        // No folder for the copy: the readers go on with the slow file.
        qCWarning(ebo::log::fileCaching) << "No copy of" << sourceName() << ":" << error.what();
    }
    return false;
}

bool eboFileCachingThread::cloneToTempFile()
{
    const auto path = tempFolderPath(storage_) / randomName(source_->filePath());
    const auto copy = fileFactory_->open(path.c_str(), {});
    qCInfo(ebo::log::fileCaching) << "Starting caching of file:" << sourceName()
                                  << ", at:" << QString::fromStdString(path.string());

    const Closing closingSource(*source_);
    const Closing closingCopy(*copy);
    if (!source_->open(eboFile::OpenRead | eboFile::OpenBinary) ||
        !copy->open(eboFile::OpenWrite | eboFile::OpenBinary)) {
        changeState(Idle);
        return false;
    }
    {
        const auto guard = lock();
        copy_ = copy;
    }
    const bool isComplete = copyBlocks(*source_, *copy);
    if (copy->sync() != 0 || !isComplete)
        return false;
    qCInfo(ebo::log::fileCaching) << "File cached:" << sourceName();
    changeState(Complete);
    return true;
}

bool eboFileCachingThread::copyBlocks(eboFile& source, eboFile& copy)
{
    while (!source.atEnd()) {
        {
            const auto guard = lock();
            if (isInterrupted())
                return false;
        }
        if (!copyBlock(source, copy))
            return false;
    }
    // A file that has lost its end may pass for one that is shorter.
    return !source.hasLostData();
}

bool eboFileCachingThread::copyBlock(eboFile& source, eboFile& copy)
{
    std::array<char, kBlockBytes> block;
    const auto start = pace_->now();
    const std::int64_t count = source.read(block.data(), static_cast<std::int64_t>(block.size()));
    giveWay(std::chrono::duration_cast<milliseconds>(pace_->now() - start));
    return count > 0 && !source.hasLostData() && copy.write(block.data(), count) == count;
}

void eboFileCachingThread::giveWay(milliseconds reading)
{
    const milliseconds rest = eboCopyingPace::restAfter(reading);
    if (rest == milliseconds{0})
        return;
    auto guard = lock();
    pace_->rest(rest, guard, wakeUp_, [this] { return isInterrupted(); });
}

void eboFileCachingThread::removeCopy()
{
    Listeners told;
    const auto guard = lock();
    if (copy_) {
        copy_->close();
        if (copy_->deleteFile() != 0)
            qCCritical(ebo::log::fileCaching).nospace().noquote()
                << "Failed removing cached file! (original File:" << sourceName() << ")";
        copy_.reset();
    }
    if (!gaveUp_)
        told = tell(Removed);
    wereAllClosed_ = false;
}

QString eboFileCachingThread::sourceName() const { return QString::fromUtf8(source_->filePath()); }
