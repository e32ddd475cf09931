#include "file/eboFileFactory.h"

#include "support/AudioFiles.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include <sys/stat.h>

namespace {

using testsupport::TempDir;
using testsupport::writeWholeFile;

/// Answers as the test wants, and remembers that it was asked.
class FakeCache : public eboFileCacheEnabler {
public:
    using Answer = std::function<ebo::refptr<eboFile>(const ebo::refptr<eboFile>&)>;
    explicit FakeCache(Answer answer) : answer_(std::move(answer)) {}

    ebo::refptr<eboFile> createCachedFile(const ebo::refptr<eboFile>& file,
                                          const ebo::refptr<eboFileFactory>& factory) override
    {
        ++asked;
        askedBy = factory.get();
        return answer_(file);
    }

    int asked = 0;
    eboFileFactory* askedBy = nullptr;

private:
    Answer answer_;
};

class FileFactory : public testing::Test {
protected:
    std::string fileOfMode(mode_t mode)
    {
        std::string path = dir_.file("file");
        writeWholeFile(path, "content");
        ::chmod(path.c_str(), mode);
        return path;
    }

    TempDir dir_;
    ebo::refptr<eboFileFactory> factory_ = ebo::makeRef<eboFileFactory>();
};

/// Whether a factory's options, or a file's flags, take a value of this type.
template <typename T>
constexpr bool isOptions = std::is_convertible_v<T, eboFileFactory::Options>;
template <typename T>
constexpr bool isOpenFlags = std::is_convertible_v<T, eboFile::OpenFlags>;

TEST(FileTypes, OptionsAndOpenFlagsCannotBeTakenForEachOther)
{
    static_assert(isOptions<eboFileFactory::Option> && !isOptions<eboFile::OpenFlag> &&
                  !isOptions<eboFile::OpenFlags> && !isOptions<int>);
    static_assert(isOpenFlags<eboFile::OpenFlag> && !isOpenFlags<eboFileFactory::Option> &&
                  !isOpenFlags<eboFileFactory::Options> && !isOpenFlags<int>);
}

TEST_F(FileFactory, AMissingFileExistsInNoMode)
{
    for (const int mode : {0, 1, 2, 3, -1})
        EXPECT_FALSE(factory_->fileExists(dir_.file("missing").c_str(), mode)) << "mode " << mode;
}

TEST_F(FileFactory, ModesAskForTheOwnersPermissions)
{
    const std::string path = fileOfMode(0400);
    EXPECT_TRUE(factory_->fileExists(path.c_str(), 0));
    EXPECT_TRUE(factory_->fileExists(path.c_str(), 1));
    EXPECT_FALSE(factory_->fileExists(path.c_str(), 2));
    ::chmod(path.c_str(), 0600);
    EXPECT_TRUE(factory_->fileExists(path.c_str(), 2));
    ::chmod(path.c_str(), 0200);
    EXPECT_TRUE(factory_->fileExists(path.c_str(), 0));
    EXPECT_FALSE(factory_->fileExists(path.c_str(), 1));
    EXPECT_FALSE(factory_->fileExists(path.c_str(), 2));
}

TEST_F(FileFactory, UnknownModesAnswerFalse)
{
    const std::string path = fileOfMode(0600);
    EXPECT_FALSE(factory_->fileExists(path.c_str(), 3));
    EXPECT_FALSE(factory_->fileExists(path.c_str(), -1));
}

TEST_F(FileFactory, MakesAFileObjectForAnyPathWithoutOpeningIt)
{
    const auto file = factory_->open(dir_.file("missing").c_str(), {});
    ASSERT_TRUE(file);
    EXPECT_EQ(file->filePath(), dir_.file("missing"));
    EXPECT_FALSE(file->isReadable());
    EXPECT_FALSE(factory_->fileExists(dir_.file("missing").c_str(), 0));
}

TEST_F(FileFactory, FilesOfOnePathShareTheirLocks)
{
    const auto first = factory_->open("/a", {});
    const auto second = factory_->open("/a", {});
    const auto other = factory_->open("/b", {});
    ASSERT_EQ(first->lock(eboFileLock::Exclusive), eboFileLock::SUCCESS);
    EXPECT_EQ(second->lock(eboFileLock::Shared), eboFileLock::BUSY);
    EXPECT_EQ(other->lock(eboFileLock::Exclusive), eboFileLock::SUCCESS);
}

TEST_F(FileFactory, AFileThatDiesLeavesItsLocks)
{
    auto first = factory_->open("/a", {});
    const auto second = factory_->open("/a", {});
    ASSERT_EQ(first->lock(eboFileLock::Exclusive), eboFileLock::SUCCESS);
    first.reset();
    EXPECT_EQ(second->lock(eboFileLock::Exclusive), eboFileLock::SUCCESS);
}

TEST_F(FileFactory, DeletesByTheFile)
{
    const auto file = factory_->open(fileOfMode(0600).c_str(), {});
    EXPECT_EQ(factory_->deleteFile(file), 0);
    EXPECT_EQ(factory_->deleteFile(file), -1) << "it is gone already";
    EXPECT_EQ(factory_->deleteFile(nullptr), -1);
}

TEST_F(FileFactory, OffersAFileToTheCacheWhenBitZeroAsks)
{
    auto copy = factory_->open("/copy", {});
    const auto cache = ebo::makeRef<FakeCache>([&](const auto&) { return copy; });
    factory_->setCacheEnabler(cache);
    EXPECT_EQ(factory_->open("/a", eboFileFactory::kCached), copy);
    EXPECT_EQ(factory_->open("/a", eboFileFactory::kCached | eboFileFactory::kWithoutLinks), copy)
        << "other options do not matter";
    EXPECT_EQ(cache->askedBy, factory_.get());
    EXPECT_FALSE(factory_->open("/a", eboFileFactory::kWithoutLinks) == copy);
    EXPECT_EQ(cache->asked, 2);
}

TEST_F(FileFactory, WithoutAnEnablerNothingIsCached)
{
    EXPECT_STREQ(factory_->open("/a", eboFileFactory::kCached)->filePath(), "/a");
}

TEST_F(FileFactory, AFileThatCannotBeCachedIsThePlainOne)
{
    ebo::refptr<eboFile> offered;
    factory_->setCacheEnabler(ebo::makeRef<FakeCache>([&](const auto& file) {
        offered = file;
        return ebo::refptr<eboFile>();
    }));
    EXPECT_EQ(factory_->open("/a", eboFileFactory::kCached), offered);
}

TEST_F(FileFactory, ACacheThatThrowsGivesThePlainFile)
{
    factory_->setCacheEnabler(ebo::makeRef<FakeCache>(
        [](const auto&) -> ebo::refptr<eboFile> { throw std::runtime_error("no space"); }));
    EXPECT_STREQ(factory_->open("/a", eboFileFactory::kCached)->filePath(), "/a");
}

}  // namespace
