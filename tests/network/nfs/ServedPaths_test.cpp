#include "network/nfs/ServedPaths.h"

#include "support/AudioFiles.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

namespace {

namespace fs = std::filesystem;
using testsupport::TempDir;
using testsupport::writeWholeFile;

/// A folder "music", mounted under that name, beside a "secret" one.
class ServedPathsTest : public testing::Test {
protected:
    ServedPathsTest()
    {
        fs::create_directories(music());
        fs::create_directories(secret());
        writeWholeFile(music() + "/song.mp3", "song");
        writeWholeFile(secret() + "/diary.txt", "secret");
    }

    void share(SharingPolicy policy = {})
    {
        paths_.setPolicy(policy);
        EXPECT_TRUE(paths_.mount(urlOf(music()), QStringLiteral("music"), 1000));
    }

    /// Where the path leads; nothing if nowhere.
    std::optional<std::string> textLocal(const QString& path) const
    {
        QUrl url;
        if (!paths_.toLocalUrl(path, url))
            return std::nullopt;
        return url.toLocalFile().toStdString();
    }
    std::optional<std::string> local(const std::string& path) const
    {
        return textLocal(QString::fromStdString(path));
    }

    static QUrl urlOf(const std::string& path) { return QUrl::fromLocalFile(QString::fromStdString(path)); }
    std::string music() const { return root_ + "/music"; }
    std::string secret() const { return root_ + "/secret"; }

    static constexpr SharingPolicy kConfined{.confined = true};

    TempDir dir_;
    const std::string root_ = fs::canonical(dir_.path()).string();
    ServedPaths paths_;
};

TEST_F(ServedPathsTest, AMountNameLeadsToItsDirectory)
{
    share();
    EXPECT_EQ(local("/music"), music());
    EXPECT_EQ(local("/music/"), music() + "/");
    EXPECT_EQ(local("/music/song.mp3"), music() + "/song.mp3");
    EXPECT_EQ(local("/music/no/such"), music() + "/no/such");
    EXPECT_EQ(local("xmusic/song.mp3"), music() + "/song.mp3") << "the first character is not looked at";
}

TEST_F(ServedPathsTest, ASlashIsTheRootAndNothingIsNowhere)
{
    share();
    QUrl url = urlOf("/before");
    EXPECT_TRUE(paths_.toLocalUrl(QStringLiteral("/"), url));
    EXPECT_TRUE(url.isEmpty());
    EXPECT_FALSE(local(""));
    EXPECT_FALSE(local("/other/song.mp3"));
    EXPECT_FALSE(local("/Music/song.mp3"));
    EXPECT_FALSE(local("/musi"));
    EXPECT_FALSE(local("//music"));
}

TEST_F(ServedPathsTest, TheResultIsTheUrlOfThatFile)
{
    share();
    QUrl url;
    ASSERT_TRUE(paths_.toLocalUrl(QStringLiteral("/music/100% #1 [a]?.mp3"), url));
    EXPECT_EQ(url, urlOf(music() + "/100% #1 [a]\xEF\x80\xA5.mp3"));
}

TEST_F(ServedPathsTest, NamesThatNoFileCanHaveLeadNowhere)
{
    share();
    EXPECT_FALSE(textLocal(QStringLiteral("/music/a") + QChar(u'\0') + QStringLiteral("/../x")));
    EXPECT_FALSE(textLocal(QStringLiteral("/music/..") + QChar(u'\0')));
    EXPECT_FALSE(textLocal(QStringLiteral("/music/") + QChar(0xD800)));
    EXPECT_FALSE(textLocal(QStringLiteral("/music/") + QChar(0xDC00) + QChar(0xD800)));
    EXPECT_EQ(textLocal(QStringLiteral("/music/") + QString::fromUtf8("\xF0\x9F\x8E\xB5")),
              music() + "/\xF0\x9F\x8E\xB5");
}

TEST_F(ServedPathsTest, NothingIsMountedTwice)
{
    share();
    EXPECT_FALSE(paths_.mount(urlOf(music()), QStringLiteral("again"), 5));
    EXPECT_FALSE(paths_.mount(urlOf(secret()), QStringLiteral("music"), 5));
    EXPECT_TRUE(paths_.mount(urlOf(secret()), QStringLiteral("Music"), 5)) << "names differ by case";
    EXPECT_EQ(paths_.names(), (QStringList{QStringLiteral("Music"), QStringLiteral("music")}));
    EXPECT_TRUE(paths_.unmount(urlOf(secret())));
    EXPECT_FALSE(paths_.unmount(urlOf(secret())));
    EXPECT_FALSE(local("/Music"));
    EXPECT_TRUE(local("/music"));
}

TEST_F(ServedPathsTest, TheWholeDiskCanBeMounted)
{
    EXPECT_TRUE(paths_.mount(urlOf("/"), QStringLiteral("disk"), 0));
    EXPECT_EQ(local("/disk"), "/");
    EXPECT_EQ(local("/disk/etc/hosts"), "/etc/hosts");
    EXPECT_EQ(local("/disk/"), "/");
}

TEST_F(ServedPathsTest, LimitsGoByTheBeginningOfThePath)
{
    share();
    EXPECT_TRUE(paths_.mount(urlOf(music() + "/deep"), QStringLiteral("deep"), 7));
    EXPECT_EQ(paths_.fileSizeLimitOf(QString::fromStdString(music())), 1000);
    EXPECT_EQ(paths_.fileSizeLimitOf(QString::fromStdString(music() + "/a/b")), 1000);
    EXPECT_EQ(paths_.fileSizeLimitOf(QString::fromStdString(music() + "/deep/b")), 7);
    EXPECT_EQ(paths_.fileSizeLimitOf(QString::fromStdString(secret())), 0x7FFFFFFFFFFFFFFF);
}

TEST_F(ServedPathsTest, WithoutConfinementDotsArePassedOn)
{
    share();
    EXPECT_EQ(local("/music/../secret/diary.txt"), music() + "/../secret/diary.txt");
}

TEST_F(ServedPathsTest, ConfinedPathsStayBelowWhatIsMounted)
{
    share(kConfined);
    EXPECT_EQ(local("/music"), music());
    EXPECT_EQ(local("/music/song.mp3"), music() + "/song.mp3");
    EXPECT_EQ(local("/music/./x/../song.mp3"), music() + "/song.mp3");
    EXPECT_EQ(local("/music/new.mp3"), music() + "/new.mp3") << "may be created";
    EXPECT_EQ(local("/music/new/deep"), music() + "/new/deep");
    EXPECT_FALSE(local("/music/.."));
    EXPECT_FALSE(local("/music/../secret/diary.txt"));
    EXPECT_FALSE(local("/music/../secret/new"));
    EXPECT_FALSE(local("/music/no/../../secret/diary.txt"));
    EXPECT_FALSE(local("/music/../musical")) << "a name that begins the same is another one";
    EXPECT_FALSE(local("/music/../../../../../../../../../etc/passwd"));
    EXPECT_FALSE(local("/music/" + std::string(5000, 'a')));
    EXPECT_FALSE(local("/music" + std::string(2000, '/') + std::string(3000, '.')));
}

TEST_F(ServedPathsTest, ConfinedPathsDoNotFollowLinksOut)
{
    fs::create_symlink(secret(), music() + "/door");
    fs::create_symlink("../secret/diary.txt", music() + "/window.txt");
    fs::create_symlink(music() + "/song.mp3", music() + "/inside.mp3");
    fs::create_symlink("loop", music() + "/loop");
    share(kConfined);
    EXPECT_FALSE(local("/music/door"));
    EXPECT_FALSE(local("/music/door/diary.txt"));
    EXPECT_FALSE(local("/music/door/new.txt"));
    EXPECT_FALSE(local("/music/window.txt"));
    EXPECT_FALSE(local("/music/loop"));
    EXPECT_FALSE(local("/music/loop/x"));
    EXPECT_EQ(local("/music/inside.mp3"), music() + "/song.mp3");
}

TEST_F(ServedPathsTest, ALinkFromOneMountIntoAnotherIsInOrder)
{
    fs::create_symlink(secret(), music() + "/door");
    share(kConfined);
    EXPECT_TRUE(paths_.mount(urlOf(secret()), QStringLiteral("other"), 0));
    EXPECT_EQ(local("/music/door/diary.txt"), secret() + "/diary.txt");
}

TEST_F(ServedPathsTest, AMountMayItselfBeALinkAsItIsWhenMounted)
{
    const std::string link = root_ + "/link";
    fs::create_directory_symlink(music(), link);
    paths_.setPolicy(kConfined);
    EXPECT_TRUE(paths_.mount(urlOf(link), QStringLiteral("music"), 1000));
    EXPECT_EQ(local("/music/song.mp3"), music() + "/song.mp3");
    EXPECT_EQ(paths_.fileSizeLimitOf(QString::fromStdString(music() + "/song.mp3")), 1000);
    EXPECT_EQ(paths_.urlPrefixesOf(urlOf(link)),
              (QStringList{urlOf(link).toString(), urlOf(music()).toString()}));
    fs::remove(link);
    fs::create_directory_symlink(secret(), link);
    EXPECT_FALSE(local("/music/diary.txt"));
}

TEST_F(ServedPathsTest, PlainNamesAreFoundIfThePolicySaysSo)
{
    writeWholeFile(music() + "/What?.mp3", "x");
    share();
    EXPECT_EQ(local("/music/What?.mp3"), music() + "/What\xEF\x80\xA5.mp3");
    paths_.setPolicy({.plainNames = true});
    EXPECT_EQ(local("/music/What?.mp3"), music() + "/What?.mp3");
    EXPECT_EQ(local("/music/Who?.mp3"), music() + "/Who\xEF\x80\xA5.mp3");
}

}  // namespace
