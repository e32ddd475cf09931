#include "network/nfs/netUrl.h"

#include <gtest/gtest.h>

using namespace eboNetUrl;

namespace {

const QString kDevice = QStringLiteral("38ba0260-fd44-4b8a-9b0e-0123456789ab");

TEST(NetUrl, BothFormsNameTheSame)
{
    const QUrl one = toUrl(QStringLiteral("net://") + kDevice + QStringLiteral("/Music/a.flac"));
    const QUrl other = toUrl(QStringLiteral("/net:/") + kDevice + QStringLiteral("/Music/a.flac"));
    EXPECT_EQ(one, other);
    EXPECT_EQ(deviceOf(one), QUuid(kDevice));
    EXPECT_EQ(pathOf(one), QStringLiteral("/Music/a.flac"));
}

TEST(NetUrl, OnlyTheWholePrefixMakesANetPath)
{
    EXPECT_TRUE(isNetPath(QStringLiteral("net://x")));
    EXPECT_TRUE(isNetPath(QStringLiteral("/net:/x")));
    for (const char* local :
         {"/net", "/network/a", "/net:a", "net:/a", "Net://a", "/NET:/a", "", "/music/net://a"})
        EXPECT_FALSE(isNetPath(QString::fromLatin1(local))) << local;
}

TEST(NetUrl, NamesAreTakenLiterally)
{
    for (const char* name :
         {"/M/with blank.mp3", "/M/50% more?.mp3", "/M/#1.mp3", "/M/a:b", "/M/ä😀.ogg", "/M/%20.wav",
          "/M/[x]{y}|z\\.wav", "/M/trailing. ", "/M//double", "/M/a&b=c;d+e"}) {
        const QString path = QString::fromUtf8(name);
        const QUrl url = toUrl(prefix() + kDevice + path);
        EXPECT_EQ(pathOf(url), path) << name;
        EXPECT_EQ(deviceOf(url), QUuid(kDevice)) << name;
    }
}

TEST(NetUrl, OtherSchemesAndHostsNameNoDevice)
{
    EXPECT_TRUE(deviceOf(QUrl(QStringLiteral("http://") + kDevice + QStringLiteral("/a"))).isNull());
    EXPECT_TRUE(deviceOf(QUrl(QStringLiteral("net://somewhere/a"))).isNull());
    EXPECT_TRUE(deviceOf(QUrl(QStringLiteral("net:///a"))).isNull());
    EXPECT_TRUE(deviceOf(QUrl()).isNull());
}

TEST(NetUrl, TheRootOfADevice)
{
    EXPECT_EQ(rootOf(QUuid(kDevice)).toString(), QStringLiteral("net://") + kDevice);
}

}  // namespace
