#pragma once

#include "CacheRig.h"

#include <memory>
#include <string>
#include <utility>

namespace testsupport {

/// A thread that copies a SlowFile, and a record of what it tells.
class CopyingRig : public CacheRig {
protected:
    ~CopyingRig() override
    {
        source_.reset();
        thread_.reset();
        waitForTheEndOf(storage_);
    }

    void begin(const std::string& bytes, const std::string& storage,
               std::shared_ptr<eboCopyingPace> pace = std::make_shared<eboCopyingPace>())
    {
        source_ = ebo::makeRef<SlowFile>("/slow/take 1.flac", bytes, storage_);
        thread_ = ebo::makeRef<eboFileCachingThread>(factory_, source_, storage, std::move(pace));
        thread_->addListener(ebo::weakptr<eboFileCachingThreadListener>(record_));
        thread_->begin();
    }
    void begin(const std::string& bytes) { begin(bytes, dir_.path()); }

    void open()
    {
        const auto guard = thread_->lock();
        thread_->viewOpened();
    }
    void close()
    {
        const auto guard = thread_->lock();
        thread_->viewClosed();
    }

    std::shared_ptr<SlowStorage> storage_ = std::make_shared<SlowStorage>();
    ebo::refptr<StateRecord> record_ = ebo::makeRef<StateRecord>();
    ebo::refptr<eboFile> source_;
    ebo::refptr<eboFileCachingThread> thread_;
};

}  // namespace testsupport
