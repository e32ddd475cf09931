#include "app/TestHost.h"

#include "app/protocol/messageIds.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace eboOfflineAnalysisProtocol;

namespace {

TEST(Process, WithoutAPortTheStatusIsOne) { EXPECT_EQ(runWorkerAlone({}), 1); }

TEST(Process, APortThatIsNoNumberIsStatusOne)
{
    EXPECT_EQ(runWorkerAlone({QStringLiteral("abc")}), 1);
    EXPECT_EQ(runWorkerAlone({QStringLiteral("0x1F90")}), 1);
    EXPECT_EQ(runWorkerAlone({QString()}), 1);
}

TEST(Process, NobodyListeningIsStatusZero)
{
    QTcpServer once;
    ASSERT_TRUE(once.listen(QHostAddress::LocalHost));
    const QString port = QString::number(once.serverPort());
    once.close();
    EXPECT_EQ(runWorkerAlone({port}), 0);
}

TEST(Process, APortOf65536IsNarrowedToZeroAndTheConnectionFails)
{
    EXPECT_EQ(runWorkerAlone({QStringLiteral("65536")}), 0);
}

TEST(Process, QuitEndsItWithStatusZero)
{
    TestHost host;
    host.startWorker();
    host.send(kQuit);
    EXPECT_EQ(host.exitStatus(), 0);
}

TEST(Process, TheHostGoingAwayEndsItWithStatusZero)
{
    TestHost host;
    host.startWorker();
    host.closeConnection();
    EXPECT_EQ(host.exitStatus(), 0);
}

TEST(Process, NothingIsSentBeforeACommandComes)
{
    TestHost host;
    host.startWorker();
    host.send(kQuit);
    EXPECT_FALSE(host.next().has_value());
    EXPECT_EQ(host.exitStatus(), 0);
}

TEST(Process, StopWithoutARunAndUnknownCommandsAreIgnored)
{
    TestHost host;
    host.startWorker();
    host.send(kStop);
    host.send(4711, "whatever");
    host.send(kError);
    host.send(kQuit);
    EXPECT_FALSE(host.next().has_value());
    EXPECT_EQ(host.exitStatus(), 0);
}

TEST(Process, ADamagedFrameIsDroppedWithAWarningAndTheNextOneObeyed)
{
    TestHost host;
    host.startWorker();
    host.sendBytes(QByteArray::fromHex("00000000"
                                       "0c000000"
                                       "0100000000000000"
                                       "12345678"
                                       "00000000"
                                       "58"));
    host.send(kStart, TestHost::startPayload("/no/such/file.wav"));
    // The damaged frame ends a round of reading; what lies behind it is read when more comes.
    host.nudge();
    EXPECT_EQ(ids(host.untilEnd()), (std::vector<std::uint32_t>{kStarted, kError}));
    host.send(kQuit);
    EXPECT_EQ(host.exitStatus(), 0);
}

TEST(Process, AnAbsurdPayloadSizeLeavesItAliveAndSmall)
{
    TestHost host;
    host.startWorker();
    host.sendBytes(QByteArray::fromHex("00000000"
                                       "01000000"
                                       "ffffffffffffff7f"
                                       "00000000"
                                       "00000000") +
                   QByteArray(1000, 'x'));
    host.closeConnection();
    EXPECT_EQ(host.exitStatus(), 0);
}

TEST(LogFile, GetsEveryMessageOnALineThatEndsInCarriageReturnAndLineFeed)
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("worker.log"));
    TestHost host;
    host.startWorker({QStringLiteral("TUNESIFTLOGFILE=") + path,
                      QStringLiteral("QT_MESSAGE_PATTERN=%{type}|%{category}|%{message}")});
    host.run("/no/such/file.wav");
    host.send(kQuit);
    EXPECT_EQ(host.exitStatus(), 0);
    EXPECT_EQ(host.workerErrorOutput(), QByteArray());

    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(),
              QByteArray("warning|ebo.fileformats|Failed to find a suitable reader for "
                         "\"/no/such/file.wav\"\r\n"
                         "warning|default|bool BeatDetectionRunner::createReader(const QString&, "
                         "ebo::refptr<eboAudioFormatReader>&) Failed to create a reader for file at: "
                         "\"/no/such/file.wav\"\r\n"));
}

TEST(LogFile, ThatCannotBeWrittenIsLostInSilence)
{
    for (const char* path : {"TUNESIFTLOGFILE=/no/such/folder/worker.log", "TUNESIFTLOGFILE="}) {
        TestHost host;
        host.startWorker({QString::fromLatin1(path)});
        EXPECT_EQ(ids(host.run("/no/such/file.wav")), (std::vector<std::uint32_t>{kStarted, kError}));
        host.send(kQuit);
        EXPECT_EQ(host.exitStatus(), 0);
        EXPECT_EQ(host.workerErrorOutput(), QByteArray()) << path;
    }
}

}  // namespace
