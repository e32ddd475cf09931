// Runs on another device's tracks that are stopped, cut off or replaced at any moment.

#include "network/sharing/SharingTest.h"
#include "support/repetitions.h"

#include <algorithm>
#include <chrono>
#include <csignal>

namespace {

using namespace sharing;
using namespace eboOfflineAnalysisProtocol;
using testing::Each;
using testing::Not;

QString folderOf(const TwoDevices& devices) { return QString::fromStdString(devices.folder.path()); }

/// One device shares a track at a rate at which its analysis takes a second or two, so that every moment of a
/// run can be met; several workers read it, each from a place of its own.
class Moments : public SharingTest {
protected:
    static constexpr int kMoments = 25;

    void SetUp() override
    {
        SharingTest::SetUp();
        if (IsSkipped())
            return;
        devices_ = std::make_unique<TwoDevices>();
        track_ = clicks(*devices_, "clicks.wav", 30);
        devices_->limitRate(QStringLiteral("40mbit"));
        share_ = std::make_unique<ShareProcess>(devices_->a, folderOf(*devices_));
    }

    /// The moments of a run are counted in its messages: moment 0 lies before the first, when the worker
    /// looks for the device. As many as the scale of the tests allows, spread over the whole run.
    static std::vector<int> moments()
    {
        const int count = testsupport::repetitions(kMoments);
        std::vector<int> result;
        for (int i = 0; i < count; ++i)
            result.push_back(i * kMoments / count * 3);
        return result;
    }

    /// Starts a run and lets so many messages come.
    void runTo(TestHost& host, int messages)
    {
        host.start(share_->url("clicks.wav"));
        for (int i = 0; i < messages; ++i)
            static_cast<void>(host.next());
    }

    std::unique_ptr<TwoDevices> devices_;
    std::string track_;
    std::unique_ptr<ShareProcess> share_;
};

TEST_F(Moments, AStopEndsTheRun)
{
    const auto host = devices_->hostOnB();
    for (const int moment : moments()) {
        SCOPED_TRACE(moment);
        if (moment == 0)
            continue;  // nothing to stop before the run has begun
        runTo(*host, moment);
        host->send(kStop);
        const auto rest = host->untilEnd();
        // It may have been at its end already.
        EXPECT_THAT(rest.back().id, testing::AnyOf(kStopped, kFinished));
    }
    EXPECT_EQ(host->run(share_->url("clicks.wav")).back().id, kFinished);
    expectQuits(*host);
    EXPECT_TRUE(until([&] { return devices_->isQuietOnB(); }));
}

TEST_F(Moments, AQuitEndsTheProcess)
{
    for (const int moment : moments()) {
        SCOPED_TRACE(moment);
        const auto host = devices_->hostOnB();
        runTo(*host, moment);
        expectQuits(*host);
        EXPECT_TRUE(until([&] { return devices_->isQuietOnB(); }));
    }
}

TEST_F(Moments, AHostThatGoesEndsTheProcess)
{
    for (const int moment : moments()) {
        SCOPED_TRACE(moment);
        const auto host = devices_->hostOnB();
        runTo(*host, moment);
        host->closeConnection();
        EXPECT_EQ(host->exitStatus(), 0);
        EXPECT_TRUE(until([&] { return devices_->isQuietOnB(); }));
    }
}

TEST_F(Moments, ASecondStartReplacesTheRun)
{
    const auto local = localRun(track_);
    const auto host = devices_->hostOnB();
    for (const int moment : moments()) {
        SCOPED_TRACE(moment);
        if (moment == 0)
            continue;  // a start that still waits for its device is not replaced
        runTo(*host, moment);
        host->start(QByteArray::fromStdString(track_));
        // What is left of the first run, then the second from its beginning to its end.
        std::vector<Message> all;
        std::size_t begin = 0;
        for (bool isOver = false; !isOver;) {
            const auto message = host->next();
            ASSERT_TRUE(message.has_value());
            if (message->id == kStarted)
                begin = all.size();
            all.push_back(*message);
            const bool ends = message->id == kFinished || message->id == kStopped || message->id == kError;
            isOver = ends && all.size() - begin == local.size();
        }
        expectSame({all.begin() + static_cast<std::ptrdiff_t>(begin), all.end()}, local);
    }
    expectQuits(*host);
}

TEST_F(Moments, ADeviceThatDiesIsAnErrorSoon)
{
    for (const int moment : moments()) {
        SCOPED_TRACE(moment);
        if (moment == 0)
            continue;  // it would be looked for, for ever
        const auto host = devices_->hostOnB();
        runTo(*host, moment);
        share_->signal(SIGKILL);
        const auto begin = std::chrono::steady_clock::now();
        const auto rest = host->untilEnd();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(7));
        EXPECT_EQ(rest.back().id, kError);
        EXPECT_THAT(ids(rest), Each(Not(kFinished)));
        expectQuits(*host);
        static_cast<void>(share_->waitForEnd());
        share_ = std::make_unique<ShareProcess>(devices_->a, folderOf(*devices_));
    }
}

TEST_F(Moments, ADeviceThatIsCutOffIsAnErrorSoon)
{
    const auto host = devices_->hostOnB();
    runTo(*host, 20);
    devices_->a.run(QStringLiteral("ip link set eth0 down"));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(host->untilEnd().back().id, kError);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(9));
    expectQuits(*host);
}

TEST_F(Moments, ManyRunsInARowLeaveNothingBehind)
{
    devices_->limitRate(QStringLiteral("1gbit"));
    const auto host = devices_->hostOnB();
    const auto run = [&] { EXPECT_EQ(host->run(share_->url("clicks.wav")).back().id, kFinished); };
    const auto localRunThere = [&] { return host->run(QByteArray::fromStdString(track_)).back().id; };
    run();
    run();
    EXPECT_EQ(localRunThere(), kFinished);
    const int threads = threadsOf(host->workerPid());
    const int descriptors = descriptorsOf(host->workerPid());
    const long memory = residentKiBOf(host->workerPid());
    for (int i = 0; i < testsupport::repetitions(50); ++i)
        run();
    EXPECT_EQ(localRunThere(), kFinished);
    EXPECT_TRUE(until([&] { return threadsOf(host->workerPid()) <= threads; }));
    EXPECT_TRUE(until([&] { return descriptorsOf(host->workerPid()) <= descriptors; }));
    // Pages alone would be a megabyte a run.
#ifdef __SANITIZE_ADDRESS__
    constexpr long kSlackKiB = 32768;  // what the sanitizer keeps of what was freed
#else
    constexpr long kSlackKiB = 6144;
#endif
    EXPECT_LE(residentKiBOf(host->workerPid()), memory + kSlackKiB);
    expectQuits(*host);
}

}  // namespace
