#include "app/TestHost.h"

#include "app/protocol/messageIds.h"
#include "support/repetitions.h"
#include "synth/ClickTrack.h"
#include "synth/HouseLoop.h"
#include "synth/WavWriter.h"

#include <QDataStream>
#include <QDir>
#include <QTemporaryDir>
#include <QtEndian>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <span>

using namespace eboOfflineAnalysisProtocol;

namespace {

/// A folder of WAV files for the runs of one test.
class Runs : public testing::Test {
protected:
    QByteArray wav(const char* name, std::span<const float> mono, unsigned sampleRate = 44100)
    {
        const std::string path = dir_.filePath(QString::fromLatin1(name)).toStdString();
        EXPECT_TRUE(synth::writeWav(path, mono, 1, sampleRate, synth::SampleFormat::kFloat32));
        return QByteArray::fromStdString(path);
    }

    QByteArray clicks(double seconds)
    {
        return wav("clicks.wav", synth::clickTrack({.bpm = 120, .seconds = seconds}));
    }

    void expectQuits()
    {
        host_.send(kQuit);
        EXPECT_EQ(host_.exitStatus(), 0);
    }

    QTemporaryDir dir_;
    TestHost host_;
};

float progressOf(const Message& message) { return qFromLittleEndian<float>(message.payload.constData()); }

struct TrackFacts {
    double sampleRate = 0;
    qint64 length = 0;
    double loudness = 0;
    qint32 key = 0;
};

TrackFacts trackFacts(const Message& message)
{
    TrackFacts facts;
    EXPECT_EQ(message.payload.size(), 28);
    QDataStream(message.payload) >> facts.sampleRate >> facts.length >> facts.loudness >> facts.key;
    return facts;
}

std::vector<Message> ofKind(const std::vector<Message>& messages, std::uint32_t id)
{
    std::vector<Message> result;
    std::copy_if(messages.begin(), messages.end(), std::back_inserter(result),
                 [id](const Message& message) { return message.id == id; });
    return result;
}

TEST_F(Runs, MessagesComeInTheirOrder)
{
    // Three blocks: 16384, 16384 and 12332 frames.
    const QByteArray path = wav("three.wav", synth::clickTrack({.bpm = 120, .seconds = 45100.0 / 44100}));
    host_.startWorker();
    EXPECT_THAT(ids(host_.run(path)),
                testing::ElementsAre(8, 5,           // started, first facts
                                     4, 6, 7, 3,     // first block
                                     4, 6, 7, 3,     // second
                                     3, 4, 6, 7, 3,  // last, the tempo search's progress before it
                                     5, 10));
    expectQuits();
}

TEST_F(Runs, ProgressReachesTheBlockLoopsShareAndTheSearchAddsItsOwn)
{
    host_.startWorker();
    const auto progress = ofKind(
        host_.run(wav("three.wav", synth::clickTrack({.bpm = 120, .seconds = 45100.0 / 44100}))), kProgress);
    ASSERT_EQ(progress.size(), 4U);
    EXPECT_EQ(progressOf(progress[0]), 0.0f);
    EXPECT_EQ(progressOf(progress[1]), 0.96f / 2);
    EXPECT_EQ(progressOf(progress[2]), 0.96f / 2 + 0.04f);
    EXPECT_EQ(progressOf(progress[3]), 0.96f);
    expectQuits();
}

TEST_F(Runs, WithASingleBlockTheProgressIsNoNumber)
{
    host_.startWorker();
    const auto progress = ofKind(host_.run(wav("one.wav", std::vector<float>(16384, 0.25f))), kProgress);
    ASSERT_GE(progress.size(), 1U);
    EXPECT_TRUE(std::isnan(progressOf(progress.back())));
    EXPECT_EQ(progress.back().payload.size(), 4);
    expectQuits();
}

TEST_F(Runs, AFrameMoreThanABlockIsASecondBlock)
{
    host_.startWorker();
    EXPECT_EQ(ofKind(host_.run(wav("one.wav", std::vector<float>(16384))), kBeatDataChunk).size(), 1U);
    EXPECT_EQ(ofKind(host_.run(wav("two.wav", std::vector<float>(16385))), kBeatDataChunk).size(), 2U);
    expectQuits();
}

TEST_F(Runs, TheFirstFactsAreEmptyAndTheLastOnesHoldTheResults)
{
    // A full-scale square wave has a loudness of 1 once 100 ms have settled.
    std::vector<float> square(44100 * 4);
    for (std::size_t frame = 0; frame < square.size(); ++frame)
        square[frame] = frame / 50 % 2 == 0 ? 1.0f : -1.0f;
    host_.startWorker();
    const auto facts = ofKind(host_.run(wav("square.wav", square)), kTrackDataChunk);
    ASSERT_EQ(facts.size(), 2U);
    EXPECT_EQ(facts[0].payload.toHex(), QByteArray("40e5888000000000"  // 44100.0
                                                   "000000000002b110"  // 176400
                                                   "3fe0000000000000"  // 0.5
                                                   "ffffffff"));
    EXPECT_EQ(trackFacts(facts[1]).sampleRate, 44100.0);
    EXPECT_EQ(trackFacts(facts[1]).length, 176400);
    EXPECT_NEAR(trackFacts(facts[1]).loudness, 1.0, 0.001);
    EXPECT_EQ(trackFacts(facts[1]).key, 6) << "441 Hz and its odd harmonics: A, E, C#";
    expectQuits();
}

TEST_F(Runs, FindTempoAndGridOfTheHouseLoop)
{
    host_.startWorker();
    const auto messages = host_.run(wav("house.wav", synth::houseLoop({.seconds = 30, .bpm = 124})));
    ASSERT_FALSE(messages.empty());
    ASSERT_EQ(messages.back().id, kFinished);
    EXPECT_NEAR(qFromLittleEndian<double>(messages.back().payload.constData()), 62.0, 0.02)
        << "124 lies an octave above the range from 58 to 116";

    const auto grids = ofKind(messages, kBeatDataChunk);
    EXPECT_EQ(grids.size(), 81U) << "one for each block of 16384 frames";
    for (const Message& grid : grids)
        EXPECT_EQ(grid.payload.size(), 33 + 4 * 24);
    EXPECT_EQ(grids[0].payload, grids[79].payload) << "the default grid until the last block";
    EXPECT_NE(grids[79].payload, grids[80].payload);
    expectQuits();
}

TEST_F(Runs, TheOverviewAlwaysHas1024EntriesAndTheWaveAllOfIts)
{
    host_.startWorker();
    for (const std::size_t frames : {100U, 16384U, 100000U, 44100U * 20}) {
        const auto messages = host_.run(wav("wave.wav", std::vector<float>(frames, 0.1f)));
        for (const auto& [id, size, total] :
             {std::tuple{kOverviewWaveChunk, 3, qint64{1024}},
              std::tuple{kHighResolutionWaveChunk, 6, static_cast<qint64>(frames / 420 + 1)}}) {
            qint64 entries = 0;
            for (const Message& chunk : ofKind(messages, id)) {
                const auto count = qFromBigEndian<qint64>(chunk.payload.constData());
                EXPECT_EQ(chunk.payload.size(), 24 + size * (count + 1));
                EXPECT_EQ(qFromBigEndian<qint64>(chunk.payload.constData() + 8), total);
                entries += count;
            }
            EXPECT_EQ(entries, total) << frames << " frames, message " << id;
        }
    }
    expectQuits();
}

TEST_F(Runs, ATrackNotLongerThanADetectorFrameIsAnErrorAfterItsFirstFacts)
{
    host_.startWorker();
    EXPECT_THAT(ids(host_.run(wav("short.wav", std::vector<float>(70)))), testing::ElementsAre(8, 5, 11));
    EXPECT_EQ(host_.run(wav("longer.wav", std::vector<float>(71))).back().id, kFinished);
    expectQuits();
}

TEST_F(Runs, StopEndsARunAndTheNextStartWorks)
{
    const QByteArray path = clicks(20);
    host_.startWorker();
    host_.sendBytes(TestHost::frame(kStart, TestHost::startPayload(path)) + TestHost::frame(kStop));
    const auto messages = host_.untilEnd();
    EXPECT_EQ(messages.front().id, kStarted);
    EXPECT_EQ(messages.back().id, kStopped);
    EXPECT_LE(ofKind(messages, kTrackDataChunk).size(), 1U) << "no results from a stopped run";
    EXPECT_EQ(host_.run(path).back().id, kFinished);
    expectQuits();
}

TEST_F(Runs, AStartReplacesARunAndOnlyTheNewOneIsHeardOf)
{
    const QByteArray first = clicks(60);
    const QByteArray second = wav("second.wav", std::vector<float>(48000 * 2), 48000);
    host_.startWorker();
    host_.start(first);
    while (host_.next()->id != kBeatDataChunk) {
    }
    host_.start(second);
    while (host_.next()->id != kStarted) {
    }

    const auto messages = host_.untilEnd();
    EXPECT_EQ(messages.back().id, kFinished);
    const auto facts = ofKind(messages, kTrackDataChunk);
    ASSERT_EQ(facts.size(), 2U);
    EXPECT_EQ(messages.front().id, kTrackDataChunk);
    EXPECT_EQ(trackFacts(facts[0]).sampleRate, 48000.0);
    EXPECT_EQ(trackFacts(facts[1]).sampleRate, 48000.0);
    EXPECT_EQ(ofKind(messages, kBeatDataChunk).size(), 6U);
    expectQuits();
}

TEST_F(Runs, StopAndStartInOneBufferGiveNoStoppedMessage)
{
    const QByteArray path = clicks(60);
    host_.startWorker();
    // All three commands in one segment, so that the start replaces the track in the same slot.
    host_.sendBytes(TestHost::frame(kStart, TestHost::startPayload(path)) + TestHost::frame(kStop) +
                    TestHost::frame(kStart, TestHost::startPayload(path)));

    const auto messages = host_.untilEnd();
    EXPECT_EQ(messages.back().id, kFinished);
    EXPECT_EQ(ofKind(messages, kStarted).size(), 2U);
    EXPECT_EQ(ofKind(messages, kStopped).size(), 0U);
    expectQuits();
}

TEST_F(Runs, AReplacedRunsLateErrorDoesNotEndItsSuccessor)
{
    const QByteArray good = clicks(5);
    host_.startWorker();
    host_.sendBytes(TestHost::frame(kStart, TestHost::startPayload("/no/such/file.wav")) +
                    TestHost::frame(kStart, TestHost::startPayload(good)));

    const auto messages = host_.untilEnd();
    EXPECT_EQ(messages.back().id, kFinished);
    EXPECT_EQ(ofKind(messages, kError).size(), 0U);
    expectQuits();
}

TEST_F(Runs, AnImpossibleMinimumTempoCountsAsFiftyEight)
{
    // Silence gives the middle of the tempo range, which shows the range that was searched.
    const QByteArray path = wav("silence.wav", std::vector<float>(44100));
    host_.startWorker();
    for (const auto& [minimum, tempo] :
         {std::pair{2, 87.0},
          {0, 87.0},
          {-5, 87.0},
          {3, 4.5},
          {70, 105.0},
          {20000, 30000.0},
          {2147483647, 87.0},
          {20670, 31005.0},  // 2 x 20670 + 3 is 41343, one below 60 x 44100 / 64
          {20671, 87.0}}) {
        host_.send(kStart, TestHost::startPayload(path, minimum));
        const auto messages = host_.untilEnd();
        EXPECT_EQ(qFromLittleEndian<double>(messages.back().payload.constData()), tempo)
            << "minimum " << minimum;
    }
    expectQuits();
}

TEST_F(Runs, AStartPayloadThatIsCutShortHasDefaultsAndNoPath)
{
    host_.startWorker();
    for (int size = 0; size <= 12; ++size) {
        host_.send(kStart, TestHost::startPayload({}).left(size));
        EXPECT_EQ(ids(host_.untilEnd()), (std::vector<std::uint32_t>{kStarted, kError})) << size;
    }
    expectQuits();
}

TEST_F(Runs, QuittingAtAnyMomentEndsWithStatusZero)
{
    const QByteArray path = clicks(20);
    std::size_t messagesOfARun = 0;
    {
        TestHost host;
        host.startWorker();
        messagesOfARun = host.run(path).size();
        host.send(kQuit);
        EXPECT_EQ(host.exitStatus(), 0);
    }

    const int moments = testsupport::repetitions(200);
    for (int moment = 0; moment < moments; ++moment) {
        TestHost host;
        host.startWorker();
        host.start(path);
        const auto messagesBefore =
            messagesOfARun * static_cast<std::size_t>(moment) / static_cast<std::size_t>(moments);
        for (std::size_t message = 0; message < messagesBefore; ++message)
            ASSERT_TRUE(host.next().has_value());
        if (moment % 2 == 0)
            host.send(kQuit);
        else
            host.closeConnection();
        EXPECT_EQ(host.exitStatus(), 0) << "after " << messagesBefore << " messages";
    }
}

TEST_F(Runs, QuittingWithParkedThreadsAndReplacedRunsEndsWithStatusZero)
{
    const QByteArray tooShort = wav("short.wav", std::vector<float>(70));
    const QByteArray path = clicks(20);
    host_.startWorker();
    for (int run = 0; run < 5; ++run)
        EXPECT_EQ(host_.run(tooShort).back().id, kError);
    for (int run = 0; run < 5; ++run)
        host_.start(path);
    expectQuits();
}

}  // namespace
