#include "formats/eboFileFormats.h"

#include "formats/eboAudioFormatReader.h"
#include "formats/ffmpeg/ffmpegFileReader.h"
#include "formats/flac/flacFileReader.h"
#include "formats/ogg/oggFileReader.h"
#include "support/AudioFiles.h"
#include "support/LogCapture.h"
#include "support/MemoryFile.h"
#include "support/TempDir.h"

#include <QLoggingCategory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testsupport::LogCapture;
using testsupport::TempDir;

/// A reader of nothing, for entries of the test's own.
class SilentReader : public eboAudioFormatReader {
public:
    ebo::refptr<eboFormatReader> clone() override { return nullptr; }
    void close() override {}
    [[nodiscard]] std::uint32_t channelCount() const override { return 1; }
    [[nodiscard]] std::uint32_t sampleRate() const override { return 8000; }
    [[nodiscard]] int encoderDelay() const override { return 0; }
    [[nodiscard]] std::uint32_t audioStreamCount() const override { return 1; }
    void selectAudioStream(std::uint32_t /*index*/) override {}
    [[nodiscard]] std::uint32_t length() const override { return 0; }
    std::uint64_t readInterleaved(float* /*target*/, std::uint64_t /*firstSample*/,
                                  std::uint64_t /*sampleCount*/) override
    {
        return 0;
    }
};

/// Reads a file, but not as audio.
class PictureReader : public eboFormatReader {
public:
    ebo::refptr<eboFormatReader> clone() override { return nullptr; }
};

/// Counts the paths that it is asked for.
class CountingFactory : public eboFileFactory {
public:
    ebo::refptr<eboFile> open(const char* path, Options options) override
    {
        paths.emplace_back(path);
        optionsSeen.push_back(options);
        return answersNull ? nullptr : eboFileFactory::open(path, options);
    }

    std::vector<std::string> paths;
    std::vector<Options> optionsSeen;
    bool answersNull = false;
};

class FileFormats : public testing::Test {
protected:
    FileFormats() { QLoggingCategory::setFilterRules(QStringLiteral("ebo.fileformats.debug=true")); }
    ~FileFormats() override { QLoggingCategory::setFilterRules(QString()); }

    using Make = std::function<ebo::refptr<eboFormatReader>()>;

    /// An entry for every path that notes its name when tried and then does what it is told.
    FormatEntry entry(const std::string& name, const Make& make, bool wants = true)
    {
        FormatEntry result;
        result.canRead = [=](const QString& /*path*/) { return wants; };
        result.createReader = [=, this](const QString& /*path*/, const auto& /*factory*/,
                                        const auto& /*options*/) {
            tried_.push_back(name);
            return make();
        };
        return result;
    }

    static ebo::refptr<eboFormatReader> silent() { return ebo::makeRef<SilentReader>(); }
    static ebo::refptr<eboFormatReader> refuse() { throw eboFormatReader::FileUnsupported("FLAC"); }
    static ebo::refptr<eboFormatReader> fail() { throw std::runtime_error("eboFile locking failed"); }

    ebo::refptr<eboFormatReader> read(std::vector<FormatEntry> entries)
    {
        return ebo::makeRef<eboFileFormats>(nullptr, std::move(entries))
            ->createReader(QStringLiteral("/a.mp3"));
    }

    TempDir dir_;
    std::vector<std::string> tried_;
};

TEST_F(FileFormats, TheFirstEntryThatWantsTheFileReadsIt)
{
    EXPECT_TRUE(read({entry("a", silent, false), entry("b", silent), entry("c", silent)}));
    EXPECT_THAT(tried_, ElementsAre("b"));
}

TEST_F(FileFormats, AFormatThatRefusesTheContentsIsPassedOver)
{
    const LogCapture log;
    EXPECT_TRUE(read({entry("a", refuse), entry("b", silent)}));
    EXPECT_THAT(tried_, ElementsAre("a", "b"));
    EXPECT_THAT(log.texts(), ElementsAre("Failed to create reader for file \"/a.mp3\" : FLAC"));
    EXPECT_EQ(log.entries()[0].type, QtDebugMsg);
    EXPECT_EQ(log.entries()[0].category, "ebo.fileformats");
}

TEST_F(FileFormats, WhenAllRefuseThereIsAWarning)
{
    const LogCapture log;
    EXPECT_FALSE(read({entry("a", refuse), entry("b", silent, false)}));
    EXPECT_THAT(tried_, ElementsAre("a"));
    ASSERT_EQ(log.entries().size(), 2U);
    EXPECT_EQ(log.entries()[1].type, QtWarningMsg);
    EXPECT_EQ(log.entries()[1].text, "Failed to find a suitable reader for \"/a.mp3\"");
}

TEST_F(FileFormats, AFileThatCannotBeOpenedIsTriedByNoOther)
{
    const LogCapture log;
    EXPECT_FALSE(read({entry("a", [] { return ebo::refptr<eboFormatReader>(); }), entry("b", silent)}));
    EXPECT_THAT(tried_, ElementsAre("a"));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(FileFormats, AnyOtherFailureEndsTheSearch)
{
    const LogCapture log;
    EXPECT_FALSE(read({entry("a", fail), entry("b", silent)}));
    EXPECT_THAT(tried_, ElementsAre("a"));
    EXPECT_THAT(log.texts(), ElementsAre("Couldn't open \"/a.mp3\" . Error: eboFile locking failed"));
    EXPECT_EQ(log.entries()[0].type, QtDebugMsg);
}

TEST_F(FileFormats, WhatIsNotAudioIsNotRead)
{
    EXPECT_FALSE(read({entry("a", [] { return ebo::refptr<eboFormatReader>(ebo::makeRef<PictureReader>()); }),
                       entry("b", silent)}));
    EXPECT_THAT(tried_, ElementsAre("a"));
}

TEST_F(FileFormats, ExtensionsAreTakenWithoutRegardToCase)
{
    testsupport::makeAudioFile(dir_.file("a.wav"), 0.1, 8000, 1);
    const auto formats = ebo::makeRef<eboFileFormats>(nullptr);
    for (const char* name :
         {"b.mp3", "b.MP3", "b.m4a", "b.Mp4", "b.aac", "b.AIF", "b.aiff", "b.wav", "b.x.WAV"}) {
        std::filesystem::copy_file(dir_.file("a.wav"), dir_.file(name));
        EXPECT_TRUE(formats->createReader(QString::fromStdString(dir_.file(name)))) << name;
    }
}

TEST_F(FileFormats, AFileOfNoKnownNameIsRefusedWithoutBeingOpened)
{
    const auto factory = ebo::makeRef<CountingFactory>();
    const auto formats = ebo::makeRef<eboFileFormats>(factory);
    for (const char* path :
         {"/a.txt", "/mp3", "/a.mp3.txt", "/a.mp3/b", "AUDIO::ffmpeg", "audio::ffmpeg", ""}) {
        const LogCapture log;
        EXPECT_FALSE(formats->createReader(QString::fromUtf8(path))) << path;
        EXPECT_THAT(log.texts(),
                    ElementsAre("Failed to find a suitable reader for \"" + std::string(path) + "\""));
    }
    EXPECT_THAT(factory->paths, IsEmpty());
}

TEST_F(FileFormats, TheFactoryIsAskedForTheUtf8Path)
{
    const auto factory = ebo::makeRef<CountingFactory>();
    factory->answersNull = true;
    const LogCapture log;
    EXPECT_FALSE(ebo::makeRef<eboFileFormats>(factory)->createReader(QStringLiteral("/m\u00fcsic.mp3")));
    EXPECT_THAT(factory->paths, ElementsAre("/m\xc3\xbcsic.mp3"));
    EXPECT_THAT(factory->optionsSeen, ElementsAre(eboFileFactory::Options(eboFileFactory::kKeptAlive)))
        << "the reader wants no cached file";
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(FileFormats, AMissingFileIsRefusedWithItsNameInTheLog)
{
    const LogCapture log;
    EXPECT_FALSE(ebo::makeRef<eboFileFormats>(nullptr)->createReader(QStringLiteral("/missing.mp3")));
    EXPECT_THAT(log.texts(), ElementsAre("Failed to create reader for file \"/missing.mp3\" : FFMPEG",
                                         "Failed to find a suitable reader for \"/missing.mp3\""));
}

TEST_F(FileFormats, ARefusedLockEndsTheSearch)
{
    testsupport::makeAudioFile(dir_.file("a.wav"), 0.1, 8000, 1);
    const auto factory = ebo::makeRef<eboFileFactory>();
    const auto writer = factory->open(dir_.file("a.wav").c_str(), {});
    ASSERT_EQ(writer->lock(eboFileLock::Exclusive), eboFileLock::SUCCESS);
    const LogCapture log;
    EXPECT_FALSE(
        ebo::makeRef<eboFileFormats>(factory)->createReader(QString::fromStdString(dir_.file("a.wav"))));
    EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("Error: eboFile locking failed")));
}

TEST_F(FileFormats, APathOfLoneSurrogatesIsRefused)
{
    const QString broken = QString(QChar(0xd800)) + QStringLiteral(".mp3");
    const LogCapture quiet;
    EXPECT_FALSE(ebo::makeRef<eboFileFormats>(nullptr)->createReader(broken));
}

class Mislabelled : public testing::Test {
protected:
    Mislabelled()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("ebo.fileformats.debug=true"));
        const testsupport::Pcm pcm = testsupport::testPcm(5000, 44100, 2, 16);
        testsupport::encodeFlac(path("flac"), pcm);
        testsupport::encodeFlac(path("oga"), pcm);
        testsupport::encodeVorbis(path("ogg"), pcm);
        testsupport::makeAudioFile(path("wav"), 0.1, 8000, 1);
    }
    ~Mislabelled() override { QLoggingCategory::setFilterRules(QString()); }

    [[nodiscard]] std::string path(const std::string& extension) const
    {
        return dir_.file("true." + extension);
    }

    /// Reads the file of the true format under another name.
    template <typename Reader>
    ebo::refptr<Reader> read(const std::string& trueFormat, const std::string& name)
    {
        std::filesystem::copy_file(path(trueFormat), dir_.file(name));
        const auto formats = ebo::makeRef<eboFileFormats>(nullptr);
        return ebo::dynamicCast<Reader>(formats->createReader(QString::fromStdString(dir_.file(name))));
    }

    /// Checks that the decoder alone was tried, and that the refusal is in the log.
    void expectRefused(const std::string& trueFormat, const std::string& name, const std::string& decoder)
    {
        const LogCapture log;
        EXPECT_FALSE(read<eboAudioFormatReader>(trueFormat, name));
        EXPECT_THAT(log.texts(),
                    ElementsAre("Failed to create reader for file \"" + dir_.file(name) + "\" : " + decoder,
                                "Failed to find a suitable reader for \"" + dir_.file(name) + "\""));
        EXPECT_EQ(log.entries().back().type, QtWarningMsg);
    }

    TempDir dir_;
};

TEST_F(Mislabelled, EveryFormatUnderItsOwnNameHasItsOwnReader)
{
    EXPECT_TRUE(read<oggFileReader>("ogg", "a.ogg"));
    EXPECT_TRUE(read<oggFileReader>("ogg", "b.OGG"));
    EXPECT_TRUE(read<flacFileReader>("flac", "a.flac"));
    EXPECT_TRUE(read<flacFileReader>("flac", "b.FLAC"));
    EXPECT_TRUE(read<flacFileReader>("oga", "a.oga"));
    EXPECT_TRUE(read<ffmpegFileReader>("wav", "a.wav"));
}

TEST_F(Mislabelled, FfmpegTellsItsOwnFormatsApart)
{
    EXPECT_TRUE(read<ffmpegFileReader>("wav", "a.mp3"));
    EXPECT_TRUE(read<ffmpegFileReader>("flac", "b.mp3"));
    EXPECT_TRUE(read<ffmpegFileReader>("ogg", "c.wav"));
}

TEST_F(Mislabelled, VorbisNamedFlacIsRefused) { expectRefused("ogg", "a.flac", "FLAC"); }

TEST_F(Mislabelled, VorbisNamedOgaIsRefused) { expectRefused("ogg", "a.oga", "FLAC"); }

TEST_F(Mislabelled, FlacNamedOggIsRefused) { expectRefused("flac", "a.ogg", "OGG"); }

TEST_F(Mislabelled, OggFlacNamedOggIsRefused) { expectRefused("oga", "a.ogg", "OGG"); }

TEST_F(Mislabelled, AWavNamedOggIsRefused) { expectRefused("wav", "a.ogg", "OGG"); }

/// Has files in memory under names of its own.
class NamedFileFactory : public eboFileFactory {
public:
    ebo::refptr<eboFile> open(const char* path, Options /*options*/) override
    {
        names.emplace_back(path);
        return ebo::makeRef<testsupport::MemoryFile>(path, contents);
    }

    std::string contents;
    std::vector<std::string> names;
};

TEST_F(Mislabelled, TwoFormatsAreAlsoChosenByName)
{
    const auto factory = ebo::makeRef<NamedFileFactory>();
    const auto formats = ebo::makeRef<eboFileFormats>(factory);
    factory->contents = testsupport::readWholeFile(path("ogg"));
    EXPECT_TRUE(ebo::dynamicCast<oggFileReader>(formats->createReader(QStringLiteral("AUDIO::ogg"))));
    factory->contents = testsupport::readWholeFile(path("flac"));
    EXPECT_TRUE(ebo::dynamicCast<flacFileReader>(formats->createReader(QStringLiteral("AUDIO::flac"))));
    EXPECT_THAT(factory->names, ElementsAre("AUDIO::ogg", "AUDIO::flac"));
    const LogCapture quiet;
    for (const char* name : {"AUDIO::OGG", "audio::ogg", "/AUDIO::ogg", "AUDIO::flac ", "AUDIO::ffmpeg"})
        EXPECT_FALSE(formats->createReader(QString::fromUtf8(name))) << name;
    EXPECT_EQ(factory->names.size(), 2U);
}

}  // namespace
