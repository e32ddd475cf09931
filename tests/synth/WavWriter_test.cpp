#include "synth/WavWriter.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <array>
#include <fstream>
#include <iterator>

namespace {

class WavWriterTest : public testing::Test {
protected:
    [[nodiscard]] std::string path() const
    {
        return directory_.filePath(QStringLiteral("a.wav")).toStdString();
    }

    [[nodiscard]] std::string content() const
    {
        std::ifstream file(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    QTemporaryDir directory_;
};

TEST_F(WavWriterTest, Pcm16HasTheGoldenBytes)
{
    constexpr std::array samples{0.0f, 1.0f, -1.0f, 2.0f};
    ASSERT_TRUE(synth::writeWav(path(), samples, 2, 44100, synth::SampleFormat::kPcm16));
    const std::string expected("RIFF\x2C\0\0\0WAVE"
                               "fmt \x10\0\0\0\x01\0\x02\0\x44\xAC\0\0\x10\xB1\x02\0\x04\0\x10\0"
                               "data\x08\0\0\0\0\0\xFF\x7F\x01\x80\xFF\x7F",
                               52);
    EXPECT_EQ(content(), expected);
}

TEST_F(WavWriterTest, Float32StatesItsLengthInFrames)
{
    constexpr std::array samples{1.0f, 0.5f};
    ASSERT_TRUE(synth::writeWav(path(), samples, 1, 8000, synth::SampleFormat::kFloat32));
    const std::string expected("RIFF\x38\0\0\0WAVE"
                               "fmt \x10\0\0\0\x03\0\x01\0\x40\x1F\0\0\0\x7D\0\0\x04\0\x20\0"
                               "fact\x04\0\0\0\x02\0\0\0"
                               "data\x08\0\0\0\0\0\x80\x3F\0\0\0\x3F",
                               64);
    EXPECT_EQ(content(), expected);
}

TEST_F(WavWriterTest, PiecesGiveTheSameFileAsTheWhole)
{
    constexpr std::array samples{0.1f, 0.2f, 0.3f, 0.4f};
    ASSERT_TRUE(synth::writeWav(path(), samples, 2, 48000, synth::SampleFormat::kPcm16));
    const std::string whole = content();

    synth::WavWriter writer(path(), 2, 48000, synth::SampleFormat::kPcm16);
    ASSERT_TRUE(writer.write(std::span(samples).first(2)));
    ASSERT_TRUE(writer.write(std::span(samples).subspan(2)));
    ASSERT_TRUE(writer.close());
    EXPECT_EQ(content(), whole);
}

TEST_F(WavWriterTest, AFileThatCannotBeMadeIsReported)
{
    constexpr std::array samples{0.1f};
    EXPECT_FALSE(synth::writeWav("/nonexistent/a.wav", samples, 1, 44100, synth::SampleFormat::kPcm16));
}

}  // namespace
