#include "network/nfs/ClientTest.h"
#include "support/LogCapture.h"

using namespace nfstest;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

class Deleting : public ClientTest {
protected:
    static std::future<int> deleting(const Adapter& file)
    {
        return async([file] { return file->deleteFile(); });
    }
};

TEST_F(Deleting, ADeletedFileIsClosedForAll)
{
    const Adapter file = opened(100);
    const Adapter other = adapter();
    file->close();
    auto result = deleting(file);
    EXPECT_TRUE(expect(kDeleteRequest).atEnd());
    peer().send(peer::nfs::deleteResponse(object(), true));
    EXPECT_EQ(result.get(), 0);
    EXPECT_EQ(file_->status(), eboNfsFile::Status::Closed);
    EXPECT_TRUE(file_->isUnavailable());
    EXPECT_FALSE(other->open(eboFile::OpenRead));
}

TEST_F(Deleting, KeepingAFileAliveDoesNotOutliveItsDeletion)
{
    file_->setKeepAlive();
    const Adapter file = adapter();
    auto result = deleting(file);
    expect(kDeleteRequest);
    peer().send(peer::nfs::deleteResponse(object(), true));
    EXPECT_EQ(result.get(), 0);
    EXPECT_EQ(file_->status(), eboNfsFile::Status::Closed);
}

TEST_F(Deleting, ADeviceMayRefuse)
{
    const Adapter file = adapter();
    auto result = deleting(file);
    expect(kDeleteRequest);
    peer().send(peer::nfs::deleteResponse(object(), false));
    EXPECT_EQ(result.get(), -1);
    EXPECT_FALSE(file_->isUnavailable());
}

TEST_F(Deleting, WhileAnAdapterIsOpenNothingIsSent)
{
    const Adapter open = opened(100);
    const Adapter file = adapter();
    EXPECT_EQ(file->deleteFile(), -1);
    EXPECT_EQ(open->deleteFile(), -1);
    const auto clone = open->clone();
    open->close();
    ASSERT_TRUE(clone->open(eboFile::OpenRead));
    EXPECT_EQ(file->deleteFile(), -1) << "a clone counts";
    expectSilence();
}

TEST_F(Deleting, WaitsForASecondAtMost)
{
    const testsupport::LogCapture log;
    const Adapter file = adapter();
    const auto begin = Clock::now();
    auto result = deleting(file);
    expect(kDeleteRequest);
    EXPECT_EQ(result.get(), -1);
    EXPECT_GE(Clock::now() - begin, 999ms);
    EXPECT_TRUE(log.contains("we do not want to wait longer than a second"));
    EXPECT_FALSE(file_->isUnavailable());
    expectSilence();

    // The late answer to the first question is none to the second.
    peer().send(peer::nfs::deleteResponse(object(), true));
    awaitArrival();
    auto again = deleting(file);
    expect(kDeleteRequest);
    peer().send(peer::nfs::deleteResponse(object(), false));
    EXPECT_EQ(again.get(), -1);
}

TEST_F(Deleting, AFileThatGoesMeanwhileIsNotDeleted)
{
    const Adapter file = adapter();
    auto result = deleting(file);
    expect(kDeleteRequest);
    peer().send(peer::nfs::objectUnavailable(object()));
    EXPECT_EQ(result.get(), -1);
}

}  // namespace
