// Starts that wait for a device, with other runs in between.

#include "network/sharing/SharingTest.h"

namespace {

using namespace sharing;
using namespace eboOfflineAnalysisProtocol;
using testing::ElementsAre;

/// A device that shares a track, and is not to be reached until the test says so.
class WaitingStarts : public SharingTest {
protected:
    void SetUp() override
    {
        SharingTest::SetUp();
        if (IsSkipped())
            return;
        devices_ = std::make_unique<TwoDevices>();
        track_ = clicks(*devices_, "clicks.wav", 5);
        share_ = std::make_unique<ShareProcess>(devices_->a, QString::fromStdString(devices_->folder.path()));
        devices_->a.run(QStringLiteral("ip link set eth0 down"));
        host_ = devices_->hostOnB();
    }

    void letItBeFound() { devices_->a.run(QStringLiteral("ip link set eth0 up")); }

    /// Asks for a local file that does not exist: its error is the next thing heard, if nothing else is under
    /// way.
    void expectNothingMore()
    {
        EXPECT_THAT(ids(host_->run("/no/such/file.wav")), ElementsAre(kStarted, kError));
        expectQuits(*host_);
    }

    std::unique_ptr<TwoDevices> devices_;
    std::string track_;
    std::unique_ptr<ShareProcess> share_;
    std::unique_ptr<TestHost> host_;
};

TEST_F(WaitingStarts, OutliveARunInBetweenAndHaveTheirTurnOnce)
{
    const auto local = localRun(track_);
    host_->start(share_->url("clicks.wav"));
    // Each of these takes the network down at its end; the start that waits brings it up again.
    for (int run = 0; run < 2; ++run)
        expectSame(host_->run(QByteArray::fromStdString(track_)), local);
    letItBeFound();
    expectSame(host_->untilEnd(), local);
    expectNothingMore();
}

TEST_F(WaitingStarts, AreNotStoppedByAStop)
{
    const auto local = localRun(track_);
    host_->start(share_->url("clicks.wav"));
    host_->send(kStop);
    EXPECT_THAT(ids(host_->run("/no/such/file.wav")),
                ElementsAre(kStarted, kError));  // the stop has been read
    letItBeFound();
    expectSame(host_->untilEnd(), local);
    expectNothingMore();
}

TEST_F(WaitingStarts, AreLostIfOneWaitsAlready)
{
    const auto local = localRun(track_);
    host_->start(share_->url("clicks.wav"));
    host_->start(share_->url("clicks.wav"));
    host_->start(share_->url("missing.wav"));
    letItBeFound();
    expectSame(host_->untilEnd(), local);
    expectNothingMore();
}

TEST_F(WaitingStarts, AreForgottenByAQuit)
{
    host_->start(share_->url("clicks.wav"));
    host_->start("/net:/" + share_->url("clicks.wav").mid(6));
    EXPECT_THAT(ids(host_->run("/no/such/file.wav")), ElementsAre(kStarted, kError));
    expectQuits(*host_);
    EXPECT_TRUE(devices_->isQuietOnB());
    EXPECT_EQ(share_->count(QStringLiteral("opened"), QString()), 0);
}

}  // namespace
