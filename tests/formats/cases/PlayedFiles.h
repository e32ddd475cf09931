#pragma once

#include "formats/cases/numbers.h"
#include "formats/eboAudioFormatReader.h"
#include "formats/eboFileFormats.h"
#include "formats/readers.h"
#include "support/AudioFiles.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <QString>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace testsupport {

/// Files as people have them, opened by name: what plays is what is announced and read.
class PlayedFiles : public testing::Test {
protected:
    [[nodiscard]] std::string path(const std::string& name) const { return dir_.file(name); }

    /// Makes a file of test sound by ffmpeg; returns its bytes.
    std::string encoded(const std::string& name, const std::vector<std::string>& options = {},
                        double seconds = 3.0, int channels = 2, int sampleRate = 44100)
    {
        makeAudioFile(path(name), seconds, sampleRate, channels, options);
        return readWholeFile(path(name));
    }

    void write(const std::string& name, const std::string& bytes) { writeWholeFile(path(name), bytes); }

    /// Null, with a failure of the test, if nobody reads the file.
    ebo::refptr<eboAudioFormatReader> open(const std::string& name)
    {
        const LogCapture quiet;
        const auto reader = ebo::dynamicCast<eboAudioFormatReader>(
            ebo::makeRef<eboFileFormats>(nullptr)->createReader(QString::fromStdString(path(name))));
        EXPECT_TRUE(reader) << name << " is not read";
        return reader;
    }

    /// The samples of the whole file, of which nothing may be lost.
    std::vector<float> played(const std::string& name)
    {
        const auto reader = open(name);
        if (!reader)
            return {};
        const LogCapture quiet;
        std::vector<float> samples = readAll(*reader);
        EXPECT_FALSE(reader->hasLostData()) << name;
        return samples;
    }

    /// Expects that the file plays like this, and announces as many frames.
    void expectPlays(const std::string& name, const std::vector<float>& expected)
    {
        SCOPED_TRACE(name);
        const auto reader = open(name);
        if (!reader)
            return;
        EXPECT_EQ(reader->length(), expected.size() / reader->channelCount());
        EXPECT_EQ(reader->trackLength().verdict(), TrackLength::Verdict::kComplete);
        expectReads(*reader, expected);
    }

    /// Expects that the file plays like this, whatever it announces.
    static void expectReads(eboAudioFormatReader& reader, const std::vector<float>& expected)
    {
        const LogCapture quiet;
        const std::vector<float> samples = readAll(reader);
        EXPECT_EQ(samples.size(), expected.size());
        EXPECT_EQ(firstDifference(samples, expected), -1);
        EXPECT_FALSE(reader.hasLostData());
    }

private:
    TempDir dir_;
};

}  // namespace testsupport
