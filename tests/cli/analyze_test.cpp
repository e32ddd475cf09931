#include "CliRun.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace clitest;
using testing::ContainsRegex;
using testing::HasSubstr;

class AnalyzeVerb : public testing::Test {
protected:
    void TearDown() override { qunsetenv("TUNESIFT_FAKE_WORKER_RECORD"); }

    /// The preferences that reach the worker, in hexadecimal digits.
    QByteArray preferencesSentWith(const QStringList& options)
    {
        const QString record = folder_.path(QStringLiteral("preferences"));
        qputenv("TUNESIFT_FAKE_WORKER_RECORD", record.toUtf8());
        EXPECT_EQ(analyze(options + QStringList{folder_.track(QStringLiteral("good"))}).status, 0);
        QFile file(record);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll().toHex();
    }

    TrackFolder folder_;
};

TEST_F(AnalyzeVerb, PrintsEveryFactOfATrack)
{
    const QString track = folder_.track(QStringLiteral("good"));
    const CliOutcome outcome = analyze({track});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.output.startsWith(track + QLatin1Char('\n')));
    const std::string output = outcome.output.toStdString();
    EXPECT_THAT(output, HasSubstr("  length          0:10.000\n"));
    EXPECT_THAT(output, HasSubstr("  sample rate     44100 Hz\n"));
    EXPECT_THAT(output, HasSubstr("  tempo           120.00 BPM\n"));
    EXPECT_THAT(output, HasSubstr("  key             A minor (1m, 8A)\n"));
    EXPECT_THAT(output, HasSubstr("  loudness        0.2500 (-12.0 dBFS)\n"));
    EXPECT_THAT(output, HasSubstr("  first downbeat  0.113 s\n"));
    EXPECT_THAT(output, HasSubstr("  beats           20\n"));
    EXPECT_THAT(output,
                ContainsRegex("  time taken      [0-9]+\\.[0-9][0-9] s \\([0-9.]+ times real time\\)\n"));
}

TEST_F(AnalyzeVerb, SaysNothingOnStandardErrorWhenAllIsWellAndNobodyLooks)
{
    EXPECT_EQ(analyze({folder_.track(QStringLiteral("good"))}).errors, QString());
}

TEST_F(AnalyzeVerb, PrintsADashWhereThereIsNoKey)
{
    EXPECT_THAT(analyze({folder_.track(QStringLiteral("no-key"))}).output.toStdString(),
                HasSubstr("  key             -\n"));
}

TEST_F(AnalyzeVerb, PrintsDashesForResultsThatDoNotExist)
{
    const CliOutcome outcome = analyze({folder_.track(QStringLiteral("only-the-tempo"))});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output.toStdString(), HasSubstr("  length          -\n"));
    EXPECT_THAT(outcome.output.toStdString(), HasSubstr("  loudness        -\n"));
    EXPECT_THAT(outcome.output.toStdString(), HasSubstr("  beats           -\n"));
}

TEST_F(AnalyzeVerb, AnalysesTracksInTheirOrder)
{
    const QString first = folder_.track(QStringLiteral("one %1 for all"));
    const QString second = folder_.track(QString::fromUtf8("über"));
    const QString output = analyze({first, second}).output;
    EXPECT_TRUE(output.startsWith(first + QLatin1Char('\n')));
    EXPECT_TRUE(output.contains(QLatin1Char('\n') + second + QLatin1Char('\n')));
}

TEST_F(AnalyzeVerb, DoubleDashLetsATrackBeginWithADash)
{
    QProcess process;
    folder_.track(QStringLiteral("-dash"));
    process.setWorkingDirectory(folder_.path(QString()));
    process.start(QStringLiteral(TUNESIFT),
                  withFakeWorker({QStringLiteral("--"), QStringLiteral("-dash.wav")}));
    const CliOutcome outcome = outcomeOf(process);
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    EXPECT_TRUE(outcome.output.startsWith(QStringLiteral("-dash.wav\n")));
}

TEST_F(AnalyzeVerb, JsonIsOneObjectPerTrackAndLine)
{
    const CliOutcome outcome = analyze({QStringLiteral("--json"), folder_.track(QStringLiteral("good")),
                                        folder_.track(QStringLiteral("no-key"))});
    EXPECT_EQ(outcome.status, 0);
    const QStringList lines = outcome.output.split(QLatin1Char('\n'));
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines[2].isEmpty());
    for (int i = 0; i < 2; ++i)
        EXPECT_TRUE(QJsonDocument::fromJson(lines[i].toUtf8()).isObject()) << lines[i].toStdString();
}

TEST_F(AnalyzeVerb, JsonHoldsEveryFactToTheLastDigit)
{
    const QString track = folder_.track(QStringLiteral("good"));
    const QJsonObject object =
        QJsonDocument::fromJson(analyze({QStringLiteral("--json"), track}).output.toUtf8()).object();
    EXPECT_EQ(
        object.keys().join(QLatin1Char(' ')).toStdString(),
        "analyzer beats cpuSeconds decodedFrames error firstDownbeat firstDownbeatFrames frames key "
        "keyLetterForm keyNumber keyNumberForm loudness loudnessDb modified options path sampleRate schema "
        "seconds shard size status tempo wallSeconds");
    EXPECT_EQ(object[QLatin1String("schema")].toInt(), 1);
    EXPECT_EQ(object[QLatin1String("path")].toString(), track);
    EXPECT_EQ(object[QLatin1String("status")].toString(), QStringLiteral("ok"));
    EXPECT_TRUE(object[QLatin1String("error")].isNull());
    EXPECT_EQ(object[QLatin1String("sampleRate")].toDouble(), 44100.0);
    EXPECT_EQ(object[QLatin1String("frames")].toInt(), 441000);
    EXPECT_EQ(object[QLatin1String("seconds")].toDouble(), 10.0);
    EXPECT_EQ(object[QLatin1String("tempo")].toDouble(), 120.0);
    EXPECT_EQ(object[QLatin1String("firstDownbeat")].toDouble(), 5000.0 / 44100.0);
    EXPECT_EQ(object[QLatin1String("firstDownbeatFrames")].toDouble(), 5000.0);
    EXPECT_EQ(object[QLatin1String("decodedFrames")].toInt(), 441000);
    EXPECT_EQ(object[QLatin1String("beats")].toInt(), 20);
    EXPECT_EQ(object[QLatin1String("size")].toInt(), 9) << "of what TrackFolder writes";
    EXPECT_EQ(object[QLatin1String("options")].toString(), QStringLiteral("min-bpm=58 key=yes"));
    EXPECT_TRUE(object[QLatin1String("shard")].isNull());
    EXPECT_EQ(object[QLatin1String("loudness")].toDouble(), 0.25);
    EXPECT_DOUBLE_EQ(object[QLatin1String("loudnessDb")].toDouble(), -40.0 * std::log10(2.0));
    EXPECT_EQ(object[QLatin1String("key")].toString(), QStringLiteral("A minor"));
    EXPECT_EQ(object[QLatin1String("keyNumberForm")].toString(), QStringLiteral("1m"));
    EXPECT_EQ(object[QLatin1String("keyLetterForm")].toString(), QStringLiteral("8A"));
    EXPECT_EQ(object[QLatin1String("keyNumber")].toInt(), 1);
    EXPECT_GT(object[QLatin1String("wallSeconds")].toDouble(), 0.0);
    EXPECT_GT(object[QLatin1String("cpuSeconds")].toDouble(), 0.0);
}

TEST_F(AnalyzeVerb, JsonHasNullWhereThereIsNoResult)
{
    const auto objectOf = [this](const QString& name) {
        return QJsonDocument::fromJson(
                   analyze({QStringLiteral("--json"), folder_.track(name)}).output.toUtf8())
            .object();
    };
    const QJsonObject noKey = objectOf(QStringLiteral("no-key"));
    for (const char* const name : {"key", "keyNumberForm", "keyLetterForm", "keyNumber"})
        EXPECT_TRUE(noKey[QLatin1String(name)].isNull()) << name;
    EXPECT_EQ(noKey[QLatin1String("loudness")].toDouble(), 0.25);
    const QJsonObject tempoOnly = objectOf(QStringLiteral("only-the-tempo"));
    for (const char* const name :
         {"sampleRate", "frames", "seconds", "firstDownbeat", "beats", "loudness", "loudnessDb"})
        EXPECT_TRUE(tempoOnly[QLatin1String(name)].isNull()) << name;
}

TEST_F(AnalyzeVerb, SendsTheDefaultPreferences)
{
    EXPECT_EQ(preferencesSentWith({}), "3a000000c300000001010100");
}

TEST_F(AnalyzeVerb, SendsThePreferencesAskedFor)
{
    EXPECT_EQ(preferencesSentWith({QStringLiteral("--min-bpm"), QStringLiteral("90")}),
              "5a000000c300000001010100");
    EXPECT_EQ(preferencesSentWith({QStringLiteral("--no-key")}), "3a000000c300000000010100");
}

TEST_F(AnalyzeVerb, RunsTheWorkerBesideItself)
{
    const QString program = folder_.path(QStringLiteral("tunesift"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(TUNESIFT), program));
    ASSERT_TRUE(QFile::copy(QStringLiteral(FAKE_WORKER), folder_.path(QStringLiteral("tunesift-worker"))));
    QProcess process;
    process.start(program, {QStringLiteral("analyze"), folder_.track(QStringLiteral("good"))});
    const CliOutcome outcome = outcomeOf(process);
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
}

}  // namespace
