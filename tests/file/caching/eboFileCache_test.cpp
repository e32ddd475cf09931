#include "file/caching/eboFileCache.h"

#include "CacheRig.h"
#include "file/caching/eboCachedFile.h"
#include "support/AudioFiles.h"

#include <boost/filesystem/exception.hpp>

#include <cerrno>
#include <filesystem>

namespace {

class FileCache : public testsupport::CacheRig {
protected:
    FileCache() { testsupport::writeWholeFile(path_, pattern(100)); }

    std::string path_ = dir_.file("track.wav");
    ebo::refptr<eboFileCache> cache_ = ebo::makeRef<eboFileCache>(dir_.path());
};

TEST_F(FileCache, MakesAFactorysFilesCachedOnesWhenAsked)
{
    factory_->setCacheEnabler(cache_);
    const auto cached = factory_->open(path_.c_str(), eboFileFactory::kCached);
    EXPECT_TRUE(ebo::dynamicCast<eboCachedFile>(cached));
    EXPECT_EQ(cached->filePath(), path_);
    EXPECT_FALSE(ebo::dynamicCast<eboCachedFile>(factory_->open(path_.c_str(), {})));
}

TEST_F(FileCache, DoesNotCacheWhatCannotBeOpened)
{
    EXPECT_FALSE(cache_->createCachedFile(factory_->open(dir_.file("missing").c_str(), {}), factory_));
}

TEST_F(FileCache, DoesNotCacheAFileLargerThanTheFreeSpace)
{
    const auto space = std::filesystem::space(dir_.path()).available;
    std::filesystem::resize_file(path_, space + (std::uintmax_t{1} << 40U));
    const auto file = factory_->open(path_.c_str(), {});
    EXPECT_FALSE(cache_->createCachedFile(file, factory_));
    EXPECT_FALSE(file->isReadable()) << "it is closed again";

    factory_->setCacheEnabler(cache_);
    const auto plain = factory_->open(path_.c_str(), eboFileFactory::kCached);
    EXPECT_FALSE(ebo::dynamicCast<eboCachedFile>(plain));
    EXPECT_EQ(plain->filePath(), path_);
}

TEST_F(FileCache, ThrowsWhenTheFreeSpaceCannotBeAskedFor)
{
    // It is there, so it is taken; but it leads round in a circle.
    std::filesystem::create_symlink("OrluneTempFiles", dir_.file("OrluneTempFiles"));
    const auto file = factory_->open(path_.c_str(), {});
    EXPECT_THROW((void)cache_->createCachedFile(file, factory_), boost::filesystem::filesystem_error);
}

TEST_F(FileCache, WithoutStorageTheFactoryGivesThePlainFile)
{
    factory_->setCacheEnabler(ebo::makeRef<eboFileCache>(dir_.file("missing")));
    const auto file = factory_->open(path_.c_str(), eboFileFactory::kCached);
    EXPECT_FALSE(ebo::dynamicCast<eboCachedFile>(file));
    EXPECT_TRUE(file->open(eboFile::OpenRead | eboFile::OpenBinary));
    file->close();
}

}  // namespace
