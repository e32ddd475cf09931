#include "file/eboFileFactory.h"
#include "support/AudioFiles.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

#include <sys/mman.h>

namespace {

/// The memory of this process, as a file: one page of it can be read, and what lies behind fails with an I/O
/// error, as a bad sector does.
class FileWithABadSector {
public:
    FileWithABadSector()
        : pages_(static_cast<char*>(
              ::mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        std::fill_n(pages_, kPage, 'g');
        ::munmap(pages_ + kPage, kPage);
    }
    ~FileWithABadSector() { ::munmap(pages_, kPage); }
    FileWithABadSector(const FileWithABadSector&) = delete;
    FileWithABadSector& operator=(const FileWithABadSector&) = delete;

    static constexpr const char* kPath = "/proc/self/mem";

    /// Where the bytes end that can be read.
    [[nodiscard]] std::int64_t bad() const
    {
        return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(pages_ + kPage));
    }

private:
    static constexpr std::size_t kPage = 65536;  // no system's pages are larger
    char* const pages_;
};

/// Takes the system's hold on a file away from whoever has it open, so that every call on it fails.
class Severed {
public:
    explicit Severed(const std::string& path)
    {
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code ignored;
            if (std::filesystem::read_symlink(entry, ignored) == path)
                descriptor_ = std::stoi(entry.path().filename());
        }
        ::close(descriptor_);
    }
    /// Leaves something to be closed.
    ~Severed()
    {
        const int other = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (other != descriptor_) {
            ::dup2(other, descriptor_);
            ::close(other);
        }
    }
    Severed(const Severed&) = delete;
    Severed& operator=(const Severed&) = delete;

private:
    int descriptor_ = -1;
};

class LosingStdFile : public testing::Test {
protected:
    LosingStdFile() { testsupport::writeWholeFile(path_, "0123456789"); }

    ebo::refptr<eboFile> opened(const std::string& path, eboFileFactory::Options options = {})
    {
        auto file = factory_->open(path.c_str(), options);
        EXPECT_TRUE(file->open(eboFile::OpenRead | eboFile::OpenBinary));
        return file;
    }

    static std::string read(const ebo::refptr<eboFile>& file, std::int64_t bytes)
    {
        std::string result(static_cast<std::size_t>(bytes), '?');
        const std::int64_t count = file->read(result.data(), bytes);
        result.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return result;
    }

    testsupport::TempDir dir_;
    const std::string path_ = dir_.file("file");
    ebo::refptr<eboFileFactory> factory_ = ebo::makeRef<eboFileFactory>();
};

TEST_F(LosingStdFile, AnErrorOfTheDiskIsNoEnd)
{
    const FileWithABadSector bad;
    const auto file = opened(FileWithABadSector::kPath);
    ASSERT_TRUE(file->seek(bad.bad()));
    EXPECT_FALSE(file->hasLostData());
    std::array<char, 10> bytes{};
    EXPECT_EQ(file->read(bytes.data(), 10), -1);
    EXPECT_TRUE(file->hasLostData());
    EXPECT_EQ(file->read(bytes.data(), 10), -1) << "nor is it one the second time";
    EXPECT_EQ(file->pos(), bad.bad());
}

TEST_F(LosingStdFile, WhatCanBeReadBeforeAnErrorOfTheDiskIsGivenAndTheErrorTold)
{
    const FileWithABadSector bad;
    for (const eboFileFactory::Options options :
         {eboFileFactory::Options(), eboFileFactory::Options(eboFileFactory::kUnbuffered)}) {
        const auto file = opened(FileWithABadSector::kPath, options);
        ASSERT_TRUE(file->seek(bad.bad() - 100));
        EXPECT_EQ(read(file, 60), std::string(60, 'g')) << "options " << options;
        EXPECT_FALSE(file->hasLostData()) << "what was asked for is there, options " << options;
        EXPECT_EQ(read(file, 60), std::string(40, 'g')) << "options " << options;
        EXPECT_TRUE(file->hasLostData()) << "a short count that is no end, options " << options;
        std::array<char, 10> bytes{};
        EXPECT_EQ(file->read(bytes.data(), 10), -1) << "options " << options;
    }
}

TEST_F(LosingStdFile, WhatWasLostStaysLost)
{
    const FileWithABadSector bad;
    const auto file = opened(FileWithABadSector::kPath);
    ASSERT_TRUE(file->seek(bad.bad()));
    EXPECT_EQ(read(file, 1), "");
    ASSERT_TRUE(file->seek(bad.bad() - 10));
    EXPECT_EQ(read(file, 10), std::string(10, 'g'));
    EXPECT_TRUE(file->hasLostData());
    EXPECT_FALSE(file->clone()->hasLostData()) << "a clone has read nothing";
}

TEST_F(LosingStdFile, TheEndOfAFileLosesNothing)
{
    const auto file = opened(path_);
    EXPECT_EQ(read(file, 100), "0123456789");
    EXPECT_EQ(read(file, 100), "");
    EXPECT_TRUE(file->atEnd());
    std::filesystem::resize_file(path_, 5);
    EXPECT_EQ(read(file, 100), "");
    EXPECT_FALSE(file->hasLostData());
}

TEST_F(LosingStdFile, ALengthThatCannotBeHadIsNoEnd)
{
    const auto file = opened(path_);
    ASSERT_TRUE(file->seek(5));
    {
        const Severed severed(std::filesystem::canonical(path_).string());
        EXPECT_FALSE(file->atEnd());
        EXPECT_TRUE(file->hasLostData());
        EXPECT_EQ(file->size(), 10) << "as it was when it was opened";
        std::array<char, 10> bytes{};
        EXPECT_EQ(file->read(bytes.data(), 10), -1);
    }
    file->close();
}

}  // namespace
