#include "host/AnalysisSession.h"
#include "host/analyzeTrack.h"

#include "support/LogCapture.h"

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <vector>

namespace {

using namespace tunesift::host;
using testing::ElementsAre;

bool processExists(qint64 id) { return QFileInfo::exists(QStringLiteral("/proc/%1").arg(id)); }

class AnalysisSessionTest : public testing::Test {
protected:
    void SetUp() override { settings_.program = QStringLiteral(FAKE_WORKER); }
    void TearDown() override { qunsetenv("TUNESIFT_FAKE_WORKER"); }

    /// For tests that wait for a time-out to strike.
    void makeImpatient()
    {
        settings_.connectTimeout = std::chrono::milliseconds(300);
        settings_.silenceTimeout = std::chrono::milliseconds(300);
        settings_.quitTimeout = std::chrono::milliseconds(300);
    }

    [[nodiscard]] TrackResult analyze(const char* track) const
    {
        AnalysisSession session(settings_);
        return analyzeTrack(session, requestFor(track));
    }

    static AnalysisRequest requestFor(const char* track)
    {
        return {QStringLiteral("/music/%1.wav").arg(QLatin1String(track)), {}};
    }

    static void expectGood(const TrackResult& result)
    {
        ASSERT_TRUE(result.succeeded()) << result.error->text.toStdString();
        EXPECT_EQ(result.tempo, 120.0);
        EXPECT_EQ(result.frames, 441000);
        EXPECT_EQ(result.firstDownbeat, 5000.0 / 44100.0);
        EXPECT_EQ(result.beats, 20);
        EXPECT_EQ(result.loudness, 0.25);
        EXPECT_EQ(result.key, 1);
    }

    void expectFailure(const char* track, ErrorKind kind) const
    {
        const TrackResult result = analyze(track);
        ASSERT_FALSE(result.succeeded()) << track;
        EXPECT_EQ(kindName(result.error->kind), kindName(kind)) << result.error->text.toStdString();
        EXPECT_FALSE(result.error->text.isEmpty());
        EXPECT_FALSE(result.tempo);
    }

    WorkerSettings settings_;
};

TEST_F(AnalysisSessionTest, AGoodTrackGivesEveryResult)
{
    const TrackResult result = analyze("good");
    expectGood(result);
    EXPECT_EQ(result.path, QStringLiteral("/music/good.wav"));
    EXPECT_GT(result.wallSeconds, 0.0);
}

TEST_F(AnalysisSessionTest, ProgressAndMessagesComeAsSignals)
{
    AnalysisSession session(settings_);
    std::vector<double> shares;
    int waves = 0;
    QObject::connect(&session, &AnalysisSession::progressed, [&](double share) { shares.push_back(share); });
    QObject::connect(&session, &AnalysisSession::messageReceived, [&](const Message& message) {
        waves += std::holds_alternative<HighResolutionWave>(message) ? 1 : 0;
    });
    expectGood(analyzeTrack(session, requestFor("good")));
    EXPECT_THAT(shares, ElementsAre(0.0F, 0.32F, 0.64F, 0.96F));
    EXPECT_EQ(waves, 4);
}

TEST_F(AnalysisSessionTest, ProgressThatIsNoNumberCountsAsNothingDone)
{
    AnalysisSession session(settings_);
    std::vector<double> shares;
    QObject::connect(&session, &AnalysisSession::progressed, [&](double share) { shares.push_back(share); });
    EXPECT_TRUE(analyzeTrack(session, requestFor("progress-is-no-number")).succeeded());
    EXPECT_THAT(shares, ElementsAre(0.0));
}

TEST_F(AnalysisSessionTest, OneWorkerServesTracksOneAfterTheOther)
{
    AnalysisSession session(settings_);
    expectGood(analyzeTrack(session, requestFor("good")));
    const qint64 worker = session.workerProcessId();
    EXPECT_TRUE(processExists(worker));
    EXPECT_EQ(analyzeTrack(session, requestFor("rejected")).error->kind, ErrorKind::kRejected);
    expectGood(analyzeTrack(session, requestFor("good")));
    EXPECT_EQ(session.workerProcessId(), worker);
}

TEST_F(AnalysisSessionTest, TheNextTrackCanBeStartedFromTheResult)
{
    AnalysisSession session(settings_);
    std::vector<bool> outcomes;
    QEventLoop loop;
    QObject::connect(&session, &AnalysisSession::trackFinished, [&](const TrackResult& result) {
        outcomes.push_back(result.succeeded());
        if (outcomes.size() < 3)
            session.start(requestFor(outcomes.size() == 1 ? "crashes" : "good"));
        else
            loop.quit();
    });
    session.start(requestFor("good"));
    loop.exec();
    EXPECT_THAT(outcomes, ElementsAre(true, false, true));
}

TEST_F(AnalysisSessionTest, TheWorkerHasEndedWithTheSession)
{
    qint64 worker = 0;
    {
        AnalysisSession session(settings_);
        expectGood(analyzeTrack(session, requestFor("good")));
        worker = session.workerProcessId();
    }
    EXPECT_NE(worker, 0);
    EXPECT_FALSE(processExists(worker));
}

TEST_F(AnalysisSessionTest, AWorkerThatDoesNotObeyTheQuitCommandIsKilled)
{
    makeImpatient();
    qint64 worker = 0;
    {
        AnalysisSession session(settings_);
        expectGood(analyzeTrack(session, requestFor("good-then-ignores-quit")));
        worker = session.workerProcessId();
    }
    EXPECT_FALSE(processExists(worker));
}

TEST_F(AnalysisSessionTest, TheWorkerHasEndedWithASessionThatIsDestroyedInMidRun)
{
    qint64 worker = 0;
    {
        AnalysisSession session(settings_);
        QEventLoop loop;
        QObject::connect(&session, &AnalysisSession::progressed, &loop, &QEventLoop::quit);
        session.start(requestFor("waits-for-stop"));
        loop.exec();
        worker = session.workerProcessId();
        makeImpatient();
    }
    EXPECT_NE(worker, 0);
    EXPECT_FALSE(processExists(worker));
}

TEST_F(AnalysisSessionTest, AMissingExecutableIsTold)
{
    settings_.program = QStringLiteral("/nowhere/worker");
    expectFailure("good", ErrorKind::kCannotStart);
}

TEST_F(AnalysisSessionTest, AFileThatIsNoExecutableIsTold)
{
    settings_.program = QStringLiteral("/etc/passwd");
    expectFailure("good", ErrorKind::kCannotStart);
}

TEST_F(AnalysisSessionTest, AWorkerThatNeverConnectsIsKilled)
{
    makeImpatient();
    qputenv("TUNESIFT_FAKE_WORKER", "never-connects");
    AnalysisSession session(settings_);
    session.start(requestFor("good"));
    const qint64 worker = session.workerProcessId();
    EXPECT_TRUE(processExists(worker));
    QEventLoop loop;
    QObject::connect(&session, &AnalysisSession::trackFinished, [&](const TrackResult& result) {
        EXPECT_EQ(result.error->kind, ErrorKind::kNeverConnected);
        loop.quit();
    });
    loop.exec();
    EXPECT_FALSE(processExists(worker));
}

TEST_F(AnalysisSessionTest, AWorkerThatEndsBeforeItConnectsIsToldWithItsLastWords)
{
    qputenv("TUNESIFT_FAKE_WORKER", "exits-at-once");
    const TrackResult result = analyze("good");
    ASSERT_FALSE(result.succeeded());
    EXPECT_EQ(result.error->kind, ErrorKind::kWorkerExited);
    EXPECT_EQ(result.error->text.toStdString(),
              "the worker ended by itself with status 3; its last words: the last complaint");
}

TEST_F(AnalysisSessionTest, AWorkerThatCrashesBeforeItConnectsIsTold)
{
    qputenv("TUNESIFT_FAKE_WORKER", "crashes-at-once");
    expectFailure("good", ErrorKind::kWorkerCrashed);
}

TEST_F(AnalysisSessionTest, AWorkerThatEndsInARunIsTold)
{
    expectFailure("exits-after-start", ErrorKind::kWorkerExited);
    expectFailure("exits-in-mid-frame", ErrorKind::kWorkerExited);
    expectFailure("crashes", ErrorKind::kWorkerCrashed);
}

TEST_F(AnalysisSessionTest, ALostConnectionIsTold)
{
    expectFailure("closes-the-connection", ErrorKind::kConnectionLost);
}

TEST_F(AnalysisSessionTest, SilenceIsTold)
{
    makeImpatient();
    expectFailure("falls-silent", ErrorKind::kSilent);
}

TEST_F(AnalysisSessionTest, ATrackThatOpensSlowlyIsNotSilent)
{
    makeImpatient();
    expectGood(analyze("opens-slowly"));
}

TEST_F(AnalysisSessionTest, ATrackThatNeverOpensHasItsOwnTimeAndNoMore)
{
    settings_.trackTimeout = std::chrono::milliseconds(500);
    expectFailure("never-opens", ErrorKind::kTimedOut);
}

TEST_F(AnalysisSessionTest, ChatterThatBelongsToNoRunIsSilence)
{
    makeImpatient();
    expectFailure("never-starts", ErrorKind::kSilent);
}

TEST_F(AnalysisSessionTest, ADeviceThatIsNotFoundOrDoesNotAnswerIsUnreachable)
{
    const auto analyzeOnDevice = [this](const char* prefix, const char* track) {
        AnalysisSession session(settings_);
        AnalysisRequest request{QString::fromLatin1(prefix) + QLatin1String(track) + QStringLiteral(".wav"),
                                {}};
        request.patience = std::chrono::milliseconds(300);  // the session itself would wait for a minute
        return analyzeTrack(session, request);
    };
    for (const char* prefix : {"net://0/music/", "/net:/0/music/"}) {
        const TrackResult lost = analyzeOnDevice(prefix, "falls-silent");
        ASSERT_TRUE(lost.error.has_value());
        EXPECT_EQ(lost.error->kind, ErrorKind::kUnreachable);
        EXPECT_EQ(lost.error->text, QStringLiteral("its device does not answer any more"));
        const TrackResult unknown = analyzeOnDevice(prefix, "never-starts");
        ASSERT_TRUE(unknown.error.has_value());
        EXPECT_EQ(unknown.error->kind, ErrorKind::kUnreachable);
        EXPECT_EQ(unknown.error->text, QStringLiteral("its device was not found"));
    }
}

TEST_F(AnalysisSessionTest, WhatTheProtocolDoesNotAllowIsTold)
{
    const testsupport::LogCapture log;
    expectFailure("garbage", ErrorKind::kBadMessage);
    expectFailure("huge-frame", ErrorKind::kBadMessage);
    expectFailure("wrong-crc", ErrorKind::kBadMessage);
    expectFailure("lying-count", ErrorKind::kBadMessage);
}

TEST_F(AnalysisSessionTest, ARejectedTrackIsToldWithTheWorkersText)
{
    expectFailure("rejected", ErrorKind::kRejected);
    EXPECT_EQ(analyze("rejected-with-text").error->text, QStringLiteral("the tape is torn"));
}

TEST_F(AnalysisSessionTest, MessagesOutOfOrderDoNotBreakThisRunNorTheNext)
{
    AnalysisSession session(settings_);
    expectGood(analyzeTrack(session, requestFor("wild-order")));
    expectGood(analyzeTrack(session, requestFor("good")));
}

TEST_F(AnalysisSessionTest, ResultsThatDoNotComeAreEmpty)
{
    const TrackResult result = analyze("only-the-tempo");
    EXPECT_TRUE(result.succeeded());
    EXPECT_EQ(result.tempo, 120.0);
    EXPECT_FALSE(result.sampleRate);
    EXPECT_FALSE(result.seconds);
    EXPECT_FALSE(result.loudness);
    EXPECT_FALSE(result.beats);
    EXPECT_FALSE(analyze("no-key").key);
}

TEST_F(AnalysisSessionTest, AfterADeathTheNextTrackGetsANewWorker)
{
    AnalysisSession session(settings_);
    for (const char* const fate : {"crashes", "closes-the-connection", "exits-in-mid-frame"}) {
        EXPECT_FALSE(analyzeTrack(session, requestFor(fate)).succeeded());
        expectGood(analyzeTrack(session, requestFor("good")));
    }
}

TEST_F(AnalysisSessionTest, AWorkerThatDiesBetweenTracksIsNoFaultOfTheNext)
{
    AnalysisSession session(settings_);
    for (int i = 0; i < 5; ++i)
        expectGood(analyzeTrack(session, requestFor("good-then-exits")));
    expectGood(analyzeTrack(session, requestFor("good")));
}

TEST_F(AnalysisSessionTest, AWorkerKilledFromOutsideIsTold)
{
    AnalysisSession session(settings_);
    QObject::connect(&session, &AnalysisSession::progressed,
                     [&] { ::kill(static_cast<pid_t>(session.workerProcessId()), SIGKILL); });
    const TrackResult result = analyzeTrack(session, requestFor("waits-for-stop"));
    ASSERT_FALSE(result.succeeded());
    EXPECT_EQ(result.error->kind, ErrorKind::kWorkerCrashed);
}

TEST_F(AnalysisSessionTest, StopEndsTheRunAndKeepsTheWorker)
{
    AnalysisSession session(settings_);
    QObject::connect(&session, &AnalysisSession::progressed, &session, &AnalysisSession::stop);
    EXPECT_EQ(analyzeTrack(session, requestFor("waits-for-stop")).error->kind, ErrorKind::kStopped);
    const qint64 worker = session.workerProcessId();
    expectGood(analyzeTrack(session, requestFor("good")));
    EXPECT_EQ(session.workerProcessId(), worker);
}

TEST_F(AnalysisSessionTest, AbortEndsTheRunAndTheWorker)
{
    AnalysisSession session(settings_);
    qint64 worker = 0;
    const auto connection = QObject::connect(&session, &AnalysisSession::progressed, [&] {
        worker = session.workerProcessId();
        session.abort();
    });
    EXPECT_EQ(analyzeTrack(session, requestFor("waits-for-stop")).error->kind, ErrorKind::kStopped);
    EXPECT_NE(worker, 0);
    EXPECT_FALSE(processExists(worker));
    QObject::disconnect(connection);
    expectGood(analyzeTrack(session, requestFor("good")));
}

TEST_F(AnalysisSessionTest, StopAndAbortWithoutARunAreIgnored)
{
    AnalysisSession session(settings_);
    session.stop();
    session.abort();
    EXPECT_FALSE(session.isRunning());
    EXPECT_EQ(session.workerProcessId(), 0);
}

TEST_F(AnalysisSessionTest, ProcessorTimeIsTheWorkersAndGoesToTheTrackThatUsedIt)
{
    AnalysisSession session(settings_);
    const TrackResult burning = analyzeTrack(session, requestFor("burns-a-fifth-of-a-second"));
    ASSERT_TRUE(burning.cpuSeconds);
    EXPECT_GE(*burning.cpuSeconds, 0.2);
    EXPECT_LE(*burning.cpuSeconds, burning.wallSeconds + 0.01) << "the worker has one thread";
    const TrackResult next = analyzeTrack(session, requestFor("good"));
    ASSERT_TRUE(next.cpuSeconds);
    EXPECT_LT(*next.cpuSeconds, 0.2);
}

}  // namespace
