#include "CliRun.h"
#include "host/ChildProcess.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace clitest;
using testing::HasSubstr;
using testing::StartsWith;

QString text(const char* ascii) { return QString::fromLatin1(ascii); }

class BatchVerb : public testing::Test {
protected:
    QString file(const char* name, const QByteArray& content)
    {
        const QString path = folder_.path(text(name));
        QDir().mkpath(QFileInfo(path).path());
        QFile written(path);
        EXPECT_TRUE(written.open(QIODevice::WriteOnly) && written.write(content) == content.size());
        return path;
    }

    [[nodiscard]] QString contentOf(const QString& path) const
    {
        QFile read(path);
        EXPECT_TRUE(read.open(QIODevice::ReadOnly)) << path.toStdString();
        return QString::fromUtf8(read.readAll());
    }

    /// The paths of the rows below the folder, in their order, and with a "!" behind those that failed.
    [[nodiscard]] std::string pathsOf(const QString& rows) const
    {
        QStringList paths;
        for (const QString& row : rowsOf(rows)) {
            const QString path = member(row, "path");
            paths << (path.startsWith(folder_.path({})) ? path.mid(folder_.path({}).size() + 1) : path) +
                         (member(row, "status") == text("failed") ? text("!") : QString());
        }
        return paths.join(QLatin1Char(' ')).toStdString();
    }

    TrackFolder folder_;
};

TEST_F(BatchVerb, TakesTheTracksOfAFolderAndOfThoseInIt)
{
    for (const char* name : {"lib/b.WAV", "lib/a/2.mp3", "lib/a/1.flac", "lib/c.ogg", "lib/notes.txt",
                             "lib/.hidden.wav", "lib/.trash/d.wav", "lib/a.x/y.mp4"})
        file(name, "x");
    const CliOutcome outcome = analyze({text("--json"), folder_.path(text("lib"))});
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    EXPECT_EQ(pathsOf(outcome.output), "lib/a/1.flac lib/a/2.mp3 lib/a.x/y.mp4 lib/b.WAV lib/c.ogg");
}

TEST_F(BatchVerb, AFolderNamedLikeATrackIsOneThatFailsUnlessItHoldsTracks)
{
    QDir().mkpath(folder_.path(text("lib/empty.mp3")));
    file("lib/best of.mp3/1.mp3", "x");
    const CliOutcome outcome = analyze({text("--json"), folder_.path(text("lib"))});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(pathsOf(outcome.output), "lib/best of.mp3/1.mp3 lib/empty.mp3!");
    EXPECT_THAT(outcome.output.toStdString(), HasSubstr("\"it is a directory\""));
}

TEST_F(BatchVerb, LinksThatLeadRoundInACircleEnd)
{
    file("lib/a.wav", "x");
    ASSERT_TRUE(QFile::link(folder_.path(text("lib")), folder_.path(text("lib/again"))));
    EXPECT_EQ(pathsOf(analyze({text("--json"), folder_.path(text("lib"))}).output), "lib/a.wav");
}

TEST_F(BatchVerb, NothingToAnalyseIsStatusThree)
{
    QDir().mkpath(folder_.path(text("lib")));
    CliOutcome outcome = analyze({folder_.path(text("lib"))});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("no tracks in the folder"));
    outcome = analyze({text("--files-from"), folder_.path(text("missing"))});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("cannot read the list"));
    outcome = analyze({text("-o"), folder_.path(text("missing/out")), folder_.track(text("a"))});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("cannot open the output"));
}

TEST_F(BatchVerb, TakesWhatAListNames)
{
    const QString a = folder_.track(text("a"));
    const QString b = folder_.track(text("b\nb"));
    const QString lines = file("list", a.toUtf8() + "\n\n" + a.toUtf8());
    EXPECT_EQ(pathsOf(analyze({text("--json"), text("--files-from"), lines}).output), "a.wav a.wav");
    const QString nul = file("list0", b.toUtf8() + '\0' + a.toUtf8() + '\0');
    EXPECT_EQ(pathsOf(analyze({text("--json"), text("-0"), text("--files-from"), nul}).output),
              "b\nb.wav a.wav");
}

TEST_F(BatchVerb, TakesAListFromStandardInput)
{
    const QString list = file("list", folder_.track(text("a")).toUtf8() + '\n');
    QProcess process;
    process.setStandardInputFile(list);
    process.start(QStringLiteral(TUNESIFT),
                  withFakeWorker({text("--json"), text("--files-from"), text("-")}));
    EXPECT_EQ(pathsOf(outcomeOf(process).output), "a.wav");
}

TEST_F(BatchVerb, KeepsTheOrderOfTheTracksOnStandardOutput)
{
    QStringList tracks;
    for (const char* name : {"burns-a-fifth-of-a-second", "b", "c", "crashes", "d", "e"})
        tracks << folder_.track(text(name));
    for (const char* jobs : {"-j1", "-j2", "-j8"}) {
        const CliOutcome outcome = analyze(QStringList{text("--json"), text(jobs)} + tracks);
        EXPECT_EQ(pathsOf(outcome.output),
                  "burns-a-fifth-of-a-second.wav b.wav c.wav crashes.wav! d.wav e.wav")
            << jobs;
    }
}

TEST_F(BatchVerb, AnalysesTracksWhoseNamesAreNoUtf8AndTellsTheirBytes)
{
    const QByteArray name = QFile::encodeName(folder_.path({})) + "/bad\xFF\xED\xA0\x80 \xC3\xBC.wav";
    FILE* track = fopen(name.constData(), "w");
    ASSERT_NE(track, nullptr);
    fputs("x", track);
    fclose(track);
    // QProcess cannot say the name: the shell's glob does.
    QProcess process;
    process.start(text("/bin/sh"),
                  {text("-c"), text("exec \"$0\" analyze --json --worker \"$1\" \"$2\"/bad*"),
                   QStringLiteral(TUNESIFT), QStringLiteral(FAKE_WORKER), folder_.path({})});
    const CliOutcome one = outcomeOf(process);
    const CliOutcome found = analyze({text("--json"), folder_.path({})});
    const CliOutcome listed = analyze({text("--json"), text("--files-from"), file("list", name)});
    for (const CliOutcome& outcome : {one, found, listed}) {
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        ASSERT_EQ(rowsOf(outcome.output).size(), 1);
        const QString row = rowsOf(outcome.output).first();
        EXPECT_TRUE(QByteArray::fromBase64(member(row, "pathBytes").toLatin1())
                        .endsWith("/bad\xFF\xED\xA0\x80 \xC3\xBC.wav"));
        EXPECT_TRUE(member(row, "path").contains(QChar::ReplacementCharacter));
        EXPECT_TRUE(member(row, "path").endsWith(QString::fromUtf8(" ü.wav")));
        EXPECT_EQ(member(row, "tempo"), text("120"));
    }
    EXPECT_EQ(listed.output.count(text("pathBytes")), 1);
}

TEST_F(BatchVerb, CsvHasALineOfNamesAndQuotesWhatNeedsIt)
{
    const QString good = folder_.track(text("a,\"b\""));
    const CliOutcome outcome = analyze({text("--csv"), good, folder_.track(text("rejected"))});
    const QStringList lines = outcome.output.split(text("\r\n"));
    ASSERT_EQ(lines.size(), 4);
    EXPECT_THAT(lines[0].toStdString(), StartsWith("path,status,errorKind,errorText,seconds,"));
    EXPECT_EQ(lines[1].toStdString(),
              '"' + folder_.path({}).toStdString() +
                  "/a,\"\"b\"\".wav\",ok,,,10,44100,441000,120,0.11337868480725624,20,A minor,1m,8A,0.25,"
                  "-12.041199826559248");
    EXPECT_THAT(lines[2].toStdString(), HasSubstr("rejected.wav,failed,not-audio,"));
    EXPECT_THAT(lines[2].toStdString(), HasSubstr(",,,,,,,,,,"));
    EXPECT_EQ(lines[3], QString());
}

TEST_F(BatchVerb, AppendsRowsToAFileAndPrintsNothing)
{
    const QString out = folder_.path(text("out"));
    const CliOutcome first = analyze({text("-o"), out, folder_.track(text("a"))});
    EXPECT_EQ(first.output, QString());
    EXPECT_EQ(analyze({text("-o"), out, folder_.track(text("b"))}).status, 0);
    EXPECT_EQ(pathsOf(contentOf(out)), "a.wav b.wav");

    const QString csv = folder_.path(text("csv"));
    for (const char* name : {"a", "b"})
        EXPECT_EQ(analyze({text("--csv"), text("-o"), csv, folder_.track(text(name))}).status, 0);
    EXPECT_EQ(contentOf(csv).count(text("path,status")), 1);
    EXPECT_EQ(contentOf(csv).count(text("\r\n")), 3);
}

TEST_F(BatchVerb, MendsTheEndOfItsFile)
{
    const QString torn =
        file("torn", "{\"schema\":1,\"path\":\"x\",\"status\":\"ok\"}\n{\"schema\":1,\"path\":\"y");
    EXPECT_EQ(analyze({text("-o"), torn, folder_.track(text("a"))}).status, 0);
    EXPECT_EQ(pathsOf(contentOf(torn)), "x a.wav") << "half a row is none";
    const QString other = file("other", "a line of somebody else");
    EXPECT_EQ(analyze({text("-o"), other, folder_.track(text("a"))}).status, 0);
    EXPECT_TRUE(contentOf(other).startsWith(text("a line of somebody else\n{")))
        << "which is not ours to cut";
}

TEST_F(BatchVerb, AFullDiskEndsTheBatch)
{
    const CliOutcome outcome = analyze({text("-o"), text("/dev/full"), folder_.track(text("a"))});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("cannot write the output: No space left on device"));
}

TEST_F(BatchVerb, TheSummaryNamesWhatFailed)
{
    const CliOutcome outcome = analyze({text("--json"), folder_.track(text("good")),
                                        folder_.track(text("rejected")), folder_.track(text("no-key"))});
    EXPECT_THAT(outcome.errors.toStdString(),
                StartsWith("tunesift: 3 tracks: 2 analysed, 1 failed; 0:20 of music in "));
    EXPECT_THAT(outcome.errors.toStdString(),
                HasSubstr("  not-audio    : " + folder_.path(text("rejected.wav")).toStdString()));
}

TEST_F(BatchVerb, ATimeOutIsAFailureOfItsOwnKind)
{
    const CliOutcome outcome =
        analyze({text("--json"), text("--timeout"), text("0.3"), folder_.track(text("crawls"))});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output.toStdString(), HasSubstr("\"kind\":\"timeout\""));
}

TEST_F(BatchVerb, TooMuchMemoryIsAFailureOfItsOwnKind)
{
    if (!tunesift::host::kChildrenCanBeLimited)
        GTEST_SKIP() << "the sanitizer needs more memory than any limit";
    const CliOutcome outcome =
        analyze({text("--json"), text("--memory"), text("256M"), folder_.track(text("eats-memory"))});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output.toStdString(), HasSubstr("\"kind\":\"out-of-memory\""));
}

TEST_F(BatchVerb, PathsOfOtherDevicesGoToTheWorkerAsTheyAre)
{
    const CliOutcome outcome =
        analyze({text("--json"), text("net://some host/a.wav"), text("/net:/x/b.wav")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(pathsOf(outcome.output), "net://some host/a.wav /net:/x/b.wav");
}

}  // namespace
