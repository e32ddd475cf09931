#include "CliRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace clitest;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;

TEST(Usage, BadUsageEndsWithStatusTwoAndAHint)
{
    const auto list = [](const char* line) {
        return QString::fromLatin1(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    };
    qputenv("LSAN_OPTIONS",
            "detect_leaks=0");  // Qt's offscreen platform, for plot, never lets go of its screen
    for (const char* const line : {"",
                                   "dance",
                                   "--dance",
                                   "analyze --dance",
                                   "analyze --min-bpm",
                                   "analyze --min-bpm many",
                                   "analyze --min-bpm 2",
                                   "analyze --min-bpm 301",
                                   "analyze --min-bpm 58.5",
                                   "analyze --wait 0",
                                   "analyze --wait soon",
                                   "analyze --wait",
                                   "analyze --json=yes",
                                   "analyze --worker",
                                   "analyze -j 0",
                                   "analyze -j many",
                                   "analyze --timeout 0",
                                   "analyze --timeout soon",
                                   "analyze --memory 1M",
                                   "analyze --memory lots",
                                   "analyze --shard 0/3",
                                   "analyze --shard 4/3",
                                   "analyze --shard 1",
                                   "analyze --json --csv",
                                   "analyze --resume",
                                   "analyze --retry-failed",
                                   "analyze --csv -o x --resume",
                                   "merge",
                                   "merge --dance",
                                   "check",
                                   "check --dance",
                                   "check -j 0 x",
                                   "doctor --dance",
                                   "doctor x",
                                   "plot",
                                   "plot a.wav",
                                   "plot a.wav -o a.gif",
                                   "plot a b -o a.png",
                                   "plot {} -o a.png",
                                   "plot a -o a.png --width 10",
                                   "plot a -o a.png --height big",
                                   "plot a -o a.png --from now",
                                   "plot a -o a.png --from 0:20 --to 10",
                                   "export",
                                   "export a",
                                   "export a --waveform a.wav",
                                   "export { --waveform a.dat"}) {
        const CliOutcome outcome = runCli(list(line));
        EXPECT_EQ(outcome.status, 2) << line;
        EXPECT_EQ(outcome.output, QString()) << line;
        EXPECT_THAT(outcome.errors.toStdString(),
                    ContainsRegex("Try 'tunesift (analyze |merge |check |doctor |plot |export )?--help'"))
            << line;
    }
    qunsetenv("LSAN_OPTIONS");
}

TEST(Usage, HelpNamesTheVerbs)
{
    for (const char* const option : {"-h", "--help"}) {
        const CliOutcome outcome = runCli({QString::fromLatin1(option)});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.output.toStdString(), HasSubstr("  analyze "));
    }
}

TEST(Usage, HelpOfAVerbNamesItsOptions)
{
    const CliOutcome outcome = runCli({QStringLiteral("analyze"), QStringLiteral("--help")});
    EXPECT_EQ(outcome.status, 0);
    const std::string output = outcome.output.toStdString();
    EXPECT_THAT(output, StartsWith("Usage: tunesift analyze [options] [PATH...]\n"));
    for (const char* const option :
         {"--json", "--min-bpm", "--no-key", "--wait", "--worker", "--files-from", "--jobs", "--timeout",
          "--memory", "--csv", "--output", "--resume", "--retry-failed", "--shard"})
        EXPECT_THAT(output, HasSubstr(option));
}

TEST(Usage, VersionIsANumber)
{
    const CliOutcome outcome = runCli({QStringLiteral("--version")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output.toStdString(), ContainsRegex("^tunesift [0-9]+\\.[0-9]+\\.[0-9]+\n$"));
}

}  // namespace
