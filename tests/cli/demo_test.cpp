#include "CliRun.h"

#include <QDir>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace clitest;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kDescription = "made house music, 112.00 BPM in A minor, first downbeat at 0.000 s.\n";

class Demo : public testing::Test {
protected:
    [[nodiscard]] CliOutcome run(const QStringList& options) const
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TMPDIR"), temporary_.path());
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(TUNESIFT), withFakeWorker(options));
        return outcomeOf(process);
    }

    QTemporaryDir temporary_;
};

TEST_F(Demo, IsAnalysedWhenNoTrackIsGivenAndDescribed)
{
    const CliOutcome outcome = run({});
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    EXPECT_THAT(outcome.output.toStdString(), HasSubstr(kDescription));
    EXPECT_THAT(outcome.output.toStdString(), HasSubstr("  tempo           120.00 BPM\n"))
        << "what the fake worker finds in everything";
}

TEST_F(Demo, KeepsStandardOutputFreeForJson)
{
    const CliOutcome outcome = run({QStringLiteral("--json")});
    EXPECT_THAT(outcome.output.toStdString(), StartsWith("{"));
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr(kDescription));
}

TEST_F(Demo, LeavesNoFileBehind)
{
    EXPECT_EQ(run({}).status, 0);
    EXPECT_TRUE(QDir(temporary_.path()).isEmpty());
}

}  // namespace
