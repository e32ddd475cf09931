#include "formats/eboFileFormats.h"
#include "formats/readers.h"
#include "support/AudioFiles.h"
#include "support/TempDir.h"
#include "support/repetitions.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

// Any part of a file, read at any time by any of its readers, is that part of the sequence.

namespace {

using testsupport::firstDifference;
using testsupport::read;
using testsupport::readAll;
using testsupport::slice;
using testsupport::TempDir;
using testsupport::testPcm;

struct Case {
    std::string name;
    std::string extension;
    std::function<void(const std::string& path)> make;

    friend std::ostream& operator<<(std::ostream& stream, const Case& c) { return stream << c.name; }
};

class RandomAccess : public testing::TestWithParam<Case> {
protected:
    RandomAccess()
    {
        GetParam().make(path_);
        reader_ = open();
        whole_ = readAll(*reader_);
        channels_ = reader_->channelCount();
    }

    ebo::refptr<eboAudioFormatReader> open()
    {
        return ebo::dynamicCast<eboAudioFormatReader>(formats_->createReader(QString::fromStdString(path_)));
    }

    /// Reads here and there and, half the time, on from there. Returns what went wrong first.
    std::string wander(eboAudioFormatReader& reader, unsigned seed, int reads) const
    {
        std::mt19937 random(seed);
        const std::size_t frames = whole_.size() / channels_;
        std::size_t first = 0;
        for (int i = 0; i < reads; ++i) {
            if (random() % 2 == 0)
                first = random() % (frames + 1);
            const std::size_t count = 1 + random() % (i % 10 == 0 ? 30000 : 2000);
            const std::vector<float> samples = read(reader, first, count);
            if (firstDifference(samples, slice(whole_, channels_, first, count)) != -1)
                return "read " + std::to_string(i) + ": " + std::to_string(count) + " frames from " +
                       std::to_string(first);
            first = std::min(first + count, frames);
        }
        return {};
    }

    TempDir dir_;
    const std::string path_ = dir_.file("sound." + GetParam().extension);
    const ebo::refptr<eboFileFormats> formats_ = ebo::makeRef<eboFileFormats>(nullptr);
    ebo::refptr<eboAudioFormatReader> reader_;
    std::vector<float> whole_;
    std::size_t channels_ = 0;
};

TEST_P(RandomAccess, EveryReadIsASliceOfTheSequence)
{
    EXPECT_EQ(wander(*reader_, 1, testsupport::repetitions(500)), "");
}

TEST_P(RandomAccess, TwoReadersOfOneFileDoNotDisturbEachOther)
{
    const auto clone = ebo::dynamicCast<eboAudioFormatReader>(reader_->clone());
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->length(), reader_->length());
    std::string otherFailure;
    std::thread other([&] { otherFailure = wander(*clone, 2, testsupport::repetitions(500)); });
    EXPECT_EQ(wander(*reader_, 3, testsupport::repetitions(500)), "");
    other.join();
    EXPECT_EQ(otherFailure, "");
}

TEST_P(RandomAccess, AfterClosingThereIsNothing)
{
    const auto clone = ebo::dynamicCast<eboAudioFormatReader>(reader_->clone());
    reader_->close();
    reader_->close();
    EXPECT_EQ(read(*reader_, 0, 100).size(), 0U);
    EXPECT_EQ(read(*clone, 0, 100), slice(whole_, channels_, 0, 100));
}

std::function<void(const std::string&)> flac(int channels, int bits, const std::vector<std::string>& options)
{
    return [=](const std::string& path) {
        testsupport::encodeFlac(path, testPcm(150000, 44100, channels, bits), options);
    };
}

std::function<void(const std::string&)> vorbis(int channels, const std::vector<std::string>& options)
{
    return [=](const std::string& path) {
        testsupport::encodeVorbis(path, testPcm(150000, 44100, channels, 16), options);
    };
}

std::function<void(const std::string&)> byFfmpeg(const std::vector<std::string>& options)
{
    return [=](const std::string& path) { testsupport::makeAudioFile(path, 3.0, 44100, 2, options); };
}

void pipedFlac(const std::string& path)
{
    const testsupport::Pcm pcm = testPcm(150000, 44100, 2, 16);
    testsupport::writeWholeFile(path, testsupport::encodeFlacThroughPipe(pcm, {"--no-seektable"}));
}

void pipedOggFlac(const std::string& path)
{
    const testsupport::Pcm pcm = testPcm(150000, 44100, 2, 16);
    testsupport::writeWholeFile(path, testsupport::encodeFlacThroughPipe(pcm, {"--ogg", "--no-seektable"}));
}

INSTANTIATE_TEST_SUITE_P(
    Flac, RandomAccess,
    testing::Values(Case{"flac", "flac", flac(2, 16, {})}, Case{"flac24", "flac", flac(1, 24, {"-8"})},
                    Case{"flac16frames", "flac", flac(2, 16, {"--lax", "--blocksize=16"})},
                    Case{"flac65535frames", "flac", flac(2, 16, {"--lax", "--blocksize=65535"})},
                    Case{"flacWithoutSeekTable", "flac", flac(6, 16, {"--no-seektable"})},
                    Case{"flacWithoutLength", "flac", pipedFlac}),
    testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(Ogg, RandomAccess,
                         testing::Values(Case{"vorbis", "ogg", vorbis(2, {})},
                                         Case{"vorbisMono", "ogg", vorbis(1, {"--quality=0"})},
                                         Case{"vorbisSix", "ogg", vorbis(6, {})},
                                         Case{"oggFlac", "oga", flac(2, 16, {})},
                                         Case{"oggFlac192frames", "oga", flac(2, 16, {"--blocksize=192"})},
                                         Case{"oggFlacWithoutLength", "oga", pipedOggFlac}),
                         testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(Pcm, RandomAccess,
                         testing::Values(Case{"wav", "wav", byFfmpeg({"-c:a", "pcm_s16le"})},
                                         Case{"wav24", "wav", byFfmpeg({"-c:a", "pcm_s24le"})},
                                         Case{"aif", "aif", byFfmpeg({"-c:a", "pcm_s16be"})}),
                         testing::PrintToStringParamName());

}  // namespace
