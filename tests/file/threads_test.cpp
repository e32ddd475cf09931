#include "file/eboFileFactory.h"
#include "support/AudioFiles.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <latch>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kRecords = 100000;
constexpr std::size_t kRecordBytes = 8;

/// The number as a record of the length that all have.
std::string record(int number)
{
    const std::string digits = std::to_string(number);
    return std::string(kRecordBytes - digits.size(), '.') + digits;
}

/// Does that twice at once, as number 0 and as number 1.
void atOnce(const std::function<void(int)>& work)
{
    std::latch ready(2);
    const auto body = [&](int number) {
        ready.arrive_and_wait();
        work(number);
    };
    std::thread other(body, 1);
    body(0);
    other.join();
}

class FilesOfTwoThreads : public testing::Test {
protected:
    testsupport::TempDir dir_;
    const std::string path_ = dir_.file("file");
    ebo::refptr<eboFileFactory> factory_ = ebo::makeRef<eboFileFactory>();
};

TEST_F(FilesOfTwoThreads, EachReadOfOneFileIsWholeAndNoneComesTwice)
{
    std::string all;
    for (int i = 0; i < kRecords; ++i)
        all += record(i);
    testsupport::writeWholeFile(path_, all);
    const auto file = factory_->open(path_.c_str(), {});
    ASSERT_TRUE(file->open(eboFile::OpenRead | eboFile::OpenBinary));

    std::vector<std::string> read[2];
    atOnce([&](int reader) {
        std::string bytes(kRecordBytes, '?');
        for (int i = 0; i <= kRecords && file->read(bytes.data(), kRecordBytes) == kRecordBytes; ++i)
            read[reader].push_back(bytes);
        EXPECT_FALSE(file->hasLostData());
    });
    std::vector<std::string> both = read[0];
    both.insert(both.end(), read[1].begin(), read[1].end());
    std::sort(both.begin(), both.end());
    ASSERT_EQ(both.size(), std::size_t{kRecords});
    for (int i = 0; i < kRecords; ++i)
        ASSERT_EQ(both[static_cast<std::size_t>(i)], record(i));
    EXPECT_TRUE(file->atEnd());
}

TEST_F(FilesOfTwoThreads, EachWriteToOneFileIsWhole)
{
    const auto file = factory_->open(path_.c_str(), {});
    ASSERT_TRUE(file->open(eboFile::OpenWrite | eboFile::OpenBinary));
    atOnce([&](int writer) {
        for (int i = writer; i < kRecords; i += 2) {
            EXPECT_EQ(file->write(record(i).data(), kRecordBytes), kRecordBytes);
            if (i % 1000 < 2) {
                EXPECT_EQ(file->sync(), 0);
            }
        }
    });
    EXPECT_EQ(file->sync(), 0);
    EXPECT_FALSE(file->isDirty());

    const std::string content = testsupport::readWholeFile(path_);
    ASSERT_EQ(content.size(), kRecords * kRecordBytes);
    std::set<std::string> written;
    for (std::size_t at = 0; at < content.size(); at += kRecordBytes)
        written.insert(content.substr(at, kRecordBytes));
    ASSERT_EQ(written.size(), std::size_t{kRecords});
    for (int i = 0; i < kRecords; ++i)
        EXPECT_TRUE(written.contains(record(i))) << i;
}

TEST_F(FilesOfTwoThreads, OneFactoryPutsFilesOfOnePathIntoOneGroupOfLocks)
{
    constexpr int kPaths = 20000;
    std::vector<ebo::refptr<eboFile>> files[2];
    atOnce([&](int asker) {
        for (int i = 0; i < kPaths; ++i)
            files[asker].push_back(factory_->open(("/nowhere/" + std::to_string(i)).c_str(), {}));
    });
    for (std::size_t i = 0; i < std::size_t{kPaths}; ++i) {
        ASSERT_EQ(files[0][i]->lock(eboFileLock::Exclusive), eboFileLock::SUCCESS) << i;
        ASSERT_EQ(files[1][i]->lock(eboFileLock::Shared), eboFileLock::BUSY) << i;
    }
}

}  // namespace
