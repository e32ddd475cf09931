// The whole way, from the command line through the real worker and back.

#include "CliRun.h"

#include "synth/HouseLoop.h"
#include "synth/WavWriter.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace clitest;

QJsonObject firstObject(const CliOutcome& outcome)
{
    return QJsonDocument::fromJson(outcome.output.section(QLatin1Char('\n'), 0, 0).toUtf8()).object();
}

TEST(RealWorker, FindsInTheDemoWhatIsThere)
{
    const CliOutcome outcome = runCli({QStringLiteral("analyze"), QStringLiteral("--json")});
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    const QJsonObject object = firstObject(outcome);
    EXPECT_EQ(object[QLatin1String("seconds")].toDouble(), 30.0);
    EXPECT_EQ(object[QLatin1String("sampleRate")].toDouble(), 44100.0);
    EXPECT_NEAR(object[QLatin1String("tempo")].toDouble(), 112.0, 0.05);
    // 30 s hold 56 beats of 60/112 s.
    EXPECT_NEAR(object[QLatin1String("beats")].toInt(), 56, 1);
    // A hop of the onset detector is 1/630 s; an onset is noticed some hops behind its beginning.
    EXPECT_NEAR(object[QLatin1String("firstDownbeat")].toDouble(), 0.0, 0.03);
    const double loudness = object[QLatin1String("loudness")].toDouble();
    EXPECT_GT(loudness, 0.05);
    EXPECT_LT(loudness, 1.0);
    EXPECT_EQ(object[QLatin1String("key")].toString(), QStringLiteral("A minor"));
    EXPECT_EQ(object[QLatin1String("keyNumber")].toInt(), 1);
}

TEST(RealWorker, ReadsBetweenAndAfterTracksThatAreNone)
{
    TrackFolder folder;
    const QString noise = folder.track(QStringLiteral("no-audio"));
    const QString music = folder.path(QStringLiteral("90.wav"));
    const std::vector<float> loop = synth::houseLoop({.seconds = 20, .bpm = 90});
    ASSERT_TRUE(synth::writeWav(music.toStdString(), loop, 1, 44100, synth::SampleFormat::kPcm16));
    const CliOutcome outcome = runCli({QStringLiteral("analyze"), noise, music, noise, music});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output.count(QRegularExpression(QStringLiteral("tempo +(89.9|90.0)"))), 2)
        << outcome.output.toStdString();
    EXPECT_EQ(outcome.errors.count(QStringLiteral("no audio that the worker can read")), 2)
        << outcome.errors.toStdString();
}

TEST(RealWorker, SeeksTheTempoWhereItIsToldTo)
{
    TrackFolder folder;
    const QString music = folder.path(QStringLiteral("80.wav"));
    const std::vector<float> loop = synth::houseLoop({.seconds = 20, .bpm = 80});
    ASSERT_TRUE(synth::writeWav(music.toStdString(), loop, 1, 44100, synth::SampleFormat::kPcm16));
    const CliOutcome outcome = runCli({QStringLiteral("analyze"), QStringLiteral("--json"),
                                       QStringLiteral("--min-bpm"), QStringLiteral("100"), music});
    EXPECT_NEAR(firstObject(outcome)[QLatin1String("tempo")].toDouble(), 160.0, 0.1)
        << outcome.output.toStdString();
}

}  // namespace
