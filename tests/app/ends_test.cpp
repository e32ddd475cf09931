// How runs and the process end: what is said, what is closed, what is left.

#include "app/ProcessFacts.h"
#include "app/TestHost.h"

#include "app/protocol/messageIds.h"
#include "support/eventually.h"
#include "support/repetitions.h"
#include "synth/ClickTrack.h"
#include "synth/WavWriter.h"

#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using namespace eboOfflineAnalysisProtocol;

namespace {

using processfacts::descriptors;
using testing::AnyOf;
using testing::ElementsAre;

class Ends : public testing::Test {
protected:
    QByteArray clicks(const char* name, double seconds, unsigned sampleRate = 44100)
    {
        const std::string path = dir_.filePath(QString::fromLatin1(name)).toStdString();
        EXPECT_TRUE(synth::writeWav(
            path, synth::clickTrack({.bpm = 120, .seconds = seconds, .sampleRate = sampleRate}), 1,
            sampleRate, synth::SampleFormat::kPcm16));
        return QByteArray::fromStdString(path);
    }

    [[nodiscard]] int openTracks() const
    {
        return processfacts::count(descriptors(host_.workerPid()), dir_.path().toStdString());
    }

    void expectQuits()
    {
        host_.send(kQuit);
        EXPECT_EQ(host_.exitStatus(), 0);
    }

    QTemporaryDir dir_;
    TestHost host_;
};

TEST_F(Ends, CommandsBehindAQuitInOneBufferAreStillObeyed)
{
    host_.startWorker();
    host_.sendBytes(TestHost::frame(kQuit) +
                    TestHost::frame(kStart, TestHost::startPayload("/no/such/file.wav")));
    const auto first = host_.next();
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(first->id, kStarted);
    EXPECT_EQ(host_.exitStatus(), 0);
}

TEST_F(Ends, StartStopStartAndQuitInOneSegmentEndTheProcess)
{
    const QByteArray path = clicks("track.wav", 20);
    const QByteArray start = TestHost::frame(kStart, TestHost::startPayload(path));
    host_.startWorker();
    host_.sendBytes(start + TestHost::frame(kStop) + start + TestHost::frame(kQuit));
    for (int run = 0; run < 2; ++run) {
        const auto message = host_.next();
        ASSERT_TRUE(message.has_value());
        EXPECT_EQ(message->id, kStarted);
    }
    EXPECT_EQ(host_.exitStatus(), 0);
}

TEST_F(Ends, TheFileIsClosedWhenTheEndIsTold)
{
    const QByteArray good = clicks("good.wav", 2);
    const QByteArray tooShort = clicks("short.wav", 70.0 / 44100);
    host_.startWorker();
    for (int run = 0; run < 20; ++run) {
        EXPECT_EQ(host_.run(good).back().id, kFinished);
        EXPECT_EQ(openTracks(), 0) << "after " << run << " runs";
        EXPECT_EQ(host_.run(tooShort).back().id, kError);
        EXPECT_EQ(openTracks(), 0);
    }
    expectQuits();
}

TEST_F(Ends, AStoppedRunHasClosedItsFileToo)
{
    const QByteArray path = clicks("track.wav", 60);
    host_.startWorker();
    host_.start(path);
    while (host_.next()->id != kBeatDataChunk) {
    }
    EXPECT_EQ(openTracks(), 1);
    host_.send(kStop);
    EXPECT_THAT(host_.untilEnd().back().id, kStopped);
    EXPECT_EQ(openTracks(), 0);
    expectQuits();
}

TEST_F(Ends, ThousandsOfShortTracksLeaveNothingBehind)
{
    const QByteArray path = clicks("second.wav", 1);
    host_.startWorker();
    const auto runs = [&](int count) {
        for (int run = 0; run < count; ++run)
            ASSERT_EQ(host_.run(path).back().id, kFinished);
    };
    runs(50);
    const long before = processfacts::residentKiB(host_.workerPid());
    runs(testsupport::repetitions(4000));
    EXPECT_LE(processfacts::threads(host_.workerPid()), 4);
    EXPECT_EQ(openTracks(), 0);
#ifdef __SANITIZE_ADDRESS__
    constexpr long kSlackKiB = 1 << 18;  // what the sanitizer keeps of what was freed
#else
    constexpr long kSlackKiB = 12 << 10;
#endif
    EXPECT_LE(processfacts::residentKiB(host_.workerPid()), before + kSlackKiB);
    expectQuits();
}

TEST_F(Ends, TooShortTracksDoNotUseUpTheThreads)
{
    const QByteArray tooShort = clicks("short.wav", 70.0 / 44100);
    const QByteArray good = clicks("good.wav", 2);
    host_.startWorker();
    for (int run = 0; run < 111; ++run)
        ASSERT_THAT(ids(host_.run(tooShort)), ElementsAre(kStarted, kTrackDataChunk, kError));
    EXPECT_LT(processfacts::threads(host_.workerPid()), 30);
    EXPECT_EQ(host_.run(good).back().id, kFinished);
    expectQuits();
}

TEST_F(Ends, ALocalRunBringsNoNetworkUp)
{
    const QByteArray path = clicks("track.wav", 60);
    host_.startWorker();
    host_.start(path);
    while (host_.next()->id != kBeatDataChunk) {
    }
    EXPECT_EQ(processfacts::count(descriptors(host_.workerPid()), "socket:"), 1) << "the one to the host";
    host_.send(kStop);
    host_.untilEnd();
    expectQuits();
}

TEST_F(Ends, StartsThatReplaceOneAnotherAreAllEndedAndTheLastIsServed)
{
    const QByteArray path = clicks("track.wav", 2);
    host_.startWorker();
    EXPECT_EQ(host_.run(path).back().id, kFinished);
    const std::size_t descriptorsBefore = descriptors(host_.workerPid()).size();
    const int count = testsupport::repetitions(10000);
    const QByteArray start = TestHost::frame(kStart, TestHost::startPayload(path));
    host_.sendBytes(start.repeated(count));

    int started = 0;
    for (std::optional<Message> message = host_.next(); message; message = host_.next()) {
        started += message->id == kStarted ? 1 : 0;
        EXPECT_THAT(message->id, AnyOf(kStarted, kTrackDataChunk, kBeatDataChunk, kOverviewWaveChunk,
                                       kHighResolutionWaveChunk, kProgress, kFinished));
        if (message->id == kFinished && started == count)
            break;
    }
    EXPECT_EQ(host_.run(path).back().id, kFinished);
    EXPECT_LE(processfacts::threads(host_.workerPid()), 20);
    EXPECT_EQ(openTracks(), 0);
    EXPECT_LE(descriptors(host_.workerPid()).size(), descriptorsBefore + 1);
    expectQuits();
}

/// A track that takes seconds to open: an mp3 without a header, whose frames have to be counted.
class SlowOpening : public Ends {
protected:
    void SetUp() override
    {
        constexpr int kFrameBytes = 417;  // of 128 kbit/s at 44100 Hz
        constexpr int kFramesAtOnce = 2500;
        constexpr int kMegabytes = 300;
        QByteArray frame(kFrameBytes, '\0');
        frame.replace(0, 4, QByteArray::fromHex("fffb9000"));
        const QByteArray piece = frame.repeated(kFramesAtOnce);
        path_ = dir_.filePath(QStringLiteral("endless.mp3"));
        QFile file(path_);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        for (int megabyte = 0; megabyte < kMegabytes; ++megabyte)
            ASSERT_EQ(file.write(piece), piece.size());
    }

    void startAndWaitUntilItOpens()
    {
        host_.startWorker();
        host_.start(path_.toUtf8());
        ASSERT_EQ(host_.next()->id, kStarted);
        ASSERT_TRUE(testsupport::eventually([this] { return openTracks() == 1; }));
    }

    QString path_;
};

TEST_F(SlowOpening, IsEndedByAStop)
{
    startAndWaitUntilItOpens();
    host_.send(kStop);
    EXPECT_THAT(ids(host_.untilEnd()), ElementsAre(kStopped)) << "before anything is known of the track";
    EXPECT_EQ(openTracks(), 0);
    EXPECT_THAT(ids(host_.run("/no/such/file.wav")), ElementsAre(kStarted, kError));
    expectQuits();
}

TEST_F(SlowOpening, IsEndedByAQuit)
{
    startAndWaitUntilItOpens();
    host_.send(kQuit);
    EXPECT_FALSE(host_.next().has_value()) << "nothing becomes known of the track any more";
    EXPECT_EQ(host_.exitStatus(), 0);
}

TEST_F(SlowOpening, IsEndedByAHostThatGoes)
{
    startAndWaitUntilItOpens();
    host_.closeConnection();
    EXPECT_EQ(host_.exitStatus(), 0);
    EXPECT_FALSE(host_.workerErrorOutput().contains("Analyzed"));
}

TEST_F(SlowOpening, IsEndedByTheNextStart)
{
    const QByteArray good = clicks("good.wav", 2);
    startAndWaitUntilItOpens();
    EXPECT_EQ(host_.run(good).back().id, kFinished);
    EXPECT_TRUE(testsupport::eventually([this] { return openTracks() == 0; }));
    expectQuits();
}

}  // namespace
