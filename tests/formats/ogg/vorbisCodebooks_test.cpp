#include "formats/ogg/vorbisCodebooks.h"

#include "formats/ogg/oggPages.h"
#include "formats/readers.h"
#include "support/AudioFiles.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <ogg/ogg.h>

namespace {

/// Writes a setup header's beginning, number by number.
class SetupWriter {
public:
    /// @param books how many the header promises
    explicit SetupWriter(unsigned books)
    {
        oggpack_writeinit(&buffer_);
        for (const char byte : std::string("\5vorbis"))
            put(static_cast<unsigned char>(byte), 8);
        put(books - 1, 8);
    }
    ~SetupWriter() { oggpack_writeclear(&buffer_); }
    SetupWriter(const SetupWriter&) = delete;
    SetupWriter& operator=(const SetupWriter&) = delete;

    SetupWriter& put(unsigned long value, int bits)
    {
        oggpack_write(&buffer_, value, bits);
        return *this;
    }

    /// A book whose entries all have the same length, and no values.
    SetupWriter& putBook(unsigned long dimension, unsigned long entries)
    {
        int bits = 0;
        while (entries >> bits != 0)
            ++bits;
        return putHead(dimension, entries).put(1, 1).put(23, 5).put(entries, bits).put(0, 4);
    }

    SetupWriter& putHead(unsigned long dimension, unsigned long entries)
    {
        return put(0x564342, 24).put(dimension, 16).put(entries, 24);
    }

    [[nodiscard]] bool isSound()
    {
        ogg_packet packet = {};
        packet.packet = oggpack_get_buffer(&buffer_);
        packet.bytes = oggpack_bytes(&buffer_);
        return areVorbisCodebooksSound(packet);
    }

private:
    oggpack_buffer buffer_{};
};

TEST(VorbisCodebooks, WhatEncodersWriteIsSound)
{
    const testsupport::TempDir dir;
    const testsupport::Pcm pcm = testsupport::testPcm(2000, 44100, 2, 16);
    for (const char* quality : {"-1", "0", "5", "10"}) {
        testsupport::encodeVorbis(dir.file("a.ogg"), pcm, {std::string("--quality=") + quality});
        EXPECT_NO_THROW(testsupport::oggReaderOf(dir.file("a.ogg"))) << quality;
    }
    for (const int rate : {8000, 16000, 32000, 96000}) {
        testsupport::encodeVorbis(dir.file("a.ogg"), testsupport::testPcm(2000, rate, 1, 16));
        EXPECT_NO_THROW(testsupport::oggReaderOf(dir.file("a.ogg"))) << rate;
    }
    testsupport::makeAudioFile(dir.file("b.ogg"), 0.1, 44100, 2, {"-c:a", "vorbis", "-strict", "-2"});
    EXPECT_NO_THROW(testsupport::oggReaderOf(dir.file("b.ogg"))) << "another encoder";
}

TEST(VorbisCodebooks, BooksOfEveryKindAreReadThrough)
{
    // Behind each kind there is a book, which is found only if the first was read to its exact end.
    SetupWriter ordered(2);
    EXPECT_TRUE(ordered.putBook(4, 16).putBook(1, 1).isSound());

    SetupWriter plain(2);
    plain.putHead(2, 3).put(0, 1).put(0, 1).put(1, 5).put(2, 5).put(2, 5).put(0, 4);
    EXPECT_TRUE(plain.putBook(1, 1).isSound());

    SetupWriter sparse(2);
    sparse.putHead(2, 3).put(0, 1).put(1, 1).put(0, 1).put(1, 1).put(2, 5).put(0, 1).put(0, 4);
    EXPECT_TRUE(sparse.putBook(1, 1).isSound());

    SetupWriter lattice(2);  // 3 x 3 of 10 entries: three values of 7 bits
    lattice.putHead(2, 10).put(1, 1).put(3, 5).put(10, 4).put(1, 4).put(0, 32).put(0, 32).put(6, 4).put(0, 1);
    EXPECT_TRUE(lattice.put(0, 7).put(0, 7).put(0, 7).putBook(1, 1).isSound());

    SetupWriter listed(2);  // two values of 16 bits for each of 3 entries
    listed.putHead(2, 3).put(1, 1).put(3, 5).put(3, 2).put(2, 4).put(0, 32).put(0, 32).put(15, 4).put(0, 1);
    for (int value = 0; value < 6; ++value)
        listed.put(0, 16);
    EXPECT_TRUE(listed.putBook(1, 1).isSound());
}

TEST(VorbisCodebooks, ABookWithoutDimensionIsNotSound)
{
    EXPECT_FALSE(SetupWriter(1).putBook(0, 16).isSound());
}

TEST(VorbisCodebooks, BooksThatTheStackCannotHoldAreNotSound)
{
    EXPECT_TRUE(SetupWriter(1).putBook(1, 1U << 15U).isSound());
    EXPECT_FALSE(SetupWriter(1).putBook(1, (1U << 15U) + 1).isSound());
}

TEST(VorbisCodebooks, BooksOfMillionsAreNotSound)
{
    EXPECT_TRUE(SetupWriter(1).putBook(32, 1U << 15U).isSound());
    EXPECT_FALSE(SetupWriter(1).putBook(33, 1U << 15U).isSound());
    EXPECT_FALSE(SetupWriter(1).putBook(65535, 17).isSound());
    SetupWriter together(3);
    for (int book = 0; book < 3; ++book)
        together.putBook(15, 30000);
    EXPECT_FALSE(together.isSound()) << "each alone would do";
}

TEST(VorbisCodebooks, WhatBreaksOffIsNotSound)
{
    EXPECT_FALSE(SetupWriter(1).isSound());
    EXPECT_FALSE(SetupWriter(2).putBook(4, 16).isSound());
    EXPECT_FALSE(SetupWriter(1).putHead(4, 16).isSound());
    EXPECT_FALSE(SetupWriter(1).putHead(4, 16).put(0, 1).put(0, 1).put(3, 5).isSound());
    EXPECT_FALSE(SetupWriter(1).putHead(4, 16).put(1, 1).put(3, 5).put(3, 5).isSound());
    EXPECT_FALSE(SetupWriter(1).put(0x564343, 24).isSound()) << "no book";
    EXPECT_FALSE(SetupWriter(1).putHead(1, 1).put(1, 1).put(3, 5).put(1, 1).put(3, 4).isSound())
        << "no such table";
}

}  // namespace
