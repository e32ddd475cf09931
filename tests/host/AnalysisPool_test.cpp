#include "host/AnalysisPool.h"
#include "host/ChildProcess.h"

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace {

using namespace tunesift::host;

class AnalysisPoolTest : public testing::Test {
protected:
    AnalysisPoolTest() { settings_.program = QStringLiteral(FAKE_WORKER); }

    /// Analyses tracks of these names; results by place.
    std::map<qint64, TrackResult> analyze(const QStringList& names, int workers)
    {
        AnalysisPool pool(settings_, workers);
        std::map<qint64, TrackResult> results;
        QEventLoop loop;
        QObject::connect(&pool, &AnalysisPool::trackFinished,
                         [&](qint64 number, const TrackResult& result) { results[number] = result; });
        QObject::connect(&pool, &AnalysisPool::allFinished, &loop, &QEventLoop::quit);
        qint64 next = 0;
        pool.start([&]() -> std::optional<PoolTrack> {
            if (next == names.size())
                return {};
            const qint64 number = next++;
            return PoolTrack{
                number, {folder_.filePath(names[static_cast<int>(number)] + QStringLiteral(".wav")), {}}};
        });
        loop.exec();
        return results;
    }

    static QStringList list(const char* names) { return QString::fromLatin1(names).split(QLatin1Char(' ')); }

    static std::string kindOf(const TrackResult& result)
    {
        return result.succeeded() ? "" : kindName(result.error->kind).toStdString();
    }

    WorkerSettings settings_;
    QTemporaryDir folder_;
};

TEST_F(AnalysisPoolTest, EveryTrackHasAResultWhateverTheNumberOfWorkers)
{
    const QStringList names = list("a b rejected c crashes d e f g h");
    for (const int workers : {1, 2, 8}) {
        const auto results = analyze(names, workers);
        ASSERT_EQ(results.size(), 10U) << workers;
        for (const auto& [number, result] : results) {
            const std::string expected = number == 2 ? "rejected" : number == 4 ? "worker-crashed" : "";
            EXPECT_EQ(kindOf(result), expected) << number;
        }
    }
}

TEST_F(AnalysisPoolTest, WithoutTracksItEnds) { EXPECT_TRUE(analyze({}, 4).empty()); }

TEST_F(AnalysisPoolTest, ADeathThatDoesNotComeBackCostsNothing)
{
    const auto results = analyze(list("good crashes-once good"), 1);
    ASSERT_EQ(results.size(), 3U);
    for (const auto& [number, result] : results)
        EXPECT_TRUE(result.succeeded()) << number << kindOf(result);
    EXPECT_TRUE(QFileInfo::exists(folder_.filePath(QStringLiteral("crashes-once.wav.trace"))));
}

TEST_F(AnalysisPoolTest, ATrackThatTakesTooLongIsGivenUp)
{
    settings_.trackTimeout = std::chrono::milliseconds(300);
    const auto results = analyze(list("crawls good"), 1);
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(kindOf(results.at(0)), "timed-out");
    EXPECT_TRUE(results.at(1).succeeded());
}

TEST_F(AnalysisPoolTest, AWorkerThatWantsTooMuchMemoryCostsItsTrackOnly)
{
    if (!kChildrenCanBeLimited)
        GTEST_SKIP() << "the sanitizer needs more memory than any limit";
    settings_.memoryLimit = qint64{256} << 20;
    const auto results = analyze(list("good eats-memory good"), 1);
    ASSERT_EQ(results.size(), 3U);
    EXPECT_EQ(kindOf(results.at(1)), "out-of-memory");
    EXPECT_TRUE(results.at(0).succeeded());
    EXPECT_TRUE(results.at(2).succeeded());
}

TEST_F(AnalysisPoolTest, AnEarlyEndShowsInTheResult)
{
    const auto results = analyze(list("ends-early good"), 1);
    EXPECT_TRUE(results.at(0).endedEarly());
    EXPECT_EQ(results.at(0).decodedFrames, 10 * 16384) << "0.32 / 0.96 of 26 blocks, and one";
    EXPECT_FALSE(results.at(1).endedEarly());
    EXPECT_EQ(results.at(1).decodedFrames, 441000);
}

TEST_F(AnalysisPoolTest, AnAbortEndsTheWorkersAndTellsNothingMore)
{
    AnalysisPool pool(settings_, 2);
    QEventLoop loop;
    bool told = false;
    QObject::connect(&pool, &AnalysisPool::trackFinished, [&] { told = true; });
    QObject::connect(&pool, &AnalysisPool::allFinished, [&] { told = true; });
    QObject::connect(&pool, &AnalysisPool::progressed, &loop, &QEventLoop::quit);
    pool.start([&]() -> std::optional<PoolTrack> {
        return PoolTrack{0, {QStringLiteral("/music/waits-for-stop.wav"), {}}};
    });
    loop.exec();
    pool.abort();
    for (int turn = 0; turn < 10; ++turn)
        QCoreApplication::processEvents();
    EXPECT_FALSE(told);
}

}  // namespace
