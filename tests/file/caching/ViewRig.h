#pragma once

#include "CacheRig.h"
#include "file/caching/eboCachedFile.h"
#include "file/caching/eboFileCache.h"
#include "support/eventually.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

namespace testsupport {

constexpr eboFile::OpenFlags kRead = eboFile::OpenRead | eboFile::OpenBinary;

/// Views of a SlowFile.
class ViewRig : public CacheRig {
protected:
    ~ViewRig() override { waitForTheEndOf(storage_); }

    ebo::refptr<eboCachedFile> viewOf(const std::string& bytes)
    {
        const auto cache = ebo::makeRef<eboFileCache>(dir_.path());
        return ebo::dynamicCast<eboCachedFile>(
            cache->createCachedFile(ebo::makeRef<SlowFile>("/slow/a.wav", bytes, storage_), factory_));
    }

    static std::string read(eboFile& file, std::int64_t size)
    {
        std::string bytes(static_cast<std::size_t>(size), '\0');
        const auto count = file.read(bytes.data(), size);
        bytes.resize(static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
        return bytes;
    }

    static bool reaches(const eboCachedFile& view, eboFileCachingThread::State state)
    {
        return eventually([&] { return view.cacheState() == state; });
    }

    std::shared_ptr<SlowStorage> storage_ = std::make_shared<SlowStorage>();
};

}  // namespace testsupport
