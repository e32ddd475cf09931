// How the network of the worker comes down, and what is left of it.

#include "network/sharing/SharingTest.h"

#include "app/ProcessFacts.h"
#include "support/sanitizers.h"

namespace {

using namespace sharing;
using namespace eboOfflineAnalysisProtocol;
using testing::ElementsAre;

class NetworkEnds : public SharingTest {
protected:
    void SetUp() override
    {
        SharingTest::SetUp();
        if (IsSkipped())
            return;
        devices_ = std::make_unique<TwoDevices>();
        track_ = QByteArray::fromStdString(clicks(*devices_, "clicks.wav", 5));
    }

    std::unique_ptr<TwoDevices> devices_;
    QByteArray track_;
};

TEST_F(NetworkEnds, ManyLocalRunsDoNotKeepTheNextRemoteOnesWaiting)
{
    const ShareProcess share(devices_->a, QString::fromStdString(devices_->folder.path()));
    const auto host = devices_->hostOnB();
    for (int round = 0; round < 3; ++round) {
        for (int run = 0; run < 50; ++run)
            ASSERT_EQ(host->run(track_).back().id, kFinished);
        EXPECT_EQ(host->run(share.url("clicks.wav")).back().id, kFinished);
        EXPECT_EQ(host->run(share.url("clicks.wav")).back().id, kFinished);
    }
    expectQuits(*host);
}

TEST_F(NetworkEnds, WithoutThreadsForTheNetworkTheRunEndsInAnError)
{
    if (testsupport::kIsSanitized)
        GTEST_SKIP() << "the sanitizer needs more memory than any limit";
    constexpr int kEnough = 16;  // for the stacks of the two threads of Qt's own
    for (int megabytes = 2; megabytes < kEnough; megabytes += 2) {
        SCOPED_TRACE(megabytes);
        const auto host = devices_->hostOnB();
        {
            const processfacts::MemoryLimit limit(host->workerPid(), std::int64_t{megabytes} << 20);
            host->start("net://00000000-0000-4000-8000-000000000001/Music/clicks.wav");
            EXPECT_THAT(ids(host->untilEnd()), ElementsAre(kStarted, kError));
            EXPECT_THAT(ids(host->run("/no/such/file.wav")), ElementsAre(kStarted, kError));
        }
        EXPECT_EQ(host->run(track_).back().id, kFinished);
        expectQuits(*host);
    }
}

TEST_F(NetworkEnds, WithoutDescriptorsForTheNetworkTheRunEndsInAnError)
{
    if (testsupport::kIsSanitized)
        GTEST_SKIP() << "the sanitizer takes descriptors for itself";
    const auto host = devices_->hostOnB();
    EXPECT_EQ(host->run(track_).back().id, kFinished);
    const int threads = processfacts::threads(host->workerPid());
    for (const int left : {0, 1, 2, 5, 10, 20}) {
        const processfacts::DescriptorLimit limit(host->workerPid(), left);
        const auto messages = host->run("net://00000000-0000-4000-8000-000000000001/Music/clicks.wav");
        EXPECT_THAT(ids(messages), ElementsAre(kStarted, kError)) << left;
    }
    EXPECT_TRUE(until([&] { return processfacts::threads(host->workerPid()) <= threads; }));
    EXPECT_EQ(host->run(track_).back().id, kFinished);
    expectQuits(*host);
}

}  // namespace
