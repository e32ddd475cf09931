#include "network/nfs/ClientTest.h"
#include "support/eventually.h"

using namespace nfstest;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

class Opening : public ClientTest {
protected:
    static std::future<bool> opening(const Adapter& adapter)
    {
        return async([adapter] { return adapter->open(eboFile::OpenRead | eboFile::OpenBinary); });
    }
};

TEST_F(Opening, NothingIsSentForAFileThatNobodyOpens)
{
    const Adapter file = adapter();
    EXPECT_FALSE(file->isReadable());
    EXPECT_EQ(file->size(), 0);
    expectSilence();
}

TEST_F(Opening, AsksForThePathAndLearnsTheLength)
{
    const Adapter file = adapter();
    auto isOpen = opening(file);
    auto request = expect(kFileRequest);
    EXPECT_EQ(request.text(), u"/Music/a.flac");
    EXPECT_EQ(request.number(4), 0U) << "flags";
    EXPECT_TRUE(request.atEnd());
    peer().send(peer::nfs::fileInfo(object(), 12345));
    EXPECT_TRUE(isOpen.get());
    EXPECT_EQ(file->size(), 12345);
    EXPECT_EQ(file->pos(), 0);
    EXPECT_TRUE(file->isReadable());
    EXPECT_FALSE(file->isWritable());
    EXPECT_FALSE(file->isDirty());
    EXPECT_FALSE(file->atEnd());
    EXPECT_EQ(file->blockSize(), 4096U);
    EXPECT_EQ(file->flush(), 0);
    EXPECT_EQ(file_->status(), eboNfsFile::Status::Open);
    EXPECT_EQ(std::string(file->filePath()), device_->url(QStringLiteral("/Music/a.flac")).toStdString());
}

TEST_F(Opening, ThePathIsToldWithNothingEncoded)
{
    const QString path = QStringLiteral("/Music/50% of \u00e9t\u00e9?.mp3");
    QUrl url(device_->url(QString()));
    url.setPath(path, QUrl::DecodedMode);
    file_ = nfs()->getFile(url, false);
    const Adapter file = adapter();
    auto isOpen = opening(file);
    EXPECT_EQ(expect(kFileRequest).text(), path.toStdU16String());
    peer().send(peer::nfs::fileInfo(object(), 1));
    EXPECT_TRUE(isOpen.get());
    EXPECT_EQ(std::string(file->filePath()), device_->url(path).toStdString());
}

TEST_F(Opening, ALostRequestIsSentAgainAfterASecond)
{
    const Adapter file = adapter();
    auto isOpen = opening(file);
    const auto first = peer().next();
    const auto begin = Clock::now();
    const auto second = peer().next();
    EXPECT_GE(Clock::now() - begin, 900ms);
    EXPECT_EQ(first, second);
    peer().send(peer::nfs::fileInfo(object(), 5));
    EXPECT_TRUE(isOpen.get());
}

TEST_F(Opening, AFileThatTheDeviceCannotOpenIsClosed)
{
    const Adapter file = adapter();
    auto isOpen = opening(file);
    expect(kFileRequest);
    peer().send(peer::nfs::fileInfo(object(), 0, 0));
    EXPECT_FALSE(isOpen.get());
    EXPECT_EQ(file_->status(), eboNfsFile::Status::Closed);
    EXPECT_EQ(readFrom(*file, 10), "failed");
    EXPECT_FALSE(file->open(eboFile::OpenRead)) << "at once";
    EXPECT_FALSE(nfs()->getFile(file_->url(), false) == file_) << "whoever asks again gets a new one";
}

TEST_F(Opening, ANegativeLengthIsTheLengthOfNoFile)
{
    const Adapter file = adapter();
    auto isOpen = opening(file);
    expect(kFileRequest);
    peer().send(peer::nfs::fileInfo(object(), -1));
    EXPECT_FALSE(isOpen.get());
    EXPECT_EQ(file->size(), 0);
}

TEST_F(Opening, ADeviceThatGoesEndsTheWait)
{
    const Adapter file = adapter();
    auto isOpen = opening(file);
    expect(kFileRequest);
    leave(*device_);
    EXPECT_FALSE(isOpen.get());
}

TEST_F(Opening, AnObjectThatIsGoneEndsTheWait)
{
    const Adapter file = adapter();
    auto isOpen = opening(file);
    expect(kFileRequest);
    peer().send(peer::nfs::objectUnavailable(object()));
    EXPECT_FALSE(isOpen.get());
}

TEST_F(Opening, TheSecondAdapterNeedsNoMessage)
{
    const Adapter first = opened(100);
    const Adapter second = adapter();
    EXPECT_TRUE(second->open(eboFile::OpenRead));
    EXPECT_EQ(second->size(), 100);
    expectSilence();
}

TEST_F(Opening, AnOpenFileIsNotOpenedAgain)
{
    const Adapter file = opened(100);
    EXPECT_TRUE(file->seek(40));
    EXPECT_FALSE(file->open(eboFile::OpenRead | eboFile::OpenWrite));
    EXPECT_EQ(file->pos(), 40);
    EXPECT_FALSE(file->isWritable());
}

TEST_F(Opening, ACloneIsClosedAndOnTheSameFile)
{
    const Adapter file = opened(100);
    const auto clone = file->clone();
    EXPECT_FALSE(clone->isReadable());
    EXPECT_EQ(std::string(clone->filePath()), file->filePath());
    EXPECT_TRUE(clone->open(eboFile::OpenRead));
    EXPECT_TRUE(clone->seek(50));
    EXPECT_EQ(file->pos(), 0) << "each has its own";
    expectSilence();
}

TEST_F(Opening, ClosingAndOpeningAgainStartsAtTheBeginning)
{
    const Adapter file = opened(100);
    EXPECT_TRUE(file->seek(60));
    file->close();
    file->close();
    EXPECT_FALSE(file->isReadable());
    EXPECT_TRUE(file->open(eboFile::OpenRead));
    EXPECT_EQ(file->pos(), 0);
}

TEST_F(Opening, SeekingStaysWithinTheFile)
{
    const Adapter file = opened(100);
    EXPECT_TRUE(file->seek(100));
    EXPECT_EQ(file->pos(), 100);
    EXPECT_TRUE(file->atEnd());
    EXPECT_TRUE(file->seek(101));
    EXPECT_EQ(file->pos(), 100);
    EXPECT_TRUE(file->seek(-1));
    EXPECT_EQ(file->pos(), 100);
    file->close();
    EXPECT_TRUE(file->seek(50));
    EXPECT_EQ(file->pos(), 0);
}

TEST_F(Opening, ARepeatedAnswerChangesTheLength)
{
    const Adapter file = opened(100);
    peer().send(peer::nfs::fileInfo(object(), 200));
    EXPECT_TRUE(testsupport::eventually([&] { return file->size() == 200; }));
    EXPECT_EQ(file_->status(), eboNfsFile::Status::Open);
}

TEST_F(Opening, TheLastReferenceReleasesTheFile)
{
    Adapter file = opened(100);
    const std::uint32_t id = object();
    file.reset();
    expectSilence();
    file_.reset();
    const auto message = peer::nfs::received(peer().next());
    EXPECT_EQ(message.type, kFileRelease);
    EXPECT_EQ(message.object, id);
    EXPECT_TRUE(message.body.atEnd());
}

}  // namespace
