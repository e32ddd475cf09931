#include "network/nfs/mappedPath.h"

#include "support/AudioFiles.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

std::string mapped(const std::string& path)
{
    return mappedPath(QByteArray::fromStdString(path)).toStdString();
}

std::string mappedOrPlain(const std::string& path)
{
    return mappedPathOrPlain(QByteArray::fromStdString(path)).toStdString();
}

TEST(MappedPath, OrdinaryNamesStay)
{
    for (const char* path :
         {"", "/", "/music/track 1.mp3", "/a//b/", "a/b", "/caf\xC3\xA9/\xE6\x97\xA5.flac", "/.hidden"})
        EXPECT_EQ(mapped(path), path);
}

TEST(MappedPath, ReservedCharactersGetTheirReplacements)
{
    EXPECT_EQ(mapped("/\""), "/\xEF\x80\xA0");
    EXPECT_EQ(mapped("/*"), "/\xEF\x80\xA1");
    EXPECT_EQ(mapped("/a:b"), "/a\xEF\x80\xA2"
                              "b");
    EXPECT_EQ(mapped("/<"), "/\xEF\x80\xA3");
    EXPECT_EQ(mapped("/>"), "/\xEF\x80\xA4");
    EXPECT_EQ(mapped("/What?"), "/What\xEF\x80\xA5");
    EXPECT_EQ(mapped("/\\"), "/\xEF\x80\xA6");
    EXPECT_EQ(mapped("/|"), "/\xEF\x80\xA7");
}

TEST(MappedPath, ControlBytesMoveUpByAHundredAndTwentyEight)
{
    for (int byte = 0x01; byte <= 0x1F; ++byte) {
        const std::string name(1, static_cast<char>(byte));
        EXPECT_EQ(mapped("/" + name), "/\xEF\x80" + std::string(1, static_cast<char>(byte + 0x80))) << byte;
    }
}

TEST(MappedPath, EveryOtherByteIsItself)
{
    for (int byte = 0x21; byte <= 0xFF; ++byte) {
        const std::string name(1, static_cast<char>(byte));
        if (std::string("\"*:<>?\\|./").find(name) != std::string::npos)
            continue;
        EXPECT_EQ(mapped("/" + name), "/" + name) << byte;
    }
}

TEST(MappedPath, ABlankOrADotAtTheEndIsReplaced)
{
    EXPECT_EQ(mapped("/name "), "/name\xEF\x80\xA8");
    EXPECT_EQ(mapped("/name./x"), "/name\xEF\x80\xA9/x");
    EXPECT_EQ(mapped("/ name"), "/ name");
    EXPECT_EQ(mapped("/name. "), "/name.\xEF\x80\xA8") << "only the last one";
    EXPECT_EQ(mapped("/..."), "/..\xEF\x80\xA9");
}

TEST(MappedPath, DotsThatMeanFoldersStay) { EXPECT_EQ(mapped("/a/./b/../c/.."), "/a/./b/../c/.."); }

TEST(MappedPath, OnlyTheFirstNameMayBeADrive)
{
    EXPECT_EQ(mapped("/C:/a"), "/C:/a");
    EXPECT_EQ(mapped("C:/a"), "C:/a");
    EXPECT_EQ(mapped("//C:"), "//C:");
    EXPECT_EQ(mapped("/a/C:"), "/a/C\xEF\x80\xA2");
    EXPECT_EQ(mapped("/C:a/b"), "/C\xEF\x80\xA2"
                                "a/b");
}

TEST(MappedPathOrPlain, TheNameItselfIsTakenOnlyWhereTheMappedOneIsMissing)
{
    const testsupport::TempDir dir;
    const std::string plain = dir.file("What?.mp3");
    const std::string replaced = dir.file("What\xEF\x80\xA5.mp3");
    EXPECT_EQ(mappedOrPlain(plain), replaced) << "neither is there";
    testsupport::writeWholeFile(plain, "plain");
    EXPECT_EQ(mappedOrPlain(plain), plain);
    testsupport::writeWholeFile(replaced, "mapped");
    EXPECT_EQ(mappedOrPlain(plain), replaced);
}

TEST(MappedPathOrPlain, EachFolderIsLookedForByItself)
{
    const testsupport::TempDir dir;
    const std::string folder = dir.file("a:b");
    ASSERT_EQ(std::filesystem::create_directory(folder), true);
    const std::string file = folder + "/c\xEF\x80\xA2";
    testsupport::writeWholeFile(file, "x");
    EXPECT_EQ(mappedOrPlain(folder + "/c:"), file);
}

TEST(MappedPathOrPlain, APathTooLongForTheSystemIsMapped)
{
    const std::string path = "/" + std::string(5000, 'a') + "?";
    EXPECT_EQ(mappedOrPlain(path), mapped(path));
}

}  // namespace
