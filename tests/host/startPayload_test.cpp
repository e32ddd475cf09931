#include "host/AnalysisRequest.h"

#include <gtest/gtest.h>

namespace {

using namespace tunesift::host;

TEST(StartPayload, IsTheRecordOfPreferencesAndThePath)
{
    EXPECT_EQ(startPayload({QStringLiteral("/a.wav"), {}}),
              QByteArray::fromHex("3a000000 c3000000 01 01 01 00 2f612e776176"));
}

TEST(StartPayload, CarriesWhatWasSet)
{
    Preferences preferences;
    preferences.minimumBpm = 90;
    preferences.maximumBpm = -2;
    preferences.detectKey = false;
    preferences.flagC = false;
    EXPECT_EQ(startPayload({QString(), preferences}), QByteArray::fromHex("5a000000 feffffff 00 01 00 00"));
}

TEST(StartPayload, WritesThePathInUtf8)
{
    EXPECT_EQ(startPayload({QString(QChar(0xFC)), {}}).mid(12), QByteArray::fromHex("c3bc"));
}

}  // namespace
