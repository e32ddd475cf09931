#include "network/nfs/messageStream.h"

#include <gtest/gtest.h>

#include <QBuffer>

#include <limits>
#include <vector>

using namespace eboNfsMessages;

namespace {

QByteArray hex(const char* digits) { return QByteArray::fromHex(digits); }

QString fromUtf8(const char* text) { return QString::fromUtf8(text); }

QDateTime utc(int day, int hour) { return {QDate(2020, 1, day), QTime(hour, 4, 5, 6), Qt::UTC}; }

Message with(Type type, const std::function<void(Message&)>& fill)
{
    Message message(type, 0x01020304);
    fill(message);
    return message;
}

struct Golden {
    const char* name;
    Message message;
    const char* bytes;
};

// Every line below the header is a field of its own.
std::vector<Golden> goldenMessages()
{
    return {
        {"info",
         with(eInfo,
              [](Message& m) {
                  m.exists = true;
                  m.isDir = false;
                  m.flags = 0x6644;
                  m.ctime = utc(2, 3);
                  m.mtime = utc(3, 4);
                  m.atime = utc(4, 5);
                  m.size = 0x0102030405060708;
              }),
         "666c7478 01020304 00000001"
         "01 00 00006644"
         "00000000002584e3 00a8888e 01"  // Julian day 2458851, milliseconds, UTC
         "00000000002584e4 00df770e 01"
         "00000000002584e5 0116658e 01"
         "0102030405060708"},
        {"directoryInfo",
         with(eDirectoryInfo,
              [](Message& m) {
                  m.exists = true;
                  m.flags = 0xFFFFF;
                  m.fileSizeLimit = kNoSizeLimit;
              }),
         "666c7478 01020304 00000002"
         "01 000fffff 7fffffffffffffff"},
        {"directoryContents",
         with(eDirectoryContents,
              [](Message& m) {
                  m.entries = QStringList{fromUtf8("a"), fromUtf8("Zoë")};
                  m.isFirst = true;
                  m.isLast = false;
                  m.containsDirectories = true;
              }),
         "666c7478 01020304 00000003"
         "00000002"
         "00000002 0061"
         "00000006 005a 006f 00eb"
         "01 00 01"},
        {"fileInfo",
         with(eFileInfo,
              [](Message& m) {
                  m.fileSize = 5368709120;
                  m.fileFlags = 1;
              }),
         "666c7478 01020304 00000004"
         "0000000140000000 00000001"},
        {"fileData",
         with(eFileData,
              [](Message& m) {
                  m.offset = 8192;
                  m.data = "abc";
              }),
         "666c7478 01020304 00000005"
         "0000000000002000 00000003 616263"},
        {"fileDataInvalid",
         with(eFileDataInvalid,
              [](Message& m) {
                  m.invalidBlocks.set({2, 5});
                  m.invalidBlocks.set({9, 9});
                  m.newSize = 4097;
              }),
         "666c7478 01020304 00000006"
         "0000000000000002"
         "0000000000000002 0000000000000005"
         "0000000000000009 0000000000000009"
         "0000000000001001"},
        {"fileLockResponse",
         with(eFileLockResponse,
              [](Message& m) {
                  m.lockResult = -1;
                  m.lockLevel = 3;
              }),
         "666c7478 01020304 00000007"
         "ff 00000003"},
        {"deviceInfo", with(eDeviceInfo, [](Message& m) { m.deviceName = fromUtf8("Hi"); }),
         "666c7478 01020304 00000008"
         "00000004 0048 0069"},
        {"objectUnavailable", with(eObjectUnavailable, [](Message&) {}), "666c7478 01020304 00000009"},
        {"fileTruncateResponse",
         with(eFileTruncateResponse,
              [](Message& m) {
                  m.truncated = true;
                  m.fileSize = 7;
              }),
         "666c7478 01020304 0000000a"
         "01 0000000000000007"},
        {"fileDeleteResponse", with(eFileDeleteResponse, [](Message& m) { m.deleted = true; }),
         "666c7478 01020304 0000000b"
         "01"},
        {"infoRequest", with(eInfoRequest, [](Message& m) { m.path = fromUtf8("/M/ä"); }),
         "666c7478 01020304 000007d1"
         "00000008 002f 004d 002f 00e4"},
        {"directoryRequest", with(eDirectoryRequest, [](Message& m) { m.path = fromUtf8("/"); }),
         "666c7478 01020304 000007d2"
         "00000002 002f"},
        {"directoryRelease", with(eDirectoryRelease, [](Message&) {}), "666c7478 01020304 000007d3"},
        {"fileRequest", with(eFileRequest, [](Message& m) { m.path = fromUtf8("/😀"); }),
         "666c7478 01020304 000007d4"
         "00000006 002f d83d de00 00000000"},
        {"fileDataRequest",
         with(eFileDataRequest,
              [](Message& m) {
                  m.requestedBlocks.set({7, 7});
              }),
         "666c7478 01020304 000007d5"
         "0000000000000001 0000000000000007 0000000000000007"},
        {"fileRelease", with(eFileRelease, [](Message&) {}), "666c7478 01020304 000007d6"},
        {"fileWriteRequest",
         with(eFileWriteRequest,
              [](Message& m) {
                  m.offset = 4096;
                  m.data = "x";
              }),
         "666c7478 01020304 000007d7"
         "0000000000001000 00000001 78"},
        {"fileSyncRequest", with(eFileSyncRequest, [](Message&) {}), "666c7478 01020304 000007d8"},
        {"fileLockRequest", with(eFileLockRequest, [](Message& m) { m.lockLevel = 2; }),
         "666c7478 01020304 000007d9"
         "00000002"},
        {"fileTruncateRequest", with(eFileTruncateRequest, [](Message& m) { m.newSize = -1; }),
         "666c7478 01020304 000007da"
         "ffffffffffffffff"},
        {"fileDeleteRequest", with(eFileDeleteRequest, [](Message&) {}), "666c7478 01020304 000007db"},
    };
}

Message read(const QByteArray& bytes)
{
    QByteArray copy = bytes;
    QBuffer buffer(&copy);
    buffer.open(QIODevice::ReadOnly);
    return readMessage(&buffer);
}

/// What becomes of a whole packet.
std::vector<Type> typesIn(const QByteArray& packet)
{
    QByteArray copy = packet;
    QBuffer buffer(&copy);
    buffer.open(QIODevice::ReadOnly);
    std::vector<Type> types;
    while (!buffer.atEnd())
        types.push_back(readMessage(&buffer).type);
    return types;
}

TEST(MessageStream, WritesExactlyTheseBytes)
{
    for (const Golden& golden : goldenMessages())
        EXPECT_EQ(toPacket(golden.message).toHex(), hex(golden.bytes).toHex()) << golden.name;
}

TEST(MessageStream, ReadsWhatTheBytesSay)
{
    for (const Golden& golden : goldenMessages()) {
        const Message message = read(hex(golden.bytes));
        EXPECT_EQ(message.type, golden.message.type) << golden.name;
        EXPECT_EQ(message.objectId, 0x01020304U) << golden.name;
        EXPECT_EQ(message.exists, golden.message.exists) << golden.name;
        EXPECT_EQ(message.isDir, golden.message.isDir) << golden.name;
        EXPECT_EQ(message.flags, golden.message.flags) << golden.name;
        EXPECT_EQ(message.ctime, golden.message.ctime) << golden.name;
        EXPECT_EQ(message.mtime, golden.message.mtime) << golden.name;
        EXPECT_EQ(message.atime, golden.message.atime) << golden.name;
        EXPECT_EQ(message.size, golden.message.size) << golden.name;
        EXPECT_EQ(message.fileSizeLimit, golden.message.fileSizeLimit) << golden.name;
        EXPECT_EQ(message.entries, golden.message.entries) << golden.name;
        EXPECT_EQ(message.isFirst, golden.message.isFirst) << golden.name;
        EXPECT_EQ(message.isLast, golden.message.isLast) << golden.name;
        EXPECT_EQ(message.containsDirectories, golden.message.containsDirectories) << golden.name;
        EXPECT_EQ(message.fileSize, golden.message.fileSize) << golden.name;
        EXPECT_EQ(message.fileFlags, golden.message.fileFlags) << golden.name;
        EXPECT_EQ(message.offset, golden.message.offset) << golden.name;
        EXPECT_EQ(message.data, golden.message.data) << golden.name;
        EXPECT_EQ(message.invalidBlocks.ranges(), golden.message.invalidBlocks.ranges()) << golden.name;
        EXPECT_EQ(message.newSize, golden.message.newSize) << golden.name;
        EXPECT_EQ(message.lockResult, golden.message.lockResult) << golden.name;
        EXPECT_EQ(message.lockLevel, golden.message.lockLevel) << golden.name;
        EXPECT_EQ(message.deviceName, golden.message.deviceName) << golden.name;
        EXPECT_EQ(message.truncated, golden.message.truncated) << golden.name;
        EXPECT_EQ(message.deleted, golden.message.deleted) << golden.name;
        EXPECT_EQ(message.path, golden.message.path) << golden.name;
        EXPECT_EQ(message.requestFlags, golden.message.requestFlags) << golden.name;
        EXPECT_EQ(message.requestedBlocks.ranges(), golden.message.requestedBlocks.ranges()) << golden.name;
    }
}

TEST(MessageStream, RejectsEveryMessageThatIsCutShort)
{
    for (const Golden& golden : goldenMessages()) {
        const QByteArray whole = hex(golden.bytes);
        for (int size = 1; size < whole.size(); ++size) {
            // Without its limit a directory info is whole: older devices send it so.
            if (golden.message.type == eDirectoryInfo && size == whole.size() - 8)
                continue;
            EXPECT_EQ(read(whole.left(size)).type, kInvalid) << golden.name << " of " << size << " bytes";
        }
    }
}

TEST(MessageStream, AShortDirectoryInfoHasItsLimitsLowHalfSet)
{
    const Message message = read(hex("666c7478 00000001 00000002 01 00000007"));
    EXPECT_EQ(message.type, eDirectoryInfo);
    EXPECT_EQ(message.flags, 7);
    EXPECT_EQ(message.fileSizeLimit, std::int64_t{0xFFFFFFFF});
}

TEST(MessageStream, AShortDirectoryInfoIsRecognisedAtAPacketsEndOnly)
{
    // The next message's first 8 bytes are taken for the limit; what is left of it is no message.
    const QByteArray packet =
        hex("666c7478 00000001 00000002 01 00000007") + hex("666c7478 00000001 00000009");
    const auto types = typesIn(packet);
    EXPECT_EQ(types, (std::vector<Type>{eDirectoryInfo, kInvalid}));
}

TEST(MessageStream, APacketMayHoldSeveralMessages)
{
    const QByteArray packet = hex("666c7478 00000001 00000009 666c7478 00000002 0000000b 01");
    EXPECT_EQ(typesIn(packet), (std::vector<Type>{eObjectUnavailable, eFileDeleteResponse}));
}

TEST(MessageStream, UnknownTypesAreRejected)
{
    for (const char* type :
         {"0000000c", "000007dc", "00000000", "ffffffff", "7fffffff", "80000000", "000007d0"})
        EXPECT_EQ(read(hex("666c7478 00000001") + hex(type)).type, kInvalid) << type;
}

TEST(MessageStream, GarbageEndsAtThePacketsEnd)
{
    for (int size = 1; size < 40; ++size) {
        const auto types = typesIn(QByteArray(size, 'x'));
        EXPECT_FALSE(types.empty());
        for (const Type type : types)
            EXPECT_EQ(type, kInvalid);
    }
}

TEST(MessageStream, AfterARejectedMessageReadingGoesOnBehindWhatWasConsumed)
{
    const QByteArray packet = hex("00000000") + hex("666c7478 00000001 00000009");
    EXPECT_EQ(typesIn(packet), (std::vector<Type>{kInvalid, eObjectUnavailable}));
}

TEST(MessageStream, ARequestForNoBlockIsValid)
{
    const Message message = read(hex("666c7478 00000001 000007d5 0000000000000000"));
    EXPECT_EQ(message.type, eFileDataRequest);
    EXPECT_TRUE(message.requestedBlocks.ranges().empty());
}

TEST(MessageStream, CountsThatThePacketCannotHoldAreRejected)
{
    for (const char* count : {"7fffffffffffffff", "8000000000000000", "ffffffffffffffff", "0000000000000002",
                              "1000000000000001"}) {
        const QByteArray range = hex("0000000000000000 0000000000000000");
        EXPECT_EQ(read(hex("666c7478 00000001 000007d5") + hex(count) + range).type, kInvalid) << count;
        EXPECT_EQ(read(hex("666c7478 00000001 00000006") + hex(count) + range).type, kInvalid) << count;
    }
    for (const char* count : {"7fffffff", "80000000", "ffffffff", "00000002"}) {
        const Message message = read(hex("666c7478 00000001 00000003") + hex(count) + hex("00000000"));
        EXPECT_EQ(message.type, kInvalid) << count;
        EXPECT_TRUE(message.entries.isEmpty()) << count;
    }
}

TEST(MessageStream, AListThatBreaksOffIsEmpty)
{
    const Message message = read(hex("666c7478 00000001 00000003 00000002 00000002 0061 00000004 0062"));
    EXPECT_EQ(message.type, kInvalid);
    EXPECT_TRUE(message.entries.isEmpty());
}

TEST(MessageStream, RangesAreRangesHoweverLong)
{
    const Message message =
        read(hex("666c7478 00000001 000007d5 0000000000000001 0000000000000000 7fffffffffffffff"));
    EXPECT_EQ(message.type, eFileDataRequest);
    const std::vector<eboSparseBitArray::Range> expected{
        {0, static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())}};
    EXPECT_EQ(message.requestedBlocks.ranges(), expected);
}

TEST(MessageStream, RangesThatRunBackwardsOrBelowZeroAreRejected)
{
    EXPECT_EQ(read(hex("666c7478 00000001 000007d5 0000000000000001 0000000000000005 0000000000000004")).type,
              kInvalid);
    EXPECT_EQ(read(hex("666c7478 00000001 000007d5 0000000000000001 ffffffffffffffff 0000000000000004")).type,
              kInvalid);
}

TEST(MessageStream, DataIsAWholeBlockAtMostAndLiesOnABlocksStart)
{
    const auto dataAt = [](const char* offset, int size) {
        return hex("666c7478 00000001 00000005") + hex(offset) +
               hex(QByteArray::number(size, 16).rightJustified(8, '0').constData()) + QByteArray(size, 'd');
    };
    EXPECT_EQ(read(dataAt("0000000000001000", 4096)).type, eFileData);
    EXPECT_EQ(read(dataAt("0000000000001000", 4097)).type, kInvalid);
    EXPECT_EQ(read(dataAt("0000000000001001", 16)).type, kInvalid);
    EXPECT_EQ(read(dataAt("fffffffffffff000", 16)).type, kInvalid);
}

TEST(MessageStream, AWriteMayLieAnywhereButIsABlockAtMost)
{
    EXPECT_EQ(read(hex("666c7478 00000001 000007d7 0000000000000001 00000001 61")).type, eFileWriteRequest);
    EXPECT_EQ(read(hex("666c7478 00000001 000007d7 0000000000000000 00001001") + QByteArray(4097, 'd')).type,
              kInvalid);
}

QByteArray infoWithTime(const QByteArray& time)
{
    return hex("666c7478 00000001 00000001 01 00 00000000") + time + time + time + hex("0000000000000007");
}

TEST(MessageStream, TimesMayBeOfAnyPlaceButOfNoNamedZone)
{
    const QByteArray moment = hex("00000000002584e3 00a8888e");
    EXPECT_EQ(read(infoWithTime(moment + hex("00"))).ctime, QDateTime(QDate(2020, 1, 2), QTime(3, 4, 5, 6)));
    EXPECT_EQ(read(infoWithTime(moment + hex("02 00000e10"))).ctime,
              QDateTime(QDate(2020, 1, 2), QTime(3, 4, 5, 6), Qt::OffsetFromUTC, 3600));
    EXPECT_EQ(read(infoWithTime(moment + hex("02 00ffffff"))).type, kInvalid);
    EXPECT_EQ(read(infoWithTime(moment + hex("03 00000002 0041"))).type, kInvalid);
    EXPECT_EQ(read(infoWithTime(moment + hex("04"))).type, kInvalid);
    EXPECT_EQ(read(infoWithTime(moment + hex("ff"))).type, kInvalid);
}

TEST(MessageStream, MomentsThatThereNeverWereAreNone)
{
    const Message none = read(infoWithTime(hex("8000000000000000 ffffffff 00")));
    EXPECT_EQ(none.type, eInfo);
    EXPECT_FALSE(none.ctime.isValid());
    EXPECT_EQ(none.size, 7);
    const Message late = read(infoWithTime(hex("7fffffffffffffff 05265c00 01")));
    EXPECT_EQ(late.type, eInfo);
    EXPECT_FALSE(late.mtime.isValid());
}

TEST(MessageStream, NullTextsArriveAsNull)
{
    EXPECT_EQ(toPacket(Message(eDeviceInfo, 0)).toHex(), hex("666c7478 00000000 00000008 ffffffff").toHex());
    EXPECT_TRUE(read(hex("666c7478 00000000 00000008 ffffffff")).deviceName.isNull());
}

}  // namespace
