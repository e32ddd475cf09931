#include "network/exchange/DirectoryMessage.h"

#include "network/exchange/wire.h"

#include <QBuffer>

#include <gtest/gtest.h>

namespace {

using eboNetworkExchange::DirectoryMessage;
using eboNetworkExchange::parseMessage;
using eboNetworkExchange::takeMessage;
using eboNetworkExchange::toBytes;
using exchangetest::wire::hex;

const QUuid kSender("{01234567-89ab-4cde-8f01-23456789abcd}");
const QUuid kResponder("{fedcba98-7654-4321-8fed-cba987654321}");

std::string bytesOf(const DirectoryMessage& message) { return toBytes(message).toStdString(); }

/// What is made of some bytes, and how many of them are left.
struct Taken {
    std::optional<DirectoryMessage> message;
    qint64 left;
};

Taken take(const std::string& bytes)
{
    QByteArray held = QByteArray::fromStdString(bytes);
    QBuffer buffer(&held);
    buffer.open(QIODevice::ReadOnly);
    auto message = takeMessage(buffer);
    return {message, buffer.bytesAvailable()};
}

std::string logged(const DirectoryMessage& message)
{
    QString text;
    QDebug(&text) << message;
    return text.trimmed().toStdString();
}

TEST(DirectoryMessage, WhoisIsTypeTwoAndTheUuid)
{
    DirectoryMessage message;
    message.type = DirectoryMessage::kWhois;
    message.hostUuid = kSender;
    EXPECT_EQ(bytesOf(message), hex("00000002 0123456789ab4cde8f0123456789abcd"));
}

TEST(DirectoryMessage, ServiceInfoHasTheNameInUtf16AndThePort)
{
    DirectoryMessage message;
    message.type = DirectoryMessage::kServiceInfo;
    message.hostUuid = kSender;
    message.serviceId = QStringLiteral("Ab");
    message.port = 0x1f90;
    EXPECT_EQ(bytesOf(message), hex("00000000 0123456789ab4cde8f0123456789abcd 00000004 0041 0062 1f90"));
}

TEST(DirectoryMessage, ServiceInfoWithoutANameHasTheNullStringsLength)
{
    DirectoryMessage message;
    message.type = DirectoryMessage::kServiceInfo;
    message.hostUuid = kSender;
    EXPECT_EQ(bytesOf(message), hex("00000000 0123456789ab4cde8f0123456789abcd ffffffff 0000"));
}

TEST(DirectoryMessage, PingHasTheResponderAndTheTimeStamp)
{
    DirectoryMessage message;
    message.type = DirectoryMessage::kPing;
    message.hostUuid = kSender;
    message.responderUuid = kResponder;
    message.timeStamp = 0x0102030405060708;
    EXPECT_EQ(bytesOf(message), hex("00000001 0123456789ab4cde8f0123456789abcd"
                                    "fedcba98765443218fedcba987654321 0102030405060708"));
}

TEST(DirectoryMessage, APingsQuestionHasANullResponder)
{
    DirectoryMessage message;
    message.type = DirectoryMessage::kPing;
    message.hostUuid = kSender;
    message.timeStamp = -2;
    EXPECT_EQ(bytesOf(message), hex("00000001 0123456789ab4cde8f0123456789abcd"
                                    "00000000000000000000000000000000 fffffffffffffffe"));
}

TEST(DirectoryMessage, IsReadAsItWasWritten)
{
    const auto whois = take(hex("00000002 0123456789ab4cde8f0123456789abcd"));
    ASSERT_TRUE(whois.message);
    EXPECT_EQ(whois.message->type, DirectoryMessage::kWhois);
    EXPECT_EQ(whois.message->hostUuid, kSender);
    EXPECT_EQ(whois.left, 0);

    const auto info = take(hex("00000000 0123456789ab4cde8f0123456789abcd 00000004 0041 0062 1f90"));
    ASSERT_TRUE(info.message);
    EXPECT_EQ(info.message->serviceId, QStringLiteral("Ab"));
    EXPECT_EQ(info.message->port, 8080);
    EXPECT_EQ(info.left, 0);

    const auto ping = take(hex("00000001 0123456789ab4cde8f0123456789abcd"
                               "fedcba98765443218fedcba987654321 0102030405060708"));
    ASSERT_TRUE(ping.message);
    EXPECT_EQ(ping.message->responderUuid, kResponder);
    EXPECT_EQ(ping.message->timeStamp, 0x0102030405060708);
    EXPECT_EQ(ping.left, 0);
}

TEST(DirectoryMessage, OneIsTakenAtATime)
{
    const auto first = take(hex("00000002 0123456789ab4cde8f0123456789abcd 00000002"));
    ASSERT_TRUE(first.message);
    EXPECT_EQ(first.left, 4);
}

TEST(DirectoryMessage, AnUnknownTypeIsItsHeadOnly)
{
    const auto unknown = take(hex("00000007 0123456789ab4cde8f0123456789abcd 2a"));
    ASSERT_TRUE(unknown.message);
    EXPECT_EQ(unknown.message->type, 7);
    EXPECT_EQ(unknown.left, 1);
}

TEST(DirectoryMessage, HalfAMessageIsUsedUpAndHasNoEffect)
{
    const std::string whole = hex("00000000 0123456789ab4cde8f0123456789abcd 00000004 0041 0062 1f90");
    for (std::size_t size = 1; size < whole.size(); ++size) {
        const auto half = take(whole.substr(0, size));
        EXPECT_FALSE(half.message) << size;
        EXPECT_EQ(half.left, 0) << size;
        EXPECT_FALSE(parseMessage(QByteArray::fromStdString(whole.substr(0, size)))) << size;
    }
}

TEST(DirectoryMessage, ANameWithALyingLengthHasNoEffect)
{
    for (const char* length : {"7fffffff", "7ffffffe", "fffffffe", "80000000", "00000003"}) {
        const auto taken =
            take(hex("00000000 0123456789ab4cde8f0123456789abcd") + hex(length) + std::string(64, 'x'));
        EXPECT_FALSE(taken.message) << length;
        EXPECT_LE(taken.left, 64) << length;
    }
}

TEST(DirectoryMessage, ParsingTellsHowLongItWas)
{
    const auto parsed = parseMessage(QByteArray::fromStdString(
        hex("00000000 0123456789ab4cde8f0123456789abcd 00000004 0041 0062 1f90 00000005")));
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->size, 4 + 16 + 4 + 4 + 2);
}

TEST(DirectoryMessage, IsLoggedWithWhatItsTypeHas)
{
    DirectoryMessage message;
    message.hostUuid = kSender;
    const std::string head = "DirectoryServerMessage( QUuid(\"{01234567-89ab-4cde-8f01-23456789abcd}\") , ";
    message.type = DirectoryMessage::kWhois;
    EXPECT_EQ(logged(message), head + "kWhois )");
    message.type = DirectoryMessage::kServiceInfo;
    message.serviceId = QStringLiteral("Ab");
    message.port = 80;
    EXPECT_EQ(logged(message), head + "kServiceInfo, 80 , \"Ab\" )");
    message.type = DirectoryMessage::kPing;
    message.timeStamp = 5;
    EXPECT_EQ(logged(message), head + "kPing, QUuid(\"{00000000-0000-0000-0000-000000000000}\") , 5 )");
    message.type = 9;
    EXPECT_EQ(logged(message), head + "unknown type )");
}

// Who connects to whom hangs on this order: all devices must have the same.

TEST(UuidOrder, TheVariantComesFirst)
{
    const QUuid ncs("{ffffffff-ffff-4fff-7fff-ffffffffffff}");        // variant bits 0
    const QUuid dce("{00000000-0000-4000-8000-000000000000}");        // 10
    const QUuid microsoft("{00000000-0000-4000-c000-000000000000}");  // 110
    const QUuid reserved("{00000000-0000-4000-e000-000000000000}");   // 111
    EXPECT_TRUE(ncs < dce);
    EXPECT_TRUE(dce < microsoft);
    EXPECT_TRUE(microsoft < reserved);
    EXPECT_FALSE(dce < ncs);
}

TEST(UuidOrder, ThenTheFieldsFromTheLeft)
{
    const QUuid base("{00000001-0001-4001-8001-010101010101}");
    EXPECT_TRUE(base < QUuid("{00000002-0000-4000-8000-000000000000}"));
    EXPECT_TRUE(base < QUuid("{00000001-0002-4000-8000-000000000000}"));
    EXPECT_TRUE(base < QUuid("{00000001-0001-4002-8000-000000000000}"));
    EXPECT_TRUE(base < QUuid("{00000001-0001-4001-8002-000000000000}"));
    EXPECT_TRUE(base < QUuid("{00000001-0001-4001-8001-010101010102}"));
    EXPECT_FALSE(base < base);
}

TEST(UuidOrder, FieldsCountWithoutASign)
{
    EXPECT_TRUE(QUuid("{7fffffff-0000-4000-8000-000000000000}") <
                QUuid("{80000000-0000-4000-8000-000000000000}"));
    EXPECT_TRUE(QUuid("{00000000-7fff-4000-8000-000000000000}") <
                QUuid("{00000000-8000-4000-8000-000000000000}"));
    EXPECT_TRUE(QUuid("{00000000-0000-4000-8000-7f0000000000}") <
                QUuid("{00000000-0000-4000-8000-800000000000}"));
}

}  // namespace
