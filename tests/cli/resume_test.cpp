#include "CliRun.h"
#include "support/eventually.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace clitest;
using testing::HasSubstr;

QString text(const char* ascii) { return QString::fromLatin1(ascii); }

class Resume : public testing::Test {
protected:
    Resume()
    {
        for (const char* name : {"a", "b", "rejected"})
            folder_.track(text(name));
    }

    /// Analyses the whole folder into the file.
    CliOutcome run(const QStringList& options = {text("--resume")})
    {
        return analyze(QStringList{text("-o"), out()} + options + QStringList{folder_.path({})});
    }

    [[nodiscard]] QString out() const { return folder_.path(text("rows")); }

    [[nodiscard]] QString content() const
    {
        QFile file(out());
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    void writeContent(const QString& content) const
    {
        QFile file(out());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content.toUtf8());
    }

    TrackFolder folder_;
};

TEST_F(Resume, LeavesOutWhatIsThere)
{
    EXPECT_EQ(run().status, 1);
    const QString before = content();
    EXPECT_EQ(rowsOf(before).size(), 3);
    const CliOutcome again = run();
    EXPECT_EQ(again.status, 1) << "one of them has failed, today as yesterday";
    EXPECT_EQ(content(), before);
    EXPECT_THAT(again.errors.toStdString(),
                HasSubstr("3 tracks: 0 analysed, 0 failed, 3 there already (1 of them failed)"));
}

TEST_F(Resume, AnalysesWhatIsMissingOrCameInHalf)
{
    run();
    const QStringList whole = timelessRows(content());
    const QStringList rows = rowsOf(content());
    writeContent(rows[0] + QLatin1Char('\n') + rows[1].left(rows[1].size() / 2));
    run();
    EXPECT_EQ(timelessRows(content()), whole);
}

TEST_F(Resume, AnalysesAgainWhatHasChanged)
{
    run();
    QFile track(folder_.path(text("a.wav")));
    ASSERT_TRUE(track.open(QIODevice::ReadWrite));
    ASSERT_TRUE(
        track.setFileTime(QDateTime::fromSecsSinceEpoch(1000000000), QFileDevice::FileModificationTime));
    track.close();
    run();
    EXPECT_EQ(rowsOf(content()).size(), 4);
    EXPECT_EQ(member(rowsOf(content()).last(), "modified"), text("1000000000000000000"));
    run();
    EXPECT_EQ(rowsOf(content()).size(), 4) << "the last row of a track counts";

    ASSERT_TRUE(QFile::resize(folder_.path(text("b.wav")), 5));
    run();
    EXPECT_EQ(rowsOf(content()).size(), 5);
}

TEST_F(Resume, AnalysesAgainWithOtherOptionsOrAnotherAnalyser)
{
    run();
    run({text("--resume"), text("--no-key")});
    EXPECT_EQ(rowsOf(content()).size(), 6);
    writeContent(content().replace(text("\"analyzer\":\"tunesift "), text("\"analyzer\":\"tunesift 0.0.")));
    run({text("--resume"), text("--no-key")});
    EXPECT_EQ(rowsOf(content()).size(), 9);
}

TEST_F(Resume, RetryFailedTriesOnlyThose)
{
    run();
    folder_.track(text("new"));
    const CliOutcome again = run({text("--retry-failed")});
    EXPECT_EQ(again.status, 1);
    ASSERT_EQ(rowsOf(content()).size(), 4);
    EXPECT_THAT(member(rowsOf(content()).last(), "path").toStdString(), testing::EndsWith("rejected.wav"));
}

TEST_F(Resume, RetryFailedNeedsNoPaths)
{
    run({text("-j1")});  // so that the failed row is the last
    // What failed is well now.
    writeContent(content().replace(text("rejected.wav"), text("a.wav")));
    const CliOutcome again = analyze({text("-o"), out(), text("--retry-failed")});
    EXPECT_EQ(again.status, 0);
    ASSERT_EQ(rowsOf(content()).size(), 4);
    EXPECT_EQ(member(rowsOf(content()).last(), "status"), text("ok"));
    EXPECT_EQ(analyze({text("-o"), out(), text("--retry-failed")}).status, 0) << "there is none left";
}

TEST_F(Resume, WithRetryFailedTriesBoth)
{
    run();
    folder_.track(text("new"));
    run({text("--resume"), text("--retry-failed")});
    EXPECT_EQ(rowsOf(content()).size(), 5);
}

TEST_F(Resume, OfTracksWhoseNamesAreNoUtf8GoesByTheBytes)
{
    for (const char* name : {"x\xFF.wav", "x\xFE.wav"}) {
        FILE* track = fopen((QFile::encodeName(folder_.path({})) + '/' + name).constData(), "w");
        ASSERT_NE(track, nullptr);
        fputs("x", track);
        fclose(track);
    }
    run();
    ASSERT_EQ(rowsOf(content()).size(), 5);
    run();
    EXPECT_EQ(rowsOf(content()).size(), 5);
    QStringList rows = rowsOf(content());
    rows.erase(std::find_if(rows.begin(), rows.end(),
                            [](const QString& row) { return !member(row, "pathBytes").isEmpty(); }));
    writeContent(rows.join(QLatin1Char('\n')) + QLatin1Char('\n'));
    run();
    EXPECT_EQ(rowsOf(content()).size(), 5) << "one of the two was missing";
}

TEST_F(Resume, OneProcessAtATimeWritesToAFile)
{
    const QString record = folder_.path(text("started"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(text("TUNESIFT_FAKE_WORKER_RECORD"), record);
    QProcess first;
    first.setProcessEnvironment(environment);
    first.start(QStringLiteral(TUNESIFT),
                withFakeWorker({text("-o"), out(), folder_.track(text("waits-for-stop"))}));
    ASSERT_TRUE(first.waitForStarted());
    ASSERT_TRUE(testsupport::eventually([&] { return QFileInfo::exists(record); }))
        << "the worker has the track";
    const CliOutcome second = analyze({text("-o"), out(), folder_.path(text("a.wav"))});
    EXPECT_EQ(second.status, 3);
    EXPECT_THAT(second.errors.toStdString(), HasSubstr("another process is writing to it"));
    first.kill();
    first.waitForFinished();
}

}  // namespace
