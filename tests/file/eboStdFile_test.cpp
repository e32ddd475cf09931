#include "file/eboStdFile.h"

#include "file/eboFileFactory.h"
#include "support/AudioFiles.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <QLoggingCategory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testsupport::LogCapture;
using testsupport::readWholeFile;
using testsupport::TempDir;
using testsupport::writeWholeFile;

constexpr eboFile::OpenFlags kReading = eboFile::OpenRead | eboFile::OpenBinary;
constexpr eboFile::OpenFlags kWriting = eboFile::OpenWrite | eboFile::OpenBinary;
constexpr eboFile::OpenFlags kReadingAndWriting = kReading | kWriting;

class StdFile : public testing::Test {
protected:
    StdFile() { writeWholeFile(path_, "0123456789"); }

    ebo::refptr<eboFile> make(const std::string& path) { return factory_->open(path.c_str(), {}); }
    ebo::refptr<eboFile> opened(eboFile::OpenFlags flags)
    {
        auto file = make(path_);
        EXPECT_TRUE(file->open(flags));
        return file;
    }

    static std::string read(const ebo::refptr<eboFile>& file, std::int64_t bytes)
    {
        std::string result(static_cast<std::size_t>(bytes), '?');
        const std::int64_t count = file->read(result.data(), bytes);
        result.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return result;
    }

    TempDir dir_;
    const std::string path_ = dir_.file("file");
    ebo::refptr<eboFileFactory> factory_ = ebo::makeRef<eboFileFactory>();
};

TEST_F(StdFile, ReadsFromTheStartToTheEnd)
{
    const auto file = opened(kReading);
    EXPECT_EQ(file->size(), 10);
    EXPECT_EQ(read(file, 4), "0123");
    EXPECT_EQ(file->pos(), 4);
    EXPECT_FALSE(file->atEnd());
    EXPECT_EQ(read(file, 100), "456789");
    EXPECT_TRUE(file->atEnd());
    char byte = 0;
    EXPECT_EQ(file->read(&byte, 1), 0);
}

TEST_F(StdFile, SeeksAlsoBehindTheEndButNotBeforeTheStart)
{
    const LogCapture quiet;
    const auto file = opened(kReading);
    EXPECT_TRUE(file->seek(8));
    EXPECT_EQ(read(file, 10), "89");
    EXPECT_TRUE(file->seek(1000));
    EXPECT_EQ(read(file, 10), "");
    EXPECT_FALSE(file->seek(-1));
    EXPECT_TRUE(file->seek(0));
    EXPECT_EQ(read(file, 2), "01");
    EXPECT_THAT(quiet.texts(), IsEmpty());
}

TEST_F(StdFile, KnowsWhatItWasOpenedFor)
{
    EXPECT_TRUE(opened(kReading)->isReadable());
    EXPECT_FALSE(opened(kReading)->isWritable());
    EXPECT_TRUE(opened(kReadingAndWriting)->isWritable());
    EXPECT_FALSE(opened(kWriting)->isReadable());
}

TEST_F(StdFile, OpenedForWritingItStandsAtTheEnd)
{
    const auto file = opened(kReadingAndWriting);
    EXPECT_EQ(file->pos(), 10);
    EXPECT_EQ(read(file, 10), "");
    EXPECT_TRUE(file->seek(0));
    EXPECT_EQ(read(file, 10), "0123456789");
}

TEST_F(StdFile, OpenedForWritingAloneItIsEmpty)
{
    const auto file = opened(kWriting);
    EXPECT_EQ(file->size(), 0);
    EXPECT_TRUE(file->atEnd());
}

TEST_F(StdFile, AppendsBehindWhatIsThere)
{
    const auto file = opened(kWriting | eboFile::OpenAppend);
    EXPECT_EQ(file->write("ab", 2), 2);
    EXPECT_EQ(readWholeFile(path_), "0123456789ab");
    EXPECT_EQ(file->sync(), 0);
}

TEST_F(StdFile, TruncatesWhenOpenedSo)
{
    const auto file = opened(kReadingAndWriting | eboFile::OpenTruncate);
    EXPECT_EQ(file->size(), 0);
}

TEST_F(StdFile, WithoutTheBinaryBitLineEndsAreTranslated)
{
    writeWholeFile(path_, "a\r\nb");
    EXPECT_EQ(read(opened(eboFile::OpenRead), 10), "a\nb");
    EXPECT_EQ(read(opened(kReading), 10), "a\r\nb");
}

TEST_F(StdFile, WritingMakesAFileThatIsMissing)
{
    const auto file = make(dir_.file("new"));
    ASSERT_TRUE(file->open(kWriting));
    EXPECT_EQ(file->write("x", 1), 1);
    EXPECT_EQ(file->sync(), 0);
    EXPECT_EQ(readWholeFile(dir_.file("new")), "x");
}

TEST_F(StdFile, WhatIsWrittenIsSeenAtOnceByOthers)
{
    const auto writer = opened(kReadingAndWriting);
    EXPECT_EQ(writer->write("abc", 3), 3);
    EXPECT_EQ(readWholeFile(path_), "0123456789abc");
    EXPECT_EQ(writer->sync(), 0);
}

TEST_F(StdFile, IsDirtyFromAWriteToTheNextSync)
{
    const auto file = opened(kReadingAndWriting);
    EXPECT_FALSE(file->isDirty());
    file->write("x", 1);
    EXPECT_TRUE(file->isDirty());
    EXPECT_EQ(file->flush(), 0);
    EXPECT_TRUE(file->isDirty()) << "a flush is no sync";
    EXPECT_EQ(file->sync(), 0);
    EXPECT_FALSE(file->isDirty());
}

TEST_F(StdFile, AFailedWriteIsLoggedAndCounted)
{
    const auto file = opened(kReading);
    const LogCapture log;
    EXPECT_EQ(file->write("x", 1), -1);
    EXPECT_FALSE(file->isDirty());
    ASSERT_EQ(log.entries().size(), 1U);
    EXPECT_EQ(log.entries()[0].type, QtWarningMsg);
    EXPECT_EQ(log.entries()[0].category, "ebo.file.std");
    EXPECT_THAT(log.entries()[0].text, testing::StartsWith("Failed writing to file "));
    EXPECT_THAT(log.entries()[0].text, HasSubstr(path_));
    EXPECT_THAT(log.entries()[0].text, HasSubstr(": Error:"));
}

TEST_F(StdFile, AFullDiskIsAFailedWrite)
{
    // A limit on the size of files fails a write in the same place.
    const auto file = opened(kReadingAndWriting);
    rlimit old = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = ::signal(SIGXFSZ, SIG_IGN);
    rlimit small = old;
    small.rlim_cur = 10;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const LogCapture log;
    const std::int64_t written = file->write("x", 1);
    ::setrlimit(RLIMIT_FSIZE, &old);
    ::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(written, -1);
    EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("Failed writing to file ")));
}

TEST_F(StdFile, ChangesItsLength)
{
    const auto file = opened(kReadingAndWriting);
    EXPECT_TRUE(file->truncate(4));
    EXPECT_EQ(file->size(), 4);
    EXPECT_TRUE(file->truncate(6));
    EXPECT_EQ(readWholeFile(path_), std::string("0123\0\0", 6));
    EXPECT_FALSE(file->truncate(-1));
    EXPECT_FALSE(opened(kReading)->truncate(1));
}

TEST_F(StdFile, HasItsLengthAlsoWhenClosed)
{
    const auto file = make(path_);
    EXPECT_EQ(file->size(), 10);
    EXPECT_TRUE(file->truncate(3));
    EXPECT_EQ(file->size(), 3);
    EXPECT_EQ(make(dir_.file("missing"))->size(), 0);
}

TEST_F(StdFile, AClosedFileDoesNothing)
{
    const auto file = make(path_);
    const LogCapture log;
    std::array<char, 4> bytes{};
    EXPECT_EQ(file->read(bytes.data(), 4), -1);
    EXPECT_FALSE(file->seek(0));
    EXPECT_EQ(file->sync(), -1);
    EXPECT_EQ(file->flush(), -1);
    EXPECT_EQ(file->pos(), 0);
    EXPECT_FALSE(file->isReadable());
    EXPECT_FALSE(file->isWritable());
    file->close();
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_EQ(file->write("x", 1), -1);
}

TEST_F(StdFile, ASecondOpenChangesNothing)
{
    const auto file = opened(kReading);
    read(file, 3);
    EXPECT_FALSE(file->open(kReadingAndWriting));
    EXPECT_FALSE(file->isWritable());
    EXPECT_EQ(read(file, 3), "345");
}

TEST_F(StdFile, OpensAndClosesAgainAndAgain)
{
    const auto file = make(path_);
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(file->open(kReading));
        EXPECT_EQ(read(file, 2), "01");
        file->close();
    }
}

TEST_F(StdFile, AFailureToOpenIsADebugMessage)
{
    QLoggingCategory::setFilterRules(QStringLiteral("ebo.file.std.debug=true"));
    const LogCapture log;
    EXPECT_FALSE(make(dir_.file("missing"))->open(kReading));
    QLoggingCategory::setFilterRules(QString());
    ASSERT_EQ(log.entries().size(), 1U);
    EXPECT_EQ(log.entries()[0].type, QtDebugMsg);
    EXPECT_EQ(log.entries()[0].text, "Failed to open file ( \"" + dir_.file("missing") +
                                         "\" ). Error message is: \"No such file or directory\"");
}

TEST_F(StdFile, WithoutAnyAccessItDoesNotOpen)
{
    const LogCapture quiet;
    EXPECT_FALSE(make(path_)->open(eboFile::OpenBinary));
    EXPECT_THAT(quiet.texts(), IsEmpty());
}

TEST_F(StdFile, OpensNothingButRegularFiles)
{
    const std::string fifo = dir_.file("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (const eboFile::OpenFlags flags : {kReading, kWriting, kReadingAndWriting}) {
        EXPECT_FALSE(make(fifo)->open(flags)) << "flags " << flags;
        EXPECT_FALSE(make("/dev/zero")->open(flags)) << "flags " << flags;
        EXPECT_FALSE(make(dir_.path())->open(flags)) << "flags " << flags;
    }
    EXPECT_FALSE(make("")->open(kReading));
    EXPECT_FALSE(make(std::string(5000, 'x'))->open(kReading)) << "a name of more than 4096 bytes";
}

TEST_F(StdFile, TakesAPathAsBytes)
{
    const std::string odd = dir_.file("\xff\xfe latin \xe9.mp3");
    writeWholeFile(odd, "odd");
    const auto file = make(odd);
    ASSERT_TRUE(file->open(kReading));
    EXPECT_EQ(read(file, 10), "odd");
    EXPECT_EQ(file->filePath(), odd);
}

TEST_F(StdFile, DeletesAlsoWhenOpen)
{
    const auto file = opened(kReadingAndWriting);
    file->write("x", 1);
    const LogCapture quiet;
    EXPECT_EQ(file->deleteFile(), 0);
    EXPECT_FALSE(file->isReadable());
    EXPECT_FALSE(std::filesystem::exists(path_));
    EXPECT_EQ(file->deleteFile(), -1);
    EXPECT_THAT(quiet.texts(), IsEmpty());
}

TEST_F(StdFile, ACloneHasItsOwnPositionAndLock)
{
    const auto file = opened(kReading);
    read(file, 5);
    const auto clone = file->clone();
    EXPECT_FALSE(clone->isReadable()) << "a clone starts closed";
    ASSERT_TRUE(clone->open(kReading));
    EXPECT_EQ(read(clone, 2), "01");
    ASSERT_EQ(file->lock(eboFileLock::Exclusive), eboFileLock::SUCCESS);
    EXPECT_EQ(clone->lockLevel(), eboFileLock::Unlocked);
    EXPECT_EQ(clone->lock(eboFileLock::Shared), eboFileLock::BUSY) << "they are of one group";
    file->lock(eboFileLock::Unlocked);
    EXPECT_EQ(clone->lock(eboFileLock::Shared), eboFileLock::SUCCESS);
    clone->lock(eboFileLock::Unlocked);
}

TEST_F(StdFile, WithoutItsFactoryItHasNoLocksAndNeitherHasItsClone)
{
    const auto file = make(path_);
    factory_.reset();
    EXPECT_EQ(file->lock(eboFileLock::Shared), eboFileLock::FAILED);
    const auto clone = file->clone();
    EXPECT_EQ(clone->lock(eboFileLock::Shared), eboFileLock::FAILED);
    EXPECT_EQ(clone->lockLevel(), eboFileLock::Unlocked);
    EXPECT_TRUE(clone->open(kReading));
}

TEST_F(StdFile, ClosingADirtyFileSyncsIt)
{
    const auto file = opened(kReadingAndWriting);
    file->write("x", 1);
    const LogCapture log;
    file->close();
    EXPECT_THAT(log.texts(), ElementsAre("Trying to sync file befor close"));
    EXPECT_EQ(log.entries()[0].type, QtCriticalMsg);
    EXPECT_FALSE(file->isDirty());
    EXPECT_EQ(file->lockLevel(), eboFileLock::Unlocked);
    EXPECT_EQ(readWholeFile(path_), "0123456789x");
}

TEST_F(StdFile, ClosingADirtyFileThatAnotherReadsLosesNothingAndSaysSo)
{
    const auto file = opened(kReadingAndWriting);
    const auto reader = file->clone();
    ASSERT_EQ(reader->lock(eboFileLock::Shared), eboFileLock::SUCCESS);
    file->write("x", 1);
    const LogCapture log;
    file->close();
    EXPECT_THAT(log.texts(),
                ElementsAre("Trying to sync file befor close", "FAILED SYNCING FILE! \"" + path_ + "\""));
    EXPECT_FALSE(file->isReadable());
    EXPECT_FALSE(file->isDirty());
    EXPECT_EQ(readWholeFile(path_), "0123456789x");
    file->close();
    EXPECT_EQ(log.texts().size(), 2U) << "a second close does nothing";
}

TEST_F(StdFile, ALevelStillHeldAtCloseStaysAndIsReported)
{
    const auto file = opened(kReading);
    ASSERT_EQ(file->lock(eboFileLock::Shared), eboFileLock::SUCCESS);
    const LogCapture log;
    file->close();
    EXPECT_THAT(log.texts(), ElementsAre("File \"" + path_ + "\" was not unlocked before close"));
    EXPECT_EQ(log.entries()[0].type, QtCriticalMsg);
    EXPECT_EQ(file->lockLevel(), eboFileLock::Shared);
}

TEST_F(StdFile, DyingItCloses)
{
    auto file = opened(kReadingAndWriting);
    file->write("x", 1);
    const LogCapture log;
    file.reset();
    EXPECT_THAT(log.texts(), ElementsAre("Trying to sync file befor close"));
}

TEST_F(StdFile, ReadsWhatIsLeftOfAShrinkingFile)
{
    writeWholeFile(path_, std::string(100000, 'a'));
    const auto file = opened(kReading);
    EXPECT_EQ(read(file, 10).size(), 10U);
    std::filesystem::resize_file(path_, 50000);
    EXPECT_EQ(file->size(), 50000);
    EXPECT_EQ(read(file, 100000).size(), 49990U);
    EXPECT_TRUE(file->atEnd());
}

TEST_F(StdFile, AnEmptyFileIsAtItsEnd)
{
    writeWholeFile(path_, "");
    EXPECT_TRUE(opened(kReading)->atEnd());
}

TEST_F(StdFile, CountsInBlocksOfASector) { EXPECT_EQ(make(path_)->blockSize(), 512U); }

}  // namespace
