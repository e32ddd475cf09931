#include "CliRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace clitest;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

CliOutcome devices(const QStringList& options)
{
    return runCli(QStringList{QStringLiteral("devices")} + options);
}

TEST(DevicesUsage, HelpTellsOfEveryOption)
{
    const CliOutcome outcome = devices({QStringLiteral("--help")});
    EXPECT_EQ(outcome.status, 0);
    const std::string text = outcome.output.toStdString();
    EXPECT_THAT(text, StartsWith("Usage: tunesift devices [options]\n"));
    for (const char* const option : {"--json", "--watch", "--for", "-discoPort"})
        EXPECT_THAT(text, HasSubstr(option));
    EXPECT_THAT(text, Not(HasSubstr("--discoPort"))) << "it is not taken with two dashes";
    EXPECT_EQ(outcome.errors, QString());
}

TEST(DevicesUsage, VerbIsInTheGeneralHelp)
{
    EXPECT_THAT(runCli({QStringLiteral("--help")}).output.toStdString(), HasSubstr("\n  devices "));
}

struct WrongLine {
    QStringList options;
    const char* complaint;
};

class WrongDevicesLine : public testing::TestWithParam<WrongLine> {};

TEST_P(WrongDevicesLine, IsComplainedAboutInOneLine)
{
    const CliOutcome outcome = devices(GetParam().options);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, QString());
    EXPECT_THAT(outcome.errors.toStdString(), StartsWith("tunesift: "));
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr(GetParam().complaint));
    EXPECT_EQ(outcome.errors.count(QLatin1Char('\n')), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, WrongDevicesLine,
    testing::Values(WrongLine{{QStringLiteral("--loud")}, "Unknown option 'loud'"},
                    WrongLine{{QStringLiteral("here")}, "no argument 'here'"},
                    WrongLine{{QStringLiteral("--json"), QStringLiteral("--watch")}, "do not go together"},
                    WrongLine{{QStringLiteral("--for")}, "Missing value"},
                    WrongLine{{QStringLiteral("--for"), QStringLiteral("0")}, "from 1 to 1000000, not '0'"},
                    WrongLine{{QStringLiteral("--for"), QStringLiteral("soon")}, "not 'soon'"},
                    WrongLine{{QStringLiteral("--for"), QStringLiteral("1000001")}, "not '1000001'"},
                    WrongLine{{QStringLiteral("-discoPort")}, "Missing value"},
                    WrongLine{{QStringLiteral("-discoPort"), QStringLiteral("65536")}, "not '65536'"},
                    WrongLine{{QStringLiteral("-discoPort=5")}, "'-discoPort PORT'"},
                    WrongLine{{QStringLiteral("--discoPort"), QStringLiteral("5")}, "'-discoPort PORT'"}));

TEST(DevicesOutput, ThatCannotBeWrittenEndsTheListing)
{
    QProcess process;
    process.setStandardOutputFile(QStringLiteral("/dev/full"));
    process.start(QStringLiteral(TUNESIFT), {QStringLiteral("devices"), QStringLiteral("--json")});
    const CliOutcome outcome = outcomeOf(process);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("cannot write the output"));
}

}  // namespace
