#include "formats/LockedFile.h"

#include "formats/eboFormatReader.h"
#include "formats/readers.h"
#include "support/MemoryFile.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using testsupport::MemoryFile;

TEST(LockedFileTest, IsOpenAndLockedUntilItIsClosed)
{
    const auto file = ebo::makeRef<MemoryFile>("/a.flac", "abc");
    LockedFile locked(file, "FLAC");
    EXPECT_TRUE(file->isReadable());
    EXPECT_EQ(file->lockLevel(), eboFileLock::Shared);
    locked.close();
    EXPECT_FALSE(file->isReadable());
    EXPECT_EQ(file->lockLevel(), eboFileLock::Unlocked);
    locked.close();
}

TEST(LockedFileTest, LetsGoAtItsEnd)
{
    const auto file = ebo::makeRef<MemoryFile>("/a.flac", "abc");
    std::make_unique<LockedFile>(file, "FLAC").reset();
    EXPECT_FALSE(file->isReadable());
    EXPECT_EQ(file->lockLevel(), eboFileLock::Unlocked);
}

TEST(LockedFileTest, WhatCannotBeOpenedIsUnsupportedByTheDecoderThatAsked)
{
    for (const ebo::refptr<eboFile>& file :
         {ebo::refptr<eboFile>(), testsupport::localFile("/missing.ogg")}) {
        try {
            const LockedFile locked(file, "OGG");
            FAIL() << "it was opened";
        } catch (const eboFormatReader::FileUnsupported& refusal) {
            EXPECT_STREQ(refusal.what(), "OGG");
        }
    }
}

TEST(LockedFileTest, ARefusedLockLeavesTheFileClosed)
{
    const testsupport::TempDir dir;
    testsupport::writeWholeFile(dir.file("a.flac"), "abc");
    const auto writer = testsupport::localFile(dir.file("a.flac"));
    ASSERT_EQ(writer->lock(eboFileLock::Exclusive), eboFileLock::SUCCESS);
    const auto file = testsupport::localFile(dir.file("a.flac"));
    EXPECT_THROW(LockedFile(file, "FLAC"), eboFileLocker::LockFailException);
    EXPECT_FALSE(file->isReadable());
    writer->lock(eboFileLock::Unlocked);
}

}  // namespace
