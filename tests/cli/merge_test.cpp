#include "CliRun.h"

#include <QFile>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace {

using namespace clitest;
using testing::HasSubstr;

QString text(const char* ascii) { return QString::fromLatin1(ascii); }

class Merge : public testing::Test {
protected:
    Merge()
    {
        for (int i = 0; i < kTracks; ++i)
            folder_.track(QStringLiteral("track %1").arg(i));
        for (int i = 1; i <= kShards; ++i)
            EXPECT_EQ(analyze({text("--shard"), QStringLiteral("%1/%2").arg(i).arg(kShards), text("-o"),
                               shard(i), folder_.path({})})
                          .status,
                      0);
    }

    [[nodiscard]] QString shard(int index) const
    {
        return folder_.path(QStringLiteral("shard%1").arg(index));
    }

    [[nodiscard]] QString content(int index) const
    {
        QFile file(shard(index));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    void append(int index, const QString& lines) const
    {
        QFile file(shard(index));
        ASSERT_TRUE(file.open(QIODevice::Append));
        file.write(lines.toUtf8());
    }

    [[nodiscard]] CliOutcome merge(const QStringList& options = {}) const
    {
        return runCli(QStringList{text("merge")} + options + QStringList{shard(1), shard(2), shard(3)});
    }

    static constexpr int kTracks = 30;
    static constexpr int kShards = 3;
    TrackFolder folder_;
};

TEST_F(Merge, JoinsShardsThatShareTheTracksAmongThem)
{
    const CliOutcome outcome = merge();
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    std::set<QString> paths;
    for (const QString& row : rowsOf(outcome.output))
        paths.insert(member(row, "path"));
    EXPECT_EQ(paths.size(), 30U);
    EXPECT_EQ(rowsOf(outcome.output).size(), 30);
    for (int i = 1; i <= kShards; ++i)
        EXPECT_GE(rowsOf(content(i)).size(), 3) << "equal shares, by and large";
}

TEST_F(Merge, WritesToAFileAlsoToOneThatItReads)
{
    EXPECT_EQ(merge({text("-o"), shard(1)}).status, 0);
    EXPECT_EQ(rowsOf(content(1)).size(), 30);
}

TEST_F(Merge, AMissingShardIsTold)
{
    const CliOutcome outcome = runCli({text("merge"), shard(1), shard(3)});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("shards are missing: 2/3"));
}

TEST_F(Merge, AnEmptyShardIsNotMissing)
{
    QFile empty(folder_.path(text("empty")));
    ASSERT_TRUE(empty.open(QIODevice::WriteOnly));
    EXPECT_EQ(runCli({text("merge"), shard(1), shard(3), empty.fileName()}).status, 0);
}

TEST_F(Merge, MissingTracksAreToldByAList)
{
    QFile list(folder_.path(text("list")));
    ASSERT_TRUE(list.open(QIODevice::WriteOnly));
    list.write(folder_.path(text("track 1.wav")).toUtf8() + "\nnever analysed.wav\n");
    list.close();
    const CliOutcome outcome = merge({text("--files-from"), list.fileName()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("1 tracks are missing: never analysed.wav\n"));
}

TEST_F(Merge, ARowInTwoFilesIsToldAndAppearsOnce)
{
    append(2, rowsOf(content(1)).first() + QLatin1Char('\n'));
    const CliOutcome outcome = merge();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("1 tracks are double: "));
    EXPECT_EQ(rowsOf(outcome.output).size(), 30);
}

TEST_F(Merge, OfSeveralRowsInOneFileTheLastCounts)
{
    append(1, rowsOf(content(1)).first().replace(text("\"tempo\":120"), text("\"tempo\":99")) +
                  QLatin1Char('\n'));
    const CliOutcome outcome = merge();
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    EXPECT_EQ(rowsOf(outcome.output).size(), 30);
    EXPECT_EQ(outcome.output.count(text("\"tempo\":99,")), 1);
}

TEST_F(Merge, MixedVersionsOptionsAndDivisionsAreTold)
{
    const QString row = rowsOf(content(1)).first();
    append(1, QString(row).replace(text("tunesift 0"), text("tunesift 9")) + QLatin1Char('\n'));
    EXPECT_THAT(merge().errors.toStdString(), HasSubstr("mixed analyser versions: tunesift 0"));
    append(1, QString(row).replace(text("min-bpm=58"), text("min-bpm=90")) + QLatin1Char('\n'));
    EXPECT_THAT(merge().errors.toStdString(),
                HasSubstr("mixed options: min-bpm=58 key=yes; min-bpm=90 key=yes"));
    append(1, QString(row).replace(text("1/3"), text("1/4")) + QLatin1Char('\n'));
    EXPECT_THAT(merge().errors.toStdString(), HasSubstr("different divisions into shards"));
    append(1, QString(row).replace(text("1/3"), text("2/3")) + QLatin1Char('\n'));
    EXPECT_THAT(merge().errors.toStdString(), HasSubstr("1 tracks are in the wrong shard"));
    append(1, text("not a row\n"));
    EXPECT_THAT(merge().errors.toStdString(),
                HasSubstr("1 lines of " + shard(1).toStdString() + " are no rows"));
}

TEST_F(Merge, AFileThatIsNotThereIsStatusThree)
{
    EXPECT_EQ(runCli({text("merge"), folder_.path(text("missing"))}).status, 3);
}

}  // namespace
