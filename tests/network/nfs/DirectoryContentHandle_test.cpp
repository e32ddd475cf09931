#include "network/nfs/DirectoryContentHandle.h"

#include "support/AudioFiles.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using eboUtils::file::DirectoryContentHandle;

class DirectoryContent : public testing::Test {
protected:
    DirectoryContent()
    {
        fs::create_directories(root_ + "/folder");
        fs::create_directories(root_ + "/.hidden");
        for (const char* name : {"/b.mp3", "/a.mp3", "/.secret", "/caf\xC3\xA9", "/folder/inner"})
            testsupport::writeWholeFile(root_ + name, "x");
        fs::create_symlink("a.mp3", root_ + "/fileLink");
        fs::create_symlink("folder", root_ + "/folderLink");
        fs::create_symlink("nothing", root_ + "/deadLink");
        ::mkfifo((root_ + "/pipe").c_str(), 0600);
    }

    QStringList listed(QDir::Filters filter) const
    {
        return DirectoryContentHandle(QByteArray::fromStdString(root_)).entryList(filter);
    }
    static QStringList names(std::initializer_list<const char*> texts)
    {
        QStringList result;
        for (const char* text : texts)
            result.append(QString::fromUtf8(text));
        return result;
    }

    testsupport::TempDir dir_;
    const std::string root_ = fs::canonical(dir_.path()).string();
};

TEST_F(DirectoryContent, FiltersTellFilesFromFolders)
{
    EXPECT_EQ(listed(QDir::Files), names({"a.mp3", "b.mp3", "caf\xC3\xA9", "fileLink"}));
    EXPECT_EQ(listed(QDir::Dirs), names({"folder", "folderLink"}));
    EXPECT_EQ(listed(QDir::AllDirs), names({"folder", "folderLink"}));
    EXPECT_EQ(listed(QDir::Dirs | QDir::Files).size(), 6);
    EXPECT_EQ(listed(QDir::Dirs | QDir::Hidden), names({".hidden", "folder", "folderLink"}));
    EXPECT_EQ(listed(QDir::Hidden), QStringList());
}

TEST_F(DirectoryContent, SaysTheSameAsQtDoes)
{
    std::filesystem::remove(root_ + "/caf\xC3\xA9");  // what Qt makes of it depends on the locale
    const QDir qt(QString::fromStdString(root_));
    const QDir::Filters directories = QDir::Dirs | QDir::NoDot | QDir::NoDotDot;
    for (const QDir::Filters filter : {directories, directories | QDir::Files, QDir::Filters(QDir::Files)}) {
        QStringList expected = qt.entryList(filter);
        expected.sort();
        EXPECT_EQ(listed(filter), expected);
    }
}

TEST_F(DirectoryContent, NamesComeInPortions)
{
    auto files = DirectoryContentHandle(QByteArray::fromStdString(root_)).entries(QDir::Files);
    EXPECT_TRUE(files.hasNext());
    const QStringList first = files.take(3);
    EXPECT_EQ(first.size(), 3);
    EXPECT_TRUE(files.hasNext());
    const QStringList rest = files.take(3);
    EXPECT_EQ(rest.size(), 1);
    EXPECT_FALSE(files.hasNext());
    EXPECT_TRUE(files.next().isNull());
    EXPECT_EQ(files.take(3), QStringList());
    QStringList all = first + rest;
    all.sort();
    EXPECT_EQ(all, listed(QDir::Files));
}

TEST_F(DirectoryContent, WhatIsNoDirectoryIsEmpty)
{
    for (const std::string& path : {root_ + "/missing", root_ + "/a.mp3", std::string()}) {
        const DirectoryContentHandle handle(QByteArray::fromStdString(path));
        EXPECT_FALSE(handle.entries(QDir::Files | QDir::Dirs).hasNext());
        EXPECT_EQ(handle.entryList(QDir::Files), QStringList());
    }
}

TEST_F(DirectoryContent, WithoutLinksTheWayItselfMustBeFree)
{
    const QByteArray linked = QByteArray::fromStdString(root_ + "/folderLink");
    EXPECT_EQ(DirectoryContentHandle(linked).entryList(QDir::Files), names({"inner"}));
    EXPECT_EQ(DirectoryContentHandle(linked, LinkPolicy::kRefuse).entryList(QDir::Files), QStringList());
    const QByteArray plain = QByteArray::fromStdString(root_ + "/folder");
    EXPECT_EQ(DirectoryContentHandle(plain, LinkPolicy::kRefuse).entryList(QDir::Files), names({"inner"}));
}

TEST_F(DirectoryContent, LinksAreShownIfTheyAreAccepted)
{
    const auto isFileLink = [](const QByteArray& path) { return path.endsWith("/fileLink"); };
    const DirectoryContentHandle handle(QByteArray::fromStdString(root_), LinkPolicy::kRefuse, isFileLink);
    EXPECT_EQ(handle.entryList(QDir::Dirs), names({"folder"}));
    EXPECT_TRUE(handle.entryList(QDir::Files).contains(QStringLiteral("fileLink")));
}

}  // namespace
