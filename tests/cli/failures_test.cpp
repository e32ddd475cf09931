#include "CliRun.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace clitest;
using testing::EndsWith;
using testing::HasSubstr;

class Failures : public testing::Test {
protected:
    /// Expects that this track fails for a reason of this kind, and that both are told in both forms.
    void expectFailure(const QString& path, const char* kind, const char* text)
    {
        const CliOutcome human = analyze({path});
        EXPECT_EQ(human.status, 1);
        EXPECT_EQ(human.output, QString());
        EXPECT_THAT(human.errors.toStdString(), HasSubstr(path.toStdString() + ": "));
        EXPECT_THAT(human.errors.toStdString(), HasSubstr(text));

        const CliOutcome json = analyze({QStringLiteral("--json"), path});
        EXPECT_EQ(json.status, 1);
        const QJsonObject object = QJsonDocument::fromJson(json.output.toUtf8()).object();
        EXPECT_EQ(object[QLatin1String("path")].toString(), path);
        EXPECT_EQ(object[QLatin1String("status")].toString(), QStringLiteral("failed"));
        EXPECT_TRUE(object[QLatin1String("tempo")].isNull());
        const QJsonObject error = object[QLatin1String("error")].toObject();
        EXPECT_EQ(error[QLatin1String("kind")].toString().toStdString(), kind);
        EXPECT_THAT(error[QLatin1String("text")].toString().toStdString(), HasSubstr(text));
    }

    TrackFolder folder_;
};

TEST_F(Failures, AMissingFileIsTold)
{
    expectFailure(folder_.path(QStringLiteral("nothing.wav")), "not-found", "there is no such file");
    expectFailure(folder_.track(QStringLiteral("good")) + QStringLiteral("/below-a-file.wav"), "not-found",
                  "Not a directory");
    expectFailure(QString(5000, QLatin1Char('x')), "not-found", "too long");
}

TEST_F(Failures, APipeIsToldAndNotWaitedFor)
{
    const QString pipe = folder_.path(QStringLiteral("pipe.wav"));
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    expectFailure(pipe, "not-audio", "it is a device, pipe or socket");
}

TEST_F(Failures, AnUnreadableFileIsTold)
{
    const QString track = folder_.track(QStringLiteral("secret"));
    ASSERT_TRUE(QFile::setPermissions(track, {}));
    QStringList command = QStringList{QStringLiteral(TUNESIFT)} + withFakeWorker({track});
    if (geteuid() == 0)  // root may read everything, unless that right is taken from it
        command = QStringList{QStringLiteral("setpriv"),
                              QStringLiteral("--bounding-set=-dac_override,-dac_read_search")} +
                  command;
    QProcess process;
    process.start(command.takeFirst(), command);
    const CliOutcome outcome = outcomeOf(process);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), EndsWith("secret.wav: you may not read it\n"));
}

TEST_F(Failures, AnEmptyFileIsTold)
{
    const QString track = folder_.track(QStringLiteral("void"));
    ASSERT_TRUE(QFile::resize(track, 0));
    expectFailure(track, "empty", "the file is empty");
}

TEST_F(Failures, WhatTheWorkerRejectsIsNoAudioOrUnsupported)
{
    const QString track = folder_.track(QStringLiteral("rejected"));
    expectFailure(track, "not-audio", "no audio that the worker can read");
    const QString renamed = folder_.path(QStringLiteral("rejected.txt"));
    ASSERT_TRUE(QFile::rename(track, renamed));
    expectFailure(renamed, "unsupported", "not that of a format");
    expectFailure(QStringLiteral("net://host/rejected.wav"), "unreachable", "cannot be reached");
}

TEST_F(Failures, AnEarlyEndIsAFailureWithTheResultsOfWhatThereIs)
{
    const QString track = folder_.track(QStringLiteral("ends-early"));
    const CliOutcome outcome = analyze({QStringLiteral("--json"), track});
    EXPECT_EQ(outcome.status, 1);
    const QJsonObject object = QJsonDocument::fromJson(outcome.output.toUtf8()).object();
    EXPECT_EQ(object[QLatin1String("status")].toString(), QStringLiteral("failed"));
    const QJsonObject error = object[QLatin1String("error")].toObject();
    EXPECT_EQ(error[QLatin1String("kind")].toString(), QStringLiteral("truncated"));
    // 0.32 / 0.96 of 26 blocks and one more are 10 of 16384 frames.
    EXPECT_EQ(error[QLatin1String("text")].toString(), QStringLiteral("it ends after some 3.7 of 10.0 s"));
    EXPECT_EQ(object[QLatin1String("decodedFrames")].toInt(), 163840);
    EXPECT_EQ(object[QLatin1String("loudness")].toDouble(), 0.25);
}

TEST_F(Failures, AWorkerThatDiesOrTalksNonsenseIsTold)
{
    expectFailure(folder_.track(QStringLiteral("exits-after-start")), "crashed", "with status 7");
    expectFailure(folder_.track(QStringLiteral("crashes")), "crashed", "signal 9");
    expectFailure(folder_.track(QStringLiteral("lying-count")), "crashed", "malformed message 4");
}

TEST_F(Failures, AMissingWorkerIsTold)
{
    const CliOutcome outcome =
        runCli({QStringLiteral("analyze"), QStringLiteral("--worker"), QStringLiteral("/nowhere/worker"),
                folder_.track(QStringLiteral("good"))});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("cannot run the worker /nowhere/worker"));
}

TEST_F(Failures, OfOneTrackDoNotKeepTheOthersFromBeingAnalysed)
{
    const QString good = folder_.track(QStringLiteral("good"));
    const CliOutcome outcome =
        analyze({good, folder_.track(QStringLiteral("rejected")), folder_.path(QStringLiteral("missing.wav")),
                 folder_.track(QStringLiteral("crashes")), good});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output.count(QStringLiteral("120.00 BPM")), 2);
    EXPECT_EQ(outcome.errors.count(QLatin1Char('\n')), 4) << outcome.errors.toStdString();
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("tunesift: 5 tracks: 2 analysed, 3 failed"));
}

TEST_F(Failures, OutputThatCannotBeWrittenIsTold)
{
    QProcess process;
    process.setStandardOutputFile(QStringLiteral("/dev/full"));
    process.start(QStringLiteral(TUNESIFT), withFakeWorker({folder_.track(QStringLiteral("good"))}));
    const CliOutcome outcome = outcomeOf(process);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("cannot write the output"));
}

}  // namespace
