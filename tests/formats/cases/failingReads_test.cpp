// A disk that fails at any read: the sound comes whole, or there is an error. Never less without a sign.

#include "formats/cases/PlayedFiles.h"
#include "support/MemoryFile.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

using testsupport::firstDifference;
using testsupport::MemoryFile;

/// Fails at one read, or from it on.
class BadSector : public MemoryFile {
public:
    using MemoryFile::MemoryFile;
    std::int64_t read(void* buffer, std::int64_t size) override
    {
        const bool fails = isLasting ? reads >= failingRead : reads == failingRead;
        ++reads;
        return fails ? -1 : MemoryFile::read(buffer, size);
    }

    int reads = 0;
    int failingRead = -1;
    bool isLasting = true;
};

/// Gives one file, whatever it is asked for.
class OneFile : public eboFileFactory {
public:
    explicit OneFile(ebo::refptr<eboFile> file) : file_(std::move(file)) {}
    ebo::refptr<eboFile> open(const char* /*path*/, Options /*options*/) override { return file_; }

private:
    const ebo::refptr<eboFile> file_;
};

struct Outcome {
    bool isWhole = false;  ///< Nobody was told of an error.
    std::uint32_t length = 0;
    std::vector<float> samples;
    int reads = 0;
};

Outcome play(const std::string& name, const std::string& bytes, int failingRead, bool isLasting)
{
    const testsupport::LogCapture quiet;
    const auto file = ebo::makeRef<BadSector>(name, bytes);
    file->failingRead = failingRead < 0 ? 1 << 30 : failingRead;
    file->isLasting = isLasting;
    const auto reader =
        ebo::dynamicCast<eboAudioFormatReader>(ebo::makeRef<eboFileFormats>(ebo::makeRef<OneFile>(file))
                                                   ->createReader(QString::fromStdString(name)));
    Outcome outcome;
    if (reader) {
        outcome.length = reader->length();
        outcome.samples = testsupport::readAll(*reader);
        outcome.isWhole =
            !reader->hasLostData() && reader->trackLength().verdict() == TrackLength::Verdict::kComplete;
    }
    outcome.reads = file->reads;
    return outcome;
}

struct Kind {
    const char* name;
    std::vector<std::string> options;
};

class FailingReads : public testsupport::PlayedFiles, public testing::WithParamInterface<Kind> {};

TEST_P(FailingReads, GiveTheWholeSoundOrAnError)
{
    const std::string name = GetParam().name;
    constexpr double kSeconds = 0.5;
    if (name.ends_with("flac") || name.ends_with("oga"))
        encodeFlac(path(name), testsupport::testPcm(22050, 44100, 2, 16), {"--blocksize=1000"});
    else if (name.ends_with("ogg"))
        encodeVorbis(path(name), testsupport::testPcm(22050, 44100, 2, 16));
    else
        encoded(name, GetParam().options, kSeconds);
    const std::string bytes = testsupport::readWholeFile(path(name));
    const Outcome whole = play("/" + name, bytes, -1, true);
    ASSERT_TRUE(whole.isWhole);
    ASSERT_GE(whole.samples.size(), std::size_t{2} * 22050);
    int errors = 0;
    for (const bool isLasting : {true, false}) {
        for (int failing = 0; failing < whole.reads; ++failing) {
            const Outcome outcome = play("/" + name, bytes, failing, isLasting);
            errors += outcome.isWhole ? 0 : 1;
            if (!outcome.isWhole)
                continue;
            EXPECT_EQ(outcome.length, whole.length) << failing << " of " << whole.reads;
            EXPECT_EQ(outcome.samples.size(), whole.samples.size()) << failing << " of " << whole.reads;
            EXPECT_EQ(firstDifference(outcome.samples, whole.samples), -1) << failing;
        }
    }
    EXPECT_GT(errors, whole.reads) << "most of the reads matter";
}

INSTANTIATE_TEST_SUITE_P(OfEveryFormat, FailingReads,
                         testing::Values(Kind{"a.wav", {}}, Kind{"a.mp3", {}},
                                         Kind{"bare.mp3", {"-write_xing", "0", "-id3v2_version", "0"}},
                                         Kind{"a.aac", {}}, Kind{"a.m4a", {}}, Kind{"a.aif", {}},
                                         Kind{"a.flac", {}}, Kind{"a.oga", {}}, Kind{"a.ogg", {}}),
                         [](const testing::TestParamInfo<Kind>& kind) {
                             std::string name = kind.param.name;
                             name.erase(name.find('.'), 1);
                             return name;
                         });

}  // namespace
