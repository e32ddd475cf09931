#include "analysis/BeatDetectionRunner.h"
#include "analysis/RunThreads.h"
#include "analysis/TunesiftTrackDataFactory.h"

#include "FakeReader.h"
#include "runtime/GarbageCollection.h"
#include "support/LogCapture.h"
#include "support/eventually.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QEventLoop>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <future>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;
using testsupport::eventually;

/// One track of a fake reader, run on a real thread; what it signals is written down as words.
class Runner : public testing::Test {
protected:
    Runner() { collector_.start(); }

    ~Runner() override
    {
        track_.reset();
        runThreads_.joinAll();
    }

    void makeTrack(FakeTrack fake)
    {
        fake_ = std::make_shared<FakeTrack>(std::move(fake));
        track_ = ebo::makeRef<TunesiftTrackDataFactory>(formatsThatPlay(fake_), runThreads_)
                     ->create(QStringLiteral("/some.fake"));

        const auto write = [this](const char* word) {
            return [this, word] {
                words_.emplace_back(word);
                livingAtEnd_ = fake_->living;
                if (std::string(word) == "stopped" || std::string(word) == "error")
                    ended_.quit();
            };
        };
        ITrackData* track = track_.get();
        QObject::connect(track, &ITrackData::detectionStarted, &ended_, write("started"));
        QObject::connect(track, &ITrackData::detectionStopped, &ended_, write("stopped"));
        QObject::connect(track, &ITrackData::detectionError, &ended_, write("error"));
        QObject::connect(track, &ITrackData::beatDataUpdated, &ended_, write("beats"));
        QObject::connect(track, &ITrackData::trackDataUpdated, &ended_, [this](const QByteArray& chunk) {
            words_.emplace_back("facts");
            facts_.push_back(chunk);
        });
        QObject::connect(track, &ITrackData::detectionProgress, &ended_,
                         [this](double progress) { progress_.push_back(progress); });
        QObject::connect(track, &ITrackData::detectionFinished, &ended_, [this](double bpm) {
            words_.emplace_back("finished");
            bpm_ = bpm;
            livingAtEnd_ = fake_->living;
            ended_.quit();
        });
    }

    /// Runs the track to its end.
    void run()
    {
        ASSERT_TRUE(track_->startBeatDetectionRunner({}));
        ended_.exec();
    }

    /// Serves the event loop until no more than `left` threads are up.
    void waitForThreads(int left)
    {
        QTimer look;
        QEventLoop loop;
        QObject::connect(&look, &QTimer::timeout, &loop, [this, left, &loop] {
            if (runThreads_.count() <= left)
                loop.quit();
        });
        look.start(0);
        loop.exec();
    }

    RunThreads runThreads_;
    ebo::GarbageCollection collector_;
    std::shared_ptr<FakeTrack> fake_;
    ebo::refptr<ITrackData> track_;
    QEventLoop ended_;
    std::vector<std::string> words_;
    std::vector<QByteArray> facts_;
    std::vector<double> progress_;
    double bpm_ = 0;
    int livingAtEnd_ = -1;  ///< Readers, when the last word came.
};

TEST_F(Runner, ReportsAWholeRunInOrderAndItsThreadGoes)
{
    makeTrack({.length = 20000, .delivered = 20000});
    run();
    EXPECT_THAT(words_, ElementsAre("started", "facts", "beats", "beats", "facts", "finished"));
    EXPECT_EQ(bpm_, 87.0) << "the middle of 58 to 116";
    waitForThreads(0);
}

TEST_F(Runner, ASecondStartOfOneTrackIsRefused)
{
    makeTrack({});
    ASSERT_TRUE(track_->startBeatDetectionRunner({}));
    EXPECT_TRUE(track_->isBeatDetectionRunning());
    EXPECT_FALSE(track_->startBeatDetectionRunner({}));
    EXPECT_EQ(runThreads_.count(), 1);
    ended_.exec();
    EXPECT_EQ(std::count(words_.begin(), words_.end(), "started"), 1);
}

TEST_F(Runner, AReaderThatEndsEarlyIsNoFailure)
{
    makeTrack({.length = 100000, .delivered = 40000});
    run();
    EXPECT_THAT(words_, ElementsAre("started", "facts", "beats", "beats", "beats", "facts", "finished"));
    ASSERT_EQ(facts_.size(), 2U);
    qint64 length = 0;
    QDataStream stream(facts_[1]);
    stream.skipRawData(8);
    stream >> length;
    EXPECT_EQ(length, 100000) << "as announced";
}

TEST_F(Runner, AReaderThatDeliversNothingEndsWithResultsAndAWarning)
{
    const testsupport::LogCapture log;
    makeTrack({.length = 100000, .delivered = 16384});
    run();
    EXPECT_THAT(words_, ElementsAre("started", "facts", "beats", "beats", "facts", "finished"));
    EXPECT_THAT(log.texts(),
                Contains("int BeatDetectionRunner::readBlock(ebo::refptr<eboAudioFormatReader>, size_t) "
                         "Received no samples at position 16384"));
}

TEST_F(Runner, AShortReadIsLoggedWithItsNumbers)
{
    const testsupport::LogCapture log;
    makeTrack({.length = 50000, .delivered = 20000});
    run();
    waitForThreads(0);  // its last line is written after the run has reported its end
    EXPECT_THAT(log.texts(),
                Contains("int BeatDetectionRunner::readBlock(ebo::refptr<eboAudioFormatReader>, size_t) "
                         "Failed to read file, expected 16384 , but received: 3616 , at position: 16384"));
    EXPECT_THAT(log.texts(), Contains(StartsWith("Analyzed \"/some.fake\" in ")));
}

TEST_F(Runner, TheBufferStartsAsZerosAndKeepsThePreviousBlock)
{
    std::vector<float> seen;
    makeTrack({.length = 20000, .delivered = 20000, .onRead = [&](const float* target, auto, auto) {
                   seen.push_back(target[0]);
                   seen.push_back(target[16383]);
               }});
    run();
    EXPECT_THAT(seen, ElementsAre(0.0f, 0.0f, 0.25f, 0.25f));
}

TEST_F(Runner, AStopBetweenBlocksEndsTheRunWithoutResults)
{
    makeTrack({.length = 200000, .delivered = 200000, .onRead = [this](auto, std::uint64_t frame, auto) {
                   if (frame == 16384U * 3)
                       track_->stopBeatDetectionRunner();
               }});
    run();
    EXPECT_THAT(words_, ElementsAre("started", "facts", "beats", "beats", "beats", "beats", "stopped"));
    waitForThreads(0);
}

TEST_F(Runner, AStopRightAfterTheStartIsObeyed)
{
    makeTrack({.length = 2000000000U, .delivered = 2000000000U});
    ASSERT_TRUE(track_->startBeatDetectionRunner({}));
    track_->stopBeatDetectionRunner();
    ended_.exec();
    EXPECT_EQ(words_.back(), "stopped");
}

TEST_F(Runner, AStopDuringTheLastBlockGivesNoFinalFacts)
{
    makeTrack({.length = 20000, .delivered = 20000, .onRead = [this](auto, std::uint64_t frame, auto) {
                   if (frame == 16384U)
                       track_->stopBeatDetectionRunner();
               }});
    run();
    EXPECT_THAT(words_, ElementsAre("started", "facts", "beats", "beats", "stopped"));
    EXPECT_THAT(progress_, ElementsAre(0.0)) << "a stopped search reports no progress";
}

TEST_F(Runner, ADyingTrackStopsItsRun)
{
    makeTrack({.length = 2000000000U, .delivered = 2000000000U, .onRead = [this](auto, auto frame, auto) {
                   if (frame == 0)
                       QMetaObject::invokeMethod(&ended_, "quit", Qt::QueuedConnection);
               }});
    run();
    track_.reset();
    waitForThreads(0);
    EXPECT_THAT(words_, testing::Not(Contains("finished")));
}

TEST_F(Runner, ATooShortTrackLeavesItsThreadParkedUntilTheEnd)
{
    makeTrack({.length = 70, .delivered = 70});
    run();
    EXPECT_THAT(words_, ElementsAre("started", "facts", "error"));
    track_.reset();
    EXPECT_EQ(runThreads_.count(), 1);
    runThreads_.joinAll();
    EXPECT_EQ(runThreads_.count(), 0);
}

TEST_F(Runner, OneFrameMoreThanADetectorFrameIsEnough)
{
    makeTrack({.length = 71, .delivered = 71});
    run();
    EXPECT_EQ(words_.back(), "finished");
}

TEST_F(Runner, EmptyAndUnusableTracksAreRefused)
{
    for (const FakeTrack& bad :
         {FakeTrack{.length = 0}, FakeTrack{.sampleRate = 0}, FakeTrack{.sampleRate = 314},
          FakeTrack{.length = 0x80000000U}, FakeTrack{.length = 0xFFFFFFFFU}}) {
        const testsupport::LogCapture log;
        words_.clear();
        makeTrack(bad);
        run();
        EXPECT_THAT(words_, ElementsAre("started", "error")) << bad.sampleRate << " " << bad.length;
        EXPECT_THAT(log.texts(), Contains("bool BeatDetectionRunner::createReader(const QString&, "
                                          "ebo::refptr<eboAudioFormatReader>&) Failed to create a reader for "
                                          "file at: \"/some.fake\""));
        waitForThreads(0);
    }
}

TEST_F(Runner, TheLowestUsableRateHasAFrameOfOneSample)
{
    // 316 / 630 rounds up to one sample, and the tempo range is still searchable.
    makeTrack({.sampleRate = 316, .length = 1000, .delivered = 1000});
    run();
    EXPECT_EQ(words_.back(), "finished");
}

TEST_F(Runner, AnAbsurdAnnouncementEndsInAnErrorInsteadOfAGiantWave)
{
    makeTrack({.sampleRate = 400, .length = 2000000000U, .delivered = 100});
    run();
    EXPECT_EQ(words_.back(), "error");
    waitForThreads(0);
}

TEST_F(Runner, AnUnusableTempoRangeIsReplacedWithALogLine)
{
    const testsupport::LogCapture log;
    makeTrack({});
    ASSERT_TRUE(track_->startBeatDetectionRunner({.minimumBpm = -1}));
    ended_.exec();
    EXPECT_EQ(bpm_, 87.0);
    EXPECT_THAT(log.texts(), Contains(StartsWith("Tempo range from -1 BPM cannot be searched")));
}

TEST_F(Runner, JoiningBeforeTheRunHasBegunLeavesNothing)
{
    for (int round = 0; round < 50; ++round) {
        makeTrack({.length = 2000000000U, .delivered = 2000000000U});
        ASSERT_TRUE(track_->startBeatDetectionRunner({}));
        runThreads_.joinAll();
        EXPECT_EQ(runThreads_.count(), 0);
    }
}

TEST_F(Runner, ATrackThatCannotBeReadHasTheUsualRateAndNoLength)
{
    const auto track = ebo::makeRef<TunesiftTrackDataFactory>(ebo::refptr<eboFileFormats>(), runThreads_)
                           ->create(QStringLiteral("/no/such/file.wav"));
    EXPECT_EQ(track->path(), QStringLiteral("/no/such/file.wav"));
    EXPECT_EQ(track->sampleRate(), 44100.0);
    EXPECT_EQ(track->length(), 0);
    EXPECT_FALSE(track->createReader(true));
}

TEST_F(Runner, TheFirstReaderIsKeptAndEveryFurtherOneIsAClone)
{
    makeTrack({.sampleRate = 32000, .length = 77});
    EXPECT_THROW(
        {
            try {
                static_cast<void>(track_->createReader(false));
            } catch (const std::runtime_error& error) {
                EXPECT_STREQ(error.what(), "Reader creation not allowed here.");
                throw;
            }
        },
        std::runtime_error);
    EXPECT_EQ(fake_->readers, 0);
    const auto first = track_->createReader(true);
    EXPECT_EQ(fake_->readers, 1);
    const auto second = track_->createReader(false);
    EXPECT_EQ(fake_->readers, 2);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(track_->sampleRate(), 32000.0);
    EXPECT_EQ(track_->length(), 77);
    EXPECT_EQ(fake_->readers, 2);
    fake_->isGone = true;
    EXPECT_FALSE(track_->createReader(true));
}

TEST_F(Runner, AddProgressAddsUntilTheFlagIsRaised)
{
    const auto flag = std::make_shared<StopAnalysisFlag>();
    BeatDetectionRunner runner(ebo::weakptr<ITrackData>(), flag);
    std::vector<double> told;
    QObject::connect(&runner, &BeatDetectionRunner::detectionProgress, &runner,
                     [&told](double progress) { told.push_back(progress); });
    EXPECT_TRUE(runner.addProgress(0.25f));
    EXPECT_TRUE(runner.addProgress(0.5f));
    flag->raise();
    EXPECT_FALSE(runner.addProgress(0.125f));
    EXPECT_THAT(told, ElementsAre(0.25, 0.75));
}

TEST_F(Runner, WithoutItsTrackThereIsNoReader)
{
    makeTrack({});
    BeatDetectionRunner runner(ebo::weakptr<ITrackData>(), std::make_shared<StopAnalysisFlag>());
    std::vector<std::string> told;
    QObject::connect(&runner, &BeatDetectionRunner::detectionError, &runner,
                     [&told] { told.emplace_back("error"); });
    QObject::connect(&runner, &BeatDetectionRunner::finished, &runner,
                     [&told] { told.emplace_back("finished"); });
    const testsupport::LogCapture log;
    runner.process(QStringLiteral("/some.fake"), {}, 1024);
    EXPECT_THAT(told, ElementsAre("error", "finished"));
}

using Blocks = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

TEST_F(Runner, ATrackIsReadInBlocksOf16384FramesAndTheRest)
{
    for (const auto& [length, expected] : {std::pair<std::uint32_t, Blocks>{16383, {{0, 16383}}},
                                           {16384, {{0, 16384}}},
                                           {16385, {{0, 16384}, {16384, 1}}},
                                           {32768, {{0, 16384}, {16384, 16384}}},
                                           {32769, {{0, 16384}, {16384, 16384}, {32768, 1}}}}) {
        Blocks blocks;
        makeTrack({.length = length, .delivered = length, .onRead = [&blocks](auto, auto first, auto frames) {
                       blocks.emplace_back(first, frames);
                   }});
        run();
        EXPECT_EQ(words_.back(), "finished");
        EXPECT_EQ(blocks, expected) << length << " frames";
    }
}

TEST_F(Runner, AFileThatGoesAwayIsAnErrorWhateverItStillGives)
{
    const testsupport::LogCapture log;
    makeTrack({.length = 50000, .delivered = 50000, .onRead = [this](auto, auto first, auto) {
                   fake_->hasLostData = first == 16384;
               }});
    run();
    EXPECT_THAT(words_, ElementsAre("started", "facts", "beats", "error"));
    EXPECT_TRUE(log.contains("Cannot analyse the track: it could not be read beyond frame 32768 of 50000"));
    waitForThreads(0);
}

TEST_F(Runner, ItsFileIsClosedWhenItsEndIsTold)
{
    for (const auto& [track, end] : {std::pair<FakeTrack, const char*>{{}, "finished"},
                                     {{.length = 70, .delivered = 70}, "error"},
                                     {{.length = 0}, "error"}}) {
        makeTrack(track);
        run();
        EXPECT_EQ(words_.back(), end);
        EXPECT_EQ(livingAtEnd_, 0) << end;
        EXPECT_GE(fake_->closed, 1) << end;
        EXPECT_EQ(fake_->readers, 1);
    }
}

TEST_F(Runner, AStoppedRunClosesItsFileFirst)
{
    makeTrack({.length = 200000, .delivered = 200000, .onRead = [this](auto, auto frame, auto) {
                   if (frame == 16384U)
                       track_->stopBeatDetectionRunner();
               }});
    run();
    EXPECT_EQ(words_.back(), "stopped");
    EXPECT_EQ(livingAtEnd_, 0);
}

TEST_F(Runner, AStopWhileTheFileIsOpenedEndsTheRun)
{
    makeTrack({.onOpen = [this](const StopCheck& stopCheck) {
        QMetaObject::invokeMethod(
            &ended_, [this] { track_->stopBeatDetectionRunner(); }, Qt::QueuedConnection);
        EXPECT_TRUE(eventually([&] { return stopCheck(); }));
        return false;
    }});
    run();
    EXPECT_THAT(words_, ElementsAre("started", "stopped"));
    waitForThreads(0);
}

TEST_F(Runner, TheEndOfTheProcessIsSeenWhileAFileIsOpened)
{
    std::promise<void> opening;
    makeTrack({.onOpen = [&](const StopCheck& stopCheck) {
        opening.set_value();
        EXPECT_TRUE(eventually([&] { return stopCheck(); }));
        return false;
    }});
    ASSERT_TRUE(track_->startBeatDetectionRunner({}));
    opening.get_future().wait();
    runThreads_.joinAll();
    EXPECT_EQ(runThreads_.count(), 0);
}

TEST_F(Runner, AReadThatAStopCutsShortIsNoEndOfTheTrack)
{
    makeTrack({.length = 100000, .delivered = 100000, .onRead = [this](auto, auto frame, auto) {
                   if (frame != 16384U)
                       return;
                   track_->stopBeatDetectionRunner();
                   fake_->delivered = 20000;
               }});
    run();
    EXPECT_THAT(words_, ElementsAre("started", "facts", "beats", "stopped")) << "no waves of a rest unheard";
}

TEST_F(Runner, WithoutMemoryTheRunEndsInAnError)
{
    const testsupport::LogCapture log;
    makeTrack({.onRead = [](auto, auto, auto) { throw std::bad_alloc(); }});
    run();
    EXPECT_THAT(words_, ElementsAre("started", "facts", "error"));
    EXPECT_EQ(livingAtEnd_, 0);
    EXPECT_TRUE(log.contains("Cannot analyse the track: it needs more memory than there is"));
    waitForThreads(0);
}

TEST_F(Runner, ParkedThreadsMakeRoomForNewRuns)
{
    for (int run = 0; run < 3 * RunThreads::kMostUp; ++run) {
        makeTrack({.length = 70, .delivered = 70});
        this->run();
        EXPECT_LE(runThreads_.count(), RunThreads::kMostUp);
    }
    makeTrack({});
    run();
    EXPECT_EQ(words_.back(), "finished");
}

TEST_F(Runner, StoppedRunsMakeRoomForNewOnes)
{
    for (int run = 0; run < 10 * RunThreads::kMostUp; ++run) {
        makeTrack({.length = 2000000000U, .delivered = 2000000000U});
        ASSERT_TRUE(track_->startBeatDetectionRunner({}));
        track_->stopBeatDetectionRunner();
        EXPECT_LE(runThreads_.count(), RunThreads::kMostUp);
    }
}

}  // namespace
