#include "CliRun.h"

#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFile>

namespace {

using namespace clitest;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

CliOutcome share(const QStringList& options)
{
    return runCli(QStringList{QStringLiteral("share")} + options);
}

TEST(ShareUsage, HelpTellsOfEveryOption)
{
    const CliOutcome outcome = share({QStringLiteral("--help")});
    EXPECT_EQ(outcome.status, 0);
    const std::string text = outcome.output.toStdString();
    EXPECT_THAT(text, StartsWith("Usage: tunesift share [options] DIR\n"));
    for (const char* const option : {"--json", "--name", "--writable", "-discoPort"})
        EXPECT_THAT(text, HasSubstr(option));
    EXPECT_THAT(text, Not(HasSubstr("--discoPort"))) << "it is not taken with two dashes";
    EXPECT_THAT(runCli({QStringLiteral("--help")}).output.toStdString(), HasSubstr("\n  share "));
}

TEST(ShareUsage, WrongLinesAreComplainedAboutInOneLine)
{
    const testsupport::TempDir folder;
    const QString here = QString::fromStdString(folder.path());
    const QString file = QString::fromStdString(folder.file("file"));
    ASSERT_TRUE(QFile(file).open(QIODevice::WriteOnly));
    const std::pair<QStringList, const char*> lines[] = {
        {{}, "wants a directory"},
        {{here, here}, "one directory only"},
        {{here + QStringLiteral("/none")}, "There is no directory"},
        {{file}, "is no directory"},
        {{here, QStringLiteral("--loud")}, "Unknown option 'loud'"},
        {{here, QStringLiteral("--name"), QStringLiteral("a/b")}, "without '/'"},
        {{here, QStringLiteral("--name"), QString()}, "without '/'"},
        {{here, QStringLiteral("--name")}, "Missing value"},
        {{here, QStringLiteral("-discoPort"), QStringLiteral("0")}, "not '0'"},
    };
    for (const auto& [options, complaint] : lines) {
        const CliOutcome outcome = share(options);
        EXPECT_EQ(outcome.status, 2) << complaint;
        EXPECT_EQ(outcome.output, QString()) << complaint;
        EXPECT_THAT(outcome.errors.toStdString(), StartsWith("tunesift: "));
        EXPECT_THAT(outcome.errors.toStdString(), HasSubstr(complaint));
        EXPECT_EQ(outcome.errors.count(QLatin1Char('\n')), 1) << complaint;
    }
}

TEST(ShareOutput, ThatCannotBeWrittenEndsTheSharing)
{
    const testsupport::TempDir folder;
    QProcess process;
    process.setStandardOutputFile(QStringLiteral("/dev/full"));
    process.start(QStringLiteral(TUNESIFT), {QStringLiteral("share"), QString::fromStdString(folder.path())});
    const CliOutcome outcome = outcomeOf(process);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("cannot write the output"));
}

}  // namespace
