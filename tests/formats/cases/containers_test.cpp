// PCM in every container and with every header that people have.

#include "formats/cases/PlayedFiles.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using testsupport::bigEndian;
using testsupport::littleEndian;
using testsupport::plainDecode;

constexpr std::uint32_t kRate = 44100;

std::string chunk(const std::string& name, const std::string& body)
{
    return name + littleEndian(body.size(), 4) + body;
}

std::string riff(const std::string& chunks) { return chunk("RIFF", "WAVE" + chunks); }

/// The head of whole numbers in WAVE_FORMAT_EXTENSIBLE.
std::string extensible(unsigned channels, unsigned bits, unsigned validBits)
{
    const unsigned frame = channels * bits / 8;
    return chunk("fmt ", littleEndian(0xFFFE, 2) + littleEndian(channels, 2) + littleEndian(kRate, 4) +
                             littleEndian(std::uint64_t{kRate} * frame, 4) + littleEndian(frame, 2) +
                             littleEndian(bits, 2) + littleEndian(22, 2) + littleEndian(validBits, 2) +
                             littleEndian(channels == 2 ? 3 : 4, 4) + littleEndian(1, 2) +
                             std::string("\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 14));
}

/// The head of 16 bits in two channels.
std::string plain16(std::uint32_t bytesPerSecond = kRate * 4)
{
    return chunk("fmt ", littleEndian(1, 2) + littleEndian(2, 2) + littleEndian(kRate, 4) +
                             littleEndian(bytesPerSecond, 4) + littleEndian(4, 2) + littleEndian(16, 2));
}

class Containers : public testsupport::PlayedFiles {
protected:
    /// The samples as bytes, lowest first, shifted up to fill so many.
    static std::string data(const testsupport::Pcm& pcm, unsigned bytes)
    {
        std::string text;
        for (const std::int32_t sample : pcm.samples)
            text += littleEndian(static_cast<std::uint64_t>(std::int64_t{sample} *
                                                            (std::int64_t{1} << (8 * bytes - bits(pcm)))),
                                 bytes);
        return text;
    }

    /// The samples as parts of 1.
    static std::vector<float> floats(const testsupport::Pcm& pcm)
    {
        std::vector<float> samples;
        for (const std::int32_t sample : pcm.samples)
            samples.push_back(static_cast<float>(sample) /
                              static_cast<float>(std::int64_t{1} << (bits(pcm) - 1)));
        return samples;
    }

    const testsupport::Pcm pcm16_ = testsupport::testPcm(100000, kRate, 2, 16);

private:
    static unsigned bits(const testsupport::Pcm& pcm) { return static_cast<unsigned>(pcm.bits); }
};

TEST_F(Containers, FewerValidBitsThanTheContainerHasAreTheSameSound)
{
    for (const int channels : {1, 2}) {
        const testsupport::Pcm pcm = testsupport::testPcm(50000, kRate, channels, 24);
        const auto count = static_cast<unsigned>(channels);
        for (const unsigned valid : {24U, 32U}) {
            write("a.wav", riff(extensible(count, 32, valid) + chunk("data", data(pcm, 4))));
            SCOPED_TRACE(valid);
            expectPlays("a.wav", floats(pcm));
        }
        write("a.wav", riff(extensible(count, 24, 24) + chunk("data", data(pcm, 3))));
        expectPlays("a.wav", floats(pcm));
    }
    const testsupport::Pcm pcm = testsupport::testPcm(50000, kRate, 2, 16);
    write("a.wav", riff(extensible(2, 24, 16) + chunk("data", data(pcm, 3))));
    expectPlays("a.wav", floats(pcm));
}

TEST_F(Containers, OfSixtyFourBits)
{
    const std::string sound = data(pcm16_, 2);
    for (const char* name : {"RF64", "BW64"}) {
        const std::string ds64 =
            chunk("ds64", littleEndian(72 + sound.size(), 8) + littleEndian(sound.size(), 8) +
                              littleEndian(pcm16_.samples.size() / 2, 8) + littleEndian(0, 4));
        write("a.wav", name + littleEndian(0xFFFFFFFF, 4) + "WAVE" + ds64 + plain16() + "data" +
                           littleEndian(0xFFFFFFFF, 4) + sound);
        SCOPED_TRACE(name);
        expectPlays("a.wav", floats(pcm16_));
    }
    encoded("b.wav", {"-f", "w64"});
    expectPlays("b.wav", plainDecode(path("b.wav")));
    EXPECT_EQ(open("b.wav")->length(), 3 * kRate);
}

TEST_F(Containers, OfUnknownSize)
{
    const std::string sound = data(pcm16_, 2);
    for (const std::uint32_t size : {0xFFFFFFFFU, 0U, 0x7FFFFFFFU}) {
        write("a.wav",
              "RIFF" + littleEndian(size, 4) + "WAVE" + plain16() + "data" + littleEndian(size, 4) + sound);
        SCOPED_TRACE(size);
        expectReads(*open("a.wav"), plainDecode(path("a.wav")));
    }
    write("a.wav", "RIFF" + littleEndian(0xFFFFFFFF, 4) + "WAVE" + plain16() + "data" +
                       littleEndian(0xFFFFFFFF, 4) + sound);
    expectPlays("a.wav", floats(pcm16_));
}

TEST_F(Containers, ChunksBeforeAndBehindTheSoundAreNone)
{
    const std::string other =
        chunk("LIST", "INFOISFT" + littleEndian(4, 4) + "abcd") + chunk("JUNK", std::string(5000, 'j'));
    write("a.wav", riff(other + plain16() + other + chunk("data", data(pcm16_, 2)) + other));
    expectPlays("a.wav", floats(pcm16_));

    const auto aiff = [](const std::string& name, const std::string& body) {
        return name + bigEndian(body.size(), 4) + body;
    };
    std::string swapped = data(pcm16_, 2);
    for (std::size_t i = 0; i < swapped.size(); i += 2)
        std::swap(swapped[i], swapped[i + 1]);
    const std::string rate("\x40\x0E\xAC\x44\0\0\0\0\0\0", 10);
    const std::string mark = aiff("NAME", "name") + aiff("APPL", std::string(5000, 'j'));
    write("a.aif",
          aiff("FORM", "AIFF" + mark +
                           aiff("COMM", bigEndian(2, 2) + bigEndian(100000, 4) + bigEndian(16, 2) + rate) +
                           mark + aiff("SSND", std::string(8, '\0') + swapped) + mark));
    expectPlays("a.aif", floats(pcm16_));
}

TEST_F(Containers, CompressedAiffThatIsNone)
{
    encoded("sowt.aif", {"-c:a", "pcm_s16le"});
    encoded("fl32.aif", {"-c:a", "pcm_f32be"});
    for (const char* name : {"sowt", "fl32"}) {
        const std::string file = name + std::string(".aif");
        EXPECT_NE(testsupport::readWholeFile(path(file)).find(name), std::string::npos);
        expectPlays(file, plainDecode(path(file)));
    }
    std::string in24 = encoded("in24.aif", {"-c:a", "pcm_s24be"});
    const std::size_t comm = in24.find("COMM");
    // A plain file's head, with the name of its coding behind it.
    in24.replace(comm + 4, 4, bigEndian(24, 4));
    in24.insert(comm + 8 + 18, std::string("in24\0\0", 6));
    in24.replace(8, 4, "AIFC");
    in24.replace(4, 4, bigEndian(in24.size() - 8, 4));
    write("in24.aif", in24);
    expectPlays("in24.aif", plainDecode(path("in24.aif")));
    EXPECT_EQ(open("in24.aif")->length(), 3 * kRate);
}

TEST_F(Containers, WhateverByteRateIsStatedASeekLandsOnTheFrame)
{
    const std::vector<float> expected = floats(pcm16_);
    for (const std::uint32_t byteRate : {kRate * 2, kRate * 8, kRate * 4 + 1, 1U, 0U, 0x7FFFFFFFU}) {
        write("a.wav", riff(plain16(byteRate) + chunk("data", data(pcm16_, 2))));
        SCOPED_TRACE(byteRate);
        expectPlays("a.wav", expected);
        const auto reader = open("a.wav");
        for (const std::uint64_t frame : {77777U, 12345U, 99990U, 50000U, 3U}) {
            EXPECT_EQ(testsupport::firstDifference(testsupport::read(*reader, frame, 500),
                                                   testsupport::slice(expected, 2, frame, 500)),
                      -1)
                << frame;
        }
    }
}

}  // namespace
