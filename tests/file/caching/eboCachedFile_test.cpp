#include "file/caching/eboCachedFile.h"

#include "ViewRig.h"
#include "support/AudioFiles.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <stdexcept>
#include <thread>

namespace {

using testsupport::kRead;
using State = eboFileCachingThread::State;

class CachedFile : public testsupport::ViewRig {};

TEST_F(CachedFile, RefusesToWrite)
{
    const auto view = viewOf(pattern(10));
    const std::string byte = "x";
    try {
        view->open(eboFile::OpenRead | eboFile::OpenWrite);
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Writing is currently not supported for cached files");
    }
    EXPECT_FALSE(view->isReadable());
    EXPECT_EQ(view->cacheState(), State::Idle) << "it has not begun to copy either";
    try {
        view->write(byte.data(), 1);
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "writing is currently not supported with cached files.");
    }
}

TEST_F(CachedFile, ReadsThePlainFileDuringTheCopyAndGoesOnExactlyFromTheCopy)
{
    const std::string bytes = pattern(20000);
    storage_->copying.shut();
    const auto view = viewOf(bytes);
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(storage_->copying.getsVisitor());
    EXPECT_EQ(read(*view, 1234), bytes.substr(0, 1234));
    EXPECT_EQ(storage_->plainReads, 1);

    storage_->copying.release();
    ASSERT_TRUE(reaches(*view, State::Complete));
    EXPECT_EQ(view->pos(), 1234);
    EXPECT_EQ(view->size(), 20000);
    EXPECT_STREQ(view->filePath(), "/slow/a.wav");
    EXPECT_EQ(read(*view, 20000), bytes.substr(1234));
    EXPECT_EQ(storage_->plainReads, 1) << "the rest comes from the copy";
    EXPECT_TRUE(view->atEnd());
}

TEST_F(CachedFile, AReadUnderWayEndsBeforeTheSwitch)
{
    // Readers and copies race; whichever wins, no byte comes twice and none is left out.
    const std::string bytes = pattern(64 * 4096);
    const auto view = viewOf(bytes);
    ASSERT_TRUE(view->open(kRead));
    std::string all;
    while (all.size() < bytes.size()) {
        const std::string part = read(*view, 1000);
        ASSERT_FALSE(part.empty());
        all += part;
        std::this_thread::yield();
    }
    EXPECT_EQ(all, bytes);
}

TEST_F(CachedFile, WhatIsClosedDoesNotRead)
{
    const auto view = viewOf(pattern(10));
    char byte = 0;
    EXPECT_EQ(view->read(&byte, 1), -1);
    ASSERT_TRUE(view->open(kRead));
    EXPECT_EQ(view->read(&byte, 1), 1);
    EXPECT_FALSE(view->open(kRead)) << "it is open already";
    view->close();
    EXPECT_EQ(view->read(&byte, 1), -1);
}

TEST_F(CachedFile, IsReadAgainAfterItsCopyHasGone)
{
    const std::string bytes = pattern(5000);
    const auto view = viewOf(bytes);
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(reaches(*view, State::Complete));
    EXPECT_EQ(read(*view, 100), bytes.substr(0, 100));
    view->close();
    ASSERT_TRUE(reaches(*view, State::Removed));
    EXPECT_TRUE(copies().empty());

    ASSERT_TRUE(view->open(kRead));
    EXPECT_EQ(read(*view, 100), bytes.substr(0, 100));
    ASSERT_TRUE(reaches(*view, State::Complete));
    EXPECT_EQ(read(*view, 5000), bytes.substr(100));
}

TEST_F(CachedFile, ReopenedAtOnceItReadsOnThroughTheRemoval)
{
    const std::string bytes = pattern(5000);
    const auto view = viewOf(bytes);
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(view->open(kRead)) << round;
        EXPECT_EQ(read(*view, 2500), bytes.substr(0, 2500)) << round;
        EXPECT_EQ(read(*view, 5000), bytes.substr(2500)) << round;
        view->close();
    }
    EXPECT_TRUE(isCleared());
}

TEST_F(CachedFile, ClonesShareTheCopyAndHaveTheirOwnPosition)
{
    const std::string bytes = pattern(9000);
    const auto view = viewOf(bytes);
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(reaches(*view, State::Complete));
    const auto other = view->clone();
    ASSERT_TRUE(other->open(kRead));
    const int plainReads = storage_->plainReads;
    ASSERT_TRUE(view->seek(4000));
    EXPECT_EQ(read(*other, 10), bytes.substr(0, 10));
    EXPECT_EQ(read(*view, 10), bytes.substr(4000, 10));
    EXPECT_EQ(storage_->plainReads, plainReads);

    view->close();
    EXPECT_EQ(copies().size(), 1U) << "the clone is open";
    other->close();
    EXPECT_TRUE(isCleared());
}

TEST_F(CachedFile, ACloneMadeDuringTheCopySwitchesToo)
{
    const std::string bytes = pattern(9000);
    storage_->copying.shut();
    const auto view = viewOf(bytes);
    ASSERT_TRUE(view->open(kRead));
    const auto other = ebo::dynamicCast<eboCachedFile>(view->clone());
    ASSERT_TRUE(other->open(kRead));
    EXPECT_EQ(read(*other, 10), bytes.substr(0, 10));
    storage_->copying.release();
    ASSERT_TRUE(reaches(*other, State::Complete));
    EXPECT_EQ(read(*other, 10), bytes.substr(10, 10));
    EXPECT_EQ(storage_->plainReads, 1);
}

TEST_F(CachedFile, AFailedCopyLeavesThePlainFile)
{
    const std::string bytes = pattern(9000);
    storage_->failAt = 4096;
    const auto view = viewOf(bytes);
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(reaches(*view, State::Failed));
    EXPECT_EQ(read(*view, 9000), bytes);
    EXPECT_TRUE(isCleared());
}

TEST_F(CachedFile, ACopyThatWasClearedAwayLeavesThePlainFile)
{
    const std::string bytes = pattern(9000);
    const auto view = viewOf(bytes);
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(reaches(*view, State::Complete));
    const auto other = view->clone();
    ASSERT_EQ(copies().size(), 1U);
    std::filesystem::remove(copies().front());
    ASSERT_TRUE(other->open(kRead));
    EXPECT_EQ(read(*other, 9000), bytes);
}

TEST_F(CachedFile, DeletesThePlainFileNotTheCopy)
{
    const std::string path = dir_.file("track.wav");
    testsupport::writeWholeFile(path, pattern(100));
    const auto cache = ebo::makeRef<eboFileCache>(dir_.path());
    const auto view =
        ebo::dynamicCast<eboCachedFile>(cache->createCachedFile(factory_->open(path.c_str(), {}), factory_));
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(reaches(*view, State::Complete));
    EXPECT_EQ(view->deleteFile(), 0);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(copies().size(), 1U);
}

TEST_F(CachedFile, ADroppedViewIsClosed)
{
    auto view = viewOf(pattern(9000));
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(reaches(*view, State::Complete));
    view.reset();
    EXPECT_TRUE(isCleared());
}

}  // namespace
