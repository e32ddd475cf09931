#include "file/caching/eboFileCachingThread.h"

#include "file/tempFolderPath.h"
#include "runtime/logCategories.h"

#include <boost/filesystem/operations.hpp>

#include <QString>
#include <QThread>

#include <array>
#include <chrono>
#include <exception>
#include <thread>
#include <utility>

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLook{300};
constexpr std::size_t kBlockBytes = 4096;

// A block that took this long tells that others are reading from the slow storage, too.
constexpr std::int64_t kSlowReadMilliseconds = 26;
constexpr std::int64_t kRestPerReading = 10;
constexpr std::int64_t kLongestRestMilliseconds = 1000;

constexpr int kEndLooks = 60001;
constexpr milliseconds kEndLook{1};

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
                                           boost::filesystem::path storage)
    : fileFactory_(std::move(factory)), source_(std::move(source)), storage_(std::move(storage))
{}

eboFileCachingThread::~eboFileCachingThread()
{
    requestStop();
    {
        const auto guard = lock();
    }
    wakeUp_.notify_all();
    for (int look = 0; look < kEndLooks && state() == ebo::ThreadState::kRunning; ++look) {
        if (!startRequested_ && !removeRequested_)
            break;
        std::this_thread::sleep_for(kEndLook);
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

void eboFileCachingThread::setEnabled(bool enabled)
{
    const auto guard = lock();
    enabled_ = enabled;
}

std::unique_lock<std::mutex> eboFileCachingThread::lock() { return std::unique_lock(wakeUpMutex_); }

void eboFileCachingThread::viewOpened()
{
    ++openCount_;
    // A copy that is about to be removed is of no use to a new reader: it gets a fresh one.
    if (state_ == Idle || state_ == Copying || state_ == Removed || (removeRequested_ && !broken_))
        startRequested_ = true;
    wakeUp_.notify_all();
}

void eboFileCachingThread::viewClosed()
{
    if (openCount_ > 0)
        --openCount_;
    if (openCount_ == 0)
        removeRequested_ = true;
    wakeUp_.notify_all();
}

void eboFileCachingThread::_run()
{
    QThread::currentThread()->setObjectName(QStringLiteral("File cache thread (%1)").arg(sourceName()));
    while (!stopRequested()) {
        {
            auto guard = lock();
            wakeUp_.wait_for(guard, kLook,
                             [this] { return stopRequested() || startRequested_ || removeRequested_; });
        }
        if (startRequested_ && !isGivenUp())
            makeCopy();
        if (removeRequested_)
            removeCopy();
    }
    // The last view may have closed after the last look, or never.
    if (removeRequested_ || hasCopy())
        removeCopy();
}

bool eboFileCachingThread::hasCopy()
{
    const auto guard = lock();
    return static_cast<bool>(copy_);
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
    const bool isComplete = tryToCopy();
    Listeners told;
    const auto guard = lock();
    if (!isComplete) {
        broken_ = !isGivenUp() || broken_;
        told = tell(Failed);
    }
    // A reader that has come while an unwanted copy ends is served after the removal.
    if (!removeRequested_ || broken_)
        startRequested_ = false;
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
    copy->sync();
    if (!isComplete)
        return false;
    qCInfo(ebo::log::fileCaching) << "File cached:" << sourceName();
    changeState(Complete);
    return true;
}

bool eboFileCachingThread::copyBlocks(eboFile& source, eboFile& copy)
{
    while (!source.atEnd()) {
        if (isGivenUp() || !copyBlock(source, copy)) {
            const auto guard = lock();
            broken_ = !isGivenUp() || broken_;
            removeRequested_ = true;
            return false;
        }
    }
    return true;
}

bool eboFileCachingThread::copyBlock(eboFile& source, eboFile& copy)
{
    using Clock = std::chrono::steady_clock;
    std::array<char, kBlockBytes> block;
    const auto start = Clock::now();
    const std::int64_t count = source.read(block.data(), static_cast<std::int64_t>(block.size()));
    giveWay(std::chrono::duration_cast<milliseconds>(Clock::now() - start).count());
    return count > 0 && copy.write(block.data(), count) == count;
}

void eboFileCachingThread::giveWay(std::int64_t readMilliseconds)
{
    if (readMilliseconds < kSlowReadMilliseconds)
        return;
    auto guard = lock();
    const milliseconds rest(std::min(kRestPerReading * readMilliseconds, kLongestRestMilliseconds));
    wakeUp_.wait_for(guard, rest, [this] { return isGivenUp(); });
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
    if (!broken_)
        told = tell(Removed);
    removeRequested_ = false;
    if (openCount_ == 0)
        startRequested_ = false;
}

QString eboFileCachingThread::sourceName() const { return QString::fromUtf8(source_->filePath()); }
