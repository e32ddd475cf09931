#include "file/caching/eboFileCachingThread.h"

#include "CacheRig.h"
#include "support/AudioFiles.h"
#include "support/LogCapture.h"
#include "support/eventually.h"

#include <gmock/gmock.h>

#include <cctype>
#include <filesystem>

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testsupport::SlowFile;
using testsupport::SlowStorage;
using testsupport::StateRecord;
using Thread = eboFileCachingThread;

class FileCachingThread : public testsupport::CacheRig {
protected:
    void begin(const std::string& bytes, const std::string& storage)
    {
        source_ = ebo::makeRef<SlowFile>("/slow/take 1.flac", bytes, storage_);
        thread_ = ebo::makeRef<Thread>(factory_, source_, storage);
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
    ebo::refptr<Thread> thread_;
};

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
    storage_->shut();  // no read is needed
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
    storage_->shut();
    begin(pattern(100 * 4096));
    open();
    ASSERT_TRUE(testsupport::eventually([&] { return storage_->hasVisitor(); }));
    EXPECT_EQ(copies().size(), 1U);
    close();
    storage_->release();
    ASSERT_TRUE(record_->reaches(Thread::Removed));
    EXPECT_TRUE(copies().empty());
    EXPECT_THAT(record_->states(),
                ElementsAre(Thread::Idle, Thread::Copying, Thread::Failed, Thread::Removed));
}

TEST_F(FileCachingThread, AReaderWhoComesWhileACopyIsGivenUpGetsANewOne)
{
    const std::string bytes = pattern(100 * 4096);
    storage_->shut();
    begin(bytes);
    open();
    ASSERT_TRUE(testsupport::eventually([&] { return storage_->hasVisitor(); }));
    close();
    open();
    storage_->release();
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
    storage_->shut();
    begin(pattern(1000 * 4096));
    open();
    ASSERT_TRUE(testsupport::eventually([&] { return storage_->hasVisitor(); }));
    thread_.reset();
    storage_->release();
    EXPECT_TRUE(isCleared());
    collector_.reset();
    EXPECT_TRUE(isCleared());
}

}  // namespace
