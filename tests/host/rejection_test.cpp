#include "host/rejection.h"

#include <gtest/gtest.h>

namespace {

using tunesift::host::ErrorKind;
using tunesift::host::rejectionKind;
using tunesift::host::rejectionReason;

TEST(Rejection, HasTheLastReasonThatTheWorkerLogged)
{
    EXPECT_EQ(rejectionReason("something else\nCannot analyse the track: it is too short to analyse\nmore\n")
                  .toStdString(),
              "it is too short to analyse");
    EXPECT_EQ(rejectionReason("Cannot analyse the track: it is one\nCannot analyse the track: it is two")
                  .toStdString(),
              "it is two");
}

TEST(Rejection, OfAFileThatFailedWhileItWasOpenedIsThatItCouldNotBeRead)
{
    const QString reason = rejectionReason("ebo.fileformats: Failed to read /a.mp3 at byte 4096\n");
    EXPECT_EQ(reason.toStdString(), "it could not be read to its end");
    EXPECT_EQ(rejectionKind(reason), ErrorKind::kUnreadable);
}

TEST(Rejection, WithoutALogHasNoReason)
{
    EXPECT_TRUE(rejectionReason("").isEmpty());
    EXPECT_TRUE(rejectionReason("Error during FLAC decoding: 2\n").isEmpty());
    EXPECT_EQ(rejectionKind(QString()), ErrorKind::kRejected);
}

TEST(Rejection, IsOfTheKindThatTheReasonNames)
{
    EXPECT_EQ(rejectionKind(QStringLiteral("it could not be read beyond frame 16384 of 529200")),
              ErrorKind::kUnreadable);
    EXPECT_EQ(rejectionKind(QStringLiteral("it is too short to analyse: it has 70 frames")),
              ErrorKind::kTooShort);
    EXPECT_EQ(rejectionKind(QStringLiteral("it is too long to analyse: 4294967296 frames")),
              ErrorKind::kTooLong);
    EXPECT_EQ(rejectionKind(QStringLiteral("it needs more memory than there is")), ErrorKind::kOutOfMemory);
    EXPECT_EQ(rejectionKind(QStringLiteral("it has too low a sample rate to analyse: 100 Hz")),
              ErrorKind::kRejected);
}

}  // namespace
