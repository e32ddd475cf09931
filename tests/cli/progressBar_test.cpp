#include "CliRun.h"
#include "Terminal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace clitest;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

TEST(ProgressBar, GrowsOnATerminalAndLeavesTheLineEmpty)
{
    TrackFolder folder;
    const Terminal terminal;
    QProcess process;
    process.setStandardErrorFile(QString::fromLatin1(terminal.name()));
    process.start(QStringLiteral(TUNESIFT), withFakeWorker({folder.track(QStringLiteral("good"))}));
    EXPECT_EQ(outcomeOf(process).status, 0);
    const std::string written = terminal.written();
    EXPECT_THAT(written, HasSubstr("\r[..............................]   0% good.wav"));
    EXPECT_THAT(written, HasSubstr("\r[#########.....................]  32% good.wav"));
    EXPECT_THAT(written, HasSubstr("\r[############################..]  96% good.wav"));
    EXPECT_THAT(written, EndsWith("\r\x1b[K"));
}

TEST(ProgressBar, IsClearedBeforeAComplaint)
{
    TrackFolder folder;
    const Terminal terminal;
    QProcess process;
    process.setStandardErrorFile(QString::fromLatin1(terminal.name()));
    process.start(QStringLiteral(TUNESIFT), withFakeWorker({folder.track(QStringLiteral("rejected"))}));
    EXPECT_EQ(outcomeOf(process).status, 1);
    EXPECT_THAT(terminal.written(), HasSubstr("\r\x1b[Ktunesift: "));
}

TEST(ProgressBar, OfManyTracksCountsThem)
{
    TrackFolder folder;
    const Terminal terminal;
    QProcess process;
    process.setStandardErrorFile(QString::fromLatin1(terminal.name()));
    QStringList tracks;
    for (const char* name : {"a", "burns-a-fifth-of-a-second", "rejected", "d"})
        tracks << folder.track(QString::fromLatin1(name));
    process.start(QStringLiteral(TUNESIFT),
                  withFakeWorker(QStringList{QStringLiteral("--json"), QStringLiteral("-j1")} + tracks));
    const CliOutcome outcome = outcomeOf(process);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(rowsOf(outcome.output).size(), 4) << "and nothing else on standard output";
    const std::string written = terminal.written();
    // The second track takes so long that the line may be shown again before its end.
    EXPECT_THAT(written, HasSubstr("\r[....."));
    EXPECT_THAT(written, HasSubstr("1 of 4"));
    EXPECT_THAT(written, HasSubstr(" left\x1b[K"));
    EXPECT_THAT(written, HasSubstr("\r\x1b[Ktunesift: 4 tracks: 3 analysed, 1 failed; 0:30 of music in "));
}

TEST(Table, IsWhatATerminalShowsOfManyTracks)
{
    TrackFolder folder;
    const Terminal terminal;
    QProcess process;
    process.setStandardOutputFile(QString::fromLatin1(terminal.name()));
    process.start(QStringLiteral(TUNESIFT), withFakeWorker({folder.track(QStringLiteral("a\nb")),
                                                            folder.track(QStringLiteral("rejected")),
                                                            folder.track(QStringLiteral("no-key"))}));
    const CliOutcome outcome = outcomeOf(process);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("rejected.wav: it is no audio"));
    const std::string path = folder.path({}).toStdString();
    EXPECT_EQ(terminal.written(), "   length      BPM  key              loudness   downbeat  track\r\n"
                                  "     0:10   120.00  A minor (8A)     -12.0 dB    0.113 s  " +
                                      path +
                                      "/a?b.wav\r\n"
                                      "     0:10   120.00  -                -12.0 dB    0.113 s  " +
                                      path + "/no-key.wav\r\n");
}

TEST(ProgressBar, IsNotThereWithoutATerminal)
{
    TrackFolder folder;
    EXPECT_THAT(analyze({folder.track(QStringLiteral("good"))}).errors.toStdString(), Not(HasSubstr("[")));
}

}  // namespace
