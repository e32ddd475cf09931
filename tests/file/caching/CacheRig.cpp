#include "CacheRig.h"

#include "support/eventually.h"

#include <filesystem>
#include <utility>

namespace testsupport {

void StateRecord::onCacheStateChanged(int state)
{
    const std::lock_guard guard(mutex_);
    states_.push_back(state);
}

std::vector<int> StateRecord::states() const
{
    const std::lock_guard guard(mutex_);
    return states_;
}

bool StateRecord::reaches(int state) const
{
    return eventually([&] {
        const auto told = states();
        return !told.empty() && told.back() == state;
    });
}

void Gate::shut()
{
    const std::lock_guard guard(mutex_);
    isOpen_ = false;
}

void Gate::release()
{
    const std::lock_guard guard(mutex_);
    isOpen_ = true;
    changed_.notify_all();
}

void Gate::pass()
{
    std::unique_lock guard(mutex_);
    isWaiting_ = !isOpen_;
    changed_.wait(guard, [this] { return isOpen_; });
    isWaiting_ = false;
}

bool Gate::getsVisitor()
{
    return eventually([this] {
        const std::lock_guard guard(mutex_);
        return isWaiting_;
    });
}

SlowFile::SlowFile(std::string path, const std::string& bytes, std::shared_ptr<SlowStorage> storage,
                   bool isSource)
    : MemoryFile(path, bytes), slowPath_(std::move(path)), slowBytes_(bytes), storage_(std::move(storage)),
      isSource_(isSource)
{}

ebo::refptr<eboFile> SlowFile::clone()
{
    return ebo::makeRef<SlowFile>(slowPath_, slowBytes_, storage_, false);
}

std::int64_t SlowFile::read(void* buffer, std::int64_t size)
{
    ++(isSource_ ? storage_->copierReads : storage_->plainReads);
    (isSource_ ? storage_->copying : storage_->reading).pass();
    if (isSource_ && storage_->failAt >= 0 && pos() >= storage_->failAt)
        return -1;
    return MemoryFile::read(buffer, size);
}

eboFileLock::LockResult SlowFile::lock(eboFileLock::Level level)
{
    if (!isSource_)
        storage_->plainLevel = level;
    return MemoryFile::lock(level);
}

bool SlowFile::hasLostData() const { return isSource_ ? storage_->copierLost : storage_->readersLost; }

CacheRig::CacheRig()
    : collector_(std::make_unique<ebo::GarbageCollection>()), factory_(ebo::makeRef<eboFileFactory>())
{
    collector_->start();
}

CacheRig::~CacheRig()
{
    factory_.reset();
    collector_.reset();
}

std::string CacheRig::pattern(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 31 + i / 256) & 0x7f);
    return bytes;
}

void CacheRig::waitForTheEndOf(const std::shared_ptr<SlowStorage>& storage) const
{
    EXPECT_TRUE(eventually([&] {
        if (collector_)
            collector_->purge(false);
        return storage.use_count() == 1;
    }));
}

std::vector<std::string> CacheRig::copies() const
{
    std::vector<std::string> names;
    const std::filesystem::path folder = dir_.file("OrluneTempFiles");
    if (std::filesystem::exists(folder)) {
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            names.push_back(entry.path().string());
    }
    return names;
}

bool CacheRig::isCleared() const
{
    return eventually([this] { return copies().empty(); });
}

}  // namespace testsupport
