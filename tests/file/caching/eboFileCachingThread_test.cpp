#include "file/caching/eboFileCachingThread.h"

#include "CopyingRig.h"
#include "support/AudioFiles.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

#include <cctype>
#include <filesystem>

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Thread = eboFileCachingThread;

class FileCachingThread : public testsupport::CopyingRig {};

TEST_F(FileCachingThread, IsIdleUntilAViewOpens)
{
    begin(pattern(10));
    EXPECT_THAT(record_->states(), ElementsAre(Thread::Idle));
    EXPECT_TRUE(copies().empty());
}

TEST_F(FileCachingThread, CopiesForTheFirstViewAndRemovesAfterTheLast)
{
    const std::string bytes = pattern(3 * 4096 + 17);
    begin(bytes);
    open();
    open();
    ASSERT_TRUE(record_->reaches(Thread::Complete));
    ASSERT_EQ(copies().size(), 1U);
    EXPECT_EQ(testsupport::readWholeFile(copies().front()), bytes);
    close();
    EXPECT_EQ(copies().size(), 1U) << "somebody still reads";
    close();
    ASSERT_TRUE(record_->reaches(Thread::Removed));
    EXPECT_TRUE(copies().empty());
    EXPECT_THAT(record_->states(),
                ElementsAre(Thread::Idle, Thread::Copying, Thread::Complete, Thread::Removed));
}

TEST_F(FileCachingThread, NamesTheCopyAtRandomWithTheExtensionOfTheSource)
{
    begin(pattern(10));
    open();
    ASSERT_TRUE(record_->reaches(Thread::Complete));
    ASSERT_EQ(copies().size(), 1U);
    const std::string name = std::filesystem::path(copies().front()).filename().string();
    // 0123-4567-89ab-cdef.flac
    ASSERT_EQ(name.size(), 24U) << name;
    EXPECT_TRUE(name.ends_with(".flac")) << name;
    for (std::size_t i = 0; i < 19; ++i)
        EXPECT_TRUE(i % 5 == 4 ? name[i] == '-' : std::isxdigit(static_cast<unsigned char>(name[i])) != 0)
            << name;
}

TEST_F(FileCachingThread, AnEmptyFileIsCompleteAtOnce)
{
    storage_->copying.shut();  // no read is needed
    begin({});
    open();
    ASSERT_TRUE(record_->reaches(Thread::Complete));
    ASSERT_EQ(copies().size(), 1U);
    EXPECT_EQ(std::filesystem::file_size(copies().front()), 0U);
}

TEST_F(FileCachingThread, MakesAFreshCopyUnderANewNameForTheNextReader)
{
    begin(pattern(10));
    open();
    ASSERT_TRUE(record_->reaches(Thread::Complete));
    const auto first = copies();
    close();
    ASSERT_TRUE(record_->reaches(Thread::Removed));
    open();
    ASSERT_TRUE(record_->reaches(Thread::Complete));
    ASSERT_EQ(copies().size(), 1U);
    EXPECT_NE(copies(), first);
}

TEST_F(FileCachingThread, ClosingTheLastViewGivesTheCopyUpAndRemovesThePart)
{
    storage_->copying.shut();
    begin(pattern(100 * 4096));
    open();
    ASSERT_TRUE(storage_->copying.getsVisitor());
    EXPECT_EQ(copies().size(), 1U);
    close();
    storage_->copying.release();
    ASSERT_TRUE(record_->reaches(Thread::Removed));
    EXPECT_TRUE(copies().empty());
    EXPECT_THAT(record_->states(),
                ElementsAre(Thread::Idle, Thread::Copying, Thread::Failed, Thread::Removed));
}

TEST_F(FileCachingThread, AReaderWhoComesWhileACopyIsGivenUpGetsANewOne)
{
    const std::string bytes = pattern(100 * 4096);
    storage_->copying.shut();
    begin(bytes);
    open();
    ASSERT_TRUE(storage_->copying.getsVisitor());
    close();
    open();
    storage_->copying.release();
    ASSERT_TRUE(record_->reaches(Thread::Complete));
    ASSERT_EQ(copies().size(), 1U);
    EXPECT_EQ(testsupport::readWholeFile(copies().front()), bytes);
}

TEST_F(FileCachingThread, AReadThatFailsHalfWayEndsTheCopyForGoodAndRemovesThePart)
{
    storage_->failAt = 2 * 4096;
    begin(pattern(5 * 4096));
    open();
    ASSERT_TRUE(record_->reaches(Thread::Failed));
    EXPECT_TRUE(isCleared());
    close();
    open();
    close();
    thread_.reset();
    collector_.reset();
    EXPECT_THAT(record_->states(), ElementsAre(Thread::Idle, Thread::Copying, Thread::Failed))
        << "it is not tried again";
}

TEST_F(FileCachingThread, ASourceThatHasLostItsEndIsNotCompleteWhereItEnds)
{
    storage_->copierLost = true;
    begin({});
    open();
    ASSERT_TRUE(record_->reaches(Thread::Failed));
    EXPECT_TRUE(isCleared());
    EXPECT_THAT(record_->states(), ElementsAre(Thread::Idle, Thread::Copying, Thread::Failed));
}

TEST_F(FileCachingThread, WhatTheSourceLosesEndsTheCopyAtOnce)
{
    storage_->copierLost = true;
    begin(pattern(5 * 4096));
    open();
    ASSERT_TRUE(record_->reaches(Thread::Failed));
    EXPECT_EQ(storage_->copierReads, 1) << "slow storage is not read for nothing";
}

TEST_F(FileCachingThread, AFolderThatCannotBeMadeIsAFailedCopy)
{
    const testsupport::LogCapture log;
    begin(pattern(10), dir_.file("missing"));
    open();
    ASSERT_TRUE(record_->reaches(Thread::Failed));
    EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("No copy of \"/slow/take 1.flac\"")));
}

TEST_F(FileCachingThread, ACopyThatCannotBeOpenedIsAFailedOne)
{
    testsupport::writeWholeFile(dir_.file("OrluneTempFiles"), "a file, not a folder");
    begin(pattern(10));
    open();
    ASSERT_TRUE(record_->reaches(Thread::Failed));
    EXPECT_THAT(record_->states(), ElementsAre(Thread::Idle, Thread::Copying, Thread::Idle, Thread::Failed));
    std::filesystem::remove(dir_.file("OrluneTempFiles"));
}

TEST_F(FileCachingThread, MakesNoCopyWhenDisabled)
{
    begin(pattern(10));
    thread_->setEnabled(false);
    open();
    ASSERT_TRUE(record_->reaches(Thread::Failed));
    EXPECT_TRUE(copies().empty());
}

TEST_F(FileCachingThread, ACopyThatSomebodyElseRemovedIsReported)
{
    const testsupport::LogCapture log;
    begin(pattern(10));
    open();
    ASSERT_TRUE(record_->reaches(Thread::Complete));
    ASSERT_EQ(copies().size(), 1U);
    std::filesystem::remove(copies().front());
    close();
    ASSERT_TRUE(record_->reaches(Thread::Removed));
    EXPECT_THAT(log.texts(), ElementsAre("Failed removing cached file! (original File:/slow/take 1.flac)"));
}

TEST_F(FileCachingThread, ItsEndServesARemovalThatWaits)
{
    begin(pattern(10));
    open();
    ASSERT_TRUE(record_->reaches(Thread::Complete));
    close();
    thread_.reset();
    EXPECT_TRUE(isCleared());
}

TEST_F(FileCachingThread, ItsEndDoesNotWaitForACopyUnderWay)
{
    storage_->copying.shut();
    begin(pattern(1000 * 4096));
    open();
    ASSERT_TRUE(storage_->copying.getsVisitor());
    thread_.reset();
    storage_->copying.release();
    EXPECT_TRUE(isCleared());
    collector_.reset();
    EXPECT_TRUE(isCleared());
}

}  // namespace
