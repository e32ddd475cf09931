#include "file/tempFolderPath.h"

#include "support/AudioFiles.h"
#include "support/TempDir.h"

#include <boost/filesystem/operations.hpp>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include <sys/stat.h>

namespace {

namespace fs = boost::filesystem;
using testsupport::TempDir;

TEST(TempFolderPath, LiesOnTheInternalStorage) { EXPECT_STREQ(kInternalStorage, "/media/qx07-internal"); }

TEST(TempFolderPath, MakesTheFolderOnDemandAndOnce)
{
    const TempDir dir;
    const fs::path folder = tempFolderPath(dir.path());
    EXPECT_EQ(folder, fs::path(dir.path()) / "OrluneTempFiles");
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_EQ(tempFolderPath(dir.path()), folder);
}

TEST(TempFolderPath, IsOpenToAllThatTheUmaskAllows)
{
    const TempDir dir;
    const mode_t old = ::umask(0);
    const fs::path folder = tempFolderPath(dir.path());
    ::umask(old);
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms::all_all);
}

TEST(TempFolderPath, TakesWhateverIsThereAlready)
{
    const TempDir dir;
    testsupport::writeWholeFile(dir.file("OrluneTempFiles"), "a file, not a folder");
    EXPECT_EQ(tempFolderPath(dir.path()), dir.file("OrluneTempFiles"));
}

TEST(TempFolderPath, ThrowsWithThePathAndTheCauseWhenItCannotBeMade)
{
    const TempDir dir;
    const std::string base = dir.file("missing");
    try {
        (void)tempFolderPath(base);
        FAIL() << "nothing was thrown";
    } catch (const fs::filesystem_error& error) {
        EXPECT_EQ(error.code().value(), ENOENT);
        EXPECT_EQ(error.path1(), fs::path(base) / "OrluneTempFiles");
        EXPECT_NE(std::string(error.what()).find("boost::filesystem::create_directory"), std::string::npos)
            << error.what();
    }
}

}  // namespace
