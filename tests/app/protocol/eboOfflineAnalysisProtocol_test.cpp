#include "app/protocol/eboOfflineAnalysisProtocol.h"

#include "app/protocol/crc32.h"
#include "app/protocol/messageIds.h"
#include "support/LogCapture.h"

#include <QBuffer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using eboOfflineAnalysisProtocol::nextCommand;
using eboOfflineAnalysisProtocol::sendMessage;
using testing::ElementsAre;

/// A device in memory whose bytes arrive when the test says so.
class Wire {
public:
    explicit Wire(const QByteArray& bytes = {})
    {
        device_.open(QIODevice::ReadWrite);
        arrive(bytes);
    }
    void arrive(const QByteArray& bytes)
    {
        const qint64 at = device_.pos();
        device_.seek(device_.size());
        device_.write(bytes);
        device_.seek(at);
    }
    QIODevice* operator&() { return &device_; }
    [[nodiscard]] qint64 unread() const { return device_.bytesAvailable(); }

private:
    QBuffer device_;
};

QByteArray frame(quint32 id, const QByteArray& payload)
{
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    sendMessage(&out, 0, id, payload);
    return out.data();
}

QByteArray headerWithSize(const char* eightBytesHex)
{
    return QByteArray::fromHex(QByteArray("00000000"
                                          "01000000") +
                               eightBytesHex +
                               "00000000"
                               "00000000");
}

TEST(Crc32, IsTheOneOfZlib)
{
    EXPECT_EQ(crc32("123456789"), 0xCBF43926U);
    EXPECT_EQ(crc32(""), 0U);
    EXPECT_EQ(crc32(QByteArray(1, '\0')), 0xD202EF8DU);
}

TEST(SendMessage, WritesTheHeaderLittleEndianAndThePayloadBehindIt)
{
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    sendMessage(&out, 0x11223344U, eboOfflineAnalysisProtocol::kFinished, "123456789");
    EXPECT_EQ(out.data().toHex(), QByteArray("44332211"
                                             "0a000000"
                                             "0900000000000000"
                                             "2639f4cb"
                                             "00000000"
                                             "313233343536373839"));
}

TEST(SendMessage, AnEmptyPayloadHasSizeAndCrcZero)
{
    EXPECT_EQ(frame(eboOfflineAnalysisProtocol::kStarted, {}).toHex(), QByteArray("00000000"
                                                                                  "08000000"
                                                                                  "0000000000000000"
                                                                                  "00000000"
                                                                                  "00000000"));
}

TEST(SendMessage, ANullDeviceIsIgnored) { sendMessage(nullptr, 0, 3, "payload"); }

/// A device that never drains: what is written stays to be written.
class StuckDevice : public QIODevice {
public:
    StuckDevice() { open(ReadWrite); }
    [[nodiscard]] qint64 bytesToWrite() const override { return unsent_; }
    bool waitForBytesWritten(int milliseconds) override
    {
        waits_.push_back(milliseconds);
        return false;
    }
    [[nodiscard]] const std::vector<int>& waits() const { return waits_; }
    [[nodiscard]] const std::vector<qint64>& writes() const { return writes_; }

protected:
    qint64 readData(char* /*data*/, qint64 /*size*/) override { return 0; }
    qint64 writeData(const char* /*data*/, qint64 size) override
    {
        writes_.push_back(size);
        unsent_ += size;
        return size;
    }

private:
    qint64 unsent_ = 0;
    std::vector<int> waits_;
    std::vector<qint64> writes_;
};

TEST(SendMessage, WaitsFifteenSecondsForAnEarlierFrameThenWritesAllTheSame)
{
    StuckDevice device;
    sendMessage(&device, 0, 3, "1234");
    EXPECT_THAT(device.waits(), ElementsAre()) << "nothing was unsent yet";

    const testsupport::LogCapture log;
    sendMessage(&device, 0, 3, "1234");
    EXPECT_THAT(device.waits(), ElementsAre(15000));
    EXPECT_THAT(device.writes(), ElementsAre(24, 4, 24, 4));
    EXPECT_THAT(log.texts(),
                ElementsAre("eboOfflineAnalysisProtocol::sendMessage: buffer is full after 15000 timeout!"));
}

TEST(NextCommand, AHeaderAloneIsACommandWithAnEmptyPayload)
{
    Wire wire(frame(eboOfflineAnalysisProtocol::kStop, {}));
    EXPECT_EQ(nextCommand(&wire), std::make_pair(2U, QByteArray()));
    EXPECT_EQ(wire.unread(), 0);
}

TEST(NextCommand, TwentyThreeBytesAreNotYetAHeader)
{
    const QByteArray whole = frame(eboOfflineAnalysisProtocol::kQuit, {});
    Wire wire(whole.left(23));
    EXPECT_EQ(nextCommand(&wire).first, 0U);
    EXPECT_EQ(wire.unread(), 23);
    wire.arrive(whole.right(1));
    EXPECT_EQ(nextCommand(&wire).first, 12U);
}

TEST(NextCommand, APayloadWithoutItsLastByteWaits)
{
    const QByteArray payload(100, 'x');
    const QByteArray whole = frame(1, payload);
    Wire wire(whole.left(24 + 99));
    EXPECT_EQ(nextCommand(&wire).first, 0U);
    EXPECT_EQ(wire.unread(), 24 + 99);
    wire.arrive(whole.right(1));
    EXPECT_EQ(nextCommand(&wire), std::make_pair(1U, payload));
}

TEST(NextCommand, TwoFramesAreTwoCommands)
{
    Wire wire(frame(1, "first") + frame(2, "second"));
    EXPECT_EQ(nextCommand(&wire), std::make_pair(1U, QByteArray("first")));
    EXPECT_EQ(nextCommand(&wire), std::make_pair(2U, QByteArray("second")));
    EXPECT_EQ(nextCommand(&wire), std::make_pair(0U, QByteArray()));
}

TEST(NextCommand, ADamagedPayloadIsDroppedWholeAndTheStreamStaysInStep)
{
    QByteArray damaged = frame(7, "payload");
    damaged[30] = 'X';
    Wire wire(damaged + frame(2, {}));

    const testsupport::LogCapture log;
    EXPECT_EQ(nextCommand(&wire), std::make_pair(0U, QByteArray()));
    EXPECT_THAT(log.texts(), ElementsAre("eboOfflineAnalysisProtocol::nextCommand: CRC check failed, data "
                                         "read from the socket but ignored (commandId: 7 )"));
    EXPECT_EQ(nextCommand(&wire).first, 2U);
}

TEST(NextCommand, TheFillerBytesAndTheTagDoNotMatter)
{
    QByteArray bytes = frame(2, {});
    bytes.replace(20, 4, "\xDE\xAD\xBE\xEF");
    bytes.replace(0, 4, "\xFF\xFF\xFF\xFF");
    Wire wire(bytes);
    EXPECT_EQ(nextCommand(&wire).first, 2U);
}

TEST(NextCommand, AnUnknownIdIsReturnedLikeAnyOther)
{
    Wire wire(frame(4711, "?"));
    EXPECT_EQ(nextCommand(&wire), std::make_pair(4711U, QByteArray("?")));
}

TEST(NextCommand, ASizeThatCanNeverBeCompleteIsNeitherAllocatedNorConsumed)
{
    for (const char* size : {
             "ffffffffffffffff",  // -1
             "0000000000000080",  // the smallest int64
             "e8ffffffffffffff",  // -24: header and payload together would be nothing
             "ffffffffffffff7f",  // the largest int64, which overflows when the header is added
             "e7ffffffffffff7f",
             "0000000000000040",
             "0000008000000000",
             "0000ffff00000000",
         }) {
        Wire wire(headerWithSize(size) + QByteArray(64, 'x'));
        EXPECT_EQ(nextCommand(&wire), std::make_pair(0U, QByteArray())) << "size " << size;
        EXPECT_EQ(wire.unread(), 24 + 64) << "size " << size;
    }
}

}  // namespace
