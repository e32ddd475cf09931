#include "CliRun.h"
#include "support/eventually.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

using namespace clitest;
using testing::HasSubstr;
using testsupport::eventually;

/// The process that has been started by `parent`; 0 if there is none.
qint64 childOf(qint64 parent)
{
    QFile children(QStringLiteral("/proc/%1/task/%1/children").arg(parent));
    if (!children.open(QIODevice::ReadOnly))
        return 0;
    return children.readAll().split(' ').value(0).toLongLong();
}

class Interrupt : public testing::TestWithParam<int> {
protected:
    void TearDown() override { qunsetenv("TUNESIFT_FAKE_WORKER_RECORD"); }
    TrackFolder folder_;
};

TEST_P(Interrupt, EndsTheWorkerAndTellsTheSignalInTheStatus)
{
    const QString record = folder_.path(QStringLiteral("started"));
    qputenv("TUNESIFT_FAKE_WORKER_RECORD", record.toUtf8());
    QProcess process;
    process.start(QStringLiteral(TUNESIFT), withFakeWorker({folder_.track(QStringLiteral("waits-for-stop")),
                                                            folder_.track(QStringLiteral("good"))}));
    ASSERT_TRUE(process.waitForStarted());
    ASSERT_TRUE(eventually([&] { return QFileInfo::exists(record); })) << "the worker has the track";
    const qint64 worker = childOf(process.processId());
    ASSERT_NE(worker, 0);

    ::kill(static_cast<pid_t>(process.processId()), GetParam());
    const CliOutcome outcome = outcomeOf(process);
    EXPECT_EQ(outcome.status, 128 + GetParam());
    EXPECT_EQ(outcome.output, QString()) << "the track behind it is not analysed any more";
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("interrupted"));
    EXPECT_FALSE(QFileInfo::exists(QStringLiteral("/proc/%1").arg(worker)));
}

INSTANTIATE_TEST_SUITE_P(Signals, Interrupt, testing::Values(SIGINT, SIGTERM, SIGHUP));

}  // namespace
