#include "host/takeFrame.h"

#include "support/LogCapture.h"

#include <QBuffer>

#include <gtest/gtest.h>

namespace {

using namespace tunesift::host;

/// A connection over which these bytes have come.
class Wire {
public:
    explicit Wire(const QByteArray& bytes)
    {
        buffer_.setData(bytes);
        buffer_.open(QIODevice::ReadOnly);
    }
    auto next() { return takeFrame(buffer_); }
    [[nodiscard]] qint64 bytesLeft() const { return buffer_.bytesAvailable(); }

private:
    QBuffer buffer_;
};

// Message 10 with nine bytes of payload, whose CRC is the check value of the CRC-32 of zlib.
const QByteArray kFrame =
    QByteArray::fromHex("00000000 0a000000 0900000000000000 2639f4cb ffffffff") + "123456789";

TEST(TakeFrame, TakesWholeFramesInOrder)
{
    Wire wire(kFrame + kFrame);
    for (int i = 0; i < 2; ++i) {
        const auto next = wire.next();
        ASSERT_TRUE(std::holds_alternative<Frame>(next));
        EXPECT_EQ(std::get<Frame>(next).messageId, 10U);
        EXPECT_EQ(std::get<Frame>(next).payload, QByteArray("123456789"));
    }
    EXPECT_TRUE(std::holds_alternative<NoFrame>(wire.next()));
}

TEST(TakeFrame, LeavesABeginningWhereItIs)
{
    for (int size = 0; size < kFrame.size(); ++size) {
        Wire wire(kFrame.left(size));
        EXPECT_TRUE(std::holds_alternative<NoFrame>(wire.next())) << size << " bytes";
        EXPECT_EQ(wire.bytesLeft(), size);
    }
}

TEST(TakeFrame, AWrongCrcIsABadFrameAndTheNextOneIsGood)
{
    const testsupport::LogCapture log;
    QByteArray damaged = kFrame;
    damaged[24] = '2';
    Wire wire(damaged + kFrame);
    EXPECT_TRUE(std::holds_alternative<BadFrame>(wire.next()));
    EXPECT_TRUE(std::holds_alternative<Frame>(wire.next()));
}

TEST(TakeFrame, AnImpossibleSizeIsJudgedFromTheHeaderAlone)
{
    for (const char* const size :
         {"ffffffffffffffff", "0000000000000080", "ffffffffffffff7f", "0100000400000000"}) {
        Wire wire(QByteArray::fromHex("00000000 03000000") + QByteArray::fromHex(size) +
                  QByteArray::fromHex("00000000 00000000"));
        EXPECT_TRUE(std::holds_alternative<BadFrame>(wire.next())) << size;
    }
    Wire largest(QByteArray::fromHex("00000000 03000000 0000000400000000 00000000 00000000"));
    EXPECT_TRUE(std::holds_alternative<NoFrame>(largest.next())) << "may yet come";
}

TEST(TakeFrame, NumberZeroIsNoMessage)
{
    Wire wire(QByteArray(24, '\0'));
    EXPECT_TRUE(std::holds_alternative<BadFrame>(wire.next()));
}

}  // namespace
