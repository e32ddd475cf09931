#include "file/withoutLinks.h"

#include "file/eboFileFactory.h"
#include "support/AudioFiles.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;
using testsupport::readWholeFile;
using testsupport::writeWholeFile;

constexpr eboFile::OpenFlags kReadAndWrite = eboFile::OpenRead | eboFile::OpenWrite | eboFile::OpenBinary;

class WithoutLinks : public testing::Test {
protected:
    WithoutLinks()
    {
        fs::create_directories(root_ + "/folder");
        writeWholeFile(root_ + "/folder/file", "content");
        fs::create_symlink("folder", root_ + "/folderLink");
        fs::create_symlink("file", root_ + "/folder/fileLink");
        fs::create_symlink("missing", root_ + "/folder/deadLink");
    }

    bool opens(const std::string& path) const
    {
        const int descriptor = openWithoutLinks(path.c_str(), O_RDONLY);
        if (descriptor >= 0)
            ::close(descriptor);
        return descriptor >= 0;
    }
    ebo::refptr<eboFile> file(const std::string& name) const
    {
        return factory_->open((root_ + name).c_str(), eboFileFactory::kWithoutLinks);
    }

    testsupport::TempDir dir_;
    const std::string root_ = fs::canonical(dir_.path()).string();
    ebo::refptr<eboFileFactory> factory_ = ebo::makeRef<eboFileFactory>();
};

TEST_F(WithoutLinks, PlainPathsOpen)
{
    EXPECT_TRUE(opens(root_ + "/folder/file"));
    EXPECT_TRUE(opens(root_ + "//folder/./file"));
    EXPECT_TRUE(opens(root_ + "/folder"));
    EXPECT_TRUE(opens("/"));
}

TEST_F(WithoutLinks, LinksDoNotWhereverTheyStand)
{
    EXPECT_FALSE(opens(root_ + "/folderLink/file"));
    EXPECT_FALSE(opens(root_ + "/folder/fileLink"));
    EXPECT_EQ(errno, ELOOP);
    EXPECT_FALSE(opens(root_ + "/folderLink"));
}

TEST_F(WithoutLinks, PathsThatAreNotAbsoluteAndPlainAreRefused)
{
    for (const std::string& path :
         {std::string(), std::string("folder/file"), root_ + "/folder/../folder/file"}) {
        EXPECT_FALSE(opens(path)) << path;
        EXPECT_EQ(errno, EINVAL) << path;
    }
    EXPECT_FALSE(opens(root_ + "/missing/file"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(WithoutLinks, AFileIsReadWrittenAndRemoved)
{
    const auto plain = file("/folder/file");
    ASSERT_TRUE(plain->open(kReadAndWrite));
    EXPECT_TRUE(plain->truncate(3));
    EXPECT_EQ(readWholeFile(root_ + "/folder/file"), "con");
    plain->close();
    EXPECT_TRUE(plain->truncate(1)) << "also while it is closed";
    EXPECT_EQ(readWholeFile(root_ + "/folder/file"), "c");
    EXPECT_EQ(plain->clone()->deleteFile(), 0);
    EXPECT_FALSE(fs::exists(root_ + "/folder/file"));
    ASSERT_TRUE(plain->open(kReadAndWrite)) << "created again";
}

TEST_F(WithoutLinks, NothingHappensThroughALinkThatCameLater)
{
    const auto inFolder = file("/folder/file");
    const auto atEnd = file("/other");
    fs::rename(root_ + "/folder", root_ + "/elsewhere");
    fs::create_symlink("elsewhere", root_ + "/folder");
    fs::create_symlink("elsewhere/file", root_ + "/other");
    for (const auto& swapped : {inFolder, atEnd}) {
        EXPECT_FALSE(swapped->open(kReadAndWrite));
        EXPECT_FALSE(swapped->open(eboFile::OpenRead | eboFile::OpenBinary));
        EXPECT_FALSE(swapped->truncate(0));
        EXPECT_FALSE(swapped->clone()->open(eboFile::OpenRead));
    }
    EXPECT_EQ(inFolder->deleteFile(), -1);
    EXPECT_EQ(atEnd->deleteFile(), 0) << "the link itself";
    EXPECT_EQ(readWholeFile(root_ + "/elsewhere/file"), "content");
}

TEST_F(WithoutLinks, NothingIsCreatedThroughALinkToNothing)
{
    EXPECT_FALSE(file("/folder/deadLink")->open(kReadAndWrite));
    EXPECT_FALSE(fs::exists(root_ + "/folder/missing"));
}

TEST_F(WithoutLinks, AnUnbufferedFileReadsNothingAhead)
{
    const std::string path = root_ + "/folder/file";
    writeWholeFile(path, std::string(8192, 'a'));
    const auto reader = factory_->open(path.c_str(), eboFileFactory::kUnbuffered);
    ASSERT_TRUE(reader->open(eboFile::OpenRead | eboFile::OpenBinary));
    std::string block(4096, ' ');
    ASSERT_EQ(reader->read(block.data(), 4096), 4096);
    writeWholeFile(path, std::string(8192, 'b'));
    ASSERT_EQ(reader->read(block.data(), 4096), 4096);
    EXPECT_EQ(block, std::string(4096, 'b'));
}

}  // namespace
