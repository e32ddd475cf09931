// Files whose device goes away.

#include "network/nfs/ClientTest.h"
#include "support/LogCapture.h"
#include "support/eventually.h"

using namespace nfstest;
using testsupport::eventually;

namespace {

class Losing : public ClientTest {
protected:
    /// An open file of three pages, of which the first has been read.
    Adapter withFirstPage(const std::string& content)
    {
        const Adapter file = opened(static_cast<std::int64_t>(content.size()));
        auto bytes = reading(file, 10);
        expectRequest(0);
        answer(0, content);
        EXPECT_EQ(bytes.get(), content.substr(0, 10));
        return file;
    }

    const std::string content_ = someBytes(12000);
};

TEST_F(Losing, ReadsFailOnceTheDeviceHasGone)
{
    const Adapter file = withFirstPage(content_);
    EXPECT_FALSE(file->hasLostData());
    leave(*device_);
    EXPECT_EQ(readFrom(*file, 10), "failed") << "also what has been fetched";
    EXPECT_TRUE(file->hasLostData());
    ASSERT_TRUE(file->seek(5000));
    EXPECT_EQ(readFrom(*file, 10), "failed");
}

TEST_F(Losing, AConnectionThatBreaksIsADeviceThatHasGone)
{
    const Adapter file = withFirstPage(content_);
    disconnect(*device_);
    EXPECT_EQ(readFrom(*file, 10), "failed");
}

TEST_F(Losing, WhoWaitsForAPageGetsOutWhenTheDeviceGoes)
{
    const Adapter file = opened(100);
    auto bytes = reading(file, 10);
    expectRequest(0);
    leave(*device_);
    EXPECT_EQ(bytes.get(), "failed");
    EXPECT_TRUE(file->hasLostData());
}

TEST_F(Losing, WhoWaitsForAPageGetsOutWhenTheFileGoes)
{
    const Adapter file = opened(100);
    auto bytes = reading(file, 10);
    expectRequest(0);
    peer().send(peer::nfs::objectUnavailable(object()));
    EXPECT_EQ(bytes.get(), "failed");
    EXPECT_EQ(file_->status(), eboNfsFile::Status::Closed);
}

TEST_F(Losing, NothingBringsAClosedFileBack)
{
    const Adapter file = withFirstPage(content_);
    onNetworkThread([&] { file_->setIsUnavailable(); });
    eboNfsMessages::Message info(eboNfsMessages::eFileInfo, object());
    info.fileSize = 5;
    info.fileFlags = 1;
    onNetworkThread([&] { file_->messageReceived(info); });
    EXPECT_EQ(file_->status(), eboNfsFile::Status::Closed);
    EXPECT_EQ(file->size(), 12000);
}

TEST_F(Losing, AFileKeptAliveGoesOnFromWhatWasFetched)
{
    file_->setKeepAlive();
    const Adapter file = withFirstPage(content_);
    leave(*device_);
    EXPECT_EQ(readFrom(*file, 4086), content_.substr(10, 4086));
    EXPECT_EQ(readFrom(*file, 100).size(), 100U) << "what they are, nobody knows";
    EXPECT_EQ(file_->status(), eboNfsFile::Status::KeepAlive);
    EXPECT_TRUE(file->hasLostData());
    ASSERT_TRUE(file->seek(12000));
    EXPECT_EQ(readFrom(*file, 10), "");
    EXPECT_FALSE(adapter()->open(eboFile::OpenRead)) << "new users are turned away";
}

TEST_F(Losing, AFileKeptAliveSurvivesTheWordThatItIsGone)
{
    file_->setKeepAlive();
    const Adapter file = withFirstPage(content_);
    peer().send(peer::nfs::objectUnavailable(object()));
    ASSERT_TRUE(eventually([&] { return file_->status() == eboNfsFile::Status::KeepAlive; }));
    EXPECT_EQ(readFrom(*file, 10), content_.substr(10, 10));
    peer().send(peer::nfs::fileInfo(object(), 1));
    settle();
    EXPECT_EQ(file_->status(), eboNfsFile::Status::KeepAlive) << "never open again";
}

TEST_F(Losing, AFileKeptAliveShowsZerosWhereNothingWasFetched)
{
    file_->setKeepAlive();
    const Adapter file = withFirstPage(content_);
    leave(*device_);
    ASSERT_TRUE(file->seek(4096));
    EXPECT_EQ(readFrom(*file, 4096), std::string(4096, '\0'));
}

TEST_F(Losing, WhatAFileStillMisses)
{
    EXPECT_FALSE(file_->hasMissingData());
    const Adapter file = opened(5000);
    EXPECT_TRUE(file_->hasMissingData());
    leave(*device_);
    EXPECT_FALSE(file_->hasMissingData());
}

TEST_F(Losing, UnlockingWaitsForNoDeadDevice)
{
    const Adapter file = opened(100);
    auto locked = async([&] { return file->lock(eboFileLock::Shared); });
    expect(kLockRequest);
    peer().send(peer::nfs::lockResponse(object(), 1, 1));
    ASSERT_EQ(locked.get(), eboFileLock::SUCCESS);
    leave(*device_);
    EXPECT_EQ(file->lock(eboFileLock::Unlocked), eboFileLock::SUCCESS);
    EXPECT_EQ(file->lockLevel(), eboFileLock::Unlocked);
}

TEST_F(Losing, WritesThatWereNotSentAreGone)
{
    const testsupport::LogCapture log;
    const Adapter file = opened(0, eboFile::OpenRead | eboFile::OpenWrite);
    EXPECT_EQ(file->write("abc", 3), 3);
    leave(*device_);
    EXPECT_EQ(file->write("def", 3), -1);
    EXPECT_EQ(file->sync(), -1);
    EXPECT_TRUE(file->isDirty());
    EXPECT_FALSE(file->truncate(0));
    EXPECT_EQ(file->deleteFile(), -1);
    file->close();
    EXPECT_EQ(file->deleteFile(), -1);
    EXPECT_TRUE(log.contains("bool eboNfsFile::deleteFile()"));
}

}  // namespace
