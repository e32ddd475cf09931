#include "network/nfs/Message.h"

#include "file/eboFileLock.h"

#include <gtest/gtest.h>

using namespace eboNfsMessages;

namespace {

std::string printed(const Message& message)
{
    QString text;
    QDebug(&text) << message;
    return text.trimmed().toStdString();
}

std::string printed(
    Type type, const std::function<void(Message&)>& fill = [](Message&) {})
{
    Message message(type, 5);
    fill(message);
    return printed(message);
}

std::string wrapped(const std::string& text) { return "eboNfsMessages::Message(5," + text + ")"; }

TEST(MessageDebug, PrintsEachType)
{
    EXPECT_EQ(printed(eDirectoryInfo,
                      [](Message& m) {
                          m.exists = true;
                          m.flags = 7;
                      }),
              wrapped("eDirectoryInfo:true, flags:7"));
    EXPECT_EQ(
        printed(eDirectoryContents,
                [](Message& m) {
                    m.entries = QStringList{QStringLiteral("a")};
                    m.isFirst = true;
                }),
        wrapped("eDirectoryContents: (\"a\"), is first: true, is last: false, contains directories false"));
    EXPECT_EQ(printed(eFileInfo,
                      [](Message& m) {
                          m.fileSize = 12;
                          m.fileFlags = 1;
                      }),
              wrapped("eFileInfo: 12 bytes, flags:1"));
    EXPECT_EQ(printed(eFileData,
                      [](Message& m) {
                          m.offset = 4096;
                          m.data = "abc";
                      }),
              wrapped("eFileData: 4096, 3"));
    EXPECT_EQ(printed(eFileDataInvalid,
                      [](Message& m) {
                          m.invalidBlocks.set({1, 2});
                          m.invalidBlocks.set({4, 4});
                          m.newSize = 9;
                      }),
              wrapped("eFileDataInvalid: [1=>2],[4=>4],, 9"));
    EXPECT_EQ(printed(eFileDataRequest,
                      [](Message& m) {
                          m.requestedBlocks.set({0, 8});
                      }),
              wrapped("eFileDataRequest: [0=>8],"));
    EXPECT_EQ(printed(eDeviceInfo, [](Message& m) { m.deviceName = QStringLiteral("box"); }),
              wrapped("eDeviceInfo: \"box\""));
    EXPECT_EQ(printed(eFileTruncateResponse,
                      [](Message& m) {
                          m.truncated = true;
                          m.fileSize = 3;
                      }),
              wrapped("eFileTruncateResponse: true3"));
    EXPECT_EQ(printed(eFileDeleteResponse), wrapped("eFileDeleteResponsefalse"));
    EXPECT_EQ(printed(eInfoRequest, [](Message& m) { m.path = QStringLiteral("/x"); }),
              wrapped("eInfoRequest: \"/x\""));
    EXPECT_EQ(printed(eDirectoryRequest, [](Message& m) { m.path = QStringLiteral("/"); }),
              wrapped("eDirectoryRequest:\"/\""));
    EXPECT_EQ(printed(eFileRequest, [](Message& m) { m.path = QStringLiteral("/x"); }),
              wrapped("eFileRequest: \"/x\", flags:0"));
}

TEST(MessageDebug, NamesTheResultOfALock)
{
    const auto result = [](int value) {
        return printed(eFileLockResponse, [value](Message& m) {
            m.lockResult = static_cast<std::int8_t>(value);
            m.lockLevel = 2;
        });
    };
    EXPECT_EQ(result(eboFileLock::SUCCESS),
              wrapped("eFileLockResponse: eboFileLock::LockResult::SUCCESS, 2"));
    EXPECT_EQ(result(eboFileLock::BUSY), wrapped("eFileLockResponse: eboFileLock::LockResult::BUSY, 2"));
    EXPECT_EQ(result(eboFileLock::FAILED), wrapped("eFileLockResponse: eboFileLock::LockResult::FAILED, 2"));
}

TEST(MessageDebug, PrintsTheBareNameOfTheOthers)
{
    EXPECT_EQ(printed(eObjectUnavailable), wrapped("eObjectUnavailable"));
    EXPECT_EQ(printed(eDirectoryRelease), wrapped("eDirectoryRelease"));
    EXPECT_EQ(printed(eFileRelease), wrapped("eFileRelease"));
    EXPECT_EQ(printed(eFileWriteRequest), wrapped("eFileWriteRequest"));
    EXPECT_EQ(printed(eFileSyncRequest), wrapped("eFileSyncRequest"));
    EXPECT_EQ(printed(eFileLockRequest), wrapped("eFileLockRequest"));
    EXPECT_EQ(printed(eFileTruncateRequest), wrapped("eFileTruncateRequest"));
    EXPECT_EQ(printed(eFileDeleteRequest), wrapped("eFileDeleteRequest"));
    EXPECT_EQ(printed(kInvalid), wrapped("kInvalid"));
}

TEST(MessageDebug, AnInfoIsPrintedWithItsTimes)
{
    const std::string text = printed(eInfo, [](Message& m) {
        m.exists = true;
        m.size = 77;
    });
    EXPECT_EQ(text.find("eboNfsMessages::Message(5,eInfo exists:true, isDir:false, flags:0, ctime:"), 0U)
        << text;
    EXPECT_NE(text.find(", mtime:"), std::string::npos);
    EXPECT_NE(text.find(", atime:"), std::string::npos);
    EXPECT_NE(text.find(", size:77)"), std::string::npos);
}

}  // namespace
